#include "products/quarry.h"

#include "products/discovery.h"

namespace kest {

namespace {

constexpr const char* kFamilyName = "quarry";

} // namespace

void CKestQuarry::Initialize() {
  CString key;
  CString valueName;
  GetAppRegKey(key);
  GetAppRegValName(valueName);
  CString folder;
  if (ReadMachineValue(key, valueName, folder)) {
    m_version = CKestVersionNumber("2.0");
    SetPaths(folder, CString());
  }
}

void CKestQuarry::SetPaths(const CString& installFolder, const CString&) {
  m_installFolder = CKestPath(WithBackslash(installFolder));
  GetExtensionsFolderFor(m_installFolder, m_extensionsFolder);
}

void CKestQuarry::GetExtensionsFolderFor(const CKestPath& binPath, CKestPath& out) const {
  out = CKestPath(WithBackslash(JoinPath({binPath.GetText(), "Extensions"})));
}

bool CKestQuarry::IsInstalled() const { return !m_installFolder.IsEmpty(); }
bool CKestQuarry::IsRunning() const { return false; }
void CKestQuarry::GetInstallFolder(CString& folder) const { folder = m_installFolder.GetText(); }
void CKestQuarry::GetExtensionsFolder(CString& folder) const { folder = m_extensionsFolder.GetText(); }
bool CKestQuarry::BelongsTo(const char* path) const { return LiesBelow(path, m_installFolder); }
bool CKestQuarry::CanDelete(const char*) const { return true; }
void CKestQuarry::Refresh() const {}
bool CKestQuarry::RequiresRestart(const char*, bool) const { return false; }
bool CKestQuarry::RequiresRestart(CKestExtension*, bool) const { return false; }
void CKestQuarry::GetBazaarName(CString& name) const { name = kFamilyName; }
void CKestQuarry::GetVersion(CKestVersionNumber& version) const { version = m_version; }

bool CKestQuarry::Supports(const char* productName, const char* version) const {
  return productName != nullptr && text::StartsWithNoCase(productName, kFamilyName) &&
         m_version.Compare(version != nullptr ? version : "") >= 0;
}

void CKestQuarry::GetProductFamily(CString& family) const { family = "Quarry"; }
bool CKestQuarry::IsFolderPartOfInstall(const CString&, CString&) const { return false; }

void CKestQuarry::MapTokens(const CString&, const CString&, CKestTokenMap& tokens) const {
  tokens[kFamilyName] = m_installFolder.GetText();
}

void CKestQuarry2::GetName(CString& name) const { name = "Quarry 2"; }
bool CKestQuarry2::IsSupported() const { return false; }
int CKestQuarry2::GetAppSignature() const { return SignatureOf("QRY2"); }
double CKestQuarry2::GetAppSignatureVersion() const { return 2.0; }
void CKestQuarry2::GetAppRegKey(CString& key) const { key = "Software\\Kestrel\\Quarry\\2\\Installation"; }
void CKestQuarry2::GetAppRegValName(CString& name) const { name = "InstallPath"; }

} // namespace kest
