#pragma once

#include "platform/machine/hosted_machine.h"
#include "platform/text/windows_names.h"

namespace kest {

/// A folder that stands for a PC, in the shape of a Wine prefix:
///   machine.ini   users and the current one with its type, multi-user or not, code page, operating-system code, the
///                 processes that count as running
///   system.reg    HKEY_LOCAL_MACHINE    user.reg   HKEY_CURRENT_USER   ("WINE REGISTRY Version 2", unknown lines kept)
///   drive_c/      C:\        dosdevices/d: ...  further drives (links), optional
///   trash/        what MoveFileToTrash took
class KEST_API MachineFolder : public HostedMachine {
public:
  /// Opens the folder; IsUsable tells whether there is a machine in it. Changes nothing.
  explicit MachineFolder(CString hostFolder);
  ~MachineFolder() override;
  MachineFolder(const MachineFolder&) = delete;
  MachineFolder& operator=(const MachineFolder&) = delete;

  /// Whether the folder is there and has a drive_c. Everything fails on one that has not.
  [[nodiscard]] bool IsUsable() const override;
  [[nodiscard]] const CString& GetHostFolder() const; ///< as given to the constructor
  [[nodiscard]] CString GetDisplayName() const override { return GetHostFolder(); }

  void SetBriefTrust(bool trusting) override;

  // ---- host paths
  /// The path on this system that a Windows path stands for (existing components in their stored spelling); empty when
  /// refused.
  [[nodiscard]] CString ToHostPath(const CString& windowsPath) override;
  /// Makes a folder outside the machine reachable, for packages that a user names: returns its Windows path (on a drive
  /// of its own). Only folders given here are reachable there; nothing is ever written below one given without
  /// `writable`.
  [[nodiscard]] CString AddHostFolder(const CString& hostFolder, bool writable) override;

  // ---- machine.ini
  [[nodiscard]] std::vector<User> GetUsers() override; ///< in the order of machine.ini
  [[nodiscard]] CString GetCurrentUser() override;     ///< name of the current user; empty when there is none
  [[nodiscard]] std::vector<CString>
  GetRunningProcesses() override; ///< executables that count as running, as Windows paths
  /// Each writes machine.ini at once. False when it cannot be written or the value makes no sense.
  [[nodiscard]] bool SetUsers(const std::vector<User>& users, const CString& current);
  [[nodiscard]] bool SetCurrentUser(const CString& name) override; ///< false for a name that is none of the users
  [[nodiscard]] bool SetMultiUser(bool multiUser);                 ///< whether users have configurations of their own
  [[nodiscard]] bool SetCodePageNumber(int codePage);              ///< the code page of texts and names
  [[nodiscard]] bool SetOperatingSystemVersion(int code);          ///< the system's version code
  /// Puts an executable on the list of those that count as running, or takes it off.
  [[nodiscard]] bool SetProcessRunning(const CString& executable, bool running) override;
  /// Takes no lock.
  [[nodiscard]] CString GetWriter() const override;
  /// Drive letters with the host folder each stands for.
  [[nodiscard]] std::vector<std::pair<char, CString>> GetDrives() override;
  /// Command lines that WinExec recorded since the machine was opened.
  [[nodiscard]] const std::vector<CString>& GetStartedPrograms() const;
  /// Font files that AddFontResource registered since the machine was opened.
  [[nodiscard]] const std::vector<CString>& GetFontResources() const;

  // ---- Machine
  [[nodiscard]] Answer FileExists(const CString& path) override;
  [[nodiscard]] Answer GetFileSize(const CString& path, std::uint64_t& size) override;
  [[nodiscard]] std::unique_ptr<MachineFile> Open(const CString& path, OpenMode mode) override;
  [[nodiscard]] bool CopyFile(const CString& from, const CString& to) override;
  [[nodiscard]] bool DeleteFile(const CString& path) override;
  [[nodiscard]] bool MoveFile(const CString& from, const CString& to) override;
  [[nodiscard]] bool ReplaceFile(const CString& from, const CString& to) override;
  [[nodiscard]] bool LinkFile(const CString& existing, const CString& to) override;
  [[nodiscard]] Answer IsSameFile(const CString& a, const CString& b) override;
  [[nodiscard]] bool MoveFileToTrash(const CString& path) override;
  [[nodiscard]] bool MoveFolderToTrash(const CString& path, const CString& label) override;
  [[nodiscard]] Answer IsFileReadOnly(const CString& path) override;
  [[nodiscard]] bool SetFileReadOnly(const CString& path, bool readOnly) override;
  [[nodiscard]] bool CanUpdateFile(const CString& path) override;
  [[nodiscard]] Answer GetFileDateTime(const CString& path, CKestDateTime& date) override;
  [[nodiscard]] bool GetFileStamp(const CString& path, FileStamp& stamp) override;
  [[nodiscard]] bool SetFileDateTime(const CString& path, const CKestDateTime& date) override;
  [[nodiscard]] Answer GetFileVersion(const CString& path, CKestVersionNumber& version) override;
  [[nodiscard]] CString GetStoredPath(const CString& path) override;
  [[nodiscard]] Answer DirectoryExists(const CString& path) override;
  [[nodiscard]] bool CreateDirectory(const CString& path) override;
  [[nodiscard]] bool CreatePrivateDirectory(const CString& path) override;
  [[nodiscard]] bool RemoveDirectory(const CString& path) override;
  [[nodiscard]] bool MoveEmptyFolder(const CString& from, const CString& to) override;
  [[nodiscard]] bool MoveFolder(const CString& from, const CString& to) override;
  [[nodiscard]] bool RemoveTree(const CString& path) override;
  [[nodiscard]] Answer ListFolder(const CString& path, std::vector<FolderEntry>& entries) override;
  [[nodiscard]] bool SameVolume(const CString& a, const CString& b) override;
  [[nodiscard]] bool GetFreeSpace(const CString& path, std::uint64_t& bytes) override;
  [[nodiscard]] bool SyncPaths(const std::vector<CString>& paths) override;
  void StartSync(const CString& path) override;
  WriterLock LockWriter(std::int64_t milliseconds) override;
  void UnlockWriter() override;
  void ForgetFolders() override;
  [[nodiscard]] ChangeMark GetChangeMark() override;
  [[nodiscard]] PrivateFolder LookAtPrivateFolder(const CString& path) override;
  [[nodiscard]] bool HoldsDriveOf(const CString& path) override;
  [[nodiscard]] bool IsOwn() override;
  void NoteOwn(const std::vector<CString>& places) override;
  [[nodiscard]] bool IsNotedPlace(const CString& path) override;
  [[nodiscard]] bool GetSystemFolder(CString& path) override;
  [[nodiscard]] bool GetFontsFolder(CString& path) override;
  [[nodiscard]] bool GetTempRoot(CString& path) override;
  [[nodiscard]] bool GetCurrentProcessPath(CString& path) override;
  void InitMultiUserMembers() override;
  [[nodiscard]] bool IsSupportedMultiUserSystem() override;
  [[nodiscard]] bool GetCurrentUserType(int& type) override;
  [[nodiscard]] bool GetSharedAppDataPath(CString& path) override;
  [[nodiscard]] bool GetCurrentUserAppDataPath(CString& path) override;
  [[nodiscard]] bool GetAppDataPathFor(const CString& user, CString& path) override;
  [[nodiscard]] bool GetAllUserAppDataPaths(std::vector<CString>& paths) override;
  [[nodiscard]] bool ExtractUserName(const CString& path, CString& user) override;
  [[nodiscard]] int GetOperatingSystemVersion() override;
  void EnumProcs(const std::function<bool(const CString&)>& callback) override;
  void WinExec(const CString& commandLine) override;
  int GetCodePage() override;
  [[nodiscard]] Answer RegistryKeyExists(RegistryRoot root, const CString& key) override;
  [[nodiscard]] Answer ReadRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                          CString& data) override;
  [[nodiscard]] bool WriteRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                         const CString& data) override;
  [[nodiscard]] bool DeleteRegistryValue(RegistryRoot root, const CString& key, const CString& name) override;
  [[nodiscard]] Answer EnumRegistryValues(RegistryRoot root, const CString& key,
                                          std::vector<RegistryValue>& values) override;
  bool AddFontResource(const CString& path) override;
  bool RemoveFontResource(const CString& path) override;
  void BroadcastFontChange() override;
  [[nodiscard]] CKestDateTime Now() override;
  [[nodiscard]] std::int64_t MonotonicMilliseconds() override;
  void AllowBackgroundProcessing() override;
  [[nodiscard]] MachineError GetLastError() override;
  void ClearLastError() override;
  [[nodiscard]] MachineError GetUnanswered() override;
  void ForgetUnanswered() override;

  /// How often the names of a folder were read from the disk since the machine was opened; what finding names costs is
  /// judged by it.
  [[nodiscard]] std::uint64_t GetFolderReads() const;

  class State; ///< of the implementation alone

private:
  [[nodiscard]] CString ToWindowsPath(const CString& hostPath);

  std::shared_ptr<State> m_state; ///< shared with the files that it has open
};

} // namespace kest
