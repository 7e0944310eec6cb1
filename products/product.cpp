#include "products/product.h"

#include "description/description_index.h"
#include "platform/machine/file.h"
#include "platform/machine/os.h"

#include <algorithm>
#include <optional>

namespace kest {

namespace {

constexpr const char* kMakerFolder = "Kestrel";
constexpr const char* kDisabledFolder = "Disabled";
constexpr int kSharedConfigurationUser = 2;

template <class Get> CString Taken(Get get) {
  CString value;
  get(value);
  return value;
}

} // namespace

CKestTypedList<CString> CKestProduct::m_backedUpFiles;
CKestPath CKestProduct::m_sharedBinPath;
CKestPath CKestProduct::m_currentUserBinPath;

void CKestProduct::SetPaths(const CString&, const CString&) {}
void CKestProduct::GetConfigurationFolderName(CString&) const {}
void CKestProduct::GetProgramFolder(CString& folder) const { GetInstallFolder(folder); }
void CKestProduct::GetSharedExtensionsFolder(CString&) const {}
void CKestProduct::GetAppRegKey(CString&) const {}
void CKestProduct::GetAppRegValName(CString&) const {}
void CKestProduct::GetAppRegPaths(CKestTypedList<CKestString>&) const {}
void CKestProduct::MassageDestination(CString&) const {}
void CKestProduct::MassageExtension(CKestExtension*) const {}
void CKestProduct::DetermineExecutableFileName(const CString&) {}
void CKestProduct::GetExecutableFileName(CString&) const {}
void CKestProduct::GetDebugExecutableFileName(CString& name) const { name.clear(); }
void CKestProduct::GetTransientFolders(CKestTypedList<CKestString>& names) const { names.Clear(); }
void CKestProduct::GetTransientFileExtensions(CKestTypedList<CKestString>& extensions) const { extensions.Clear(); }

int CKestProduct::ProcessConfigChanges(CKestTypedVector<CKestExtensionInstallStep*>*, CKestExtensionManagerUI*,
                                       const CKestExtension*, OperationType) const {
  m_configProblems.clear();
  return 0;
}

int CKestProduct::ProcessHelpChanges(CKestTypedVector<CKestExtensionInstallStep*>*, CKestExtensionManagerUI*,
                                     const CKestExtension*, OperationType) const {
  m_configProblems.clear();
  return 0;
}

CString CKestProduct::GetName() const {
  return Taken([this](CString& value) { GetName(value); });
}
CString CKestProduct::GetConfigurationFolderName() const {
  return Taken([this](CString& value) { GetConfigurationFolderName(value); });
}
CString CKestProduct::GetInstallFolder() const {
  return Taken([this](CString& value) { GetInstallFolder(value); });
}
CString CKestProduct::GetProgramFolder() const {
  return Taken([this](CString& value) { GetProgramFolder(value); });
}
CString CKestProduct::GetExtensionsFolder() const {
  return Taken([this](CString& value) { GetExtensionsFolder(value); });
}
CString CKestProduct::GetExecutableFileName() const {
  return Taken([this](CString& value) { GetExecutableFileName(value); });
}

bool CKestProduct::IsInProductFamily(const CKestProduct& other) const {
  CString mine;
  CString theirs;
  GetProductFamily(mine);
  other.GetProductFamily(theirs);
  return text::CompareNoCase(mine, theirs) == 0;
}

bool CKestProduct::IsFolderPartOfInstall(const CString& folder, CString& installFolder) const {
  const CString executable = GetExecutableFileName();
  CKestPath path(folder);
  while (path.GetText() != "\\") {
    path.SetFileName(executable);
    if (CKestOS::FileExists(path)) {
      installFolder = path.GetFolder();
      return true;
    }
    const CString parent = CKestPath(path.GetFolder()).GetParent() + "\\";
    // a path without a drive has no root to end at
    if (parent.size() >= path.GetText().size()) {
      break;
    }
    path = CKestPath(parent);
  }
  return false;
}

CKestTypedList<CKestExtension*>* CKestProduct::GetExtensions() const {
  if (!IsInstalled()) {
    return nullptr;
  }
  auto list = std::make_unique<CKestTypedList<CKestExtension*>>();
  const auto addBoth = [&](const CString& folder, bool shared) {
    AddExtensionsFrom(folder, true, shared, list.get());
    AddExtensionsFrom(JoinPath({folder, kDisabledFolder}), false, shared, list.get());
  };
  addBoth(GetExtensionsFolder(), false);
  int type = 0;
  // the user whose configuration is the shared one has listed the shared folders as his own
  if (SupportsMultiUserAdmin() && CKestOS::IsSupportedMultiUserSystem() && CKestOS::GetCurrentUserType(type) &&
      type != kSharedConfigurationUser) {
    CString shared;
    GetSharedExtensionsFolder(shared);
    addBoth(shared, true);
  }
  return list->IsEmpty() ? nullptr : list.release();
}

void CKestProduct::AddExtensionsFrom(const CKestPath& folder, bool enabled, bool shared,
                                     CKestTypedList<CKestExtension*>* list) const {
  CString prefix = folder.GetText();
  if (prefix.empty() || text::FindLastBackslash(prefix) != prefix.size() - 1) {
    prefix += '\\';
  }
  std::vector<CString> names;
  CKestFileFinder finder;
  for (bool more = finder.FindFirst(prefix + "*.kei"); more; more = finder.FindNext()) {
    if (!finder.IsFolder()) {
      names.push_back(finder.GetFileName());
    }
  }
  std::optional<DescriptionIndex> index;
  if (names.size() >= DescriptionIndex::kWorthwhile) {
    index.emplace(prefix);
  }
  CKestExtensionFile::SharedDestinations destinations;
  for (const CString& name : names) {
    auto extension = std::make_unique<CKestExtension>();
    extension->SetPath(prefix + name);
    FileStamp stamp;
    const bool hasStamp = index && CKestOS::GetMachine().GetFileStamp(extension->GetPath(), stamp);
    if (!hasStamp || !index->Fill(name, stamp, *extension)) {
      if (extension->Load((prefix + name).c_str(), nullptr, nullptr, &destinations) != 0) {
        continue;
      }
      if (hasStamp) {
        extension->SetStamp(stamp, false);
      }
    }
    extension->SetEnabled(enabled);
    extension->SetShared(shared);
    list->Append(extension.release());
  }
}

void CKestProduct::BuildBinPath(const CString& root, CKestPath& out) const {
  out = CKestPath(WithBackslash(JoinPath({root, kMakerFolder, GetName()})));
}

bool CKestProduct::GetSharedBinPath(CKestPath& path) const {
  if (m_sharedBinPath.IsEmpty()) {
    CString root;
    if (!CKestOS::GetSharedAppDataPath(root)) {
      return false;
    }
    BuildBinPath(root, m_sharedBinPath);
  }
  path = m_sharedBinPath;
  return true;
}

bool CKestProduct::GetCurrentUserBinPath(CKestPath& path) const {
  if (m_currentUserBinPath.IsEmpty()) {
    CString root;
    if (!CKestOS::GetCurrentUserAppDataPath(root)) {
      return false;
    }
    BuildBinPath(root, m_currentUserBinPath);
  }
  path = m_currentUserBinPath;
  return true;
}

bool CKestProduct::GetUserBinPathFor(const CKestString& userName, CKestPath& path) const {
  CString root;
  if (!CKestOS::GetAppDataPathFor(userName, root)) {
    return false;
  }
  BuildBinPath(root, path);
  return true;
}

bool CKestProduct::GetAllUserBinPaths(CKestTypedList<CKestString>& paths) const {
  CKestTypedList<CKestString> roots;
  if (!CKestOS::GetAllUserAppDataPaths(roots)) {
    return false;
  }
  for (const CKestString& root : roots) {
    CKestPath path;
    BuildBinPath(root, path);
    paths.Append(path.GetText());
  }
  return true;
}

void CKestProduct::ResetBinPaths() {
  m_sharedBinPath = CKestPath();
  m_currentUserBinPath = CKestPath();
}

void CKestProduct::ClearBackedUpFileList() { m_backedUpFiles.Clear(); }
CKestTypedList<CString> CKestProduct::GetBackedUpFiles() { return m_backedUpFiles; }
void CKestProduct::SetBackedUpFiles(CKestTypedList<CString> files) { m_backedUpFiles = std::move(files); }
void CKestProduct::AddBackUpFile(const CString& path) { m_backedUpFiles.Append(path); }

bool CKestProduct::BackUpFileExists(const CString& path) {
  return std::find(m_backedUpFiles.begin(), m_backedUpFiles.end(), path) != m_backedUpFiles.end();
}

} // namespace kest
