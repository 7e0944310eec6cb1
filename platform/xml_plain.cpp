#include "platform/xml_plain.h"

#include "platform/xml_references.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace kest {

namespace {

constexpr std::string_view kCDataStart = "<![CDATA[";
constexpr std::string_view kCDataEnd = "]]>";
constexpr std::string_view kCommentStart = "<!--";
constexpr std::string_view kCommentEnd = "-->";
constexpr std::size_t kMostAttributes = 32; ///< compared pair by pair

// What a byte may be part of. Bytes beyond ASCII may stand in text, comments and values; names that hold them are not
// plain.
enum Class : std::uint8_t {
  kSpace = 1,
  kNameStart = 2,
  kName = 4,
  kTextStop = 8,   ///< ends a run of text that is told as it stands
  kValueStop = 16, ///< the same in an attribute
  kControl = 32,   ///< may stand nowhere
};

constexpr std::array<std::uint8_t, 256> MakeClasses() {
  std::array<std::uint8_t, 256> classes{};
  const auto add = [&classes](std::string_view bytes, int what) {
    for (const char c : bytes) {
      auto& entry = classes[static_cast<unsigned char>(c)];
      entry = static_cast<std::uint8_t>(entry | what);
    }
  };
  for (std::size_t c = 0; c < 0x20; ++c) {
    classes[c] = kControl | kTextStop | kValueStop;
  }
  classes['\n'] = classes['\t'] = kSpace | kValueStop;
  classes['\r'] = kSpace | kValueStop | kTextStop;
  classes[' '] = kSpace;
  add("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_:", kNameStart | kName);
  add("0123456789-.", kName);
  add("<&", kTextStop | kValueStop);
  add("]", kTextStop);
  add("\"'", kValueStop);
  return classes;
}
constexpr std::array<std::uint8_t, 256> kClasses = MakeClasses();

bool Is(char c, int what) { return (kClasses[static_cast<unsigned char>(c)] & what) != 0; }

const char* SkipSpace(const char* at, const char* end) {
  while (at != end && Is(*at, kSpace)) {
    ++at;
  }
  return at;
}

const char* SkipName(const char* at, const char* end) {
  while (at != end && Is(*at, kName)) {
    ++at;
  }
  return at;
}

bool HasControl(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) { return Is(c, kControl); });
}

// Line ends as parsers report them.
void AppendLines(std::string_view text, CString& out) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r') {
      out += text[i];
    } else if (i + 1 == text.size() || text[i + 1] != '\n') {
      out += '\n';
    }
  }
}

} // namespace

PlainXml::PlainXml(CKestXMLParser& owner, const CKestXMLParser::Limits& limits, bool severalRoots, int lineOffset)
    : m_owner(owner), m_limits(limits), m_severalRoots(severalRoots), m_linesCounted(lineOffset) {}

int PlainXml::GetLine() const {
  // events are never told between the two bytes of a line end
  m_linesCounted += CountLineEnds({m_counted, static_cast<std::size_t>(m_at - m_counted)});
  m_counted = m_at;
  return m_linesCounted + 1;
}

std::optional<std::size_t> PlainXml::Read(std::string_view piece, bool final) {
  m_begin = m_at = m_counted = piece.data();
  m_end = m_begin + piece.size();
  m_final = final;
  if (!m_hasBegun && StartsWithEncodingMark(piece)) {
    m_hasGivenUp = true;
  }
  m_hasBegun = true;
  while (m_at != m_end && !m_hasGivenUp) {
    const Outcome outcome = ReadToken();
    if (outcome == Outcome::kShort) {
      break;
    }
    m_hasGivenUp |= outcome == Outcome::kForeign;
  }
  // a token as long as this is none of those that it pays to read here
  m_hasGivenUp |= m_at == m_begin && !piece.empty();
  m_hasGivenUp |= final && (!m_openFrom.empty() || (!m_severalRoots && m_place != Place::kEpilog));
  if (m_hasGivenUp) {
    return std::nullopt;
  }
  if (!final) {
    (void)GetLine();
  }
  return static_cast<std::size_t>(m_at - m_begin);
}

PlainXml::Outcome PlainXml::ReadToken() {
  const char c = *m_at;
  if (m_place != Place::kContent && Is(c, kSpace)) {
    return ReadBlank();
  }
  if (c != '<') {
    if (m_place != Place::kContent && !m_severalRoots) {
      return Outcome::kForeign;
    }
    m_place = Place::kContent;
    return ReadText();
  }
  if (m_at + 1 == m_end) {
    return AtEnd();
  }
  const char next = m_at[1];
  if (Is(next, kNameStart) && m_place != Place::kEpilog) {
    m_place = Place::kContent;
    return ReadStartTag();
  }
  if (next == '!') {
    return ReadDeclared();
  }
  return next == '/' && m_place == Place::kContent ? ReadEndTag() : Outcome::kForeign;
}

// White space outside of the root.
PlainXml::Outcome PlainXml::ReadBlank() {
  const char* const end = SkipSpace(m_at, m_end);
  if (end == m_end && !m_final) {
    return Outcome::kForeign;
  }
  for (const char* at = m_at; at != end; ++at) {
    if (*at == '\r' && (at + 1 == end || at[1] != '\n')) {
      return Outcome::kForeign; // reported in parts
    }
  }
  ++m_told;
  m_owner.OnDefault(m_at, static_cast<int>(end - m_at));
  m_at = end;
  return Outcome::kDone;
}

PlainXml::Outcome PlainXml::ReadText() {
  const char* at = m_at;
  const char* asItIs = m_at; ///< what lies behind this was not copied yet
  bool isCopied = false;
  for (;; ++at) {
    while (at != m_end && !Is(*at, kTextStop)) {
      ++at;
    }
    if (at == m_end || *at == '<') {
      break;
    }
    if (*at == ']') {
      if (m_end - at < static_cast<std::ptrdiff_t>(kCDataEnd.size())) {
        if (!m_final) {
          return Outcome::kShort;
        }
      } else if (std::memcmp(at, kCDataEnd.data(), kCDataEnd.size()) == 0) {
        return Outcome::kForeign;
      }
      continue;
    }
    if (*at == '\r' && at + 1 == m_end && !m_final) {
      return Outcome::kShort;
    }
    if (!isCopied) {
      m_text.clear();
      isCopied = true;
    }
    m_text.append(asItIs, at);
    if (*at == '\r') {
      if (at + 1 == m_end || at[1] != '\n') {
        m_text += '\n';
      }
    } else if (*at != '&' || !AppendReference(at, m_text)) {
      return Outcome::kForeign;
    }
    asItIs = at + 1;
  }
  if (at == m_end && (!m_final || !m_severalRoots)) {
    return AtEnd();
  }
  const char* const begin = m_at;
  m_at = at;
  if (isCopied) {
    m_text.append(asItIs, at);
    TellText(m_text.data(), m_text.size());
  } else {
    TellText(begin, static_cast<std::size_t>(at - begin));
  }
  return Outcome::kDone;
}

// Leaves `at` on the last byte of the reference, or on the "&" of one that is kept as it is.
bool PlainXml::AppendReference(const char*& at, CString& out) const {
  const Reference reference = FindReference({at, static_cast<std::size_t>(m_end - at)});
  if (reference.kind == Reference::Kind::kForeign) {
    out += kKeptReference;
    return true;
  }
  if (reference.kind == Reference::Kind::kNone || Is(reference.byte, kControl)) {
    return false;
  }
  out += reference.byte;
  at += reference.length - 1;
  return true;
}

PlainXml::Outcome PlainXml::ReadStartTag() {
  m_starts.clear();
  const char* at = SkipName(m_at + 1, m_end);
  m_words.assign(m_at + 1, at);
  m_words += '\0';
  while (at != m_end) {
    const char* const gap = at;
    at = SkipSpace(at, m_end);
    if (at == m_end) {
      break;
    }
    const bool isEmpty = *at == '/';
    if (isEmpty && ++at == m_end) {
      break;
    }
    if (*at == '>') {
      if (m_openFrom.size() >= m_limits.depth || HasTwins()) {
        return Outcome::kForeign;
      }
      TellStart(isEmpty, at + 1);
      return Outcome::kDone;
    }
    if (isEmpty || at == gap || !Is(*at, kNameStart) || m_starts.size() >= 2 * kMostAttributes) {
      return Outcome::kForeign;
    }
    if (const Outcome outcome = ReadAttribute(at); outcome != Outcome::kDone) {
      return outcome;
    }
  }
  return AtEnd();
}

PlainXml::Outcome PlainXml::ReadAttribute(const char*& at) {
  const char* const name = at;
  at = SkipName(at, m_end);
  m_starts.push_back(m_words.size());
  m_words.append(name, at);
  m_words += '\0';
  at = SkipSpace(at, m_end);
  if (at == m_end) {
    return AtEnd();
  }
  if (*at != '=') {
    return Outcome::kForeign;
  }
  at = SkipSpace(at + 1, m_end);
  if (at == m_end) {
    return AtEnd();
  }
  if (*at != '"' && *at != '\'') {
    return Outcome::kForeign;
  }
  m_starts.push_back(m_words.size());
  return ReadValue(at);
}

// `at` stands on the quote, and behind the closing one afterwards.
PlainXml::Outcome PlainXml::ReadValue(const char*& at) {
  const char quote = *at;
  const char* const begin = ++at;
  const char* asItIs = at;
  for (;; ++at) {
    while (at != m_end && !Is(*at, kValueStop)) {
      ++at;
    }
    if (at == m_end) {
      return AtEnd();
    }
    if (*at == quote) {
      break;
    }
    if (*at == '"' || *at == '\'') {
      continue;
    }
    m_words.append(asItIs, at);
    if (*at == '&') {
      if (!AppendReference(at, m_words)) {
        return Outcome::kForeign;
      }
    } else if (Is(*at, kSpace)) {
      m_words += ' ';
      at += *at == '\r' && at + 1 != m_end && at[1] == '\n';
    } else {
      return Outcome::kForeign;
    }
    asItIs = at + 1;
  }
  // a byte may become two before its length is judged
  if (static_cast<std::size_t>(at - begin) > m_limits.attributeBytes / 2) {
    return Outcome::kForeign;
  }
  m_words.append(asItIs, at);
  m_words += '\0';
  ++at;
  return Outcome::kDone;
}

bool PlainXml::HasTwins() const {
  for (std::size_t i = 2; i < m_starts.size(); i += 2) {
    const char* const name = m_words.data() + m_starts[i];
    for (std::size_t j = 0; j < i; j += 2) {
      if (*name == m_words[m_starts[j]] && std::strcmp(name, m_words.data() + m_starts[j]) == 0) {
        return true;
      }
    }
  }
  return false;
}

void PlainXml::TellStart(bool isEmpty, const char* end) {
  m_pairs.clear();
  for (const std::size_t start : m_starts) {
    m_pairs.push_back(m_words.data() + start);
  }
  m_pairs.push_back(nullptr);
  const char* const name = m_words.c_str();
  CKestXMLAttributes attributes(m_pairs.data());
  ++m_told;
  m_owner.OnElementStart(name, attributes);
  m_at = end;
  if (isEmpty) {
    ++m_told;
    m_owner.OnElementEnd(name);
    if (m_openFrom.empty() && !m_severalRoots) {
      m_place = Place::kEpilog;
    }
    return;
  }
  m_openFrom.push_back(m_open.size());
  m_open.append(name, std::strlen(name) + 1);
}

PlainXml::Outcome PlainXml::ReadEndTag() {
  const char* const name = m_at + 2;
  const char* const nameEnd = SkipName(name, m_end);
  const char* const close = SkipSpace(nameEnd, m_end);
  if (close == m_end) {
    return AtEnd();
  }
  if (*close != '>' || m_openFrom.empty()) {
    return Outcome::kForeign;
  }
  const char* const open = m_open.c_str() + m_openFrom.back();
  if (std::string_view(open) != std::string_view(name, static_cast<std::size_t>(nameEnd - name))) {
    return Outcome::kForeign;
  }
  ++m_told;
  m_owner.OnElementEnd(open);
  m_open.resize(m_openFrom.back());
  m_openFrom.pop_back();
  m_at = close + 1;
  if (m_openFrom.empty() && !m_severalRoots) {
    m_place = Place::kEpilog;
  }
  return Outcome::kDone;
}

PlainXml::Outcome PlainXml::ReadDeclared() {
  const std::string_view rest = Rest();
  if (rest.starts_with(kCommentStart)) {
    return ReadComment();
  }
  if (rest.starts_with(kCDataStart) && (m_place == Place::kContent || m_severalRoots)) {
    m_place = Place::kContent;
    return ReadCData();
  }
  const bool mayGoOn = kCommentStart.starts_with(rest) || kCDataStart.starts_with(rest);
  return mayGoOn ? AtEnd() : Outcome::kForeign;
}

PlainXml::Outcome PlainXml::ReadComment() {
  const std::string_view rest = Rest();
  const std::size_t end = rest.find("--", kCommentStart.size());
  if (end == std::string_view::npos || rest.size() - end < kCommentEnd.size()) {
    return AtEnd();
  }
  const std::string_view text = rest.substr(kCommentStart.size(), end - kCommentStart.size());
  if (rest[end + 2] != '>' || HasControl(text)) {
    return Outcome::kForeign;
  }
  m_text.clear();
  AppendLines(text, m_text);
  ++m_told;
  m_owner.OnComment(m_text.c_str());
  m_at += end + kCommentEnd.size();
  return Outcome::kDone;
}

PlainXml::Outcome PlainXml::ReadCData() {
  const std::string_view rest = Rest();
  const std::size_t end = rest.find(kCDataEnd, kCDataStart.size());
  if (end == std::string_view::npos) {
    return AtEnd();
  }
  std::string_view text = rest.substr(kCDataStart.size(), end - kCDataStart.size());
  if (HasControl(text)) {
    return Outcome::kForeign;
  }
  ++m_told;
  m_owner.OnCDataSectionStart();
  while (!text.empty()) {
    const std::size_t length = std::min(text.find_first_of("\r\n"), text.size());
    m_at = text.data() + length;
    if (length > 0) {
      TellText(text.data(), length);
    }
    if (length == text.size()) {
      break;
    }
    TellText("\n", 1);
    text.remove_prefix(text.substr(length).starts_with("\r\n") ? length + 2 : length + 1);
  }
  m_at = rest.data() + end;
  ++m_told;
  m_owner.OnCDataSectionEnd();
  m_at += kCDataEnd.size();
  return Outcome::kDone;
}

void PlainXml::TellText(const char* text, std::size_t length) {
  ++m_told;
  m_owner.OnCData(text, static_cast<int>(length));
}

} // namespace kest
