#include "platform/windows/windows_machine_state.h"

#include "platform/text/path_component.h"
#include "platform/text/windows_path.h"

#include <aclapi.h>

namespace kest {
namespace {

using Kind = MachineError::Kind;

// As long as a program that looks into new files takes with one, as a rule.
constexpr int kTries = 25;
constexpr DWORD kPause = 20;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// Where an open file or folder really lies, in the form without limits.
std::wstring FinalPathOf(HANDLE handle) {
  std::wstring path(512, L'\0');
  for (;;) {
    const DWORD length = GetFinalPathNameByHandleW(handle, path.data(), static_cast<DWORD>(path.size()), 0);
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(length + 1);
  }
}

/// A folder, links followed; for looking alone where the user may not list it.
WindowsHandle OpenFolderAt(const std::wstring& path, DWORD share) {
  for (const DWORD access : {DWORD{FILE_LIST_DIRECTORY | SYNCHRONIZE}, DWORD{FILE_READ_ATTRIBUTES}}) {
    WindowsHandle handle(
        CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (handle.IsOpen() || ::GetLastError() != ERROR_ACCESS_DENIED) {
      return handle;
    }
  }
  return {};
}

bool IsBelow(const std::wstring& path, const std::wstring& root) {
  return path.size() >= root.size() &&
         CompareStringOrdinal(path.c_str(), static_cast<int>(root.size()), root.c_str(), static_cast<int>(root.size()),
                              TRUE) == CSTR_EQUAL &&
         (path.size() == root.size() || path[root.size()] == L'\\');
}

std::wstring WithoutBackslashAtEnd(std::wstring path) {
  while (!path.empty() && path.back() == L'\\') {
    path.pop_back();
  }
  return path;
}

bool IsLost(DWORD code) {
  return code == ERROR_SHARING_VIOLATION || code == ERROR_ACCESS_DENIED || code == ERROR_LOCK_VIOLATION;
}

/// A rename that also takes the place of a file that is open with all sharing, where the system knows it.
bool RenamePosix(const std::wstring& from, const std::wstring& to) {
  constexpr auto kRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
  constexpr DWORD kReplaceAsPosix = 3;
  const WindowsHandle file(CreateFileW(from.c_str(), DELETE | SYNCHRONIZE, kShareAll, nullptr, OPEN_EXISTING,
                                       FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  std::vector<char> buffer(sizeof(FILE_RENAME_INFO) + to.size() * sizeof(wchar_t));
  auto* const info = reinterpret_cast<FILE_RENAME_INFO*>(buffer.data());
  const DWORD flags = kReplaceAsPosix;
  memcpy(info, &flags, sizeof flags); // the flags stand where older systems have a truth value
  info->FileNameLength = static_cast<DWORD>(to.size() * sizeof(wchar_t));
  memcpy(info->FileName, to.data(), info->FileNameLength);
  return file.IsOpen() &&
         SetFileInformationByHandle(file.Get(), kRenameInfoEx, info, static_cast<DWORD>(buffer.size())) != FALSE;
}

/// Whether the failure is that somebody has the file open, and no lack of rights.
bool IsHeld(const std::wstring& path) {
  const WindowsHandle file(
      CreateFileW(path.c_str(), DELETE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  return !file.IsOpen() && ::GetLastError() == ERROR_SHARING_VIOLATION;
}

} // namespace

Answer WindowsMachine::State::AnswerForMiss(bool quiet) {
  (void)quiet;
  if (error.kind == Kind::kNotFound || error.kind == Kind::kRefused) {
    return Answer::kNo;
  }
  return owner->NoteUnanswered(error);
}

bool WindowsMachine::State::OpenFolder(const CString& path, WindowsPlace& folder) {
  WindowsPath parsed;
  CString reason;
  if (!ParseWindowsPath(path, GetSystemCodePage(), parsed, reason)) {
    return Fail(Kind::kRefused, path, reason);
  }
  std::wstring wide = {L'\\', L'\\', L'?', L'\\', static_cast<wchar_t>(parsed.drive), L':'};
  const std::wstring root = wide + L'\\';
  for (const std::string_view part : parsed.parts) {
    // in this form Windows would make files of names that it otherwise takes for devices
    if (const char* why = JudgePathComponent(part)) {
      return Fail(Kind::kRefused, path, CString("the name ") + why);
    }
    wide += L'\\' + ToWide(part);
  }
  wide += parsed.parts.empty() ? L"\\" : L"";
  // not shared for deletion: as long as it is open, nobody puts a link in its place
  WindowsHandle handle = OpenFolderAt(wide, FILE_SHARE_READ | FILE_SHARE_WRITE);
  if (!handle.IsOpen() && ::GetLastError() == ERROR_SHARING_VIOLATION) {
    handle = OpenFolderAt(wide, kShareAll);
  }
  if (!handle.IsOpen()) {
    const DWORD code = ::GetLastError();
    return Fail(code == ERROR_DIRECTORY ? ERROR_PATH_NOT_FOUND : code, path);
  }
  FILE_BASIC_INFO info{};
  if (!GetFileInformationByHandleEx(handle.Get(), FileBasicInfo, &info, sizeof info)) {
    return Fail(::GetLastError(), path);
  }
  if ((info.FileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    return Fail(ERROR_PATH_NOT_FOUND, path);
  }
  const std::wstring lies = WithoutBackslashAtEnd(FinalPathOf(handle.Get()));
  const WindowsHandle top = OpenFolderAt(root, kShareAll);
  const std::wstring drive = top.IsOpen() ? WithoutBackslashAtEnd(FinalPathOf(top.Get())) : std::wstring();
  if (lies.empty() || drive.empty() || !IsBelow(lies, drive)) {
    return Fail(Kind::kRefused, path, "a link leads out of the drive");
  }
  folder.folder = std::move(handle);
  folder.folderPath = lies;
  folder.storedFolder = CString{parsed.drive, ':'} + FromWide(lies.substr(drive.size())) + '\\';
  folder.path = path;
  return true;
}

bool WindowsMachine::State::FindEntry(const CString& path, WindowsPlace& place, bool mayEndInBackslash) {
  WindowsPath parsed;
  CString reason;
  if (!ParseWindowsPath(path, GetSystemCodePage(), parsed, reason) || parsed.parts.empty() ||
      (parsed.endsInBackslash && !mayEndInBackslash)) {
    return Fail(Kind::kRefused, path, reason.empty() ? CString("the path names a folder") : reason);
  }
  const std::string_view name = parsed.parts.back();
  if (const char* why = JudgePathComponent(name)) {
    return Fail(Kind::kRefused, path, CString("the name ") + why);
  }
  const auto cut = static_cast<std::size_t>(name.data() - path.data());
  if (!OpenFolder(path.substr(0, cut), place)) {
    error.path = path;
    return false;
  }
  place.path = path;
  place.name = ToWide(name);
  const HANDLE search = FindFirstFileExW((place.folderPath + L'\\' + place.name).c_str(), FindExInfoBasic, &place.found,
                                         FindExSearchNameMatch, nullptr, 0);
  if (search == INVALID_HANDLE_VALUE) {
    const DWORD code = ::GetLastError();
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_NO_MORE_FILES || Fail(code, path);
  }
  FindClose(search);
  place.exists = true;
  return true;
}

bool WindowsMachine::State::FindDeepest(const CString& path, WindowsPlace& folder, std::vector<CString>& rest) {
  WindowsPath parsed;
  CString reason;
  if (!ParseWindowsPath(path, GetSystemCodePage(), parsed, reason)) {
    return Fail(Kind::kRefused, path, reason);
  }
  rest.clear();
  for (std::size_t count = parsed.parts.size();; --count) {
    CString above = {parsed.drive, ':', '\\'};
    for (std::size_t i = 0; i < count; ++i) {
      above += CString(parsed.parts[i]) + '\\';
    }
    if (OpenFolder(above, folder)) {
      rest.assign(parsed.parts.begin() + static_cast<std::ptrdiff_t>(count), parsed.parts.end());
      return true;
    }
    if (count == 0 || error.kind != Kind::kNotFound) {
      error.path = path;
      return false;
    }
  }
}

bool WindowsMachine::State::MayChange(const WindowsPlace& place) {
  for (const std::wstring& folder : readOnlyFolders) {
    if (IsBelow(place.folderPath, folder)) {
      return Fail(Kind::kRefused, place.path, "the folder was opened for reading alone");
    }
  }
  return true;
}

WindowsHandle WindowsMachine::State::OpenFile(const WindowsPlace& place, DWORD access, DWORD share) {
  if (place.IsFolder()) {
    (void)Fail(Kind::kRefused, place.path, "it is no plain file");
    return {};
  }
  WindowsHandle file(CreateFileW(place.GetFull().c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
  if (!file.IsOpen()) {
    (void)Fail(::GetLastError(), place.path);
    return {};
  }
  if (GetFileType(file.Get()) != FILE_TYPE_DISK) {
    (void)Fail(Kind::kRefused, place.path, "it is no plain file");
    return {};
  }
  if (place.IsLink()) {
    const WindowsHandle top = OpenFolderAt(L"\\\\?\\" + ToWide(place.path.substr(0, 3)), kShareAll);
    if (!top.IsOpen() || !IsBelow(FinalPathOf(file.Get()), WithoutBackslashAtEnd(FinalPathOf(top.Get())))) {
      (void)Fail(Kind::kRefused, place.path, "a link leads out of the drive");
      return {};
    }
  }
  return file;
}

bool WindowsMachine::State::GetIdentity(const std::wstring& path, WindowsIdentity& identity, DWORD& links) {
  const WindowsHandle file(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                       FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  BY_HANDLE_FILE_INFORMATION info{};
  if (!file.IsOpen() || !GetFileInformationByHandle(file.Get(), &info)) {
    return false;
  }
  identity = {info.dwVolumeSerialNumber, (std::uint64_t{info.nFileIndexHigh} << 32) + info.nFileIndexLow};
  links = info.nNumberOfLinks;
  return true;
}

DWORD WindowsMachine::State::Rename(const std::wstring& from, const std::wstring& to, bool mayReplace) {
  const DWORD flags = MOVEFILE_WRITE_THROUGH | (mayReplace ? MOVEFILE_REPLACE_EXISTING : 0);
  DWORD code = 0;
  for (int i = 0; i < kTries; ++i) {
    if (MoveFileExW(from.c_str(), to.c_str(), flags)) {
      return 0;
    }
    code = ::GetLastError();
    if (!IsLost(code)) {
      return code;
    }
    if (mayReplace && RenamePosix(from, to)) {
      return 0;
    }
    const bool isHeld = IsHeld(from) || (mayReplace && IsHeld(to));
    if (code == ERROR_ACCESS_DENIED && !isHeld) {
      return code; // nobody lets go of what nobody holds
    }
    code = isHeld ? ERROR_SHARING_VIOLATION : code;
    Sleep(kPause);
  }
  return code;
}

std::wstring WindowsMachine::State::NewName(const std::wstring& folder) {
  static unsigned s_number = 0;
  std::wstring path;
  do {
    path = folder + L"\\~kest" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++s_number) + L".tmp";
  } while (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES);
  return path;
}

DWORD WindowsMachine::State::InheritRights(const std::wstring& path) {
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  auto* const name = const_cast<wchar_t*>(path.c_str());
  DWORD code = GetNamedSecurityInfoW(name, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list, nullptr,
                                     &descriptor);
  if (code != ERROR_SUCCESS) {
    return code;
  }
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  bool isOwn = list == nullptr || !GetSecurityDescriptorControl(descriptor, &control, &revision) ||
               (control & SE_DACL_PROTECTED) != 0;
  for (WORD i = 0; !isOwn && i < list->AceCount; ++i) {
    ACE_HEADER* entry = nullptr;
    isOwn = !GetAce(list, i, reinterpret_cast<void**>(&entry)) || (entry->AceFlags & INHERITED_ACE) == 0;
  }
  LocalFree(descriptor);
  if (isOwn) {
    return ERROR_SUCCESS;
  }
  ACL empty{};
  if (!InitializeAcl(&empty, sizeof empty, ACL_REVISION)) {
    return ::GetLastError();
  }
  return SetNamedSecurityInfoW(name, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | UNPROTECTED_DACL_SECURITY_INFORMATION,
                               nullptr, nullptr, &empty, nullptr);
}

} // namespace kest
