#include "platform/windows/windows_machine.h"

#include "platform/machine/version_resource.h"
#include "platform/windows/windows_file.h"
#include "platform/windows/windows_machine_state.h"

#include <shellapi.h>

#include "platform/text/windows_names.h"

// Files of this PC. Folders, volumes and the lock stand in windows_machine_folders.cpp, everything that is no file in
// windows_machine_system.cpp.

namespace kest {
namespace {

using Kind = MachineError::Kind;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool HasAttribute(const WindowsPlace& place, DWORD attribute) {
  return (place.found.dwFileAttributes & attribute) != 0;
}

bool SetReadOnly(const std::wstring& path, DWORD attributes, bool readOnly) {
  const DWORD wanted =
      readOnly ? attributes | FILE_ATTRIBUTE_READONLY : attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
  return wanted == attributes || SetFileAttributesW(path.c_str(), wanted == 0 ? FILE_ATTRIBUTE_NORMAL : wanted);
}

/// The two ends of a rename, both to be changed.
bool FindPair(WindowsMachine::State& state, const CString& from, const CString& to, WindowsPlace& source,
              WindowsPlace& target) {
  return state.FindExisting(from, source) && state.MayChange(source) &&
         (!source.IsFolder() || state.Fail(Kind::kRefused, from, "it is a folder")) && state.FindEntry(to, target) &&
         state.MayChange(target) && (!target.IsFolder() || state.Fail(Kind::kExists, to, "a folder has the name"));
}

bool IsSameEntry(const WindowsPlace& a, const WindowsPlace& b) {
  return a.exists && b.exists && a.GetFull() == b.GetFull();
}

/// A rename, after which the file has the rights of where it lies.
bool MoveEntry(WindowsMachine::State& state, const WindowsPlace& source, const std::wstring& to, bool mayReplace) {
  const std::wstring from = source.GetFull();
  DWORD code = state.Rename(from, to, mayReplace);
  if (code != 0) {
    return state.Fail(code, source.path);
  }
  code = state.InheritRights(to);
  if (code != 0 && !mayReplace && state.Rename(to, from, false) == 0) {
    return state.Fail(code, source.path);
  }
  return true;
}

/// A copy under another name in the folder of `target`, complete and with the rights of that folder. Empty on failure.
std::wstring CopyBeside(WindowsMachine::State& state, const WindowsPlace& source, const WindowsPlace& target) {
  if (!state.OpenFile(source, GENERIC_READ, kShareAll).IsOpen()) {
    return {};
  }
  std::wstring copy = state.NewName(target.folderPath);
  BOOL isCancelled = FALSE;
  if (!CopyFileExW(source.GetFull().c_str(), copy.c_str(), nullptr, nullptr, &isCancelled, COPY_FILE_FAIL_IF_EXISTS)) {
    (void)state.Fail(::GetLastError(), target.path);
    DeleteFileW(copy.c_str());
    return {};
  }
  return copy;
}

bool CopyEntry(WindowsMachine::State& state, const WindowsPlace& source, const WindowsPlace& target, bool mayReplace) {
  const std::wstring copy = CopyBeside(state, source, target);
  if (copy.empty()) {
    return false;
  }
  const DWORD code = state.Rename(copy, mayReplace ? target.GetFull() : target.GetAsAsked(), mayReplace);
  if (code != 0) {
    SetFileAttributesW(copy.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(copy.c_str());
    return state.Fail(code, target.path);
  }
  return true;
}

/// Into the recycle bin, without a word. It knows no paths without limits.
bool Recycle(WindowsMachine::State& state, const std::wstring& path, const CString& asked) {
  constexpr std::wstring_view kNoLimits = L"\\\\?\\";
  std::wstring list = path.starts_with(kNoLimits) ? path.substr(kNoLimits.size()) : path;
  if (list.size() >= MAX_PATH) {
    return state.Fail(Kind::kRefused, asked, "the path is too long for the recycle bin");
  }
  list += L'\0';
  SHFILEOPSTRUCTW order{};
  order.wFunc = FO_DELETE;
  order.pFrom = list.c_str();
  order.fFlags = FOF_ALLOWUNDO | FOF_NOCONFIRMATION | FOF_NOERRORUI | FOF_SILENT;
  if (SHFileOperationW(&order) != 0 || order.fAnyOperationsAborted) {
    return state.Fail(Kind::kOther, asked, "the recycle bin did not take it");
  }
  return true;
}

} // namespace

WindowsMachine::WindowsMachine() : m_state(std::make_shared<State>()) { m_state->owner = this; }

WindowsMachine::~WindowsMachine() { m_state->owner = nullptr; }

bool WindowsMachine::IsUsable() const { return true; }

// ---- looking
// ----------------------------------------------------------------------------------------------------------

Answer WindowsMachine::FileExists(const CString& path) {
  const MachineError keep = m_state->error;
  WindowsPlace place;
  Answer answer = Answer::kNo;
  if (m_state->FindEntry(path, place)) {
    answer = place.exists && !HasAttribute(place, FILE_ATTRIBUTE_DIRECTORY) ? Answer::kYes : Answer::kNo;
  } else {
    answer = m_state->AnswerForMiss(true);
  }
  if (answer != Answer::kCannotTell) {
    m_state->error = keep;
  }
  return answer;
}

Answer WindowsMachine::GetFileSize(const CString& path, std::uint64_t& size) {
  WindowsPlace place;
  if (!m_state->FindExisting(path, place)) {
    return m_state->AnswerForMiss(false);
  }
  if (place.IsLink()) {
    const WindowsHandle file = m_state->OpenFile(place, FILE_READ_ATTRIBUTES, kShareAll);
    LARGE_INTEGER bytes{};
    if (!file.IsOpen() || !GetFileSizeEx(file.Get(), &bytes)) {
      return m_state->AnswerForMiss(false);
    }
    size = static_cast<std::uint64_t>(bytes.QuadPart);
    return Answer::kYes;
  }
  if (place.IsFolder()) {
    (void)m_state->Fail(Kind::kRefused, path, "it is no plain file");
    return Answer::kNo;
  }
  size = (std::uint64_t{place.found.nFileSizeHigh} << 32) + place.found.nFileSizeLow;
  return Answer::kYes;
}

Answer WindowsMachine::IsFileReadOnly(const CString& path) {
  const MachineError keep = m_state->error;
  WindowsPlace place;
  const bool isFound = m_state->FindEntry(path, place);
  const Answer answer = !isFound ? m_state->AnswerForMiss(true) : place.IsReadOnly() ? Answer::kYes : Answer::kNo;
  if (answer != Answer::kCannotTell) {
    m_state->error = keep;
  }
  return answer;
}

bool WindowsMachine::SetFileReadOnly(const CString& path, bool readOnly) {
  WindowsPlace place;
  if (!m_state->FindExisting(path, place) || !m_state->MayChange(place)) {
    return false;
  }
  if (place.IsFolder()) {
    return m_state->Fail(Kind::kRefused, path, "it is no plain file");
  }
  return SetReadOnly(place.GetFull(), place.found.dwFileAttributes, readOnly) || m_state->Fail(::GetLastError(), path);
}

bool WindowsMachine::CanUpdateFile(const CString& path) {
  WindowsPlace place;
  if (!m_state->FindEntry(path, place) || !m_state->MayChange(place)) {
    return false;
  }
  if (place.IsFolder()) {
    return m_state->Fail(Kind::kExists, path, "it is a folder");
  }
  if (!place.exists) {
    // whether a file may be made: one that goes at once
    const WindowsHandle file(CreateFileW(m_state->NewName(place.folderPath).c_str(), GENERIC_WRITE | DELETE, 0, nullptr,
                                         CREATE_NEW, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    return file.IsOpen() || m_state->Fail(::GetLastError(), path);
  }
  if (place.IsReadOnly()) {
    return m_state->Fail(Kind::kAccess, path, "the file is read-only");
  }
  const WindowsHandle file(CreateFileW(place.GetFull().c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr,
                                       OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  return file.IsOpen() || m_state->Fail(::GetLastError(), path);
}

Answer WindowsMachine::GetFileDateTime(const CString& path, CKestDateTime& date) {
  WindowsPlace place;
  if (!m_state->FindExisting(path, place)) {
    return m_state->AnswerForMiss(false);
  }
  if (HasAttribute(place, FILE_ATTRIBUTE_DIRECTORY)) {
    (void)m_state->Fail(Kind::kRefused, path, "it is a folder");
    return Answer::kNo;
  }
  FILETIME time = place.found.ftLastWriteTime;
  if (place.IsLink()) {
    const WindowsHandle file = m_state->OpenFile(place, FILE_READ_ATTRIBUTES, kShareAll);
    if (!file.IsOpen() || !GetFileTime(file.Get(), nullptr, nullptr, &time)) {
      return m_state->AnswerForMiss(false);
    }
  }
  date = CKestDateTime(SecondsOf(time));
  return Answer::kYes;
}

bool WindowsMachine::GetFileStamp(const CString& path, FileStamp& stamp) {
  WindowsPlace place;
  if (!m_state->FindExisting(path, place)) {
    return false;
  }
  const WindowsHandle file(CreateFileW(place.GetFull().c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                       FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  BY_HANDLE_FILE_INFORMATION info{};
  FILE_BASIC_INFO times{};
  if (!file.IsOpen() || !GetFileInformationByHandle(file.Get(), &info) ||
      !GetFileInformationByHandleEx(file.Get(), FileBasicInfo, &times, sizeof times)) {
    return m_state->Fail(::GetLastError(), path);
  }
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  const std::int64_t clock = (static_cast<std::int64_t>(now.dwHighDateTime) << 32) + now.dwLowDateTime;
  // file systems count changes in ticks, FAT in two seconds
  constexpr std::int64_t kLately = 30000000;
  if (place.IsFolder() || times.ChangeTime.QuadPart == 0 || clock - times.ChangeTime.QuadPart < kLately) {
    return m_state->Fail(Kind::kOther, path, "it was changed a moment ago");
  }
  stamp = {(std::uint64_t{info.nFileIndexHigh} << 32) + info.nFileIndexLow,
           (std::uint64_t{info.nFileSizeHigh} << 32) + info.nFileSizeLow, times.LastWriteTime.QuadPart,
           times.ChangeTime.QuadPart};
  return true;
}

bool WindowsMachine::SetFileDateTime(const CString& path, const CKestDateTime& date) {
  WindowsPlace place;
  if (!m_state->FindExisting(path, place) || !m_state->MayChange(place)) {
    return false;
  }
  const FILETIME time = FileTimeOf(date.GetSeconds());
  WindowsHandle file = m_state->OpenFile(place, FILE_WRITE_ATTRIBUTES, kShareAll);
  if (!file.IsOpen() && place.IsReadOnly()) {
    // a system that refuses to open such a file for that: without its mark for a moment
    const DWORD marks = place.found.dwFileAttributes;
    if (!SetReadOnly(place.GetFull(), marks, false)) {
      return m_state->Fail(::GetLastError(), path);
    }
    file = m_state->OpenFile(place, FILE_WRITE_ATTRIBUTES, kShareAll);
    const bool isSet = file.IsOpen() && SetFileTime(file.Get(), nullptr, nullptr, &time);
    const DWORD code = ::GetLastError();
    SetFileAttributesW(place.GetFull().c_str(), marks);
    return isSet || m_state->Fail(code, path);
  }
  return file.IsOpen() && (SetFileTime(file.Get(), nullptr, nullptr, &time) || m_state->Fail(::GetLastError(), path));
}

Answer WindowsMachine::GetFileVersion(const CString& path, CKestVersionNumber& version) {
  const std::unique_ptr<MachineFile> file = Open(path, OpenMode::kRead);
  std::uint64_t size = 0;
  if (file == nullptr || !file->GetSize(size)) {
    return m_state->AnswerForMiss(false);
  }
  bool isRead = true;
  const ReadBytesAt read = [&](std::uint64_t offset, char* buffer, std::size_t count) {
    const std::int64_t got = file->ReadAt(offset, buffer, count);
    isRead = isRead && got >= 0;
    return got == static_cast<std::int64_t>(count);
  };
  if (ReadFileVersion(read, size, version)) {
    return Answer::kYes;
  }
  if (!isRead) {
    return Answer::kCannotTell; // noted by the file
  }
  (void)m_state->Fail(Kind::kOther, path, "the file carries no version");
  return Answer::kNo;
}

CString WindowsMachine::GetStoredPath(const CString& path) {
  WindowsPlace folder;
  std::vector<CString> rest;
  if (!m_state->FindDeepest(path, folder, rest)) {
    return {};
  }
  CString stored = folder.storedFolder;
  if (rest.size() == 1) {
    WindowsPlace place;
    if (!m_state->FindEntry(stored + rest[0], place)) {
      return {};
    }
    return stored + (place.exists ? FromWide(place.found.cFileName) : rest[0]);
  }
  const bool endsInBackslash = text::FindLastBackslash(path) + 1 == path.size();
  for (const CString& part : rest) {
    stored += part + '\\';
  }
  if (stored.size() > 3 && !endsInBackslash) {
    stored.pop_back();
  }
  return stored;
}

// ---- opening
// ----------------------------------------------------------------------------------------------------------

std::unique_ptr<MachineFile> WindowsMachine::Open(const CString& path, OpenMode mode) {
  WindowsPlace place;
  if (mode == OpenMode::kRead) {
    WindowsHandle file;
    if (m_state->FindExisting(path, place)) {
      file = m_state->OpenFile(place, GENERIC_READ, kShareAll);
    }
    if (!file.IsOpen()) {
      (void)m_state->AnswerForMiss(false); // what is there and cannot be read is an open question
      return nullptr;
    }
    return std::make_unique<WindowsFile>(m_state, std::move(file), path, mode, std::wstring(), std::wstring());
  }
  if (!m_state->FindEntry(path, place) || !m_state->MayChange(place)) {
    return nullptr;
  }
  const bool isBad =
      (place.IsFolder() && !m_state->Fail(Kind::kExists, path, "a folder has the name")) ||
      (place.IsReadOnly() && !m_state->Fail(Kind::kAccess, path, "the file is read-only")) ||
      (mode == OpenMode::kCreateNew && place.exists && !m_state->Fail(ERROR_FILE_EXISTS, path)) ||
      (mode == OpenMode::kAppend && place.IsLink() && !m_state->Fail(Kind::kRefused, path, "it is no plain file"));
  if (isBad) {
    return nullptr;
  }
  const bool replaces = mode == OpenMode::kReplace;
  const std::wstring target = place.GetFull();
  const std::wstring opened = replaces ? m_state->NewName(place.folderPath) : target;
  const DWORD access = mode == OpenMode::kAppend ? GENERIC_READ | FILE_APPEND_DATA | SYNCHRONIZE | FILE_WRITE_ATTRIBUTES
                                                 : GENERIC_READ | GENERIC_WRITE;
  WindowsHandle file(CreateFileW(opened.c_str(), access, kShareAll, nullptr,
                                 mode == OpenMode::kAppend ? OPEN_ALWAYS : CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.IsOpen()) {
    (void)m_state->Fail(::GetLastError(), path);
    return nullptr;
  }
  return std::make_unique<WindowsFile>(m_state, std::move(file), path, mode, replaces ? opened : std::wstring(),
                                       target);
}

// ---- copying, moving, deleting
// ----------------------------------------------------------------------------------------

bool WindowsMachine::CopyFile(const CString& from, const CString& to) {
  WindowsPlace source;
  WindowsPlace target;
  if (!m_state->FindExisting(from, source) || !m_state->FindEntry(to, target) || !m_state->MayChange(target)) {
    return false;
  }
  WindowsIdentity first;
  WindowsIdentity second;
  DWORD links = 0;
  const bool isOne = IsSameEntry(source, target) ||
                     (target.exists && m_state->GetIdentity(source.GetFull(), first, links) && links == 1 &&
                      m_state->GetIdentity(target.GetFull(), second, links) && first == second);
  if (isOne) {
    return m_state->Fail(Kind::kRefused, to, "source and destination are the same file");
  }
  if (target.IsFolder() || target.IsReadOnly()) {
    return target.IsFolder() ? m_state->Fail(Kind::kExists, to, "a folder has the name")
                             : m_state->Fail(Kind::kAccess, to, "the file is read-only");
  }
  return CopyEntry(*m_state, source, target, true);
}

bool WindowsMachine::DeleteFile(const CString& path) {
  WindowsPlace place;
  if (!m_state->FindExisting(path, place) || !m_state->MayChange(place)) {
    return false;
  }
  if (place.IsFolder() || place.IsReadOnly()) {
    return place.IsFolder() ? m_state->Fail(Kind::kRefused, path, "it is a folder")
                            : m_state->Fail(Kind::kAccess, path, "the file is read-only");
  }
  const bool isFolderLink = HasAttribute(place, FILE_ATTRIBUTE_DIRECTORY);
  DWORD code = 0;
  for (int i = 0; i < 25; ++i) {
    const BOOL isDone = isFolderLink ? RemoveDirectoryW(place.GetFull().c_str()) : DeleteFileW(place.GetFull().c_str());
    code = isDone ? 0 : ::GetLastError();
    if (code != ERROR_SHARING_VIOLATION) {
      break;
    }
    Sleep(20);
  }
  return code == 0 || m_state->Fail(code, path);
}

bool WindowsMachine::MoveFile(const CString& from, const CString& to) {
  WindowsPlace source;
  WindowsPlace target;
  if (!FindPair(*m_state, from, to, source, target)) {
    return false;
  }
  if (target.exists) {
    if (!IsSameEntry(source, target)) {
      return m_state->Fail(ERROR_FILE_EXISTS, to);
    }
    // another letter case of its own name: by way of a third, since the system may keep the old one
    const std::wstring between = m_state->NewName(target.folderPath);
    DWORD code = m_state->Rename(source.GetFull(), between, false);
    if (code == 0) {
      code = m_state->Rename(between, target.GetAsAsked(), false);
      if (code != 0) {
        (void)m_state->Rename(between, source.GetFull(), false);
      }
    }
    return code == 0 || m_state->Fail(code, to);
  }
  if (MoveEntry(*m_state, source, target.GetAsAsked(), false)) {
    return true;
  }
  if (m_state->error.reason != DescribeWindowsError(ERROR_NOT_SAME_DEVICE, {}).reason ||
      !CopyEntry(*m_state, source, target, false)) {
    return false;
  }
  SetReadOnly(source.GetFull(), source.found.dwFileAttributes, false);
  if (!DeleteFileW(source.GetFull().c_str())) {
    const DWORD code = ::GetLastError();
    SetFileAttributesW(source.GetFull().c_str(), source.found.dwFileAttributes);
    SetFileAttributesW(target.GetAsAsked().c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(target.GetAsAsked().c_str());
    return m_state->Fail(code, from);
  }
  return true;
}

bool WindowsMachine::ReplaceFile(const CString& from, const CString& to) {
  WindowsPlace source;
  WindowsPlace target;
  if (!FindPair(*m_state, from, to, source, target)) {
    return false;
  }
  if (IsSameEntry(source, target)) {
    return true;
  }
  if (target.exists && IsYes(IsSameFile(from, to))) {
    // the system leaves both names of one file alone; the one moved has to go all the same
    const DWORD marks = source.found.dwFileAttributes;
    SetReadOnly(source.GetFull(), marks, false);
    const bool isGone = DeleteFileW(source.GetFull().c_str()) != FALSE;
    const DWORD code = ::GetLastError();
    SetFileAttributesW(target.GetFull().c_str(), marks);
    return isGone || m_state->Fail(code, from);
  }
  if (target.IsReadOnly()) {
    return m_state->Fail(Kind::kAccess, to, "the file is read-only");
  }
  return MoveEntry(*m_state, source, target.GetFull(), true);
}

bool WindowsMachine::LinkFile(const CString& existing, const CString& to) {
  WindowsPlace source;
  WindowsPlace target;
  if (!m_state->FindExisting(existing, source) || !m_state->MayChange(source) || !m_state->FindEntry(to, target) ||
      !m_state->MayChange(target)) {
    return false;
  }
  if (source.IsFolder() || source.IsLink()) {
    return m_state->Fail(Kind::kRefused, existing, "it is no plain file");
  }
  if (target.exists) {
    return m_state->Fail(ERROR_FILE_EXISTS, to);
  }
  return CreateHardLinkW(target.GetAsAsked().c_str(), source.GetFull().c_str(), nullptr) ||
         m_state->Fail(::GetLastError(), to);
}

Answer WindowsMachine::IsSameFile(const CString& a, const CString& b) {
  WindowsPlace first;
  WindowsPlace second;
  if (!m_state->FindEntry(a, first) || !m_state->FindEntry(b, second)) {
    return m_state->AnswerForMiss(true);
  }
  if (!first.exists || !second.exists || first.IsFolder() || second.IsFolder()) {
    return Answer::kNo;
  }
  WindowsIdentity one;
  WindowsIdentity other;
  DWORD links = 0;
  if (!m_state->GetIdentity(first.GetFull(), one, links) || !m_state->GetIdentity(second.GetFull(), other, links)) {
    return m_state->CannotTell(::GetLastError(), a);
  }
  return one == other ? Answer::kYes : Answer::kNo;
}

bool WindowsMachine::MoveFileToTrash(const CString& path) {
  WindowsPlace place;
  if (!m_state->FindExisting(path, place) || !m_state->MayChange(place)) {
    return false;
  }
  return place.IsFolder() ? m_state->Fail(Kind::kRefused, path, "it is a folder")
                          : Recycle(*m_state, place.GetFull(), path);
}

bool WindowsMachine::MoveFolderToTrash(const CString& path, const CString& label) {
  WindowsPlace place;
  if (!m_state->FindExisting(path, place, true) || !m_state->MayChange(place)) {
    return false;
  }
  if (!place.IsFolder()) {
    return m_state->Fail(Kind::kRefused, path, "it is no folder");
  }
  // under the name that it is to be found by in the bin
  const std::wstring labelled = place.folderPath + L'\\' + ToWide(label);
  const std::wstring from = place.GetFull();
  const bool isNamed = labelled != from && m_state->Rename(from, labelled, false) == 0;
  if (Recycle(*m_state, isNamed ? labelled : from, path)) {
    return true;
  }
  if (isNamed) {
    (void)m_state->Rename(labelled, from, false);
  }
  return false;
}

MachineError WindowsMachine::GetLastError() { return m_state->error; }

void WindowsMachine::ClearLastError() { m_state->error = {}; }

} // namespace kest
