#include "platform/machine/no_machine.h"

namespace kest {

namespace {

class NoMachine final : public Machine {
public:
  Answer FileExists(const CString&) override { return NoteUnanswered(GetLastError()); }
  Answer GetFileSize(const CString&, std::uint64_t&) override { return NoteUnanswered(GetLastError()); }
  std::unique_ptr<MachineFile> Open(const CString&, OpenMode) override { return nullptr; }
  bool CopyFile(const CString&, const CString&) override { return false; }
  bool DeleteFile(const CString&) override { return false; }
  bool MoveFile(const CString&, const CString&) override { return false; }
  bool ReplaceFile(const CString&, const CString&) override { return false; }
  bool LinkFile(const CString&, const CString&) override { return false; }
  bool MoveFileToTrash(const CString&) override { return false; }
  bool MoveFolderToTrash(const CString&, const CString&) override { return false; }
  Answer IsFileReadOnly(const CString&) override { return NoteUnanswered(GetLastError()); }
  bool SetFileReadOnly(const CString&, bool) override { return false; }
  bool CanUpdateFile(const CString&) override { return false; }
  Answer GetFileDateTime(const CString&, CKestDateTime&) override { return NoteUnanswered(GetLastError()); }
  bool SetFileDateTime(const CString&, const CKestDateTime&) override { return false; }
  Answer GetFileVersion(const CString&, CKestVersionNumber&) override { return NoteUnanswered(GetLastError()); }
  CString GetStoredPath(const CString& path) override { return path; }

  Answer DirectoryExists(const CString&) override { return NoteUnanswered(GetLastError()); }
  bool CreateDirectory(const CString&) override { return false; }
  bool CreatePrivateDirectory(const CString&) override { return false; }
  bool RemoveDirectory(const CString&) override { return false; }
  bool MoveEmptyFolder(const CString&, const CString&) override { return false; }
  bool MoveFolder(const CString&, const CString&) override { return false; }
  bool RemoveTree(const CString&) override { return false; }
  Answer ListFolder(const CString&, std::vector<FolderEntry>&) override { return NoteUnanswered(GetLastError()); }

  bool SameVolume(const CString&, const CString&) override { return false; }
  bool GetFreeSpace(const CString&, std::uint64_t&) override { return false; }
  bool SyncPaths(const std::vector<CString>&) override { return false; }
  WriterLock LockWriter(std::int64_t) override { return {}; }
  void UnlockWriter() override {}
  void ForgetFolders() override {}

  bool GetSystemFolder(CString&) override { return false; }
  bool GetFontsFolder(CString&) override { return false; }
  bool GetTempRoot(CString&) override { return false; }
  bool GetCurrentProcessPath(CString&) override { return false; }

  void InitMultiUserMembers() override {}
  bool IsSupportedMultiUserSystem() override { return false; }
  bool GetCurrentUserType(int&) override { return false; }
  bool GetSharedAppDataPath(CString&) override { return false; }
  bool GetCurrentUserAppDataPath(CString&) override { return false; }
  bool GetAppDataPathFor(const CString&, CString&) override { return false; }
  bool GetAllUserAppDataPaths(std::vector<CString>&) override { return false; }
  bool ExtractUserName(const CString&, CString&) override { return false; }
  int GetOperatingSystemVersion() override { return 0; }
  void EnumProcs(const std::function<bool(const CString&)>&) override {}
  void WinExec(const CString&) override {}
  int GetCodePage() override { return 0; }

  Answer RegistryKeyExists(RegistryRoot, const CString&) override { return NoteUnanswered(GetLastError()); }
  Answer ReadRegistryString(RegistryRoot, const CString&, const CString&, CString&) override {
    return NoteUnanswered(GetLastError());
  }
  bool WriteRegistryString(RegistryRoot, const CString&, const CString&, const CString&) override { return false; }
  bool DeleteRegistryValue(RegistryRoot, const CString&, const CString&) override { return false; }
  Answer EnumRegistryValues(RegistryRoot, const CString&, std::vector<RegistryValue>&) override {
    return NoteUnanswered(GetLastError());
  }
  bool AddFontResource(const CString&) override { return false; }
  bool RemoveFontResource(const CString&) override { return false; }
  void BroadcastFontChange() override {}

  CKestDateTime Now() override { return {}; }
  std::int64_t MonotonicMilliseconds() override { return ++m_milliseconds; }
  void AllowBackgroundProcessing() override { m_milliseconds += 1000; }

  MachineError GetLastError() override { return {MachineError::Kind::kOther, {}, "there is no machine"}; }
  void ClearLastError() override {}

private:
  // runs with the calls, so that a wait for something ends
  std::int64_t m_milliseconds = 0;
};

} // namespace

Machine& GetNoMachine() {
  static auto* const machine = new NoMachine;
  return *machine;
}

} // namespace kest
