#include "config/config_change.h"

#include "platform/text/path.h"

namespace kest {

CKestConfigChanges::CKestConfigChanges() = default;
CKestConfigChanges::~CKestConfigChanges() = default;
CKestConfigChanges::CKestConfigChanges(const CKestConfigChanges& other) = default;
CKestConfigChanges& CKestConfigChanges::operator=(const CKestConfigChanges& other) = default;

void CKestConfigChanges::GetLastResortAppendToID(CString& id) const { id.clear(); }
bool CKestConfigChanges::UseReferenceFile() const { return false; }
bool CKestConfigChanges::AllowNewFile() const { return false; }
bool CKestConfigChanges::AppendIfLocationNotFound() const { return false; }
CKestXmlObject* CKestConfigChanges::CreateLastResortObject(CKestXmlFile* /*file*/) const { return nullptr; }

bool CKestConfigChanges::GetLastResortId(CString& id) const {
  id.clear();
  return false;
}

void CKestConfigChanges::GetPath(CString& path) const {
  CString name;
  GetFileName(name);
  GetFolder(path);
  path += '\\';
  path += name;
}

bool CKestConfigChanges::HasSafePath() const {
  CString path;
  GetPath(path);
  // a slash separates for the file system just as well
  text::ReplaceAll(path, "/", "\\");
  return path.find(':') == CString::npos && path.find('\0') == CString::npos && !CKestPath::HasParentComponent(path);
}

void CKestConfigChanges::BuildSetXml(int level, std::string_view attribute, std::string_view value,
                                     CString& text) const {
  const CString indent(static_cast<std::size_t>(level), '\t');
  const CString tag = CKestXmlObject::GetTag();
  text += indent + "<" + tag;
  if (!value.empty()) {
    text.append(" ").append(attribute).append("=\"").append(value).append("\"");
  }
  text += ">\r\n";
  BuildInnerXml(level + 1, text);
  text += indent + "</" + tag + ">\r\n";
}

CKestConfigChange::CKestConfigChange() = default;
CKestConfigChange::~CKestConfigChange() = default;
CKestConfigChange::CKestConfigChange(const CKestConfigChange& other) = default;
CKestConfigChange& CKestConfigChange::operator=(const CKestConfigChange& other) = default;

std::string_view CKestConfigChange::ActionName(int action) {
  switch (action) {
  case kInsertBefore:
    return "insertBefore";
  case kInsertAfter:
    return "insertAfter";
  case kPrependTo:
    return "prependTo";
  default:
    return "appendTo";
  }
}

CKestConfigChange::ErrorCode
CKestConfigChange::PostMakeChange(ErrorCode result, const CKestProduct* /*product*/,
                                  CKestTypedVector<CKestExtensionInstallStep*>* /*steps*/) {
  return result;
}

CString CKestConfigChange::DescribeInWords() const { return CKestXmlObject::GetTag(); }

} // namespace kest
