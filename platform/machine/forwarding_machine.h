#pragma once

#include "platform/machine/machine.h"
#include "platform/text/windows_names.h"

namespace kest {

/// Passes every call on to another machine (borrowed). Before each call it asks Allow, which derived classes override
/// to count calls, fail the n-th one, or act between two calls; a call that is not allowed is not passed on and answers
/// false, kCannotTell (or its empty value). The files it hands out ask too, under the names "Read", "ReadAt", "Write",
/// "WriteAt", "GetSize", "SetDate", "Sync" and "Close"; a Close that is not allowed drops what a kReplace file wrote.
/// What cannot fail on any machine is asked about and passed on whatever the answer: the clock, GetCodePage,
/// AllowBackgroundProcessing. Not asked about: UnlockWriter, ForgetFolders, GetChangeMark,
/// HoldsDriveOf, IsOwn, NoteOwn, IsNotedPlace, GetLastError, ClearLastError.
class KEST_API ForwardingMachine : public Machine {
public:
  explicit ForwardingMachine(Machine& next) : m_next(next) {} ///< `next` is borrowed and must live longer

  /// One call: its name as declared in Machine ("CopyFile") or MachineFile ("Write"), whether it changes the machine,
  /// the first path (the key of a registry call, the path a file was opened by; null where there is none).
  struct Call {
    const char* name;    ///< as declared in Machine or MachineFile
    bool changes;        ///< whether it changes the machine
    const CString* path; ///< borrowed during Allow; null where there is none
  };

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

protected:
  /// The default allows every call. Clock, users and known places are asked about as well.
  virtual bool Allow(const Call& call) {
    (void)call;
    return true;
  }
  /// What GetLastError is to say after a call that was not allowed.
  virtual MachineError Refusal(const Call& call);

private:
  class File;
  [[nodiscard]] bool Ask(const Call& call);
  /// `answer` of a call that was passed on; after a failure it is the next machine that knows why.
  bool Passed(bool answer);
  Answer Passed(Answer answer);
  /// The same for a plain question, whose "no" is no failure.
  Answer PassedPlain(Answer answer);

  Machine& m_next;
  bool m_refusedLast = false; ///< the last failure was a refusal of ours
  MachineError m_refusal;
};

} // namespace kest
