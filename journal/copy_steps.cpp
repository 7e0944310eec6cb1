#include "journal/copy_steps.h"

#include "journal/file_state.h"
#include "journal/private_folders.h"
#include "journal/step_record.h"
#include "journal/waiting_file.h"

#include "platform/machine/os.h"
#include "platform/text/path.h"

namespace kest {

namespace {

constexpr int kNameTries = 1000;

// The line that has the two files swapped at the next logon. Empty when the own program cannot be found.
CString ReplaceCommand(const CString& destination, const CString& pending) {
  CString program;
  if (!CKestOS::GetCurrentProcessPath(program)) {
    return {};
  }
  CKestPath path(program);
  path.SetFileName("replace.exe");
  return CKestOS::GetShortPathName(path) + " \"" + destination + "\" \"" + pending + "\"";
}

} // namespace

CInstallCopyFile::CInstallCopyFile(CString source, CString destination, bool deferred, bool deleteSourceOnRelease)
    : m_source(std::move(source)), m_destination(std::move(destination)), m_deferred(deferred),
      m_deleteSource(deleteSourceOnRelease) {}

int CInstallCopyFile::Prepare() {
  if (m_prepared) {
    return 0;
  }
  if (PrepareStage() != 0) {
    return -1;
  }
  const Answer exists = CKestOS::GetMachine().FileExists(m_destination);
  m_existed = IsYes(exists);
  if (m_deferred) {
    if (PreparePending() != 0) {
      return -1;
    }
  } else if (exists != Answer::kNo) {
    CString folder;
    if (exists == Answer::kCannotTell || !private_folders::GetFor(m_destination, folder)) {
      return -1;
    }
    const CString backup = folder + private_folders::NextName("cpy");
    if (!KeepFile(m_destination, backup, m_backupIsCopy)) {
      return -1;
    }
    m_backup = backup;
  }
  m_prepared = true;
  return 0;
}

int CInstallCopyFile::PrepareStage() {
  Machine& machine = CKestOS::GetMachine();
  CString folder;
  CString own;
  if (!private_folders::GetFor(m_destination, folder) || !private_folders::GetOwn(own)) {
    return -1;
  }
  if (m_mayMoveSource && folder == own && private_folders::Holds(m_source)) {
    if (!IsYes(machine.FileExists(m_source))) {
      return -1;
    }
    m_stage = m_source;
    return 0;
  }
  const CString stage = folder + private_folders::NextName("new");
  if (!machine.CopyFile(m_source, stage)) {
    return -1;
  }
  m_stage = stage;
  return 0;
}

// The name is chosen here, so that the journal knows it before anything stands beside the destination; it is taken by
// the move, which refuses a name that somebody else took meanwhile. Steps are prepared together, so nothing on the disk
// tells the names of the others: a number is given once, whatever the folder, since the value bears the name alone.
int CInstallCopyFile::PreparePending() {
  Machine& machine = CKestOS::GetMachine();
  CString leaf;
  if (!private_folders::GetLeaf(leaf) || !private_folders::HoldRoom()) {
    return -1;
  }
  const CString stem = leaf.substr(leaf.rfind('-') + 1);
  static unsigned s_nextNumber = 0;
  CKestPath path(m_destination);
  for (int i = 0; i < kNameTries; ++i) {
    const CString name = "rpl" + stem + std::to_string(s_nextNumber++) + ".tmp";
    path.SetFileName(name);
    CString data;
    if (machine.FileExists(path) == Answer::kNo &&
        machine.ReadRegistryString(RegistryRoot::kCurrentUser, kRunOnceKey, name, data) == Answer::kNo) {
      m_pending = path;
      return 0;
    }
  }
  return -1;
}

int CInstallCopyFile::Do() {
  if (Prepare() != 0) {
    return -1;
  }
  if (m_deferred) {
    return DoDeferred();
  }
  if (m_placed) {
    return 0;
  }
  Machine& machine = CKestOS::GetMachine();
  m_placed = m_backup.empty() ? machine.MoveFile(m_stage, m_destination) : machine.ReplaceFile(m_stage, m_destination);
  return m_placed ? 0 : -1;
}

int CInstallCopyFile::DoDeferred() {
  Machine& machine = CKestOS::GetMachine();
  if (!m_placed) {
    m_placed = machine.MoveFile(m_stage, m_pending);
    if (!m_placed) {
      return -1;
    }
  }
  const CString command = ReplaceCommand(m_destination, m_pending);
  const CString name = CKestPath(m_pending).GetFileName();
  CString other;
  if (command.empty() ||
      (machine.ReadRegistryString(RegistryRoot::kCurrentUser, kRunOnceKey, name, other) != Answer::kNo &&
       other != command)) {
    return -1; // somebody else's value since the name was chosen
  }
  return machine.WriteRegistryString(RegistryRoot::kCurrentUser, kRunOnceKey, name, command) ? 0 : -1;
}

int CInstallCopyFile::Undo() {
  m_restored = false;
  if (!m_prepared) {
    return 0;
  }
  switch (ProbeFile(m_stage)) {
  case Presence::kPresent:
    m_placed = false;
    return 0;
  case Presence::kUnknown:
    return -1;
  case Presence::kAbsent:
    break;
  }
  if (m_deferred) {
    return UndoDeferred();
  }
  Machine& machine = CKestOS::GetMachine();
  if (!m_backup.empty()) {
    // no longer kept means restored already; the file may be gone again since by the undo of a step before this one
    const Presence put = PutBack(m_backup, m_destination);
    m_restored = put == Presence::kPresent;
    if (put == Presence::kUnknown) {
      return -1;
    }
  } else if (machine.MoveFile(m_destination, m_stage)) {
    m_restored = true;
  } else if (ProbeFile(m_destination) != Presence::kAbsent) {
    return -1;
  }
  m_placed = false;
  return 0;
}

// Value first: once the pending file is back at its stage, nothing is left to do.
int CInstallCopyFile::UndoDeferred() {
  Machine& machine = CKestOS::GetMachine();
  if (!machine.DeleteRegistryValue(RegistryRoot::kCurrentUser, kRunOnceKey, CKestPath(m_pending).GetFileName())) {
    return -1;
  }
  if (machine.MoveFile(m_pending, m_stage)) {
    m_restored = true;
  } else if (ProbeFile(m_pending) != Presence::kAbsent) {
    return -1;
  }
  m_placed = false;
  return 0;
}

void CInstallCopyFile::Release() {
  private_folders::Drop(m_backup);
  if (m_stage != m_source) {
    private_folders::Drop(m_stage);
  }
  if (!m_deleteSource || m_source.empty()) {
    return;
  }
  if (private_folders::Holds(m_source)) {
    private_folders::Drop(m_source);
  } else if (m_placed && CKestOS::MakeFileWritable(m_source)) {
    CKestOS::DeleteFile(m_source);
  }
}

bool CInstallCopyFile::Describe(StepRecord& record) const {
  record.SetKind(kKind);
  record.Add("to", m_destination);
  record.Add("stage", m_stage);
  if (!m_backup.empty()) {
    record.Add("kept", m_backup);
  }
  if (m_deferred) {
    record.Add("pending", m_pending);
  }
  return true;
}

void CInstallCopyFile::CollectTouched(CKestTypedList<CKestString>& paths) const {
  const CString& file = m_deferred ? m_pending : m_destination;
  paths.Append(file);
  AppendFolderOf(paths, file);
}

void CInstallCopyFile::CollectEffects(std::vector<StepEffect>& effects) const {
  if (m_placed) {
    StepEffect effect{.path = m_destination, .existed = m_existed, .kept = m_backup};
    if (m_deferred) {
      effect.whyForGood = "it is replaced at a log-on";
    }
    effects.push_back(std::move(effect));
  }
}

void CInstallCopyFile::CollectRegistryValues(std::vector<CString>& values) const {
  if (m_placed && m_deferred) {
    values.push_back(RegistryPath(RegistryRoot::kCurrentUser, kRunOnceKey) + '\\' + CKestPath(m_pending).GetFileName());
  }
}

void CInstallCopyFile::CollectNeeded(CKestTypedList<CKestString>& paths) const {
  if (m_backupIsCopy) {
    paths.Append(m_backup);
  }
}

std::unique_ptr<CKestExtensionInstallStep> CInstallCopyFile::FromRecord(const StepRecord& record,
                                                                        const RecordJudge& judge) {
  std::unique_ptr<CInstallCopyFile> step(new CInstallCopyFile);
  step->m_destination = record.Get("to");
  step->m_stage = record.Get("stage");
  step->m_backup = record.Get("kept");
  step->m_pending = record.Get("pending");
  step->m_deferred = !step->m_pending.empty();
  step->m_prepared = true;
  const bool fits = RecordJudge::IsPlain(step->m_destination) && judge.IsPrivate(step->m_stage) &&
                    judge.IsPrivateOrEmpty(step->m_backup);
  if (!fits) {
    return nullptr;
  }
  if (step->m_deferred) {
    const CKestPath pending(step->m_pending);
    if (!RecordJudge::IsPlain(step->m_pending) || !pending.GetFileName().starts_with("rpl") ||
        !text::EqualNoCase(pending.GetFolder(), CKestPath(step->m_destination).GetFolder())) {
      return nullptr;
    }
  }
  return step;
}

} // namespace kest
