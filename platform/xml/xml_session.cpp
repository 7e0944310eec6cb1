#include "platform/xml/xml_session.h"

#include "platform/xml/xml_references.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <random>

namespace kest {

namespace {

constexpr std::string_view kRootStart = "<kest-root>";
constexpr std::string_view kRootEnd = "</kest-root>";
constexpr std::size_t kPieceSize = 1u << 20;
/// Documents beyond this size leave buffers in expat that are not worth keeping.
constexpr std::size_t kSmallDocument = 1u << 20;
constexpr std::size_t kMostBytes = 1u << 30;
constexpr int kLargestByte = 255;
constexpr int kLargestAscii = 127;

struct ExpatDeleter {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using ExpatOwner = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ExpatDeleter>;

// Making a parser costs as much as reading a small description. One for all threads: what a thread keeps for itself has
// to be registered for its end, and without memory for that the C library ends the program.
std::atomic<XML_Parser> s_idleExpat{nullptr};

XML_Parser TakeExpat(const char* encoding) {
  if (XML_Parser idle = s_idleExpat.exchange(nullptr); idle != nullptr) {
    XML_ParserReset(idle, encoding);
    return idle;
  }
  XML_Parser parser = XML_ParserCreate(encoding);
  if (parser == nullptr) {
    throw std::bad_alloc();
  }
  return parser;
}

unsigned long HashSalt() {
  static const unsigned long salt = std::random_device{}() | 1u;
  return salt;
}

bool IsAscii(std::string_view bytes) {
  std::size_t i = 0;
  for (; i + sizeof(std::uint64_t) <= bytes.size(); i += sizeof(std::uint64_t)) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data() + i, sizeof word);
    if ((word & 0x8080808080808080u) != 0) {
      return false;
    }
  }
  for (; i < bytes.size(); ++i) {
    if ((static_cast<unsigned char>(bytes[i]) & 0x80u) != 0) {
      return false;
    }
  }
  return true;
}

// Whether a lower-case name is that of an encoding in which every byte is a character.
bool IsSingleByteEncoding(std::string_view name) {
  constexpr std::string_view kFamilies[] = {"iso-8859-", "iso_8859-", "latin", "windows-125", "cp125", "macintosh",
                                            "x-mac-",    "koi8-",     "ibm",   "cp4",         "cp8"};
  return std::any_of(std::begin(kFamilies), std::end(kFamilies),
                     [&](std::string_view family) { return name.starts_with(family); });
}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Index behind a document type declaration that begins at `at`; npos when it does not end.
std::size_t SkipDoctype(std::string_view text, std::size_t at) {
  int brackets = 0;
  for (std::size_t i = at; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"' || c == '\'') {
      i = text.find(c, i + 1);
      if (i == std::string_view::npos) {
        return i;
      }
    } else if (text.compare(i, 4, "<!--") == 0) {
      i = text.find("-->", i + 4);
      if (i == std::string_view::npos) {
        return i;
      }
      i += 2;
    } else if (c == '[') {
      ++brackets;
    } else if (c == ']') {
      --brackets;
    } else if (c == '>' && brackets <= 0) {
      return i + 1;
    }
  }
  return std::string_view::npos;
}

// Index of the first thing that must stand inside a root; npos while there are only comments, instructions, a document
// type and white space.
std::size_t FindRootPlace(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    const std::string_view rest = text.substr(at);
    std::size_t next = 0;
    if (IsSpace(text[at])) {
      next = at + 1;
    } else if (rest.starts_with("<!--")) {
      next = text.find("-->", at + 4);
      next = next == std::string_view::npos ? next : next + 3;
    } else if (rest.starts_with("<?")) {
      next = text.find("?>", at + 2);
      next = next == std::string_view::npos ? next : next + 2;
    } else if (rest.starts_with("<!DOCTYPE")) {
      next = SkipDoctype(text, at);
    } else {
      return at;
    }
    if (next == std::string_view::npos) {
      return next;
    }
    at = next;
  }
  return std::string_view::npos;
}

} // namespace

CKestXMLParser::Session::Session(CKestXMLParser& owner) : m_owner(owner) {
  owner.m_session = this;
  owner.m_shiftJis = false;
  owner.m_singleByte = false;
  owner.m_byteOrderMark = false;
  owner.m_errorLine = 0;
  owner.m_errorText.clear();
}

CKestXMLParser::Session::~Session() {
  m_owner.m_session = nullptr;
  ExpatOwner expat(m_expat);
  if (m_isWhole && m_keepExpat && expat != nullptr) {
    expat.reset(s_idleExpat.exchange(expat.release()));
  }
}

int CKestXMLParser::Session::GetLine() const {
  return m_expat == nullptr ? 0 : static_cast<int>(XML_GetCurrentLineNumber(m_expat)) + m_lineOffset;
}

int CKestXMLParser::Session::Run(std::string_view content, bool lines, bool severalRoots) {
  if (content.size() > std::min(m_owner.m_limits.bytes, kMostBytes)) {
    Fail(kRefused, 0, "the document is too large");
    return m_code;
  }
  m_owner.m_documentSize = content.size();
  m_severalRoots = severalRoots;
  m_checkAttributeSize = content.size() > m_owner.m_limits.attributeBytes;
  m_keepExpat = content.size() <= kSmallDocument;
  if (!CutMarks(content)) {
    return m_code;
  }
  CutDeclaration(content);
  if (lines && m_owner.MayRewrite(content)) {
    FeedLines(content);
  } else {
    Deliver(content, true);
  }
  m_isWhole = true;
  return m_code;
}

// Byte order mark at the start, end-of-file marks of old systems at the end.
bool CKestXMLParser::Session::CutMarks(std::string_view& content) {
  if (content.starts_with("\xEF\xBB\xBF")) {
    content.remove_prefix(3);
    m_owner.m_byteOrderMark = true;
  }
  if (StartsWithEncodingMark(content)) {
    Fail(kIllFormed, 1, "the document is not in an 8-bit encoding");
    return false;
  }
  while (!content.empty() && (content.back() == '\x1A' || content.back() == '\0')) {
    content.remove_suffix(1);
  }
  return true;
}

// The declaration does not reach expat: its apostrophes may have been rewritten, and its encoding is not to count.
void CKestXMLParser::Session::CutDeclaration(std::string_view& content) {
  std::size_t start = 0;
  while (start < content.size() && IsSpace(content[start])) {
    ++start;
  }
  const std::string_view rest = content.substr(start);
  if (!rest.starts_with("<?xml") || rest.size() < 6 || !IsSpace(rest[5])) {
    return;
  }
  const std::size_t length = rest.find("?>");
  if (length == std::string_view::npos) {
    return;
  }
  const std::string_view declaration = rest.substr(0, length + 2);
  const CString lower = text::Lower(declaration);
  const std::size_t encoding = lower.find("encoding");
  for (const char* name : {"sjis", "shift_jis", "shift-jis"}) {
    m_owner.m_shiftJis |= encoding != CString::npos && lower.find(name, encoding) != CString::npos;
  }
  const std::size_t quote = lower.find_first_of("\"'", encoding);
  m_owner.m_singleByte = !m_owner.m_byteOrderMark && encoding != CString::npos && quote != CString::npos &&
                         IsSingleByteEncoding(std::string_view(lower).substr(quote + 1));
  m_lineOffset = CountLineEnds(content.substr(0, start + declaration.size()));
  m_owner.OnDefault(declaration.data(), static_cast<int>(declaration.size()));
  content.remove_prefix(start + declaration.size());
}

// Lines are prepared one by one and parsed in large pieces. A refusal counts only after the lines before it have been
// parsed, so that an earlier mistake is the one that is told.
void CKestXMLParser::Session::FeedLines(std::string_view content) {
  CString prepared;
  prepared.reserve(std::min(content.size() + content.size() / 8 + 64, kPieceSize + kPieceSize / 4));
  CString line;
  int number = m_lineOffset;
  std::size_t at = 0;
  std::size_t due = kPieceSize; // of what is prepared, before it is parsed
  std::size_t nextFeed = content.find('\n');
  std::size_t nextReturn = content.find('\r');
  while (at < content.size() && !HasFailed()) {
    const std::size_t end = std::min({nextFeed, nextReturn, content.size()});
    const std::string_view raw = content.substr(at, end - at);
    ++number;
    if (m_owner.MayRewrite(raw)) {
      line = raw;
      const int refusal = m_owner.OnPreProcessLine(line);
      if (refusal != 0) {
        Deliver(prepared, false);
        if (!HasFailed()) {
          FlushText();
          Fail(refusal, number, "the line cannot be read");
        }
        return;
      }
      prepared += line;
    } else {
      prepared += raw;
    }
    prepared += '\n';
    at = end + 1;
    if (end == nextReturn && nextFeed == end + 1) {
      ++at;
    }
    if (nextFeed < at) {
      nextFeed = content.find('\n', at);
    }
    if (nextReturn < at) {
      nextReturn = content.find('\r', at);
    }
    const bool placed = !m_severalRoots || m_rootOpen;
    if (prepared.size() >= due) {
      if (placed || FindRootPlace(prepared) != std::string_view::npos) {
        Deliver(prepared, false);
        prepared.clear();
      }
      // a comment of megabytes before the root is not looked through again for each of its lines
      due = std::max(kPieceSize, 2 * prepared.size());
    }
  }
  if (!HasFailed()) {
    Deliver(prepared, true);
  }
}

// A run of text may go on in the next piece, so only markup, a failure and the end of the document tell it.
void CKestXMLParser::Session::Deliver(std::string_view piece, bool final) {
  if (ProtectReferences(piece, m_owner.m_singleByte ? kLargestByte : kLargestAscii, m_rewritten)) {
    piece = m_rewritten;
    m_hasKeptReferences = true;
  }
  const bool ascii = IsAscii(piece);
  m_mapped |= !ascii || piece.find("&#") != std::string_view::npos;
  if (m_expat == nullptr && !Start(piece, final && ascii)) {
    return;
  }
  const bool openRoot = m_severalRoots && !m_rootOpen;
  m_rootOpen |= openRoot;
  const std::size_t place = openRoot ? std::min(FindRootPlace(piece), piece.size()) : 0;
  Feed({piece.substr(0, place), openRoot ? kRootStart : std::string_view(), piece.substr(place),
        final && m_severalRoots ? kRootEnd : std::string_view()},
       final);
}

// For a document that is ASCII as a whole UTF-8 means the same and is what expat works in.
bool CKestXMLParser::Session::Start(std::string_view piece, bool ascii) {
  if (StartsWithEncodingMark(piece)) {
    Fail(kIllFormed, m_lineOffset + 1, "a byte order mark stands inside the document");
    return false;
  }
  m_expat = TakeExpat(ascii ? "UTF-8" : "ISO-8859-1");
  XML_SetHashSalt(m_expat, HashSalt());
  XML_SetUserData(m_expat, this);
  XML_SetElementHandler(m_expat, OnStart, OnEnd);
  XML_SetCharacterDataHandler(m_expat, OnText);
  XML_SetCdataSectionHandler(m_expat, OnCDataStart, OnCDataEnd);
  XML_SetCommentHandler(m_expat, OnCommentText);
  XML_SetDefaultHandler(m_expat, OnOther);
  XML_SetEntityDeclHandler(m_expat, OnEntity);
  return true;
}

// In one call, for expat counts the lines of whatever does not come with the end of the document.
void CKestXMLParser::Session::Feed(std::initializer_list<std::string_view> parts, bool final) {
  std::size_t size = 0;
  for (const std::string_view part : parts) {
    size += part.size();
  }
  if (HasFailed() || (size == 0 && !final)) {
    return;
  }
  // nothing at all wants a buffer, too
  auto* to = static_cast<char*>(XML_GetBuffer(m_expat, static_cast<int>(std::max<std::size_t>(size, 1))));
  if (to == nullptr) {
    throw std::bad_alloc();
  }
  for (const std::string_view part : parts) {
    to = std::copy(part.begin(), part.end(), to);
  }
  if (XML_ParseBuffer(m_expat, static_cast<int>(size), final ? 1 : 0) == XML_STATUS_OK) {
    return;
  }
  if (XML_GetErrorCode(m_expat) == XML_ERROR_NO_MEMORY) {
    throw std::bad_alloc(); // which says nothing of the document
  }
  if (!HasFailed()) {
    FlushText();
    Fail(kIllFormed, GetLine(), XML_ErrorString(XML_GetErrorCode(m_expat)));
  }
}

void CKestXMLParser::Session::Fail(int code, int line, std::string_view reason) {
  m_code = code;
  m_owner.m_errorLine = line;
  m_owner.m_errorText = reason;
}

void CKestXMLParser::Session::Stop(std::string_view reason) {
  if (!HasFailed()) {
    Fail(kRefused, GetLine(), reason);
    XML_StopParser(m_expat, XML_FALSE);
  }
}

} // namespace kest
