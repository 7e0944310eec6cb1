#pragma once

#include "platform/machine_folder/host_file.h"
#include "platform/machine_folder/known_machines.h"
#include "platform/machine_folder/machine_folder.h"
#include "platform/machine_folder/machine_ini.h"
#include "platform/machine_folder/registry_file.h"

#include <array>
#include <optional>

namespace kest {

/// Of a folder of CreatePrivateDirectory. The last bit does nothing in a folder that nobody else may enter, and no
/// other program sets it there: so from its first moment on the folder tells whose it is.
inline constexpr mode_t kPrivateMode = 01700;

/// The entry that a path names: its folder is there, the entry itself may be missing.
struct FoundEntry {
  FoundFolder folder;
  CString path;        ///< as asked for
  CString name;        ///< as asked for, in the disk's spelling
  CString stored;      ///< as on disk; empty when missing
  struct stat info {}; ///< of the entry itself, links not followed; valid unless missing
  [[nodiscard]] bool Exists() const { return !stored.empty(); }
  [[nodiscard]] bool IsFolder() const { return Exists() && S_ISDIR(info.st_mode); }
  [[nodiscard]] bool IsLink() const { return Exists() && S_ISLNK(info.st_mode); }
  [[nodiscard]] bool IsReadOnly() const { return Exists() && S_ISREG(info.st_mode) && (info.st_mode & 0222) == 0; }
  /// The name that a file put here has on disk.
  [[nodiscard]] const CString& GetTargetName() const { return Exists() ? stored : name; }
};

/// What a machine folder has open and what it knows. Operations on paths stand in MachineFolder itself.
class MachineFolder::State : public HostFileOwner {
public:
  explicit State(const CString& hostFolder);

  // ---- failures
  bool Fail(int code, const CString& path) override;
  bool Fail(MachineError::Kind kind, const CString& path, const CString& reason);
  /// A question that cannot be answered, for this errno.
  Answer CannotTell(int code, const CString& path) override;
  /// The answer after FindFolder, FindPlace or FindEntry answered false: kNo when the place is surely not there.
  Answer AnswerForMiss();
  /// A failure of a look or a read that was noted as the last error: whether it leaves the question open.
  Answer AnswerForError();
  Answer NoteUnanswered();

  // ---- paths
  FolderCache& GetFolders() override { return m_folders; }
  /// With `quiet`, for plain questions, a failure that means "not there" leaves the last error alone; one that leaves
  /// the question open is noted all the same.
  [[nodiscard]] bool FindFolder(const CString& path, FoundFolder& found, bool quiet = false);
  [[nodiscard]] bool FindEntry(const CString& path, FoundEntry& entry, bool quiet = false,
                               bool mayEndInBackslash = false);
  /// The same without a look for the entry itself: it stays "missing".
  [[nodiscard]] bool FindPlace(const CString& path, FoundEntry& entry, bool quiet = false,
                               bool mayEndInBackslash = false);
  /// The same for an entry that must be there.
  [[nodiscard]] bool FindExisting(const CString& path, FoundEntry& entry);
  /// The deepest folder on the way that exists, and how many components lead to it.
  [[nodiscard]] bool FindDeepest(const CString& path, WindowsPath& parsed, FoundFolder& found, std::size_t& count,
                                 bool quiet = false);
  /// Whether entries of the folder may be made, removed and renamed: by mark and by mount, whoever the user is.
  [[nodiscard]] bool MayChange(const FoundFolder& folder, const CString& path);
  /// Whether the folder is one that CreatePrivateDirectory made here, or lies in one: nobody else did anything to it.
  [[nodiscard]] bool IsInPrivateFolder(const FoundEntry& folder);
  /// Whether the system lets the current user change the entries of the folder, rights and pins. Asked once a moment;
  /// errno says why not.
  [[nodiscard]] bool MayUserChange(const FoundFolder& folder);
  /// Whether the file is the program of one of the machine's processes.
  [[nodiscard]] bool IsRunning(const FoundEntry& file);
  /// Opens an existing plain file, also through a link that stays in the drive.
  [[nodiscard]] HostDescriptor OpenFile(const FoundEntry& entry, int flags, struct stat& info);
  [[nodiscard]] HostTarget TargetFor(const FoundEntry& entry);
  /// Puts a copy with this mode in place of a file that has other names as well, which stay as they are. 0, or an
  /// errno.
  [[nodiscard]] int PartFromOtherNames(const FoundEntry& entry, int file, const struct stat& info, mode_t mode);
  [[nodiscard]] CString AddMount(const CString& hostFolder, bool writable);
  /// "/a/b" as "\\a\\b".
  [[nodiscard]] CString ToWindowsTail(std::string_view hostPath) const;
  [[nodiscard]] const std::vector<std::unique_ptr<FolderMount>>& GetMounts() const { return m_mounts; }

  // ---- trash
  /// -1 when it cannot be made.
  [[nodiscard]] int GetTrash();
  /// Whether what is replaced and deleted may be put there; a machine that lets nobody make one does without.
  [[nodiscard]] bool IsTrashUsable();
  [[nodiscard]] bool MoveToTrash(const FoundEntry& entry, const CString& label);

  // ---- whose it is
  [[nodiscard]] KnownMachines& GetKnown();
  /// Of a prefix of Wine: keeps Windows programs from writing as long as `held` lives (F_OFD_SETLK), or asks whether
  /// that could be (F_OFD_GETLK). 0, or an errno: EWOULDBLOCK while a Windows program writes.
  [[nodiscard]] int LockPrefix(int command, HostDescriptor& held);
  /// "a Windows program" while one of the prefix has the right to write.
  [[nodiscard]] CString FindWindowsWriter();
  /// Whether Wine made the folder, or brought it up to date, for the current user.
  [[nodiscard]] bool IsPrefix() const;

  // ---- durability
  [[nodiscard]] bool SyncVolumes(const std::vector<CString>& paths);

  // ---- state files
  MachineIni& GetIni();
  [[nodiscard]] bool SaveIni();
  int GetCodePage();
  /// Null, and noted as a question that has no answer, when the file is there but cannot be read.
  RegistryFile* GetRegistry(RegistryRoot root);
  [[nodiscard]] bool SaveRegistry(RegistryRoot root);
  void ForgetRegistries();

  CString hostFolder;
  HostDescriptor root;
  HostIdentity rootIdentity;
  MachineError error;
  MachineError unanswered; ///< the first since it was forgotten
  mode_t creationMask = 022;
  std::optional<bool> isMultiUser;
  std::vector<CString> startedPrograms;
  std::vector<CString> fontResources;
  std::vector<CString> privateFolders; ///< made by this object; stored paths with trailing backslash
  HostDescriptor lock;
  HostDescriptor prefixLock;
  int lockCount = 0;
  bool isTrustingBriefly = false;
  pid_t lockOwner = 0;

private:
  /// What tells one state of a file from another.
  struct Mark {
    bool isThere = false;
    HostIdentity identity;
    timespec date{};
    off_t size = -1;
    bool operator==(const Mark& other) const {
      return isThere == other.isThere && identity == other.identity && SameTime(date, other.date) && size == other.size;
    }
  };
  struct Registry {
    const char* fileName;
    RegistryFile file;
    bool isLoaded = false;
    Mark mark;
  };
  void OpenMounts();
  void UseMounts();
  [[nodiscard]] bool NoteMiss(MachineError why, bool quiet);
  [[nodiscard]] bool TryDeepest(const WindowsPath& path, FoundFolder& found, std::size_t& count, MachineError& why);
  [[nodiscard]] Mark MarkOf(const char* name) const;
  [[nodiscard]] int ReadRootFile(const char* name, CString& content) const;
  [[nodiscard]] int WriteRootFile(const char* name, std::string_view content, bool sync);

  FolderCache m_folders;
  MachineError m_miss;        ///< why the last look failed, quiet or not
  std::int64_t m_askedOf = 0; ///< the moment in which m_userMayChange was found
  HostIdentity m_userMayChange;
  std::int64_t m_programsOf = 0;   ///< the moment in which the programs were read
  std::vector<CString> m_programs; ///< folded
  std::vector<std::unique_ptr<FolderMount>> m_mounts;
  std::optional<KnownMachines> m_known;
  HostDescriptor m_trash;
  HostIdentity m_trashIdentity;
  MachineIni m_ini;
  bool m_iniLoaded = false;
  Mark m_iniMark;
  std::array<Registry, 2> m_registries;
};

} // namespace kest
