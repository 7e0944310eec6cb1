#include "products/marlin.h"

#include "platform/os.h"
#include "products/discovery.h"

namespace kest {

namespace {

constexpr const char* kFamilyName = "marlin";
constexpr const char* kMakerFolder = "Kestrel";
constexpr int kApplicationData = 0x1a;

constexpr AnimationToolConstants kMarlin5 = {"Marlin 5", 5.0, SignatureOf("MRL5"),
                                             "Software\\Kestrel\\Marlin\\5\\Installation"};
constexpr AnimationToolConstants kMarlin6 = {"Marlin Nova", 6.0, SignatureOf("MRL6"),
                                             "Software\\Kestrel\\Marlin\\6\\Installation"};

/// Folders of the program that files go to even when the rest goes to the user's configuration.
constexpr const char* kProgramFolders[] = {"configuration\\include\\", "configuration\\helpmrf\\"};

void EnsureFolder(const CString& folder) {
  if (!CKestOS::DirectoryExists(folder)) {
    // a folder that cannot be made shows when something is to be put there
    static_cast<void>(CKestOS::CreateDirectory(folder, true));
  }
}

} // namespace

CKestMarlin::CKestMarlin(const AnimationToolConstants& constants) : m_name(constants.name), m_constants(constants) {}

void CKestMarlin::Initialize() {
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
  m_version = found.version;
  SetPaths(CKestPath(found.path).GetFolder(), CString());
}

void CKestMarlin::SetPaths(const CString& installFolder, const CString&) {
  m_installFolder = CKestPath(WithBackslash(installFolder));
  m_configurationFolder = m_installFolder;
  GetExtensionsFolderFor(m_installFolder, m_extensionsFolder);
}

void CKestMarlin::GetName(CString& name) const { name = m_name; }

void CKestMarlin::GetExtensionsFolderFor(const CKestPath& binPath, CKestPath& out) const {
  out = CKestPath(WithBackslash(JoinPath({binPath.GetText(), "Extensions"})));
}

bool CKestMarlin::IsInstalled() const { return !m_installFolder.IsEmpty(); }

bool CKestMarlin::IsRunning() const {
  FoundProgram found;
  return FindRunningProgram(GetExecutableFileName(), GetAppSignatureVersion(), found);
}

void CKestMarlin::GetInstallFolder(CString& folder) const { folder = m_installFolder.GetText(); }
void CKestMarlin::GetExtensionsFolder(CString& folder) const { folder = m_extensionsFolder.GetText(); }
bool CKestMarlin::BelongsTo(const char* path) const { return LiesBelow(path, m_installFolder); }
bool CKestMarlin::CanDelete(const char*) const { return !IsRunning(); }
void CKestMarlin::Refresh() const {}
bool CKestMarlin::RequiresRestart(const char*, bool) const { return true; }
bool CKestMarlin::RequiresRestart(CKestExtension*, bool) const { return true; }
void CKestMarlin::GetBazaarName(CString& name) const { name = kFamilyName; }
bool CKestMarlin::IsSupported() const { return true; }
void CKestMarlin::GetVersion(CKestVersionNumber& version) const { version = m_version; }

bool CKestMarlin::Supports(const char* productName, const char* version) const {
  return productName != nullptr && text::StartsWithNoCase(productName, kFamilyName) &&
         m_version.Compare(version != nullptr ? version : "") >= 0;
}

void CKestMarlin::GetProductFamily(CString& family) const { family = "Marlin"; }
int CKestMarlin::GetAppSignature() const { return m_constants.signature; }
double CKestMarlin::GetAppSignatureVersion() const { return m_constants.signatureVersion; }
void CKestMarlin::GetAppRegKey(CString& key) const { key = m_constants.registryKey; }
void CKestMarlin::GetAppRegValName(CString& name) const { name = "InstallPath"; }
void CKestMarlin::GetExecutableFileName(CString& name) const { name = "Marlin.exe"; }

void CKestMarlin::MapTokens(const CString&, const CString&, CKestTokenMap& tokens) const {
  tokens[kFamilyName] = m_installFolder.GetText();
}

CKestMarlin5::CKestMarlin5() : CKestMarlin(kMarlin5) {}

CKestMarlin6::CKestMarlin6() : CKestMarlin(kMarlin6) {}

void CKestMarlin6::SetPaths(const CString& installFolder, const CString&) {
  m_programFolder = CKestPath(installFolder);
  CString folder;
  GetConfigurationPath(folder, true, kUser);
  m_installFolder = CKestPath(folder);
  m_configurationFolder = m_installFolder;
  GetExtensionsFolderFor(m_installFolder, m_extensionsFolder);
}

void CKestMarlin6::GetProgramFolder(CString& folder) const { folder = m_programFolder.GetText(); }
bool CKestMarlin6::SupportsMultiUser() const { return true; }

void CKestMarlin6::MassageDestination(CString& destination) const {
  for (const char* folder : kProgramFolders) {
    const int at = text::FindNoCase(destination, folder);
    if (at >= 0) {
      destination = m_programFolder.GetText() + destination.substr(static_cast<std::size_t>(at));
      return;
    }
  }
}

bool CKestMarlin6::GetCurrentUserPath(CString& out, ConfigPathType type) const {
  if (type == kUser) {
    CString folder;
    if (CKestOS::SHGetFolderPath(kApplicationData, folder)) {
      out = WithBackslash(folder);
    }
  } else {
    out = CKestPath(m_programFolder).GetFolder();
  }
  return !out.empty();
}

void CKestMarlin6::GetConfigurationPath(CString& out, unsigned int resourceId, bool create, ConfigPathType type) const {
  GetConfigurationPath(out, create, type);
  if (out.empty()) {
    return;
  }
  out += LoadMessage(static_cast<Message>(resourceId)) + "\\";
  if (create) {
    EnsureFolder(out);
  }
}

void CKestMarlin6::GetConfigurationPath(CString& out, bool create, ConfigPathType type) const {
  CString path;
  if (!GetCurrentUserPath(path, type)) {
    out.clear();
    return;
  }
  if (type == kUser) {
    for (const CString& folder : {CString(kMakerFolder), m_name}) {
      path += folder;
      EnsureFolder(path);
      path += '\\';
    }
  }
  path += CString(type == kFirstRun ? "First Run" : "Configuration") + "\\";
  if (create) {
    EnsureFolder(path);
  }
  out = path;
}

} // namespace kest
