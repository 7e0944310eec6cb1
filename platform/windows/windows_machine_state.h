#pragma once

#include "platform/windows/windows_machine.h"
#include "platform/windows/windows_text.h"

namespace kest {

/// What tells one file of this PC from another, whatever its name.
struct WindowsIdentity {
  DWORD volume = 0;
  std::uint64_t index = 0;
  bool operator==(const WindowsIdentity&) const = default;
};

/// The entry that a path names: its folder is there and stays where it is as long as this lives; the entry itself may
/// be missing.
struct WindowsPlace {
  WindowsHandle folder;     ///< open, so that nobody puts another folder, or a link, in its place
  std::wstring folderPath;  ///< where it really lies, without trailing backslash, in the form without limits
  CString storedFolder;     ///< the engine's path of it, with trailing backslash
  CString path;             ///< as asked for
  std::wstring name;        ///< as asked for
  WIN32_FIND_DATAW found{}; ///< of the entry, links not followed; valid unless missing
  bool exists = false;
  [[nodiscard]] bool IsLink() const {
    return exists && (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (found.dwReserved0 == IO_REPARSE_TAG_SYMLINK || found.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT);
  }
  [[nodiscard]] bool IsFolder() const {
    return exists && (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && !IsLink();
  }
  [[nodiscard]] bool IsReadOnly() const {
    return exists && !IsFolder() && (found.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
  }
  /// Existing entries keep their spelling.
  [[nodiscard]] std::wstring GetFull() const { return folderPath + L'\\' + (exists ? found.cFileName : name); }
  [[nodiscard]] std::wstring GetAsAsked() const { return folderPath + L'\\' + name; }
};

/// What WindowsMachine and the files that it has open share.
class WindowsMachine::State {
public:
  bool Fail(DWORD code, const CString& path) {
    error = DescribeWindowsError(code, path);
    return false;
  }
  bool Fail(MachineError::Kind kind, const CString& path, const CString& reason) {
    error = {kind, path, reason};
    return false;
  }
  /// After a look that answered false: kNo when the place is surely not there, else noted.
  Answer AnswerForMiss(bool quiet);
  Answer CannotTell(DWORD code, const CString& path) {
    (void)Fail(code, path);
    return owner->NoteUnanswered(error);
  }
  /// The folder that a path names, entered through links that stay on its drive. False with an error.
  [[nodiscard]] bool OpenFolder(const CString& path, WindowsPlace& folder);
  [[nodiscard]] bool FindEntry(const CString& path, WindowsPlace& place, bool mayEndInBackslash = false);
  /// The same for an entry that must be there.
  [[nodiscard]] bool FindExisting(const CString& path, WindowsPlace& place, bool mayEndInBackslash = false) {
    return FindEntry(path, place, mayEndInBackslash) && (place.exists || Fail(ERROR_FILE_NOT_FOUND, path));
  }
  /// The deepest folder on the way that exists, and what follows it.
  [[nodiscard]] bool FindDeepest(const CString& path, WindowsPlace& folder, std::vector<CString>& rest);
  /// Whether nothing lies in the way of a change: folders opened for reading alone.
  [[nodiscard]] bool MayChange(const WindowsPlace& place);
  /// An existing plain file, also through a link that stays on the drive.
  [[nodiscard]] WindowsHandle OpenFile(const WindowsPlace& place, DWORD access, DWORD share);
  [[nodiscard]] bool GetIdentity(const std::wstring& path, WindowsIdentity& identity, DWORD& links);
  /// One rename, tried again for a moment while somebody looks into one of the two.
  [[nodiscard]] DWORD Rename(const std::wstring& from, const std::wstring& to, bool mayReplace);
  /// A name in the folder that nobody has.
  [[nodiscard]] std::wstring NewName(const std::wstring& folder);
  /// A file that was born in a private folder gets the rights that its new folder gives; any other keeps its own.
  [[nodiscard]] DWORD InheritRights(const std::wstring& path);

  WindowsMachine* owner = nullptr; ///< null once it is gone
  MachineError error;
  std::vector<std::wstring> readOnlyFolders; ///< that a user opened for reading alone
  WindowsHandle lock;
  WindowsHandle prefixLock; ///< under Wine alone
  int lockCount = 0;
};

} // namespace kest
