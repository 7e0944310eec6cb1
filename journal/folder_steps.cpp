#include "journal/folder_steps.h"

#include "journal/file_state.h"
#include "journal/private_folders.h"
#include "journal/step_record.h"

#include "platform/machine/os.h"
#include "platform/text/path.h"

namespace kest {

namespace {

void CollectFolder(CKestTypedList<CKestString>& paths, const CString& folder) {
  paths.Append(folder);
  AppendFolderOf(paths, folder);
}

} // namespace

CInstallCreateFolder::CInstallCreateFolder(const CString& folder) : m_folder(WithoutBackslash(folder)) {}

int CInstallCreateFolder::Prepare() {
  if (m_prepared) {
    return 0;
  }
  const Presence presence = ProbeFolder(m_folder);
  if (presence == Presence::kUnknown) {
    return -1;
  }
  m_existed = presence == Presence::kPresent;
  m_prepared = true;
  return 0;
}

int CInstallCreateFolder::Do() {
  if (Prepare() != 0) {
    return -1;
  }
  return CKestOS::GetMachine().CreateDirectory(m_folder) ? 0 : -1;
}

int CInstallCreateFolder::Undo() {
  m_restored = false;
  if (!m_prepared || m_existed) {
    return 0;
  }
  if (CKestOS::GetMachine().RemoveDirectory(m_folder)) {
    m_restored = true;
    return 0;
  }
  return ProbeFolder(m_folder) == Presence::kAbsent ? 0 : -1;
}

bool CInstallCreateFolder::IsUndoInTheWayOfOthers() const {
  std::vector<FolderEntry> entries;
  return IsYes(CKestOS::GetMachine().ListFolder(m_folder, entries)) && !entries.empty();
}

bool CInstallCreateFolder::Describe(StepRecord& record) const {
  if (m_existed) {
    return false;
  }
  record.SetKind(kKind);
  record.Add("folder", m_folder);
  return true;
}

void CInstallCreateFolder::CollectTouched(CKestTypedList<CKestString>& paths) const {
  if (!m_existed) {
    CollectFolder(paths, m_folder);
  }
}

void CInstallCreateFolder::CollectEffects(std::vector<StepEffect>& effects) const {
  if (m_prepared && !m_existed) {
    effects.push_back({.path = m_folder, .isFolder = true});
  }
}

std::unique_ptr<CKestExtensionInstallStep> CInstallCreateFolder::FromRecord(const StepRecord& record,
                                                                            const RecordJudge& judge) {
  static_cast<void>(judge); // an empty folder is all that an undo of this step can cost
  if (!RecordJudge::IsPlain(record.Get("folder"))) {
    return nullptr;
  }
  auto step = std::make_unique<CInstallCreateFolder>(record.Get("folder"));
  step->m_prepared = true;
  return step;
}

CInstallDeleteFolder::CInstallDeleteFolder(const CString& folder) {
  m_folder = CKestOS::GetMachine().GetStoredPath(WithoutBackslash(folder));
  if (m_folder.empty()) {
    m_folder = WithoutBackslash(folder);
  }
}

int CInstallDeleteFolder::Prepare() {
  if (m_prepared) {
    return 0;
  }
  const Presence presence = ProbeFolder(m_folder);
  if (presence == Presence::kUnknown) {
    return -1;
  }
  m_existed = presence == Presence::kPresent;
  CString folder;
  if (m_existed && private_folders::GetFor(m_folder, folder)) {
    m_aside = folder + private_folders::NextName("dir");
  }
  m_prepared = true;
  return 0;
}

int CInstallDeleteFolder::Do() {
  if (Prepare() != 0) {
    return -1;
  }
  Machine& machine = CKestOS::GetMachine();
  if (!m_aside.empty() && machine.MoveEmptyFolder(m_folder, m_aside)) {
    return 0;
  }
  return machine.RemoveDirectory(m_folder) ? 0 : -1;
}

int CInstallDeleteFolder::Undo() {
  m_restored = false;
  if (!m_prepared || !m_existed) {
    return 0;
  }
  Machine& machine = CKestOS::GetMachine();
  if (IsYes(machine.DirectoryExists(m_folder))) {
    return 0;
  }
  m_restored = (!m_aside.empty() && machine.MoveEmptyFolder(m_aside, m_folder)) || machine.CreateDirectory(m_folder);
  return m_restored ? 0 : -1;
}

void CInstallDeleteFolder::Release() {
  if (!m_aside.empty() && !private_folders::IsOperationOpen()) {
    static_cast<void>(CKestOS::GetMachine().RemoveDirectory(m_aside));
  }
}

bool CInstallDeleteFolder::Describe(StepRecord& record) const {
  if (!m_existed) {
    return false;
  }
  record.SetKind(kKind);
  record.Add("folder", m_folder);
  if (!m_aside.empty()) {
    record.Add("aside", m_aside);
  }
  return true;
}

void CInstallDeleteFolder::CollectTouched(CKestTypedList<CKestString>& paths) const { AppendFolderOf(paths, m_folder); }

std::unique_ptr<CKestExtensionInstallStep> CInstallDeleteFolder::FromRecord(const StepRecord& record,
                                                                            const RecordJudge& judge) {
  if (!RecordJudge::IsPlain(record.Get("folder")) || !judge.IsPrivateOrEmpty(record.Get("aside"))) {
    return nullptr;
  }
  auto step = std::make_unique<CInstallDeleteFolder>(record.Get("folder"));
  // the parents may be missing at this moment, so the spelling is the record's
  step->m_folder = record.Get("folder");
  step->m_aside = record.Get("aside");
  step->m_prepared = true;
  step->m_existed = true;
  return step;
}

void CInstallDeleteFolder::CollectEffects(std::vector<StepEffect>& effects) const {
  if (m_prepared && m_existed) {
    effects.push_back({.path = m_folder, .isFolder = true, .existed = true, .exists = false});
  }
}

} // namespace kest
