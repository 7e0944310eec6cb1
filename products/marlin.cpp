#include "products/marlin.h"

#include "platform/machine/os.h"

namespace kest {

namespace {

constexpr const char* kMakerFolder = "Kestrel";
constexpr int kApplicationData = 0x1a;

constexpr ProductConstants kMarlin5 = {"Marlin 5",
                                       5.0,
                                       SignatureOf("MRL5"),
                                       "Marlin",
                                       "marlin",
                                       "Marlin.exe",
                                       "Software\\Kestrel\\Marlin\\5\\Installation",
                                       true,
                                       Restart::kAlways};
constexpr ProductConstants kMarlin6 = {"Marlin Nova",
                                       6.0,
                                       SignatureOf("MRL6"),
                                       "Marlin",
                                       "marlin",
                                       "Marlin.exe",
                                       "Software\\Kestrel\\Marlin\\6\\Installation",
                                       true,
                                       Restart::kAlways};

/// Folders of the program that files go to even when the rest goes to the user's configuration.
constexpr const char* kProgramFolders[] = {"configuration\\include\\", "configuration\\helpmrf\\"};

void EnsureFolder(const CString& folder) {
  if (!CKestOS::DirectoryExists(folder)) {
    // a folder that cannot be made shows when something is to be put there
    static_cast<void>(CKestOS::CreateDirectory(folder, true));
  }
}

} // namespace

bool CKestMarlin::CanDelete(const char*) const { return !IsRunning(); }

CKestMarlin5::CKestMarlin5() : CKestMarlin(kMarlin5) {}

CKestMarlin6::CKestMarlin6() : CKestMarlin(kMarlin6) {}

void CKestMarlin6::SetPaths(const CString& installFolder, const CString&) {
  m_programFolder = CKestPath(installFolder);
  CString folder;
  GetConfigurationPath(folder, true, kUser);
  m_installFolder = CKestPath(folder);
  GetExtensionsFolderFor(m_installFolder, m_extensionsFolder);
}

void CKestMarlin6::GetProgramFolder(CString& folder) const { folder = m_programFolder.GetText(); }
bool CKestMarlin6::SupportsMultiUser() const { return true; }

void CKestMarlin6::MassageDestination(CString& destination) const {
  for (const char* folder : kProgramFolders) {
    const int at = text::FindNoCase(destination, folder);
    if (at >= 0) {
      destination = WithBackslash(m_programFolder) + destination.substr(static_cast<std::size_t>(at));
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
    for (const CString& folder : {CString(kMakerFolder), GetName()}) {
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
