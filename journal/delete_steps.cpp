#include "journal/delete_steps.h"

#include "journal/file_state.h"
#include "journal/private_folders.h"
#include "journal/step_record.h"

#include "platform/machine/os.h"
#include "platform/text/path.h"

namespace kest {

DeleteByRename::DeleteByRename(const CString& path) : m_path(CKestOS::GetMachine().GetStoredPath(path)) {
  if (m_path.empty()) {
    m_path = path;
  }
}

int DeleteByRename::Prepare() {
  if (m_prepared) {
    return 0;
  }
  CString folder;
  if (!private_folders::GetDeletedFor(m_path, folder)) {
    return -1;
  }
  m_kept = folder + private_folders::NextDeletedName(CKestPath(m_path).GetFileName());
  m_prepared = true;
  return 0;
}

int DeleteByRename::Do() {
  if (Prepare() != 0) {
    return -1;
  }
  return m_open || Take() ? 0 : -1;
}

void DeleteByRename::Release() {
  if (!m_open || private_folders::IsTrashedWhole()) {
    return;
  }
  GiveToTrash();
  m_open = false;
}

void DeleteByRename::CollectTouched(CKestTypedList<CKestString>& paths) const {
  AppendFolderOf(paths, m_path);
  AppendFolderOf(paths, m_kept);
}

bool CInstallDeleteFile::Take() {
  m_open = true; // a rename from which something is thrown may have been done
  m_open = CKestOS::GetMachine().MoveFile(m_path, m_kept);
  return m_open;
}

int CInstallDeleteFile::Undo() {
  m_restored = false;
  if (!m_open) {
    return -1;
  }
  if (CKestOS::GetMachine().MoveFile(m_kept, m_path)) {
    m_restored = true;
    m_open = false;
    return 0;
  }
  if (ProbeFile(m_kept) != Presence::kAbsent) {
    return -1;
  }
  // not kept: it was never taken, or is back already (and may be gone again since, by the undo of a step before this
  // one)
  m_open = false;
  return 0;
}

void CInstallDeleteFile::GiveToTrash() const {
  Machine& machine = CKestOS::GetMachine();
  if (!machine.MoveFileToTrash(m_kept) && CKestOS::MakeFileWritable(m_kept)) {
    static_cast<void>(machine.DeleteFile(m_kept));
  }
}

bool CInstallDeleteFile::Describe(StepRecord& record) const {
  record.SetKind(kKind);
  record.Add("path", m_path);
  record.Add("kept", m_kept);
  return true;
}

void CInstallDeleteFile::CollectEffects(std::vector<StepEffect>& effects) const {
  if (m_open) {
    effects.push_back({.path = m_path, .existed = true, .exists = false, .kept = m_kept});
  }
}

std::unique_ptr<CKestExtensionInstallStep> CInstallDeleteFile::FromRecord(const StepRecord& record,
                                                                          const RecordJudge& judge) {
  std::unique_ptr<CInstallDeleteFile> step(new CInstallDeleteFile);
  step->m_path = record.Get("path");
  step->m_kept = record.Get("kept");
  if (!RecordJudge::IsPlain(step->m_path) || !judge.IsPrivate(step->m_kept)) {
    return nullptr;
  }
  return step;
}

CInstallBackupFile::CInstallBackupFile(CString file, CString copy) : m_file(std::move(file)), m_copy(std::move(copy)) {}

int CInstallBackupFile::Prepare() {
  if (m_prepared) {
    return 0;
  }
  Machine& machine = CKestOS::GetMachine();
  CString folder;
  if (!private_folders::GetFor(m_file, folder)) {
    return -1;
  }
  const CString stage = folder + private_folders::NextName("bkn");
  const CString kept = folder + private_folders::NextName("bkf");
  if (!machine.CopyFile(m_file, stage) || !KeepFile(m_file, kept, m_keptIsCopy)) {
    return -1;
  }
  CString oldCopy;
  if (const Answer exists = machine.FileExists(m_copy); exists != Answer::kNo) {
    oldCopy = folder + private_folders::NextName("bkc");
    if (exists == Answer::kCannotTell || !KeepFile(m_copy, oldCopy, m_oldCopyIsCopy)) {
      return -1;
    }
  }
  m_stage = stage;
  m_kept = kept;
  m_oldCopy = oldCopy;
  m_prepared = true;
  return 0;
}

int CInstallBackupFile::Do() {
  if (Prepare() != 0) {
    return -1;
  }
  if (m_placed) {
    return 0;
  }
  Machine& machine = CKestOS::GetMachine();
  m_placed = m_oldCopy.empty() ? machine.MoveFile(m_stage, m_copy) : machine.ReplaceFile(m_stage, m_copy);
  return m_placed ? 0 : -1;
}

int CInstallBackupFile::Undo() {
  m_restored = false;
  if (!m_prepared) {
    return 0;
  }
  switch (ProbeFile(m_stage)) {
  case Presence::kPresent: // never placed, so the file was not to be touched either
    m_placed = false;
    return 0;
  case Presence::kUnknown:
    return -1;
  case Presence::kAbsent:
    break;
  }
  const Presence file = PutBack(m_kept, m_file);
  if (file == Presence::kUnknown) {
    return -1;
  }
  m_restored = file == Presence::kPresent;
  if (!m_oldCopy.empty()) {
    if (PutBack(m_oldCopy, m_copy) == Presence::kUnknown) {
      return -1;
    }
  } else if (!CKestOS::GetMachine().MoveFile(m_copy, m_stage) && ProbeFile(m_copy) != Presence::kAbsent) {
    return -1;
  }
  m_placed = false;
  return 0;
}

void CInstallBackupFile::Release() {
  private_folders::Drop(m_kept);
  private_folders::Drop(m_oldCopy);
  private_folders::Drop(m_stage);
}

bool CInstallBackupFile::Describe(StepRecord& record) const {
  record.SetKind(kKind);
  record.Add("file", m_file);
  record.Add("copy", m_copy);
  record.Add("stage", m_stage);
  record.Add("kept", m_kept);
  if (!m_oldCopy.empty()) {
    record.Add("keptcopy", m_oldCopy);
  }
  return true;
}

void CInstallBackupFile::CollectTouched(CKestTypedList<CKestString>& paths) const {
  paths.Append(m_file); // saved anew by whoever asked for the backup
  paths.Append(m_copy);
  AppendFolderOf(paths, m_file);
  AppendFolderOf(paths, m_copy);
}

void CInstallBackupFile::CollectEffects(std::vector<StepEffect>& effects) const {
  if (m_placed) {
    effects.push_back({.path = m_file, .existed = true, .kept = m_kept});
    effects.push_back({.path = m_copy, .existed = !m_oldCopy.empty(), .kept = m_oldCopy, .isBackup = true});
  }
}

void CInstallBackupFile::CollectNeeded(CKestTypedList<CKestString>& paths) const {
  if (m_keptIsCopy) {
    paths.Append(m_kept);
  }
  if (m_oldCopyIsCopy) {
    paths.Append(m_oldCopy);
  }
}

std::unique_ptr<CKestExtensionInstallStep> CInstallBackupFile::FromRecord(const StepRecord& record,
                                                                          const RecordJudge& judge) {
  std::unique_ptr<CInstallBackupFile> step(new CInstallBackupFile);
  step->m_file = record.Get("file");
  step->m_copy = record.Get("copy");
  step->m_stage = record.Get("stage");
  step->m_kept = record.Get("kept");
  step->m_oldCopy = record.Get("keptcopy");
  step->m_prepared = true;
  if (!RecordJudge::IsPlain(step->m_file) || !RecordJudge::IsPlain(step->m_copy) || !judge.IsPrivate(step->m_stage) ||
      !judge.IsPrivate(step->m_kept) || !judge.IsPrivateOrEmpty(step->m_oldCopy)) {
    return nullptr;
  }
  return step;
}

} // namespace kest
