#include "products/tidemark.h"

#include "description/extension.h"
#include "platform/machine/os.h"
#include "products/legacy_conversion.h"

namespace kest {

namespace {

constexpr const char* kFamily = "Tidemark";
constexpr const char* kFamilyName = "tidemark";
constexpr const char* kVantageName = "vantage";
constexpr const char* kConfiguration = "Configuration";
constexpr const char* kExtensions = "Extensions";
constexpr const char* kReloadArgument = "-krjs=tm.reloadExtensions();";
constexpr const char* kLastThatCannotReload = "3.0.644";
constexpr int kSharedConfigurationUser = 2;
constexpr int kShowNormal = 1;
constexpr int kCommandType = 1;
constexpr int kObjectType = 2;

constexpr const char* kTidemark3Paths[] = {"Software\\Kestrel\\Tidemark\\3\\Installation\\InstallPath"};
constexpr const char* kTidemark4Paths[] = {"Software\\Kestrel\\Tidemark\\4\\Installation\\InstallPath"};
constexpr const char* kTidemark6Paths[] = {"Software\\Kestrel\\Tidemark\\6\\Installation\\InstallPath",
                                           "Software\\Kestrel\\Tidemark\\6\\Registration\\Location",
                                           "Software\\Kestrel\\Tidemark 6\\Registration\\Location",
                                           "Software\\Kestrel\\Tidemark 6 Beta 3\\Registration\\Location",
                                           "Software\\Kestrel\\Tidemark 6 Beta 3\\Installation\\InstallPath",
                                           "Software\\Kestrel\\Tidemark 6 Beta 2\\Registration\\Location"};

constexpr WebEditorConstants kTidemark3 = {
    {"Tidemark 3", 3.0, SignatureOf("TDM3"), kFamily, kFamilyName, "Tidemark.exe", "", true, Restart::kButForCommands},
    "",
    kTidemark3Paths,
    false};
constexpr WebEditorConstants kTidemark4 = {
    {"Tidemark 4", 4.0, SignatureOf("TDM4"), kFamily, kFamilyName, "Tidemark.exe", "", true, Restart::kButForCommands},
    "",
    kTidemark4Paths,
    false};
constexpr WebEditorConstants kTidemark6 = {{"Tidemark Nova", 6.0, SignatureOf("TDM6"), kFamily, kFamilyName,
                                            "Tidemark.exe", "", true, Restart::kButForCommands},
                                           "TidemarkD.exe",
                                           kTidemark6Paths,
                                           true};

std::string_view Given(const char* value) { return value != nullptr ? value : ""; }

/// The declared name without its version: up to the first digit, blanks at its end gone; all of it without a digit.
std::string_view NameWithoutVersion(std::string_view name) {
  const std::size_t digit = name.find_first_of("0123456789");
  if (digit == std::string_view::npos) {
    return name;
  }
  name = name.substr(0, digit);
  while (!name.empty() && text::Trimmed(name.substr(name.size() - 1)).empty()) {
    name.remove_suffix(1);
  }
  return name;
}

} // namespace

CKestTidemark::CKestTidemark(const WebEditorConstants& constants)
    : CKestShippedProduct(constants.product), m_constants(constants) {}

void CKestTidemark::Initialize() {
  FoundProgram found;
  if (FindEditor(found)) {
    TakeFound(found);
  }
}

bool CKestTidemark::FindEditor(FoundProgram& found) {
  if (FindRunningProgram(GetExecutableFileName(), GetAppSignatureVersion(), found)) {
    return true;
  }
  CString debugName;
  GetDebugExecutableFileName(debugName);
  return (!debugName.empty() && FindRunningProgram(debugName, GetAppSignatureVersion(), found)) ||
         FindInRegistry(found);
}

bool CKestTidemark::FindInRegistry(FoundProgram& found) {
  CKestTypedList<CKestString> registryPaths;
  GetAppRegPaths(registryPaths);
  CString debugName;
  GetDebugExecutableFileName(debugName);
  for (const CKestString& registryPath : registryPaths) {
    CString value;
    if (!ReadMachineValue(registryPath, value)) {
      continue;
    }
    std::vector<CString> candidates;
    if (text::ContainsNoCase(value, ".exe")) {
      candidates = {value};
    } else {
      const CString folder = WithBackslash(value);
      DetermineExecutableFileName(folder);
      candidates = {folder + GetExecutableFileName()};
      if (!debugName.empty()) {
        candidates.push_back(folder + debugName);
      }
    }
    for (const CString& candidate : candidates) {
      if (CKestOS::GetFileVersionNumber(candidate, found.version)) {
        found.path = candidate;
        return true;
      }
    }
  }
  return false;
}

void CKestTidemark::SetPaths(const CString& installFolder, const CString& userName) {
  const CString configuration = GetConfigurationFolderName();
  m_userConfigurationSelected = false;
  m_installFolder = CKestPath(WithBackslash(installFolder));
  DetermineExecutableFileName(m_installFolder);
  m_sharedConfigurationFolder = CKestPath(WithBackslash(JoinPath({installFolder, configuration})));
  if (SupportsMultiUser() && CKestOS::IsSupportedMultiUserSystem()) {
    SetUserFolders(userName);
  } else {
    m_userFolder = m_installFolder;
    m_configurationFolder = m_sharedConfigurationFolder;
    m_sharedExtensionsFolder = CKestPath();
  }
  m_helpFolder = CKestPath(WithBackslash(JoinPath({installFolder, "Help"})));
  m_extensionsFolder = CKestPath(WithBackslash(JoinPath({m_configurationFolder.GetText(), kExtensions})));
}

void CKestTidemark::SetUserFolders(const CString& userName) {
  const CString configuration = GetConfigurationFolderName();
  CKestPath shared;
  // a machine that cannot tell a folder leaves it empty, and paths made of it lead nowhere
  static_cast<void>(GetSharedBinPath(shared));
  CKestPath base;
  int type = 0;
  if (!userName.empty()) {
    m_userConfigurationSelected = true;
    static_cast<void>(GetUserBinPathFor(userName, base));
    m_userFolder = base;
  } else if (CKestOS::GetCurrentUserType(type) && type == kSharedConfigurationUser) {
    m_userFolder = m_installFolder;
    base = shared;
  } else {
    static_cast<void>(GetCurrentUserBinPath(base));
    m_userFolder = base;
  }
  m_configurationFolder = CKestPath(JoinPath({base.GetText(), configuration}));
  m_sharedExtensionsFolder = CKestPath(JoinPath({shared.GetText(), configuration, kExtensions}));
}

void CKestTidemark::GetConfigurationFolderName(CString& name) const { name = kConfiguration; }

void CKestTidemark::GetSharedExtensionsFolder(CString& folder) const { folder = m_sharedExtensionsFolder.GetText(); }

bool CKestTidemark::BelongsTo(const char* path) const {
  return LiesBelow(path, m_installFolder) || LiesBelow(path, m_userFolder);
}

void CKestTidemark::Refresh() const {
  CKestOS::WinExec(m_installFolder.GetText() + GetExecutableFileName() + " " + kReloadArgument, kShowNormal);
}

bool CKestTidemark::RequiresRestart(CKestExtension* extension, bool installing) const {
  if (extension == nullptr) {
    return false;
  }
  if (!installing || m_version.Compare(kLastThatCannotReload) <= 0) {
    return true;
  }
  return extension->GetType() != kCommandType && extension->GetType() != kObjectType;
}

bool CKestTidemark::Supports(const char* productName, const char* version) const {
  const std::string_view name = NameWithoutVersion(Given(productName));
  if (text::StartsWithNoCase(kFamilyName, name)) {
    return m_version.Compare(Given(version)) >= 0;
  }
  return text::EqualNoCase(Given(productName), kVantageName) && m_version.Compare("6") >= 0 &&
         CKestVersionNumber(Given(version)).Compare("4") <= 0;
}

void CKestTidemark::GetAppRegPaths(CKestTypedList<CKestString>& paths) const {
  for (const char* path : m_constants.registryPaths) {
    paths.Append(path);
  }
}

void CKestTidemark::GetDebugExecutableFileName(CString& name) const { name = m_constants.debugExecutable; }

void CKestTidemark::GetTransientFolders(CKestTypedList<CKestString>& names) const {
  names.Clear();
  names.Append("_notes");
}

void CKestTidemark::GetTransientFileExtensions(CKestTypedList<CKestString>& extensions) const {
  extensions.Clear();
  extensions.Append("kno");
}

bool CKestTidemark::SupportsMultiUser() const { return m_constants.multiUser; }
bool CKestTidemark::SupportsMultiUserAdmin() const { return m_constants.multiUser; }

void CKestTidemark::MapTokens(const CString& destination, const CString& userFolder, CKestTokenMap& tokens) const {
  const bool perUser = SupportsMultiUser() && CKestOS::IsSupportedMultiUserSystem() &&
                       text::ContainsNoCase(destination, GetConfigurationFolderName() + "\\");
  const CString& ofUser = userFolder.empty() ? m_userFolder.GetText() : userFolder;
  tokens[kFamilyName] = perUser ? ofUser : m_installFolder.GetText();
  tokens[kVantageName] = tokens[kFamilyName];
}

CKestTidemark3::CKestTidemark3() : CKestTidemark(kTidemark3) {}

void CKestTidemark3::MapTokens(const CString&, const CString&, CKestTokenMap& tokens) const {
  tokens[kFamilyName] = GetInstallFolder();
}

CKestTidemark4::CKestTidemark4() : CKestTidemark(kTidemark4) {}

void CKestTidemark4::MapTokens(const CString&, const CString&, CKestTokenMap& tokens) const {
  tokens[kFamilyName] = GetInstallFolder();
}

CKestTidemark6::CKestTidemark6() : CKestTidemark(kTidemark6) {}

void CKestTidemark6::MassageExtension(CKestExtension* extension) const {
  if (extension != nullptr) {
    ConvertForVersion6(*extension);
  }
}

} // namespace kest
