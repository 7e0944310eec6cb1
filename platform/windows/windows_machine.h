#pragma once

#include "platform/machine/hosted_machine.h"
#include "platform/text/windows_names.h"

#include <memory>

namespace kest {

/// This PC, for programs that run on Windows. Every call goes to the system at once; nothing is imitated and nothing
/// kept but the writer's lock. Differences to what Machine promises, where the system does not give more:
///   - SyncPaths flushes files and, where the rights suffice, the folders that list them. Whether a rename is on the
///     disk then is up to the file system.
///   - ReplaceFile and DeleteFile wait a moment for programs that look into every new file, and fail with kInUse when
///     one still holds it then. A file that a program holds and lets others delete keeps its name until it is closed.
///   - A folder's rename fails while a file in it is open, whoever has it open.
///   - What the recycle bin does not take is not moved.
class KEST_API WindowsMachine : public HostedMachine {
public:
  WindowsMachine();
  ~WindowsMachine() override;
  WindowsMachine(const WindowsMachine&) = delete;
  WindowsMachine& operator=(const WindowsMachine&) = delete;

  // ---- HostedMachine
  [[nodiscard]] bool IsUsable() const override;
  [[nodiscard]] CString GetDisplayName() const override;
  [[nodiscard]] CString ToHostPath(const CString& windowsPath) override;
  [[nodiscard]] CString AddHostFolder(const CString& hostFolder, bool writable) override;
  [[nodiscard]] std::vector<User> GetUsers() override;
  [[nodiscard]] CString GetCurrentUser() override;
  [[nodiscard]] bool SetCurrentUser(const CString& name) override;
  [[nodiscard]] bool SetProcessRunning(const CString& executable, bool running) override;
  [[nodiscard]] std::vector<CString> GetRunningProcesses() override;
  [[nodiscard]] CString GetWriter() const override;
  [[nodiscard]] std::vector<std::pair<char, CString>> GetDrives() override;

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

  class State; ///< of the implementation alone

private:
  std::shared_ptr<State> m_state; ///< shared with the files that it has open
};

} // namespace kest
