#include "config/config_sets.h"

#include "config/config_file.h"
#include "config/generic_xml_file.h"

namespace kest {
namespace {
constexpr std::string_view kToolbars = "toolbars.xml";
}

template <class Derived>
std::unique_ptr<CKestXmlFile> PlacedConfigChanges<Derived>::CreateConfigFile(bool /*existing*/) const {
  if constexpr (Derived::kPlace.text) {
    return std::make_unique<CKestTextConfigFile>();
  } else {
    return std::make_unique<CKestGenericXmlFile>();
  }
}

template class PlacedConfigChanges<CKestDocumentTypeConfigChanges>;
template class PlacedConfigChanges<CKestTagLibraryConfigChanges>;
template class PlacedConfigChanges<CKestInsertbarConfigChanges>;
template class PlacedConfigChanges<CKestSourceFormatChanges>;
template class PlacedConfigChanges<CKestFTPExtensionMapChanges>;
template class PlacedConfigChanges<CKestExtensionsChanges>;

void CKestToolbarConfigChanges::BuildXml(int level, CString& text) const {
  BuildSetXml(level, "file", AllowNewFile() ? std::string_view(m_fileName) : std::string_view(), text);
}

std::unique_ptr<CKestXmlFile> CKestToolbarConfigChanges::CreateConfigFile(bool existing) const {
  auto file = std::make_unique<CKestGenericXmlFile>();
  if (!existing) {
    file->AppendChild(std::make_unique<CKestXmlMisc>("<?xml version=\"1.0\"?>"));
    file->AppendChild(
        std::make_unique<CKestXmlMisc>("<!DOCTYPE toolbarset SYSTEM \"-//Kestrel//TMExtension toolbar 5.0\">"));
    file->AppendChild(std::make_unique<CKestXmlObject>("toolbarset"));
  }
  return file;
}

void CKestToolbarConfigChanges::GetFolder(CString& folder) const { folder = "Toolbars"; }
bool CKestToolbarConfigChanges::AllowNewFile() const { return !text::EqualNoCase(m_fileName, kToolbars); }

bool CKestToolbarConfigChanges::HasSafePath() const {
  return !m_fileName.empty() && m_fileName != "." && m_fileName.find_first_of("/\\") == CString::npos &&
         CKestConfigChanges::HasSafePath();
}

} // namespace kest
