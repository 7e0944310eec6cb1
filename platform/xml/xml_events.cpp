#include "platform/xml/xml_references.h"
#include "platform/xml/xml_session.h"

#include <cstring>

namespace kest {

// expat may report what is left of a start tag after it was told to stop; such events go nowhere.

void CKestXMLParser::Session::OnStart(void* self, const XML_Char* name, const XML_Char** attributes) {
  auto& session = *static_cast<Session*>(self);
  if (!session.HasFailed()) {
    session.StartElement(name, attributes);
  }
}

void CKestXMLParser::Session::OnEnd(void* self, const XML_Char* name) {
  auto& session = *static_cast<Session*>(self);
  if (session.HasFailed()) {
    return;
  }
  session.FlushText();
  if (session.m_severalRoots && session.m_depth == 1) {
    --session.m_depth;
    return;
  }
  --session.m_depth;
  if (session.m_mapped) {
    session.m_owner.OnElementEnd(BytesOf(name).c_str());
  } else {
    session.m_owner.OnElementEnd(name);
  }
}

void CKestXMLParser::Session::OnText(void* self, const XML_Char* text, int length) {
  auto& session = *static_cast<Session*>(self);
  if (session.HasFailed()) {
    return;
  }
  const std::string_view piece(text, static_cast<std::size_t>(length));
  if (session.m_inCData) {
    session.AppendCDataPiece(piece);
  } else {
    session.m_text += piece;
  }
}

void CKestXMLParser::Session::OnCDataStart(void* self) {
  auto& session = *static_cast<Session*>(self);
  if (!session.HasFailed()) {
    session.FlushText();
    session.m_inCData = true;
    session.m_owner.OnCDataSectionStart();
  }
}

void CKestXMLParser::Session::OnCDataEnd(void* self) {
  auto& session = *static_cast<Session*>(self);
  if (!session.HasFailed()) {
    session.FlushText();
    session.m_inCData = false;
    session.m_owner.OnCDataSectionEnd();
  }
}

void CKestXMLParser::Session::OnCommentText(void* self, const XML_Char* text) {
  auto& session = *static_cast<Session*>(self);
  if (!session.HasFailed()) {
    session.FlushText();
    session.m_owner.OnComment(session.RestoreMarkup(text).c_str());
  }
}

namespace {

// Whether a piece of markup ends where its kind does; expat reports a long instruction or literal in several.
bool IsWhole(std::string_view markup) {
  if (markup.starts_with("<?")) {
    return markup.size() >= 4 && markup.ends_with("?>");
  }
  const bool isLiteral = markup.starts_with('"') || markup.starts_with('\'');
  return !isLiteral || (markup.size() >= 2 && markup.back() == markup.front());
}

} // namespace

void CKestXMLParser::Session::OnOther(void* self, const XML_Char* text, int length) {
  auto& session = *static_cast<Session*>(self);
  if (session.HasFailed()) {
    return;
  }
  const std::string_view piece(text, static_cast<std::size_t>(length));
  CString& unfinished = session.m_unfinished;
  if (unfinished.empty() && IsWhole(piece)) {
    session.TellOther(piece);
    return;
  }
  unfinished += piece;
  if (IsWhole(unfinished)) {
    session.TellOther(unfinished);
    unfinished.clear();
  }
}

void CKestXMLParser::Session::TellOther(std::string_view text) {
  FlushText();
  const CString markup = RestoreMarkup(text);
  m_owner.OnDefault(markup.c_str(), static_cast<int>(markup.size()));
}

void CKestXMLParser::Session::OnEntity(void* self, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                                       const XML_Char*, const XML_Char*, const XML_Char*) {
  static_cast<Session*>(self)->Stop("entity declarations are not accepted");
}

void CKestXMLParser::Session::StartElement(const char* name, const char** attributes) {
  FlushText();
  ++m_depth;
  if (m_severalRoots && m_depth == 1) {
    return;
  }
  if (m_depth > m_owner.m_limits.depth + (m_severalRoots ? 1 : 0)) {
    Stop("elements are nested too deeply");
    return;
  }
  if (++m_elements > m_owner.m_limits.elements) {
    Stop("there are too many elements");
    return;
  }
  if (m_checkAttributeSize && !CheckAttributes(attributes)) {
    return;
  }
  // a document type may give further attributes their defaults; those follow the written ones
  const auto written = static_cast<std::size_t>(XML_GetSpecifiedAttributeCount(m_expat));
  const bool asTheyAre = !m_mapped && attributes[written] == nullptr;
  CKestXMLAttributes reported(asTheyAre ? attributes : MapAttributes(attributes, written));
  if (m_mapped) {
    m_owner.OnElementStart(BytesOf(name).c_str(), reported);
  } else {
    m_owner.OnElementStart(name, reported);
  }
}

namespace {

// Bytes of the file that a reported text stands for: each of its characters is one, in whatever form it comes.
std::size_t CountBytes(const char* utf8) {
  std::size_t count = 0;
  for (; *utf8 != '\0'; ++utf8) {
    count += (static_cast<unsigned char>(*utf8) & 0xC0u) != 0x80u;
  }
  return count;
}

} // namespace

bool CKestXMLParser::Session::CheckAttributes(const char* const* attributes) {
  for (; *attributes != nullptr; attributes += 2) {
    if (CountBytes(attributes[1]) > m_owner.m_limits.attributeBytes) {
      Stop("an attribute is too long");
      return false;
    }
  }
  return true;
}

// `count` names and values, mapped to bytes, as a list that ends with null.
const char* const* CKestXMLParser::Session::MapAttributes(const char* const* attributes, std::size_t count) {
  std::size_t size = 0;
  for (std::size_t i = 0; i < count; ++i) {
    size += std::strlen(attributes[i]) + 1;
  }
  // mapping never makes a text longer, so the storage does not move any more
  m_names.clear();
  m_names.reserve(size);
  m_pairs.clear();
  for (std::size_t i = 0; i < count; ++i) {
    m_pairs.push_back(m_names.data() + m_names.size());
    AppendBytesOf(attributes[i], m_names);
    m_names += '\0';
  }
  m_pairs.push_back(nullptr);
  return m_pairs.data();
}

void CKestXMLParser::Session::FlushText() {
  if (m_text.empty()) {
    return;
  }
  if (m_mapped) {
    const CString bytes = BytesOf(m_inCData && m_hasKeptReferences ? RestoreReferences(m_text) : m_text);
    m_owner.OnCData(bytes.c_str(), static_cast<int>(bytes.size()));
  } else {
    m_owner.OnCData(m_text.c_str(), static_cast<int>(m_text.size()));
  }
  m_text.clear();
}

void CKestXMLParser::Session::AppendCDataPiece(std::string_view piece) {
  while (!piece.empty()) {
    const std::size_t feed = piece.find('\n');
    m_text += piece.substr(0, feed);
    if (feed == std::string_view::npos) {
      return;
    }
    FlushText();
    m_owner.OnCData("\n", 1);
    piece.remove_prefix(feed + 1);
  }
}

CString CKestXMLParser::Session::RestoreMarkup(std::string_view text) const {
  if (!m_mapped) {
    return CString(text);
  }
  return BytesOf(m_hasKeptReferences ? RestoreReferences(text) : CString(text));
}

} // namespace kest
