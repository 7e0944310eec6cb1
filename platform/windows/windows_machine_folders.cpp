#include "platform/machine/listing_order.h"
#include "platform/machine/shared_lock.h"
#include "platform/text/code_page.h"
#include "platform/windows/windows_machine_state.h"

#include <algorithm>
#include <set>

#include <aclapi.h>
#include <sddl.h>

// Folders, volumes, durability and the right to write.

namespace kest {
namespace {

using Kind = MachineError::Kind;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// One for all users and sessions of the PC.
constexpr const wchar_t* kWriterLock = L"Global\\Kest writer";

bool IsDots(const wchar_t* name) { return wcscmp(name, L".") == 0 || wcscmp(name, L"..") == 0; }

/// Hands each entry of a folder to `take` until it answers false. 0, or an error of Windows.
template <class Take> DWORD ForEachEntry(const std::wstring& folder, const Take& take) {
  WIN32_FIND_DATAW found{};
  const HANDLE search =
      FindFirstFileExW((folder + L"\\*").c_str(), FindExInfoBasic, &found, FindExSearchNameMatch, nullptr, 0);
  if (search == INVALID_HANDLE_VALUE) {
    const DWORD code = ::GetLastError();
    return code == ERROR_FILE_NOT_FOUND ? 0 : code; // the root of an empty drive
  }
  bool goesOn = true;
  do {
    goesOn = IsDots(found.cFileName) || take(found);
  } while (goesOn && FindNextFileW(search, &found));
  const DWORD code = goesOn ? ::GetLastError() : ERROR_NO_MORE_FILES;
  FindClose(search);
  return code == ERROR_NO_MORE_FILES ? 0 : code;
}

/// 0, ERROR_DIR_NOT_EMPTY, or why it cannot be told.
DWORD LookIfEmpty(const std::wstring& folder) {
  bool isEmpty = true;
  const DWORD code = ForEachEntry(folder, [&](const WIN32_FIND_DATAW&) { return isEmpty = false; });
  return code != 0 ? code : isEmpty ? 0 : ERROR_DIR_NOT_EMPTY;
}

/// Everything below a folder, links themselves alone. The first failure; the rest goes all the same.
DWORD EmptyFolder(const std::wstring& folder) {
  std::vector<WIN32_FIND_DATAW> entries;
  DWORD first = ForEachEntry(folder, [&](const WIN32_FIND_DATAW& found) {
    entries.push_back(found);
    return true;
  });
  for (const WIN32_FIND_DATAW& entry : entries) {
    const std::wstring path = folder + L'\\' + entry.cFileName;
    const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const bool isLink = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    DWORD code = isFolder && !isLink ? EmptyFolder(path) : 0;
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0) {
      SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    if (code == 0 && !(isFolder ? RemoveDirectoryW(path.c_str()) : DeleteFileW(path.c_str()))) {
      code = ::GetLastError();
    }
    first = first != 0 ? first : code;
  }
  return first;
}

/// The two ends of a folder's rename, both to be changed; the target is free.
bool FindFolderMove(WindowsMachine::State& state, const CString& from, const CString& to, WindowsPlace& source,
                    WindowsPlace& target) {
  if (!state.FindExisting(from, source, true) || !state.FindEntry(to, target, true) || !state.MayChange(source) ||
      !state.MayChange(target)) {
    return false;
  }
  if (!source.IsFolder()) {
    return state.Fail(Kind::kRefused, from, "it is no folder");
  }
  return !target.exists || state.Fail(ERROR_ALREADY_EXISTS, to);
}

/// As Windows writes it; empty when it cannot be told.
CString TextOf(PSID user) {
  LPSTR text = nullptr;
  if (!ConvertSidToStringSidA(user, &text)) {
    return {};
  }
  CString copy(text);
  LocalFree(text);
  return copy;
}

CString CurrentUserId() {
  HANDLE opened = nullptr;
  char buffer[256];
  DWORD size = 0;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened)) {
    return {};
  }
  const WindowsHandle token(opened);
  const bool isTold = GetTokenInformation(token.Get(), TokenUser, buffer, sizeof buffer, &size) != FALSE;
  return isTold ? TextOf(reinterpret_cast<TOKEN_USER*>(buffer)->User.Sid) : CString();
}

constexpr std::string_view kSystemId = "S-1-5-18";
constexpr std::string_view kAdministratorsId = "S-1-5-32-544";

/// A private folder is the user's; besides the user only the system comes in.
CString PrivateRights() {
  const CString user = CurrentUserId();
  return user.empty() ? user : "O:" + user + "D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;" + user + ")";
}

/// Whether nobody else is let in.
bool IsForOne(ACL* list, const CString& user) {
  for (WORD i = 0; list != nullptr && i < list->AceCount; ++i) {
    ACE_HEADER* entry = nullptr;
    if (!GetAce(list, i, reinterpret_cast<void**>(&entry))) {
      return false;
    }
    if (entry->AceType == ACCESS_DENIED_ACE_TYPE) {
      continue;
    }
    if (entry->AceType != ACCESS_ALLOWED_ACE_TYPE) {
      return false;
    }
    const CString who = TextOf(&reinterpret_cast<ACCESS_ALLOWED_ACE*>(entry)->SidStart);
    if (who != user && who != kSystemId && who != kAdministratorsId) {
      return false;
    }
  }
  return list != nullptr;
}

bool TryLock(HANDLE mutex) {
  const DWORD got = WaitForSingleObject(mutex, 0);
  return got == WAIT_OBJECT_0 || got == WAIT_ABANDONED;
}

/// Keeps programs of the other system from changing the prefix as long as `file` is open. 0, ERROR_LOCK_VIOLATION while
/// one does, or another error.
DWORD LockPrefix(WindowsHandle& file) {
  if (!IsWine()) {
    return 0;
  }
  file = WindowsHandle(CreateFileW(ToWide(shared_lock::kFile).c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr,
                                   OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  OVERLAPPED at{};
  at.Offset = shared_lock::kAt;
  const bool isLocked =
      file.IsOpen() && LockFileEx(file.Get(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &at);
  const DWORD code = isLocked ? 0 : ::GetLastError();
  if (code != 0) {
    file.Reset();
  }
  return code;
}

std::wstring VolumeOf(const std::wstring& path) {
  std::wstring root(path.size() + 2, L'\0');
  if (!GetVolumePathNameW(path.c_str(), root.data(), static_cast<DWORD>(root.size()))) {
    return {};
  }
  root.resize(wcslen(root.c_str()));
  return root;
}

} // namespace

Answer WindowsMachine::DirectoryExists(const CString& path) {
  const MachineError keep = m_state->error;
  WindowsPlace folder;
  const Answer answer = m_state->OpenFolder(path, folder) ? Answer::kYes : m_state->AnswerForMiss(true);
  if (answer != Answer::kCannotTell) {
    m_state->error = keep;
  }
  return answer;
}

bool WindowsMachine::CreateDirectory(const CString& path) {
  WindowsPlace folder;
  std::vector<CString> rest;
  if (!m_state->FindDeepest(path, folder, rest)) {
    return false;
  }
  for (const CString& part : rest) {
    WindowsPlace place;
    if (!m_state->FindEntry(folder.storedFolder + part, place) || !m_state->MayChange(place)) {
      return false;
    }
    if (place.exists && !place.IsFolder()) {
      return m_state->Fail(Kind::kExists, path, "a file has the name");
    }
    if (!place.exists && !CreateDirectoryW(place.GetAsAsked().c_str(), nullptr) &&
        ::GetLastError() != ERROR_ALREADY_EXISTS) {
      return m_state->Fail(::GetLastError(), path);
    }
    const CString next = folder.storedFolder + part + '\\';
    if (!m_state->OpenFolder(next, folder)) {
      return false;
    }
  }
  return true;
}

bool WindowsMachine::CreatePrivateDirectory(const CString& path) {
  WindowsPlace place;
  if (!m_state->FindEntry(path, place, true) || !m_state->MayChange(place)) {
    return false;
  }
  if (place.exists) {
    return m_state->Fail(ERROR_ALREADY_EXISTS, path);
  }
  SECURITY_ATTRIBUTES rights{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  const CString wanted = PrivateRights();
  if (wanted.empty() || !ConvertStringSecurityDescriptorToSecurityDescriptorA(wanted.c_str(), SDDL_REVISION_1,
                                                                              &rights.lpSecurityDescriptor, nullptr)) {
    return m_state->Fail(::GetLastError(), path);
  }
  const bool isMade = CreateDirectoryW(place.GetAsAsked().c_str(), &rights) != FALSE;
  const DWORD code = ::GetLastError();
  LocalFree(rights.lpSecurityDescriptor);
  return isMade || m_state->Fail(code, path);
}

PrivateFolder WindowsMachine::LookAtPrivateFolder(const CString& path) {
  WindowsPlace place;
  if (!m_state->FindExisting(path, place, true) || !place.IsFolder()) {
    return PrivateFolder::kNo;
  }
  const WindowsHandle folder(CreateFileW(place.GetFull().c_str(), READ_CONTROL, kShareAll, nullptr, OPEN_EXISTING,
                                         FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  PSID owner = nullptr;
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (!folder.IsOpen() ||
      GetSecurityInfo(folder.Get(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner,
                      nullptr, &list, nullptr, &descriptor) != ERROR_SUCCESS) {
    return PrivateFolder::kNo;
  }
  const CString user = CurrentUserId();
  const bool isOurs = !user.empty() && TextOf(owner) == user && IsForOne(list, user);
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  // one made by hand takes its rights from the folder above; Wine forgets that
  const bool isMarked =
      IsWine() || (GetSecurityDescriptorControl(descriptor, &control, &revision) && (control & SE_DACL_PROTECTED) != 0);
  LocalFree(descriptor);
  return !isOurs ? PrivateFolder::kNo : isMarked ? PrivateFolder::kYes : PrivateFolder::kUnmarked;
}

bool WindowsMachine::RemoveDirectory(const CString& path) {
  WindowsPlace place;
  if (!m_state->FindExisting(path, place, true) || !m_state->MayChange(place)) {
    return false;
  }
  if (!place.IsFolder()) {
    return m_state->Fail(Kind::kRefused, path, "it is no folder");
  }
  return RemoveDirectoryW(place.GetFull().c_str()) || m_state->Fail(::GetLastError(), path);
}

bool WindowsMachine::MoveEmptyFolder(const CString& from, const CString& to) {
  WindowsPlace source;
  WindowsPlace target;
  if (!FindFolderMove(*m_state, from, to, source, target)) {
    return false;
  }
  const std::wstring first = source.GetFull();
  const std::wstring second = target.GetAsAsked();
  DWORD code = LookIfEmpty(first);
  code = code != 0 ? code : m_state->Rename(first, second, false);
  if (code != 0) {
    return m_state->Fail(code, from);
  }
  // somebody may have put a file there meanwhile
  code = LookIfEmpty(second);
  return code == 0 || m_state->Rename(second, first, false) != 0 || m_state->Fail(code, from);
}

bool WindowsMachine::MoveFolder(const CString& from, const CString& to) {
  WindowsPlace source;
  WindowsPlace target;
  if (!FindFolderMove(*m_state, from, to, source, target)) {
    return false;
  }
  const DWORD code = m_state->Rename(source.GetFull(), target.GetAsAsked(), false);
  return code == 0 || m_state->Fail(code, from);
}

bool WindowsMachine::RemoveTree(const CString& path) {
  WindowsPlace place;
  if (!m_state->FindExisting(path, place, true) || !m_state->MayChange(place)) {
    return false;
  }
  if (!place.IsFolder()) {
    return m_state->Fail(Kind::kRefused, path, "it is no folder");
  }
  const DWORD code = EmptyFolder(place.GetFull());
  return (code == 0 || m_state->Fail(code, path)) &&
         (RemoveDirectoryW(place.GetFull().c_str()) || m_state->Fail(::GetLastError(), path));
}

Answer WindowsMachine::ListFolder(const CString& path, std::vector<FolderEntry>& entries) {
  entries.clear();
  WindowsPlace folder;
  if (!m_state->OpenFolder(path, folder)) {
    return m_state->AnswerForMiss(false);
  }
  std::vector<FoldedEntry> folded;
  const DWORD code = ForEachEntry(folder.folderPath, [&](const WIN32_FIND_DATAW& found) {
    WindowsPlace entry;
    entry.found = found;
    entry.exists = true;
    const CString name = FromWide(found.cFileName);
    folded.emplace_back(FoldName(name, GetSystemCodePage()), FolderEntry{name, entry.IsFolder(), entry.IsLink()});
    return true;
  });
  if (code != 0) {
    return m_state->CannotTell(code, path);
  }
  AppendInOrder(std::move(folded), entries);
  return Answer::kYes;
}

// ---- volumes, durability
// ----------------------------------------------------------------------------------------------

bool WindowsMachine::SameVolume(const CString& a, const CString& b) {
  WindowsPlace first;
  WindowsPlace second;
  std::vector<CString> rest;
  if (!m_state->FindDeepest(a, first, rest) || !m_state->FindDeepest(b, second, rest)) {
    return false;
  }
  WindowsIdentity one;
  WindowsIdentity other;
  DWORD links = 0;
  return m_state->GetIdentity(first.folderPath + L'\\', one, links) &&
         m_state->GetIdentity(second.folderPath + L'\\', other, links) && one.volume == other.volume &&
         VolumeOf(first.folderPath) == VolumeOf(second.folderPath);
}

bool WindowsMachine::GetFreeSpace(const CString& path, std::uint64_t& bytes) {
  WindowsPlace folder;
  std::vector<CString> rest;
  ULARGE_INTEGER free{};
  if (!m_state->FindDeepest(path, folder, rest)) {
    return false;
  }
  if (!GetDiskFreeSpaceExW((folder.folderPath + L'\\').c_str(), &free, nullptr, nullptr)) {
    return m_state->Fail(::GetLastError(), path);
  }
  bytes = free.QuadPart;
  return true;
}

bool WindowsMachine::SyncPaths(const std::vector<CString>& paths) {
  std::set<std::wstring> folders;
  for (const CString& path : paths) {
    WindowsPlace folder;
    std::vector<CString> rest;
    if (!m_state->FindDeepest(path, folder, rest)) {
      if (m_state->error.kind == Kind::kNotFound) {
        continue;
      }
      return false;
    }
    folders.insert(folder.folderPath);
    WindowsPlace place;
    if (rest.size() != 1 || !m_state->FindEntry(folder.storedFolder + rest[0], place) || !place.exists ||
        place.IsFolder() || place.IsLink()) {
      continue;
    }
    // a file that is marked read-only was flushed before it got the mark, or cannot be
    WindowsHandle file(
        CreateFileW(place.GetFull().c_str(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    if (file.IsOpen() ? !FlushFileBuffers(file.Get()) : !place.IsReadOnly()) {
      return m_state->Fail(::GetLastError(), path);
    }
  }
  for (const std::wstring& folder : folders) {
    const WindowsHandle handle(CreateFileW((folder + L'\\').c_str(), FILE_ADD_FILE | SYNCHRONIZE, kShareAll, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (handle.IsOpen()) {
      FlushFileBuffers(handle.Get()); // where the system knows such a thing
    }
  }
  return true;
}

void WindowsMachine::StartSync(const CString& path) { static_cast<void>(path); }

// Every operation makes a private folder in the temporary folder, and removes it at its end.
ChangeMark WindowsMachine::GetChangeMark() {
  ChangeMark mark;
  CString temp;
  WindowsPlace folder;
  FILE_BASIC_INFO info{};
  const MachineError keep = m_state->error;
  if (GetTempRoot(temp) && m_state->OpenFolder(temp, folder) &&
      GetFileInformationByHandleEx(folder.folder.Get(), FileBasicInfo, &info, sizeof info)) {
    mark.state = std::to_string(info.LastWriteTime.QuadPart);
  }
  m_state->error = keep;
  mark.isChanging = !GetWriter().empty();
  return mark;
}

CString WindowsMachine::GetWriter() const {
  if (m_state->lockCount > 0) {
    return {};
  }
  const WindowsHandle lock(OpenMutexW(SYNCHRONIZE, FALSE, kWriterLock));
  if (lock.IsOpen()) {
    if (!TryLock(lock.Get())) {
      return "another program";
    }
    ReleaseMutex(lock.Get());
  }
  WindowsHandle file;
  return LockPrefix(file) == ERROR_LOCK_VIOLATION ? CString("a program outside the prefix") : CString();
}

WriterLock WindowsMachine::LockWriter(std::int64_t milliseconds) {
  if (m_state->lockCount > 0) {
    ++m_state->lockCount;
    return {true, {}};
  }
  // it goes with the process, however that ends
  SECURITY_ATTRIBUTES rights{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorA("D:(A;;0x1F0001;;;WD)", SDDL_REVISION_1,
                                                            &rights.lpSecurityDescriptor, nullptr)) {
    (void)m_state->Fail(::GetLastError(), "C:\\");
    return {};
  }
  WindowsHandle lock(CreateMutexW(&rights, FALSE, kWriterLock));
  LocalFree(rights.lpSecurityDescriptor);
  if (!lock.IsOpen()) {
    (void)m_state->Fail(::GetLastError(), "C:\\");
    return {};
  }
  const std::int64_t end = MonotonicMilliseconds() + std::max<std::int64_t>(milliseconds, 0);
  for (;;) {
    if (TryLock(lock.Get())) {
      const DWORD code = LockPrefix(m_state->prefixLock);
      if (code == 0) {
        break;
      }
      ReleaseMutex(lock.Get());
      if (code != ERROR_LOCK_VIOLATION) {
        (void)m_state->Fail(code, shared_lock::kFile);
        return {};
      }
    }
    if (MonotonicMilliseconds() >= end) {
      (void)m_state->Fail(Kind::kInUse, "C:\\", "another program is changing this machine");
      return {};
    }
    AllowBackgroundProcessing();
  }
  m_state->lock = std::move(lock);
  m_state->lockCount = 1;
  return {true, {}};
}

void WindowsMachine::UnlockWriter() {
  if (m_state->lockCount > 0 && --m_state->lockCount == 0) {
    m_state->prefixLock.Reset();
    ReleaseMutex(m_state->lock.Get());
    m_state->lock.Reset();
  }
}

void WindowsMachine::ForgetFolders() {}

} // namespace kest
