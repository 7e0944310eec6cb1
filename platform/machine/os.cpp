#include "platform/machine/os.h"

#include "platform/machine/no_machine.h"
#include "platform/text/path.h"

#include <algorithm>
#include <cstdlib>
#include <random>

#include <unistd.h>

namespace kest {

namespace {

constexpr int kNameTries = 64;
constexpr int kMostDerivedNames = 100000;
constexpr std::size_t kMostRegistryText = 259;
constexpr int kAppDataFolder = 0x1a;

// What belongs to the machine in force. Kept until the process has ended, as the last of all: whatever runs then may
// still ask.
struct InForce {
  Machine* machine = &GetNoMachine();
  CString tempFolder;   // with trailing backslash; empty until asked for
  CString madeTempRoot; // the shared temporary folder, when it was missing and made here
  pid_t owner = 0;      // a forked child must not remove its parent's folder
  bool keep = false;
};

InForce& State() {
  static auto* const state = new InForce;
  return *state;
}

Machine& Current() { return *State().machine; }

/// Whether surely nothing has the name.
bool IsFree(const CString& path) {
  return Current().FileExists(path) == Answer::kNo && Current().DirectoryExists(path) == Answer::kNo;
}

CString RandomName() {
  static std::random_device device;
  static constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuv";
  CString name;
  for (unsigned bits = device(), i = 0; i < 6; ++i, bits >>= 5) {
    name.push_back(kDigits[bits & 31]);
  }
  return name;
}

bool MakeTempFolder() {
  InForce& state = State();
  CString root;
  if (!Current().GetTempRoot(root)) {
    return false;
  }
  if (Current().DirectoryExists(root) == Answer::kNo) {
    if (!Current().CreateDirectory(root)) {
      return false;
    }
    state.madeTempRoot = root;
  }
  const CString prefix = WithBackslash(root) + "kest-" + std::to_string(getpid()) + "-";
  for (int i = 0; i < kNameTries; ++i) {
    const CString folder = prefix + RandomName();
    CString made = folder + '\\';
    if (Current().CreatePrivateDirectory(folder)) {
      state.tempFolder = std::move(made);
      state.owner = getpid();
      state.keep = false;
      static const bool registered = std::atexit(CKestOS::RemoveTempFolder) == 0;
      return registered;
    }
    if (!IsYes(Current().DirectoryExists(folder))) {
      return false;
    }
  }
  return false;
}

// At most `length` bytes, never half a character.
CString CutStem(std::string_view stem, std::size_t length) {
  std::size_t at = 0;
  while (at < stem.size()) {
    const std::size_t next = at + (text::IsLeadByte(stem[at]) ? 2 : 1);
    if (next > length) {
      break;
    }
    at = next;
  }
  return CString(stem.substr(0, at));
}

} // namespace

Machine::~Machine() {
  // whoever frees the machine in force leaves none behind, rather than a stray pointer
  if (State().machine == this) {
    State() = InForce();
    try {
      text::SetCodePage(0);
    } catch (const std::bad_alloc&) {
      return;
    }
  }
}

void CKestOS::SetMachine(Machine* machine) {
  RemoveTempFolder();
  State() = InForce();
  if (machine != nullptr) {
    State().machine = machine;
  }
  text::SetCodePage(Current().GetCodePage());
}

Machine& CKestOS::GetMachine() { return Current(); }

bool CKestOS::FileExists(const CString& path) { return IsYes(Current().FileExists(path)); }

bool CKestOS::CopyFile(const CString& from, const CString& to) { return Current().CopyFile(from, to); }

bool CKestOS::DeleteFile(const CString& path) { return Current().DeleteFile(path); }

bool CKestOS::MoveFile(const CString& from, const CString& to) { return Current().MoveFile(from, to); }

bool CKestOS::RenameFile(const CString& from, const CString& to) { return Current().MoveFile(from, to); }

bool CKestOS::MoveFileToTrash(const CString& path) { return Current().MoveFileToTrash(path); }

bool CKestOS::MakeFileWritable(const CString& path) {
  return Current().IsFileReadOnly(path) == Answer::kNo || Current().SetFileReadOnly(path, false);
}

bool CKestOS::IsFileReadOnly(const CString& path) { return IsYes(Current().IsFileReadOnly(path)); }

bool CKestOS::CanUpdateFile(const CString& path) { return Current().CanUpdateFile(path); }

bool CKestOS::GetFileDateTime(const CString& path, CKestDateTime& date) {
  return IsYes(Current().GetFileDateTime(path, date));
}

bool CKestOS::SetFileDateTime(const CString& path, const CKestDateTime& date) {
  return Current().SetFileDateTime(path, date);
}

bool CKestOS::GetFileVersionNumber(const CString& path, CKestVersionNumber& version) {
  return IsYes(Current().GetFileVersion(path, version));
}

bool CKestOS::GetTempPath(CString& path) {
  if (State().tempFolder.empty() && !MakeTempFolder()) {
    return false;
  }
  path = State().tempFolder;
  return true;
}

void CKestOS::RemoveTempFolder() {
  InForce& state = State();
  if (state.tempFolder.empty() || state.owner != getpid()) {
    return;
  }
  const CString folder = WithoutBackslash(state.tempFolder);
  if (!state.keep) {
    // a failure may have been a passing one; what cannot be removed now is tried again by the next call
    if (!Current().RemoveTree(folder) && !Current().RemoveTree(folder) &&
        Current().DirectoryExists(folder) != Answer::kNo) {
      return;
    }
    if (!state.madeTempRoot.empty()) {
      static_cast<void>(Current().RemoveDirectory(state.madeTempRoot));
    }
  }
  state.tempFolder.clear();
  state.madeTempRoot.clear();
  state.keep = false;
}

void CKestOS::KeepTempFolder() { State().keep = true; }

bool CKestOS::GetTempFileName(const CString& folder, const CString& prefix, CString& path) {
  if (folder.empty()) {
    return false;
  }
  const CString begin = WithBackslash(folder) + prefix.substr(0, 3);
  for (int i = 0; i < kNameTries; ++i) {
    const CString candidate = begin + RandomName() + ".tmp";
    if (const auto file = Current().Open(candidate, OpenMode::kCreateNew)) {
      if (!file->Close()) {
        static_cast<void>(Current().DeleteFile(candidate));
        return false;
      }
      path = candidate;
      return true;
    }
    if (IsFree(candidate)) {
      return false;
    }
  }
  return false;
}

bool CKestOS::DeriveUniqueFileName(CString& path, int stemLength) {
  const CKestPath given(path);
  CString folder;
  CString stem;
  given.Split(folder, stem);
  if (stem.empty() || folder.empty() || stemLength < 1 || !IsYes(Current().DirectoryExists(folder))) {
    return false;
  }
  CString ending;
  if (const std::size_t dot = stem.rfind('.'); dot != CString::npos) {
    ending = stem.substr(dot);
    stem.resize(dot);
  }
  const auto most = static_cast<std::size_t>(stemLength);
  for (int i = 0; i < kMostDerivedNames; ++i) {
    const CString number = i == 0 ? CString() : std::to_string(i);
    if (number.size() > most) {
      return false;
    }
    const CString candidate = folder + CutStem(stem, most - number.size()) + number + ending;
    if (IsFree(candidate)) {
      path = candidate;
      return true;
    }
  }
  return false;
}

CString CKestOS::GetShortPathName(const CString& path) { return path; }

bool CKestOS::DirectoryExists(const CString& path) { return IsYes(Current().DirectoryExists(path)); }

bool CKestOS::CreateDirectory(const CString& path, bool withParents) {
  if (!withParents && !IsYes(Current().DirectoryExists(CKestPath(path).GetParent() + '\\'))) {
    return false;
  }
  return Current().CreateDirectory(path);
}

bool CKestOS::RemoveDirectory(const CString& path) { return Current().RemoveDirectory(path); }

bool CKestOS::IsDirectoryEmpty(const CString& path) {
  std::vector<FolderEntry> entries;
  return IsYes(Current().ListFolder(path, entries)) && entries.empty();
}

bool CKestOS::IsDirectoryEmptyExceptFor(const CString& path, const CKestTypedList<CKestString>& names, bool& holdsAny) {
  holdsAny = false;
  std::vector<FolderEntry> entries;
  if (!IsYes(Current().ListFolder(path, entries))) {
    return false;
  }
  for (const FolderEntry& entry : entries) {
    const bool listed = std::any_of(names.begin(), names.end(),
                                    [&](const CString& name) { return text::EqualNoCase(name, entry.name); });
    if (!listed || !entry.isFolder || entry.isLink) {
      return false;
    }
  }
  holdsAny = !entries.empty();
  return true;
}

bool CKestOS::GetSystemFolder(CString& path) { return Current().GetSystemFolder(path); }

bool CKestOS::GetFontsFolder(CString& path) { return Current().GetFontsFolder(path); }

bool CKestOS::GetCurrentProcessPath(CString& path) { return Current().GetCurrentProcessPath(path); }

void CKestOS::InitMultiUserMembers() { Current().InitMultiUserMembers(); }

bool CKestOS::IsSupportedMultiUserSystem() { return Current().IsSupportedMultiUserSystem(); }

bool CKestOS::GetCurrentUserType(int& type) { return Current().GetCurrentUserType(type); }

bool CKestOS::GetSharedAppDataPath(CString& path) { return Current().GetSharedAppDataPath(path); }

bool CKestOS::GetCurrentUserAppDataPath(CString& path) { return Current().GetCurrentUserAppDataPath(path); }

bool CKestOS::GetAppDataPathFor(const CString& user, CString& path) { return Current().GetAppDataPathFor(user, path); }

bool CKestOS::GetAllUserAppDataPaths(CKestTypedList<CKestString>& paths) {
  std::vector<CString> found;
  if (!Current().GetAllUserAppDataPaths(found)) {
    return false;
  }
  paths.Clear();
  for (CString& path : found) {
    paths.Append(std::move(path));
  }
  return true;
}

bool CKestOS::ExtractUserName(const CString& path, CString& user) { return Current().ExtractUserName(path, user); }

bool CKestOS::SHGetFolderPath(int csidl, CString& path) {
  CString found;
  if (csidl != kAppDataFolder || !Current().GetCurrentUserAppDataPath(found) || found.empty()) {
    return false;
  }
  path = WithoutBackslash(std::move(found));
  return true;
}

int CKestOS::GetOperatingSystemVersion() { return Current().GetOperatingSystemVersion(); }

void CKestOS::EnumProcs(const std::function<bool(const CString&)>& callback) { Current().EnumProcs(callback); }

void CKestOS::WinExec(const CString& commandLine, int /*show*/) { Current().WinExec(commandLine); }

void CKestOS::AllowBackgroundProcessing() { Current().AllowBackgroundProcessing(); }

bool CKestOS::RegistryKeyExists(RegistryRoot root, const CString& key) {
  return IsYes(Current().RegistryKeyExists(root, key));
}

bool CKestOS::ReadRegistryString(RegistryRoot root, const CString& key, const CString& name, CString& data) {
  CString found;
  if (!IsYes(Current().ReadRegistryString(root, key, name, found)) || found.size() > kMostRegistryText) {
    return false;
  }
  data = std::move(found);
  return true;
}

bool CKestOS::WriteRegistryString(RegistryRoot root, const CString& key, const CString& name, const CString& data) {
  return Current().WriteRegistryString(root, key, name, data);
}

bool CKestOS::DeleteRegistryValue(RegistryRoot root, const CString& key, const CString& name) {
  return Current().DeleteRegistryValue(root, key, name);
}

bool CKestOS::EnumRegistryValues(RegistryRoot root, const CString& key, std::vector<RegistryValue>& values) {
  return IsYes(Current().EnumRegistryValues(root, key, values));
}

void CKestOS::AddFontResource(const CString& path) { Current().AddFontResource(path); }

void CKestOS::RemoveFontResource(const CString& path) { Current().RemoveFontResource(path); }

void CKestOS::BroadcastFontChange() { Current().BroadcastFontChange(); }

} // namespace kest
