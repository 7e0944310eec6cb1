#include "config/help_change.h"

#include "config/generic_xml_file.h"

namespace kest {

CKestHelpChanges::CKestHelpChanges() = default;
CKestHelpChanges::~CKestHelpChanges() = default;
CKestHelpChanges::CKestHelpChanges(const CKestHelpChanges& other) = default;
CKestHelpChanges& CKestHelpChanges::operator=(const CKestHelpChanges& other) = default;

std::unique_ptr<CKestXmlFile> CKestHelpChanges::CreateHelpFile() const {
  return std::make_unique<CKestGenericXmlFile>();
}
void CKestHelpChanges::GetFolder(CString& folder) const { folder.clear(); }
bool CKestHelpChanges::UseReferenceFile() const { return false; }

void CKestHelpChanges::GetPath(CString& path) const {
  CString name;
  GetFileName(name);
  GetFolder(path);
  if (!path.empty()) {
    path += '\\';
  }
  path += name;
}

void CKestStandardHelpChanges::GetFileName(CString& name) const { name.clear(); }
void CKestHelpBookChanges::GetFileName(CString& name) const { name = "help.xml"; }

CKestHelpChange::CKestHelpChange() = default;
CKestHelpChange::~CKestHelpChange() = default;
CKestHelpChange::CKestHelpChange(const CKestHelpChange& other) = default;
CKestHelpChange& CKestHelpChange::operator=(const CKestHelpChange& other) = default;

CString CKestHelpChange::DescribeInWords() const { return CKestXmlObject::GetTag(); }

} // namespace kest
