#include "products/prism.h"

#include "description/extension.h"
#include "platform/os.h"
#include "products/discovery.h"

namespace kest {

namespace {

constexpr const char* kFamilyName = "prism";
constexpr int kCommandType = 1;

constexpr const char* kPrism3Executables[] = {"Prism 3.exe", "Prism 3J.exe"};
constexpr const char* kPrism4Executables[] = {"Prism 4.exe", "Prism 4J.exe"};
constexpr const char* kPrism6Executables[] = {"Prism.exe"};

constexpr GraphicsEditorConstants kPrism3 = {
    "Prism 3",          3.0,        SignatureOf("PRM3"), "Software\\Kestrel\\Prism\\3\\Installation",
    kPrism3Executables, "Settings", "Configuration",     false};
constexpr GraphicsEditorConstants kPrism4 = {"Prism 4",           4.0,
                                             SignatureOf("PRM4"), "Software\\Kestrel\\Prism\\4\\Installation",
                                             kPrism4Executables,  "Configuration",
                                             "Settings",          true};
constexpr GraphicsEditorConstants kPrism6 = {"Prism Nova",        6.0,
                                             SignatureOf("PRM6"), "Software\\Kestrel\\Prism\\6\\Installation",
                                             kPrism6Executables,  "Configuration",
                                             "Settings",          true};

} // namespace

CKestPrism::CKestPrism(const GraphicsEditorConstants& constants)
    : m_constants(constants), m_name(constants.name), m_executable(constants.executables.front()) {}

void CKestPrism::Initialize() {
  FoundProgram found;
  if (!FindRunningProgram(GetExecutableFileName(), GetAppSignatureVersion(), found)) {
    CString key;
    CString valueName;
    GetAppRegKey(key);
    GetAppRegValName(valueName);
    CString folder;
    if (!ReadMachineValue(key, valueName, folder)) {
      return;
    }
    folder = WithBackslash(folder);
    DetermineExecutableFileName(folder);
    found.path = folder + GetExecutableFileName();
    if (!CKestOS::GetFileVersionNumber(found.path, found.version)) {
      return;
    }
  }
  SetVersion(found.version);
  SetPaths(CKestPath(found.path).GetFolder(), CString());
}

void CKestPrism::SetPaths(const CString& installFolder, const CString&) {
  m_installFolder = CKestPath(WithBackslash(installFolder));
  m_configurationFolder = CKestPath(WithBackslash(JoinPath({installFolder, GetConfigurationFolderName()})));
  m_extensionsFolder = CKestPath(WithBackslash(JoinPath({m_configurationFolder.GetText(), "Extensions"})));
}

void CKestPrism::GetName(CString& name) const { name = m_name; }
void CKestPrism::GetConfigurationFolderName(CString& name) const { name = m_constants.configurationFolder; }

void CKestPrism::GetExtensionsFolderFor(const CKestPath& binPath, CKestPath& out) const {
  out = CKestPath(WithBackslash(JoinPath({binPath.GetText(), GetConfigurationFolderName(), "Extensions"})));
}

bool CKestPrism::IsInstalled() const { return !m_installFolder.IsEmpty(); }

bool CKestPrism::IsRunning() const {
  FoundProgram found;
  return FindRunningProgram(GetExecutableFileName(), GetAppSignatureVersion(), found);
}

void CKestPrism::GetInstallFolder(CString& folder) const { folder = m_installFolder.GetText(); }
void CKestPrism::GetExtensionsFolder(CString& folder) const { folder = m_extensionsFolder.GetText(); }
bool CKestPrism::BelongsTo(const char* path) const { return LiesBelow(path, m_installFolder); }
bool CKestPrism::CanDelete(const char*) const { return true; }
void CKestPrism::Refresh() const {}

bool CKestPrism::RequiresRestart(const char* path, bool installing) const {
  return path != nullptr && installing && text::ContainsNoCase(path, "JSExtensions");
}

bool CKestPrism::RequiresRestart(CKestExtension* extension, bool) const {
  return extension == nullptr || extension->GetType() != kCommandType;
}

void CKestPrism::GetBazaarName(CString& name) const { name = kFamilyName; }
bool CKestPrism::IsSupported() const { return m_constants.supported; }
void CKestPrism::GetVersion(CKestVersionNumber& version) const { version = m_version; }
void CKestPrism::SetVersion(CKestVersionNumber& version) { m_version = version; }

bool CKestPrism::Supports(const char* productName, const char* version) const {
  return productName != nullptr && text::StartsWithNoCase(productName, kFamilyName) &&
         m_version.Compare(version != nullptr ? version : "") >= 0;
}

void CKestPrism::GetProductFamily(CString& family) const { family = "Prism"; }
int CKestPrism::GetAppSignature() const { return m_constants.signature; }
double CKestPrism::GetAppSignatureVersion() const { return m_constants.signatureVersion; }
void CKestPrism::GetAppRegKey(CString& key) const { key = m_constants.registryKey; }
void CKestPrism::GetAppRegValName(CString& name) const { name = "InstallPath"; }

void CKestPrism::MassageDestination(CString& destination) const {
  const auto asFolder = [](const char* name) { return CString("\\") + name + "\\"; };
  text::ReplaceAllNoCase(destination, asFolder(m_constants.foreignConfigurationFolder),
                         asFolder(m_constants.configurationFolder));
}

void CKestPrism::DetermineExecutableFileName(const CString& installFolder) {
  for (const char* name : m_constants.executables) {
    if (CKestOS::FileExists(installFolder + name)) {
      m_executable = name;
      return;
    }
  }
}

void CKestPrism::GetExecutableFileName(CString& name) const { name = m_executable; }

void CKestPrism::MapTokens(const CString&, const CString&, CKestTokenMap& tokens) const {
  tokens[kFamilyName] = m_installFolder.GetText();
}

CKestPrism3::CKestPrism3() : CKestPrism(kPrism3) {}
CKestPrism4::CKestPrism4() : CKestPrism(kPrism4) {}
CKestPrism6::CKestPrism6() : CKestPrism(kPrism6) {}

} // namespace kest
