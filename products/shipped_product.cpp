#include "products/shipped_product.h"

#include "description/extension.h"
#include "platform/machine/os.h"

namespace kest {

namespace {

constexpr int kCommandType = 1;
constexpr const char* kCompiledScripts = "JSExtensions";

} // namespace

CKestShippedProduct::CKestShippedProduct(const ProductConstants& constants)
    : m_constants(constants), m_name(constants.name), m_executable(constants.executable) {}

void CKestShippedProduct::Initialize() {
  FoundProgram found;
  if (FindProgram(found)) {
    TakeFound(found);
  }
}

void CKestShippedProduct::SetPaths(const CString& installFolder, const CString&) {
  m_installFolder = CKestPath(WithBackslash(installFolder));
  GetExtensionsFolderFor(m_installFolder, m_extensionsFolder);
}

void CKestShippedProduct::TakeFound(const FoundProgram& found) {
  m_version = found.version;
  SetPaths(CKestPath(found.path).GetFolder(), CString());
}

bool CKestShippedProduct::FindProgram(FoundProgram& found) {
  if (FindRunningProgram(GetExecutableFileName(), GetAppSignatureVersion(), found)) {
    return true;
  }
  CString key;
  CString valueName;
  GetAppRegKey(key);
  GetAppRegValName(valueName);
  CString folder;
  if (!ReadMachineValue(key, valueName, folder)) {
    return false;
  }
  folder = WithBackslash(folder);
  DetermineExecutableFileName(folder);
  found.path = folder + GetExecutableFileName();
  return CKestOS::GetFileVersionNumber(found.path, found.version);
}

void CKestShippedProduct::ChooseExecutable(std::span<const char* const> names, const CString& installFolder) {
  for (const char* name : names) {
    if (CKestOS::FileExists(installFolder + name)) {
      m_executable = name;
      return;
    }
  }
}

void CKestShippedProduct::GetName(CString& name) const { name = m_name; }

void CKestShippedProduct::GetExtensionsFolderFor(const CKestPath& binPath, CKestPath& out) const {
  out = CKestPath(WithBackslash(JoinPath({binPath.GetText(), GetConfigurationFolderName(), "Extensions"})));
}

bool CKestShippedProduct::IsInstalled() const { return !m_installFolder.IsEmpty(); }

bool CKestShippedProduct::IsRunning() const {
  FoundProgram found;
  return FindRunningProgram(GetExecutableFileName(), GetAppSignatureVersion(), found);
}

void CKestShippedProduct::GetInstallFolder(CString& folder) const { folder = m_installFolder.GetText(); }
void CKestShippedProduct::GetExtensionsFolder(CString& folder) const { folder = m_extensionsFolder.GetText(); }
bool CKestShippedProduct::BelongsTo(const char* path) const { return LiesBelow(path, m_installFolder); }
bool CKestShippedProduct::CanDelete(const char*) const { return true; }
void CKestShippedProduct::Refresh() const {}

bool CKestShippedProduct::RequiresRestart(const char* path, bool installing) const {
  if (m_constants.restart == Restart::kButForCommands) {
    return path != nullptr && installing && text::ContainsNoCase(path, kCompiledScripts);
  }
  return m_constants.restart == Restart::kAlways;
}

bool CKestShippedProduct::RequiresRestart(CKestExtension* extension, bool) const {
  if (m_constants.restart == Restart::kButForCommands) {
    return extension == nullptr || extension->GetType() != kCommandType;
  }
  return m_constants.restart == Restart::kAlways;
}

void CKestShippedProduct::GetBazaarName(CString& name) const { name = m_constants.token; }
bool CKestShippedProduct::IsSupported() const { return m_constants.supported; }
void CKestShippedProduct::GetVersion(CKestVersionNumber& version) const { version = m_version; }

bool CKestShippedProduct::Supports(const char* productName, const char* version) const {
  return productName != nullptr && text::StartsWithNoCase(productName, m_constants.token) &&
         m_version.Compare(version != nullptr ? version : "") >= 0;
}

void CKestShippedProduct::GetProductFamily(CString& family) const { family = m_constants.family; }
int CKestShippedProduct::GetAppSignature() const { return m_constants.signature; }
double CKestShippedProduct::GetAppSignatureVersion() const { return m_constants.signatureVersion; }

void CKestShippedProduct::GetAppRegKey(CString& key) const {
  if (m_constants.registryKey[0] != '\0') {
    key = m_constants.registryKey;
  }
}

void CKestShippedProduct::GetAppRegValName(CString& name) const {
  if (m_constants.registryKey[0] != '\0') {
    name = "InstallPath";
  }
}

void CKestShippedProduct::GetExecutableFileName(CString& name) const {
  if (!m_executable.empty()) {
    name = m_executable;
  }
}

void CKestShippedProduct::MapTokens(const CString&, const CString&, CKestTokenMap& tokens) const {
  tokens[m_constants.token] = m_installFolder.GetText();
}

} // namespace kest
