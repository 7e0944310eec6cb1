#include "config/generic_xml_file.h"

#include "config/pending_markup.h"
#include "platform/machine/file.h"
#include "platform/machine/os.h"

namespace kest {
namespace {

/// Reads what was built, to see whether it can be read.
class Probe : public CKestXMLParser {
public:
  int OnPreProcessLine(CString& line) override {
    text::ReplaceAll(line, "&&", "&amp;&amp;");
    text::ReplaceAll(line, "'", "&apos;");
    return 0;
  }
};

void RevertLine(CString& value) {
  text::ReplaceAll(value, "&amp;&amp;", "&&");
  text::ReplaceAll(value, "&apos;", "'");
}

} // namespace

int CKestGenericXmlFile::Load(const char* path, CKestTypedList<CKestString>* /*errors*/) {
  m_path = path ? path : "";
  RemoveAllChildren();
  CKestGenericXMLParser parser(this);
  return TakeResult(parser, parser.ParseFile(m_path.c_str(), false));
}

int CKestGenericXmlFile::LoadContent(std::string_view content) {
  RemoveAllChildren();
  CKestGenericXMLParser parser(this);
  return TakeResult(parser, parser.ParseLines(content, false));
}

int CKestGenericXmlFile::TakeResult(const CKestXMLParser& parser, int result) {
  m_singleByte = parser.IsSingleByte();
  m_byteOrderMark = parser.HasByteOrderMark();
  return result;
}

void CKestGenericXmlFile::BuildContent(CString& content) const {
  content += m_byteOrderMark ? "\xEF\xBB\xBF" : "";
  CString text;
  for (const auto& child : GetChildren()) {
    text.clear();
    child->BuildXml(0, text);
    RevertLine(text);
    content += text;
    content += "\r\n";
  }
}

int CKestGenericXmlFile::Save(const char* path) {
  if (!path) {
    return -1;
  }
  CString content;
  BuildContent(content);
  Probe probe;
  if (probe.ParseLines(content, false) != CKestXMLParser::kGood) {
    return -1;
  }
  if (CKestOS::IsFileReadOnly(path)) {
    CKestOS::MakeFileWritable(path);
  }
  return CKestFile::WriteAll(path, content) ? 0 : -1;
}

CKestGenericXMLParser::CKestGenericXMLParser(CKestXmlFile* file) : m_stack{file} {}

int CKestGenericXMLParser::OnPreProcessLine(CString& line) {
  text::ReplaceAll(line, "&&", "&amp;&amp;");
  text::ReplaceAll(line, "'", "&apos;");
  return 0;
}

void CKestGenericXMLParser::OnElementStart(const char* name, CKestXMLAttributes& attributes) {
  std::unique_ptr<CKestXmlObject> object;
  if (text::EqualNoCase(name, "comment")) {
    object = std::make_unique<CKestXmlComment>();
    m_inComment = true;
  } else {
    object = std::make_unique<CKestXmlObject>(name);
    for (const char* attribute = attributes.GetFirstAttr(); attribute; attribute = attributes.GetNextAttr()) {
      object->AppendAttribute(attribute, attributes.GetValue());
    }
  }
  m_stack.push_back(Top()->AppendChild(std::move(object)));
}

void CKestGenericXMLParser::OnElementEnd(const char* name) {
  if (m_stack.size() < 2) {
    return;
  }
  if (text::EqualNoCase(name, "comment")) {
    m_inComment = false;
    m_stack.pop_back();
  } else if (Top()->HasTag(name)) {
    m_stack.pop_back();
  }
}

void CKestGenericXMLParser::OnCData(const char* text, int length) {
  std::string_view piece(text, static_cast<std::size_t>(length));
  if (m_inComment) {
    if (auto* comment = dynamic_cast<CKestXmlComment*>(Top())) {
      comment->AppendText(piece.substr(0, piece.find("</")));
    }
    return;
  }
  piece = m_inCData ? piece.substr(0, piece.find("]]>")) : text::Trimmed(piece);
  if (piece.empty()) {
    return;
  }
  Top()->AppendValue(piece);
  Top()->SetInCData(m_inCData);
}

void CKestGenericXMLParser::OnCDataSectionStart() { m_inCData = true; }
void CKestGenericXMLParser::OnCDataSectionEnd() { m_inCData = false; }
void CKestGenericXMLParser::OnComment(const char* /*text*/) {}

void CKestGenericXMLParser::OnDefault(const char* text, int length) {
  CString piece(text, static_cast<std::size_t>(length));
  RevertLine(piece);
  if (auto misc = CollectMarkup(m_pending, piece)) {
    Top()->AppendChild(std::move(misc));
  }
}

} // namespace kest
