#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"
#include "platform/text/values.h"
#include "platform/text/windows_names.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace kest {

/// An open file of a machine. Freeing it without Close() drops what a kReplace file wrote.
class KEST_API MachineFile {
public:
  virtual ~MachineFile() = default;
  /// Bytes read from the current position, 0 at the end, -1 on failure.
  [[nodiscard]] virtual std::int64_t Read(char* buffer, std::size_t count) = 0;
  /// Bytes read at `offset`; the current position is left alone. -1 on failure.
  [[nodiscard]] virtual std::int64_t ReadAt(std::uint64_t offset, char* buffer, std::size_t count) = 0;
  /// Writes all of it; false on any failure (disk full included).
  [[nodiscard]] virtual bool Write(const char* bytes, std::size_t count) = 0;
  /// Writes over bytes that were written before, at `offset`; the current position is left alone. For kReplace and
  /// kCreateNew files.
  [[nodiscard]] virtual bool WriteAt(std::uint64_t offset, const char* bytes, std::size_t count) = 0;
  [[nodiscard]] virtual bool GetSize(std::uint64_t& size) = 0; ///< bytes that the file has now; false on failure
  /// Last-write time the file is to have once closed.
  [[nodiscard]] virtual bool SetDate(const CKestDateTime& date) = 0;
  /// Brings what was written to the disk.
  [[nodiscard]] virtual bool Sync() = 0;
  /// Ends writing; a kReplace file takes its place now. False when any byte may be missing (the old file is intact).
  [[nodiscard]] virtual bool Close() = 0;
};

enum class OpenMode {
  kRead,      ///< an existing plain file
  kReplace,   ///< written beside, takes the place of the old file (if any) on Close; keeps the old letter case
  kCreateNew, ///< fails when the name is taken in any letter case; links are not followed
  kAppend,    ///< created when missing; each Write lands at the end
};

/// One entry of a folder; the name as stored on disk.
struct FolderEntry {
  CString name;          ///< as stored on disk
  bool isFolder = false; ///< a real folder; a link to one is not
  bool isLink = false;   ///< whether it is a link, to whatever
};

enum class RegistryRoot { kLocalMachine, kCurrentUser };

/// A key as people write it: "HKEY_CURRENT_USER\Software".
[[nodiscard]] inline CString RegistryPath(RegistryRoot root, const CString& key) {
  return (root == RegistryRoot::kCurrentUser ? R"(HKEY_CURRENT_USER\)" : R"(HKEY_LOCAL_MACHINE\)") + key;
}

/// One value of a registry key.
struct RegistryValue {
  CString name; ///< as stored
  CString data; ///< its text
};

/// What a question about files or the registry is answered with. "Cannot tell" is not "no": the disk failed to answer,
/// descriptors or rights were missing. Nothing may be written, replaced, left out or removed because of it, and
/// GetLastError() says why.
enum class Answer { kNo, kYes, kCannotTell };
[[nodiscard]] constexpr bool IsYes(Answer answer) { return answer == Answer::kYes; }

/// What went wrong in the last call that answered false or kCannotTell, for messages and exit codes; kNo to a question
/// for data (size, date, version, list, registry value) counts as well. Calls that succeed leave it, and so does kNo to
/// the plain questions: FileExists, DirectoryExists, IsFileReadOnly, SameVolume, RegistryKeyExists.
struct MachineError {
  /// For exit codes and messages.
  enum class Kind { kNone, kNotFound, kExists, kAccess, kInUse, kDiskFull, kNotEmpty, kRefused, kOther };
  Kind kind = Kind::kNone; ///< kNone when nothing went wrong yet
  CString path;            ///< the Windows path that the call was about
  CString reason;          ///< one plain sentence part, e.g. "no space left on device"
};

/// What a folder is that looks like a private one of this program.
enum class PrivateFolder {
  kNo,       ///< no folder, somebody else's, or open to others
  kUnmarked, ///< the user's alone, without the mark: made by hand, or by an earlier version
  kYes,      ///< and with the mark that CreatePrivateDirectory gives
};

/// Whether another process changes the machine.
struct ChangeMark {
  bool isChanging = false; ///< it holds the right to, just now
  CString state;           ///< another one after each operation, whether done or undone
};

/// How a caller got, or did not get, the right to change the machine.
struct WriterLock {
  bool held = false; ///< whether the caller has it
  CString holder;    ///< who has it instead, e.g. "process 4711 (kest)"; empty when unknown or held by us
};

/// The PC that the engine works on. Paths are absolute Windows paths; a relative or empty path makes every call fail.
/// Letter case of existing entries does not matter. A path with a component ".." or one that leaves its drive through
/// a link is refused. No call throws. One thread.
class KEST_API Machine {
public:
  /// A machine that is freed while in force leaves none in force (its temporary folder stays: call
  /// CKestOS::SetMachine(nullptr) before).
  virtual ~Machine();

  // ---- files ---------------------------------------------------------------------------------------------------
  /// A plain file (not a folder, not a link to a folder). A link that leads out of its drive, or nowhere, counts: its
  /// name is taken, and what is put there replaces it; opening it fails.
  [[nodiscard]] virtual Answer FileExists(const CString& path) = 0;
  /// kNo when it is no plain file; `size` is left alone but for kYes.
  [[nodiscard]] virtual Answer GetFileSize(const CString& path, std::uint64_t& size) = 0;
  /// Null on failure.
  [[nodiscard]] virtual std::unique_ptr<MachineFile> Open(const CString& path, OpenMode mode) = 0;
  /// Replaces an existing destination in one move; makes no folders; keeps date and read-only mark; false, and
  /// nothing touched, when both are one file; a link at the destination is replaced, never followed.
  [[nodiscard]] virtual bool CopyFile(const CString& from, const CString& to) = 0;
  /// False when missing or read-only.
  [[nodiscard]] virtual bool DeleteFile(const CString& path) = 0;
  /// False when the target exists (in any case), atomically; across volumes copies, then deletes. Date is kept.
  [[nodiscard]] virtual bool MoveFile(const CString& from, const CString& to) = 0;
  /// One rename on one volume: `to` is replaced if it exists. False across volumes, with nothing touched.
  [[nodiscard]] virtual bool ReplaceFile(const CString& from, const CString& to) = 0;
  /// A second name for a file on the same volume (contents are shared until one of them is replaced). False when `to`
  /// exists or the volume has no such thing.
  [[nodiscard]] virtual bool LinkFile(const CString& existing, const CString& to) = 0;
  /// Whether two paths name one file, under one name or two. kNo when either is missing.
  [[nodiscard]] virtual Answer IsSameFile(const CString& a, const CString& b) {
    return a == b ? FileExists(a) : Answer::kNo;
  }
  /// Out of its folder into the machine's trash, which lies outside every drive.
  [[nodiscard]] virtual bool MoveFileToTrash(const CString& path) = 0;
  /// The same for a whole folder, as one entry of the trash named `label`.
  [[nodiscard]] virtual bool MoveFolderToTrash(const CString& path, const CString& label) = 0;
  [[nodiscard]] virtual Answer IsFileReadOnly(const CString& path) = 0; ///< kNo for a missing file, too
  /// False when missing or not allowed.
  [[nodiscard]] virtual bool SetFileReadOnly(const CString& path, bool readOnly) = 0;
  /// The current user may replace the file now: rights, and no program holds it open. Missing: may be created.
  /// On the stand-in a file is held open by whoever has a lock on it (flock), runs it, or is listed as its process.
  [[nodiscard]] virtual bool CanUpdateFile(const CString& path) = 0;
  /// Last-write time; kNo when missing or a folder.
  [[nodiscard]] virtual Answer GetFileDateTime(const CString& path, CKestDateTime& date) = 0;
  /// What tells whether a plain file is still the one that was looked at. False when it is missing, when it was changed
  /// so lately that a further change might leave the stamp as it is, and on machines that have no stamps.
  [[nodiscard]] virtual bool GetFileStamp(const CString& path, FileStamp& stamp) {
    static_cast<void>(path);
    static_cast<void>(stamp);
    return false;
  }
  /// Last-write time; false when missing or not allowed.
  [[nodiscard]] virtual bool SetFileDateTime(const CString& path, const CKestDateTime& date) = 0;
  /// From the version resource (fixed-info block) of an executable; kNo when it is missing or carries none.
  [[nodiscard]] virtual Answer GetFileVersion(const CString& path, CKestVersionNumber& version) = 0;
  /// The path with every existing component spelled as on disk, single backslashes. Empty when that cannot be told.
  [[nodiscard]] virtual CString GetStoredPath(const CString& path) = 0;

  // ---- folders -------------------------------------------------------------------------------------------------
  /// A folder, or a link to one that stays in its drive.
  [[nodiscard]] virtual Answer DirectoryExists(const CString& path) = 0;
  /// Makes missing parents; true for an existing folder; false when a file has the name.
  [[nodiscard]] virtual bool CreateDirectory(const CString& path) = 0;
  /// A new folder that only the current user may enter (0700), marked as one of this program's; false when the name is
  /// taken.
  [[nodiscard]] virtual bool CreatePrivateDirectory(const CString& path) = 0;
  /// An empty folder alone.
  [[nodiscard]] virtual bool RemoveDirectory(const CString& path) = 0;
  /// Renames an empty folder on one volume, so that it keeps its rights and dates. False, and the folder where it was,
  /// when it holds anything, and when `to` exists in any letter case.
  [[nodiscard]] virtual bool MoveEmptyFolder(const CString& from, const CString& to) = 0;
  /// Renames a folder with all it holds, on one volume. False, and nothing moved, when `to` exists in any letter case.
  [[nodiscard]] virtual bool MoveFolder(const CString& from, const CString& to) = 0;
  /// A folder with all it holds; links in it are removed, not followed. For private folders only.
  [[nodiscard]] virtual bool RemoveTree(const CString& path) = 0;
  /// Entries without "." and "..", sorted without regard to case. kNo for a missing folder; a list that broke off is
  /// kCannotTell, and empty.
  [[nodiscard]] virtual Answer ListFolder(const CString& path, std::vector<FolderEntry>& entries) = 0;

  // ---- volumes, durability, the right to write
  // -----------------------------------------------------------------------
  /// Whether a rename can lead from one to the other (judged by the nearest existing folder of each).
  [[nodiscard]] virtual bool SameVolume(const CString& a, const CString& b) = 0;
  /// Bytes that the current user may still write on the volume of `path`.
  [[nodiscard]] virtual bool GetFreeSpace(const CString& path, std::uint64_t& bytes) = 0;
  /// Brings files and folders to the disk: write-back of all is started first, then each is waited for. A path that
  /// does not exist is passed over.
  [[nodiscard]] virtual bool SyncPaths(const std::vector<CString>& paths) = 0;
  /// Has the volume of `path` begin to bring to the disk what was written to it, without waiting: a SyncPaths that
  /// comes later has less to wait for. Promises nothing.
  virtual void StartSync(const CString& path) { static_cast<void>(path); }
  /// Takes the lock of the machine's one writer (freed by the system when the process dies), waiting at most
  /// `milliseconds`. Taken twice by one process it counts; each success wants one UnlockWriter.
  virtual WriterLock LockWriter(std::int64_t milliseconds) = 0;
  virtual void UnlockWriter() = 0; ///< gives one LockWriter back; harmless without one
  /// Forgets what was learned of folders; called where an operation begins.
  virtual void ForgetFolders() = 0;

  /// Asked before and after a look at many files: whether they may be of two moments.
  [[nodiscard]] virtual ChangeMark GetChangeMark() { return {}; }

  // ---- whose it is
  // ---------------------------------------------------------------------------------------------------------------
  /// Whether a folder is one that CreatePrivateDirectory made for the current user. Asked of the open folder.
  [[nodiscard]] virtual PrivateFolder LookAtPrivateFolder(const CString& path) {
    return IsYes(DirectoryExists(path)) ? PrivateFolder::kYes : PrivateFolder::kNo;
  }
  /// Whether the drive of the path lies in the machine itself; no for one that leads elsewhere, and for a folder that
  /// a user opened.
  [[nodiscard]] virtual bool HoldsDriveOf(const CString& path) {
    static_cast<void>(path);
    return true;
  }
  /// Whether the current user changed something in this machine before, or it is the user's own PC: only then is what
  /// an interrupted operation left in it believed without asking.
  [[nodiscard]] virtual bool IsOwn() { return true; }
  /// The current user is about to change something in this machine, also in `places` (folders) outside of those that
  /// operations usually change. Kept where the machine itself cannot reach it.
  virtual void NoteOwn(const std::vector<CString>& places) { static_cast<void>(places); }
  /// Whether the path is one of those places, or lies below one.
  [[nodiscard]] virtual bool IsNotedPlace(const CString& path) {
    static_cast<void>(path);
    return true;
  }

  // ---- known places -------------------------------------------------------------------------------------------------
  /// Without trailing backslash; false when the machine has none.
  [[nodiscard]] virtual bool GetSystemFolder(CString& path) = 0;
  /// Without trailing backslash; false when the machine has none.
  [[nodiscard]] virtual bool GetFontsFolder(CString& path) = 0;
  /// The machine's temporary folder, shared by all processes, without trailing backslash.
  [[nodiscard]] virtual bool GetTempRoot(CString& path) = 0;
  /// The executable of this process, as the machine sees it; false when unknown.
  [[nodiscard]] virtual bool GetCurrentProcessPath(CString& path) = 0;

  // ---- users, system, processes
  // ------------------------------------------------------------------------------------------
  virtual void InitMultiUserMembers() = 0; ///< Finds out about users; called before the questions about them
  [[nodiscard]] virtual bool IsSupportedMultiUserSystem() = 0; ///< whether users have configurations of their own
  /// Type 2: the user whose configuration is the shared one.
  [[nodiscard]] virtual bool GetCurrentUserType(int& type) = 0;
  /// Application data of all users; false when there is none.
  [[nodiscard]] virtual bool GetSharedAppDataPath(CString& path) = 0;
  /// Application data of the current user; false when there is none.
  [[nodiscard]] virtual bool GetCurrentUserAppDataPath(CString& path) = 0;
  /// Application data of the user named; false for an unknown one.
  [[nodiscard]] virtual bool GetAppDataPathFor(const CString& user, CString& path) = 0;
  /// Application data of every user, in order; false when they cannot be told.
  [[nodiscard]] virtual bool GetAllUserAppDataPaths(std::vector<CString>& paths) = 0;
  /// Owner of a path inside a user's application data; false for any other path.
  [[nodiscard]] virtual bool ExtractUserName(const CString& path, CString& user) = 0;
  [[nodiscard]] virtual int GetOperatingSystemVersion() = 0; ///< the system's version code; 0 when unknown
  /// Calls back with the full executable path of each process in turn until the answer is false.
  virtual void EnumProcs(const std::function<bool(const CString&)>& callback) = 0;
  /// Starts a program without a shell; the stand-in only records the line.
  virtual void WinExec(const CString& commandLine) = 0;
  virtual int GetCodePage() = 0; ///< of the machine's texts and names

  // ---- registry, fonts
  // ---------------------------------------------------------------------------------------------------
  [[nodiscard]] virtual Answer RegistryKeyExists(RegistryRoot root, const CString& key) = 0; ///< letter case aside
  /// kNo when the value is missing or no text; `data` is left alone but for kYes.
  [[nodiscard]] virtual Answer ReadRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                                  CString& data) = 0;
  /// Creates the key when missing. True only once the value is on the machine.
  [[nodiscard]] virtual bool WriteRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                                 const CString& data) = 0;
  /// A missing value is no error. A key that WriteRegistryString made (in this process or another) and that is then
  /// empty goes with its last value.
  [[nodiscard]] virtual bool DeleteRegistryValue(RegistryRoot root, const CString& key, const CString& name) = 0;
  /// The text values of a key, in the order of the registry; kNo when the key is missing.
  [[nodiscard]] virtual Answer EnumRegistryValues(RegistryRoot root, const CString& key,
                                                  std::vector<RegistryValue>& values) = 0;
  /// Makes a font file known to the running system; false on failure.
  virtual bool AddFontResource(const CString& path) = 0;
  virtual bool RemoveFontResource(const CString& path) = 0; ///< takes it back; false on failure
  virtual void BroadcastFontChange() = 0;                   ///< tells running programs that fonts came or went

  // ---- clock
  // -------------------------------------------------------------------------------------------------------------
  [[nodiscard]] virtual CKestDateTime Now() = 0; ///< the machine's clock
  /// Milliseconds of a clock that never goes back.
  [[nodiscard]] virtual std::int64_t MonotonicMilliseconds() = 0;
  /// Lets the host run for a moment (a few milliseconds); never enters the engine again.
  virtual void AllowBackgroundProcessing() = 0;

  // ---- last failure
  // ---------------------------------------------------------------------------------------------------------
  [[nodiscard]] virtual MachineError GetLastError() = 0; ///< of the last call that failed; kNone when none has
  virtual void ClearLastError() = 0;                     ///< back to kNone
  /// The first question since ForgetUnanswered that nobody could answer, a file that could not be read included; kNone
  /// when all were. An operation that met one does not end as done, whoever asked.
  [[nodiscard]] virtual MachineError GetUnanswered() { return m_unanswered; }
  virtual void ForgetUnanswered() { m_unanswered = {}; } ///< called where an operation begins

protected:
  /// To be called for each question that cannot be answered.
  Answer NoteUnanswered(const MachineError& why) {
    if (m_unanswered.kind == MachineError::Kind::kNone) {
      m_unanswered = why;
    }
    return Answer::kCannotTell;
  }

private:
  MachineError m_unanswered;
};

} // namespace kest
