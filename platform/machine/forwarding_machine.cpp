#include "platform/machine/forwarding_machine.h"

#include <utility>

namespace kest {

/// A file whose calls ask as well.
class ForwardingMachine::File : public MachineFile {
public:
  File(ForwardingMachine& machine, std::unique_ptr<MachineFile> next, CString path, bool isToRead)
      : m_machine(machine), m_next(std::move(next)), m_path(std::move(path)), m_isToRead(isToRead) {}

  std::int64_t Read(char* buffer, std::size_t count) override {
    return Ask("Read", false) ? Count(m_next->Read(buffer, count)) : -1;
  }
  std::int64_t ReadAt(std::uint64_t offset, char* buffer, std::size_t count) override {
    return Ask("ReadAt", false) ? Count(m_next->ReadAt(offset, buffer, count)) : -1;
  }
  bool Write(const char* bytes, std::size_t count) override {
    const bool isDone = Ask("Write", true) && m_machine.Passed(m_next->Write(bytes, count));
    m_isBroken = m_isBroken || !isDone;
    return isDone;
  }
  bool WriteAt(std::uint64_t offset, const char* bytes, std::size_t count) override {
    const bool isDone = Ask("WriteAt", true) && m_machine.Passed(m_next->WriteAt(offset, bytes, count));
    m_isBroken = m_isBroken || !isDone;
    return isDone;
  }
  bool GetSize(std::uint64_t& size) override {
    return Ask("GetSize", false) && m_machine.Passed(m_next->GetSize(size));
  }
  bool SetDate(const CKestDateTime& date) override {
    return Ask("SetDate", true) && m_machine.Passed(m_next->SetDate(date));
  }
  bool Sync() override { return Ask("Sync", true) && m_machine.Passed(m_next->Sync()); }
  bool Close() override {
    // what a refused write should have added is missing, whoever closes the file
    if (!Ask("Close", !m_isToRead) || m_isBroken) {
      m_isBroken = true;
      return false;
    }
    return m_machine.Passed(m_next->Close());
  }

private:
  bool Ask(const char* name, bool changes) {
    const bool isAllowed = m_machine.Ask({name, changes, &m_path});
    if (!isAllowed && !changes) {
      m_machine.NoteUnanswered(m_machine.m_refusal);
    }
    return isAllowed;
  }
  std::int64_t Count(std::int64_t result) {
    (void)m_machine.Passed(result >= 0);
    return result;
  }

  ForwardingMachine& m_machine;
  std::unique_ptr<MachineFile> m_next;
  CString m_path;
  bool m_isToRead;
  bool m_isBroken = false;
};

MachineError ForwardingMachine::Refusal(const Call& call) {
  return {MachineError::Kind::kOther, call.path == nullptr ? CString() : *call.path,
          CString("the call ") + call.name + " was not allowed"};
}

bool ForwardingMachine::Ask(const Call& call) {
  if (Allow(call)) {
    return true;
  }
  m_refusal = Refusal(call);
  m_refusedLast = true;
  return false;
}

bool ForwardingMachine::Passed(bool answer) {
  m_refusedLast = m_refusedLast && answer;
  return answer;
}

Answer ForwardingMachine::PassedPlain(Answer answer) {
  m_refusedLast = m_refusedLast && answer != Answer::kCannotTell;
  return answer;
}

Answer ForwardingMachine::Passed(Answer answer) {
  m_refusedLast = m_refusedLast && answer == Answer::kYes;
  return answer;
}

MachineError ForwardingMachine::GetUnanswered() {
  const MachineError own = Machine::GetUnanswered();
  return own.kind != MachineError::Kind::kNone ? own : m_next.GetUnanswered();
}

void ForwardingMachine::ForgetUnanswered() {
  Machine::ForgetUnanswered();
  m_next.ForgetUnanswered();
}

// ---- files
// ------------------------------------------------------------------------------------------------------------

std::unique_ptr<MachineFile> ForwardingMachine::Open(const CString& path, OpenMode mode) {
  if (!Ask({"Open", mode != OpenMode::kRead, &path})) {
    if (mode == OpenMode::kRead) {
      NoteUnanswered(m_refusal);
    }
    return nullptr;
  }
  std::unique_ptr<MachineFile> file = m_next.Open(path, mode);
  return Passed(file != nullptr) ? std::make_unique<File>(*this, std::move(file), path, mode == OpenMode::kRead)
                                 : nullptr;
}
CString ForwardingMachine::GetStoredPath(const CString& path) {
  return Ask({"GetStoredPath", false, &path}) ? m_next.GetStoredPath(path) : CString();
}
WriterLock ForwardingMachine::LockWriter(std::int64_t milliseconds) {
  if (!Ask({"LockWriter", false, nullptr})) {
    return {};
  }
  WriterLock lock = m_next.LockWriter(milliseconds);
  (void)Passed(lock.held);
  return lock;
}
void ForwardingMachine::UnlockWriter() { m_next.UnlockWriter(); }
void ForwardingMachine::ForgetFolders() { m_next.ForgetFolders(); }
ChangeMark ForwardingMachine::GetChangeMark() { return m_next.GetChangeMark(); }
PrivateFolder ForwardingMachine::LookAtPrivateFolder(const CString& path) {
  return Ask({"LookAtPrivateFolder", false, &path}) ? m_next.LookAtPrivateFolder(path) : PrivateFolder::kNo;
}
bool ForwardingMachine::HoldsDriveOf(const CString& path) { return m_next.HoldsDriveOf(path); }
bool ForwardingMachine::IsOwn() { return m_next.IsOwn(); }
void ForwardingMachine::NoteOwn(const std::vector<CString>& places) { m_next.NoteOwn(places); }
bool ForwardingMachine::IsNotedPlace(const CString& path) { return m_next.IsNotedPlace(path); }

// ---- what cannot fail
// -------------------------------------------------------------------------------------------------

int ForwardingMachine::GetCodePage() {
  (void)Allow({"GetCodePage", false, nullptr});
  return m_next.GetCodePage();
}
CKestDateTime ForwardingMachine::Now() {
  (void)Allow({"Now", false, nullptr});
  return m_next.Now();
}
std::int64_t ForwardingMachine::MonotonicMilliseconds() {
  (void)Allow({"MonotonicMilliseconds", false, nullptr});
  return m_next.MonotonicMilliseconds();
}
void ForwardingMachine::AllowBackgroundProcessing() {
  (void)Allow({"AllowBackgroundProcessing", false, nullptr});
  m_next.AllowBackgroundProcessing();
}
MachineError ForwardingMachine::GetLastError() { return m_refusedLast ? m_refusal : m_next.GetLastError(); }
void ForwardingMachine::ClearLastError() {
  m_refusedLast = false;
  m_refusal = {};
  m_next.ClearLastError();
}

// ---- everything else: ask, pass on
// ------------------------------------------------------------------------------------

Answer ForwardingMachine::IsSameFile(const CString& a, const CString& b) {
  return Ask({"IsSameFile", false, &a}) ? PassedPlain(m_next.IsSameFile(a, b)) : NoteUnanswered(m_refusal);
}
Answer ForwardingMachine::FileExists(const CString& path) {
  return Ask({"FileExists", false, &path}) ? PassedPlain(m_next.FileExists(path)) : NoteUnanswered(m_refusal);
}
Answer ForwardingMachine::GetFileSize(const CString& path, std::uint64_t& size) {
  return Ask({"GetFileSize", false, &path}) ? Passed(m_next.GetFileSize(path, size)) : NoteUnanswered(m_refusal);
}
bool ForwardingMachine::CopyFile(const CString& from, const CString& to) {
  return Ask({"CopyFile", true, &from}) && Passed(m_next.CopyFile(from, to));
}
bool ForwardingMachine::DeleteFile(const CString& path) {
  return Ask({"DeleteFile", true, &path}) && Passed(m_next.DeleteFile(path));
}
bool ForwardingMachine::MoveFile(const CString& from, const CString& to) {
  return Ask({"MoveFile", true, &from}) && Passed(m_next.MoveFile(from, to));
}
bool ForwardingMachine::ReplaceFile(const CString& from, const CString& to) {
  return Ask({"ReplaceFile", true, &from}) && Passed(m_next.ReplaceFile(from, to));
}
bool ForwardingMachine::LinkFile(const CString& existing, const CString& to) {
  return Ask({"LinkFile", true, &existing}) && Passed(m_next.LinkFile(existing, to));
}
bool ForwardingMachine::MoveFileToTrash(const CString& path) {
  return Ask({"MoveFileToTrash", true, &path}) && Passed(m_next.MoveFileToTrash(path));
}
bool ForwardingMachine::MoveFolderToTrash(const CString& path, const CString& label) {
  return Ask({"MoveFolderToTrash", true, &path}) && Passed(m_next.MoveFolderToTrash(path, label));
}
Answer ForwardingMachine::IsFileReadOnly(const CString& path) {
  return Ask({"IsFileReadOnly", false, &path}) ? PassedPlain(m_next.IsFileReadOnly(path)) : NoteUnanswered(m_refusal);
}
bool ForwardingMachine::SetFileReadOnly(const CString& path, bool readOnly) {
  return Ask({"SetFileReadOnly", true, &path}) && Passed(m_next.SetFileReadOnly(path, readOnly));
}
bool ForwardingMachine::CanUpdateFile(const CString& path) {
  return Ask({"CanUpdateFile", false, &path}) && Passed(m_next.CanUpdateFile(path));
}
Answer ForwardingMachine::GetFileDateTime(const CString& path, CKestDateTime& date) {
  return Ask({"GetFileDateTime", false, &path}) ? Passed(m_next.GetFileDateTime(path, date))
                                                : NoteUnanswered(m_refusal);
}
bool ForwardingMachine::GetFileStamp(const CString& path, FileStamp& stamp) {
  return Ask({"GetFileStamp", false, &path}) && Passed(m_next.GetFileStamp(path, stamp));
}
bool ForwardingMachine::SetFileDateTime(const CString& path, const CKestDateTime& date) {
  return Ask({"SetFileDateTime", true, &path}) && Passed(m_next.SetFileDateTime(path, date));
}
Answer ForwardingMachine::GetFileVersion(const CString& path, CKestVersionNumber& version) {
  return Ask({"GetFileVersion", false, &path}) ? Passed(m_next.GetFileVersion(path, version))
                                               : NoteUnanswered(m_refusal);
}
Answer ForwardingMachine::DirectoryExists(const CString& path) {
  return Ask({"DirectoryExists", false, &path}) ? PassedPlain(m_next.DirectoryExists(path)) : NoteUnanswered(m_refusal);
}
bool ForwardingMachine::CreateDirectory(const CString& path) {
  return Ask({"CreateDirectory", true, &path}) && Passed(m_next.CreateDirectory(path));
}
bool ForwardingMachine::CreatePrivateDirectory(const CString& path) {
  return Ask({"CreatePrivateDirectory", true, &path}) && Passed(m_next.CreatePrivateDirectory(path));
}
bool ForwardingMachine::RemoveDirectory(const CString& path) {
  return Ask({"RemoveDirectory", true, &path}) && Passed(m_next.RemoveDirectory(path));
}
bool ForwardingMachine::MoveEmptyFolder(const CString& from, const CString& to) {
  return Ask({"MoveEmptyFolder", true, &from}) && Passed(m_next.MoveEmptyFolder(from, to));
}
bool ForwardingMachine::MoveFolder(const CString& from, const CString& to) {
  return Ask({"MoveFolder", true, &from}) && Passed(m_next.MoveFolder(from, to));
}
bool ForwardingMachine::RemoveTree(const CString& path) {
  return Ask({"RemoveTree", true, &path}) && Passed(m_next.RemoveTree(path));
}
Answer ForwardingMachine::ListFolder(const CString& path, std::vector<FolderEntry>& entries) {
  return Ask({"ListFolder", false, &path}) ? Passed(m_next.ListFolder(path, entries)) : NoteUnanswered(m_refusal);
}
bool ForwardingMachine::SameVolume(const CString& a, const CString& b) {
  return Ask({"SameVolume", false, &a}) && m_next.SameVolume(a, b);
}
bool ForwardingMachine::GetFreeSpace(const CString& path, std::uint64_t& bytes) {
  return Ask({"GetFreeSpace", false, &path}) && Passed(m_next.GetFreeSpace(path, bytes));
}
bool ForwardingMachine::SyncPaths(const std::vector<CString>& paths) {
  return Ask({"SyncPaths", true, paths.empty() ? nullptr : &paths.front()}) && Passed(m_next.SyncPaths(paths));
}
void ForwardingMachine::StartSync(const CString& path) { m_next.StartSync(path); }
bool ForwardingMachine::GetSystemFolder(CString& path) {
  return Ask({"GetSystemFolder", false, nullptr}) && Passed(m_next.GetSystemFolder(path));
}
bool ForwardingMachine::GetFontsFolder(CString& path) {
  return Ask({"GetFontsFolder", false, nullptr}) && Passed(m_next.GetFontsFolder(path));
}
bool ForwardingMachine::GetTempRoot(CString& path) {
  return Ask({"GetTempRoot", false, nullptr}) && Passed(m_next.GetTempRoot(path));
}
bool ForwardingMachine::GetCurrentProcessPath(CString& path) {
  return Ask({"GetCurrentProcessPath", false, nullptr}) && Passed(m_next.GetCurrentProcessPath(path));
}
void ForwardingMachine::InitMultiUserMembers() {
  if (Ask({"InitMultiUserMembers", false, nullptr})) {
    m_next.InitMultiUserMembers();
  }
}
bool ForwardingMachine::IsSupportedMultiUserSystem() {
  return Ask({"IsSupportedMultiUserSystem", false, nullptr}) && m_next.IsSupportedMultiUserSystem();
}
bool ForwardingMachine::GetCurrentUserType(int& type) {
  return Ask({"GetCurrentUserType", false, nullptr}) && Passed(m_next.GetCurrentUserType(type));
}
bool ForwardingMachine::GetSharedAppDataPath(CString& path) {
  return Ask({"GetSharedAppDataPath", false, nullptr}) && Passed(m_next.GetSharedAppDataPath(path));
}
bool ForwardingMachine::GetCurrentUserAppDataPath(CString& path) {
  return Ask({"GetCurrentUserAppDataPath", false, nullptr}) && Passed(m_next.GetCurrentUserAppDataPath(path));
}
bool ForwardingMachine::GetAppDataPathFor(const CString& user, CString& path) {
  return Ask({"GetAppDataPathFor", false, &user}) && Passed(m_next.GetAppDataPathFor(user, path));
}
bool ForwardingMachine::GetAllUserAppDataPaths(std::vector<CString>& paths) {
  return Ask({"GetAllUserAppDataPaths", false, nullptr}) && Passed(m_next.GetAllUserAppDataPaths(paths));
}
bool ForwardingMachine::ExtractUserName(const CString& path, CString& user) {
  return Ask({"ExtractUserName", false, &path}) && Passed(m_next.ExtractUserName(path, user));
}
int ForwardingMachine::GetOperatingSystemVersion() {
  return Ask({"GetOperatingSystemVersion", false, nullptr}) ? m_next.GetOperatingSystemVersion() : 0;
}
void ForwardingMachine::EnumProcs(const std::function<bool(const CString&)>& callback) {
  if (Ask({"EnumProcs", false, nullptr})) {
    m_next.EnumProcs(callback);
  }
}
void ForwardingMachine::WinExec(const CString& commandLine) {
  if (Ask({"WinExec", true, &commandLine})) {
    m_next.WinExec(commandLine);
  }
}
Answer ForwardingMachine::RegistryKeyExists(RegistryRoot root, const CString& key) {
  return Ask({"RegistryKeyExists", false, &key}) ? PassedPlain(m_next.RegistryKeyExists(root, key))
                                                 : NoteUnanswered(m_refusal);
}
Answer ForwardingMachine::ReadRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                             CString& data) {
  return Ask({"ReadRegistryString", false, &key}) ? Passed(m_next.ReadRegistryString(root, key, name, data))
                                                  : NoteUnanswered(m_refusal);
}
bool ForwardingMachine::WriteRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                            const CString& data) {
  return Ask({"WriteRegistryString", true, &key}) && Passed(m_next.WriteRegistryString(root, key, name, data));
}
bool ForwardingMachine::DeleteRegistryValue(RegistryRoot root, const CString& key, const CString& name) {
  return Ask({"DeleteRegistryValue", true, &key}) && Passed(m_next.DeleteRegistryValue(root, key, name));
}
Answer ForwardingMachine::EnumRegistryValues(RegistryRoot root, const CString& key,
                                             std::vector<RegistryValue>& values) {
  return Ask({"EnumRegistryValues", false, &key}) ? Passed(m_next.EnumRegistryValues(root, key, values))
                                                  : NoteUnanswered(m_refusal);
}
bool ForwardingMachine::AddFontResource(const CString& path) {
  return Ask({"AddFontResource", true, &path}) && Passed(m_next.AddFontResource(path));
}
bool ForwardingMachine::RemoveFontResource(const CString& path) {
  return Ask({"RemoveFontResource", true, &path}) && Passed(m_next.RemoveFontResource(path));
}
void ForwardingMachine::BroadcastFontChange() {
  if (Ask({"BroadcastFontChange", true, nullptr})) {
    m_next.BroadcastFontChange();
  }
}
} // namespace kest
