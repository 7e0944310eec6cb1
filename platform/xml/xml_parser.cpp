#include "platform/xml/xml_parser.h"

#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "platform/xml/xml_session.h"

namespace kest {

const char* CKestXMLAttributes::GetFirstAttr() { return GetNextAttr(); }

const char* CKestXMLAttributes::GetNextAttr() {
  if (m_next == nullptr || *m_next == nullptr) {
    m_value = nullptr;
    return nullptr;
  }
  const char* name = *m_next;
  m_value = m_next[1];
  m_next += 2;
  return name;
}

CKestXMLParser::CKestXMLParser() = default;
CKestXMLParser::~CKestXMLParser() = default;

CKestXMLParser::CKestXMLParser(const CKestXMLParser& other)
    : m_limits(other.m_limits), m_shiftJis(other.m_shiftJis), m_singleByte(other.m_singleByte),
      m_byteOrderMark(other.m_byteOrderMark), m_errorLine(other.m_errorLine), m_errorText(other.m_errorText) {}

CKestXMLParser& CKestXMLParser::operator=(const CKestXMLParser& other) {
  m_limits = other.m_limits;
  m_shiftJis = other.m_shiftJis;
  m_singleByte = other.m_singleByte;
  m_byteOrderMark = other.m_byteOrderMark;
  m_errorLine = other.m_errorLine;
  m_errorText = other.m_errorText;
  return *this;
}

void CKestXMLParser::SetLimits(const Limits& limits) { m_limits = limits; }

int CKestXMLParser::ParseFile(const char* path, bool severalRoots) {
  CString content;
  if (path == nullptr || !CKestFile::ReadAll(path, content, m_limits.bytes)) {
    std::uint64_t size = 0;
    const bool tooLarge =
        path != nullptr && IsYes(CKestOS::GetMachine().GetFileSize(path, size)) && size > m_limits.bytes;
    m_errorLine = 0;
    m_errorText = tooLarge ? "the document is too large" : "the file cannot be read";
    return tooLarge ? kRefused : kUnreadable;
  }
  return ParseLines(content, severalRoots);
}

int CKestXMLParser::ParseLines(std::string_view content, bool severalRoots) {
  Session session(*this);
  return session.Run(content, true, severalRoots);
}

int CKestXMLParser::Parse(const char* text, int length, int) {
  Session session(*this);
  return session.Run(text == nullptr || length < 0 ? std::string_view()
                                                   : std::string_view(text, static_cast<std::size_t>(length)),
                     false, false);
}

bool CKestXMLParser::MayRewrite(std::string_view) const { return true; }
int CKestXMLParser::OnPreProcessLine(CString&) { return 0; }
void CKestXMLParser::OnElementStart(const char*, CKestXMLAttributes&) {}
void CKestXMLParser::OnElementEnd(const char*) {}
void CKestXMLParser::OnCData(const char*, int) {}
void CKestXMLParser::OnCDataSectionStart() {}
void CKestXMLParser::OnCDataSectionEnd() {}
void CKestXMLParser::OnComment(const char*) {}
void CKestXMLParser::OnDefault(const char*, int) {}

int CKestXMLParser::GetCurrentLine() const { return m_session == nullptr ? 0 : m_session->GetLine(); }

} // namespace kest
