#include "journal/whole_folder_steps.h"

#include "journal/file_state.h"
#include "journal/private_folders.h"
#include "journal/step_record.h"

#include "platform/machine/os.h"
#include "platform/text/path.h"

#include <unordered_set>

namespace kest {

namespace {

CString In(const CString& folder, const CString& name) { return folder + '\\' + name; }

void AddNames(StepRecord& record, const std::vector<CString>& names) {
  for (const CString& name : names) {
    record.Add("name", name);
  }
}

// The names of a record, when every one is a plain name of an entry of the folder.
bool ReadNames(const StepRecord& record, const CString& folder, std::vector<CString>& names) {
  names = record.GetAll("name");
  for (const CString& name : names) {
    if (name.empty() || text::FindBackslash(name) != CString::npos || !RecordJudge::IsPlain(In(folder, name))) {
      return false;
    }
  }
  return !names.empty() && RecordJudge::IsPlain(folder);
}

} // namespace

bool HoldsOnly(const CString& folder, const std::vector<CString>& names, bool all) {
  std::vector<FolderEntry> entries;
  if (!IsYes(CKestOS::GetMachine().ListFolder(folder, entries)) || (all && entries.size() != names.size())) {
    return false;
  }
  const std::unordered_set<std::string_view> ours(names.begin(), names.end());
  for (const FolderEntry& entry : entries) {
    if (entry.isFolder || entry.isLink || !ours.contains(entry.name)) {
      return false;
    }
  }
  return true;
}

CInstallPlaceFolder::CInstallPlaceFolder(CString stage, CString folder, std::vector<CString> names)
    : m_stage(std::move(stage)), m_folder(std::move(folder)), m_names(std::move(names)) {}

int CInstallPlaceFolder::Prepare() {
  if (m_prepared) {
    return 0;
  }
  CString own;
  CString folder;
  const bool fits = private_folders::GetOwn(own) && private_folders::GetFor(m_folder, folder) && folder == own &&
                    private_folders::Holds(m_stage) && HoldsOnly(m_stage, m_names, true) &&
                    ProbeFolder(m_folder) == Presence::kAbsent;
  if (!fits) {
    return -1;
  }
  m_aside = folder + private_folders::NextName("fld");
  m_prepared = true;
  return 0;
}

int CInstallPlaceFolder::Do() {
  if (Prepare() != 0) {
    return -1;
  }
  m_placed = m_placed || CKestOS::GetMachine().MoveFolder(m_stage, m_folder);
  return m_placed ? 0 : -1;
}

int CInstallPlaceFolder::Undo() {
  m_restored = false;
  if (!m_prepared) {
    return 0;
  }
  for (const CString* folder : {&m_stage, &m_folder}) {
    const Presence presence = ProbeFolder(*folder);
    if (presence == Presence::kUnknown) {
      return -1;
    }
    if ((presence == Presence::kPresent) == (folder == &m_stage)) {
      m_placed = false; // never placed, or taken back already
      return 0;
    }
  }
  if (!TakeBackWhole() && !TakeBackFiles()) {
    return -1;
  }
  m_restored = true;
  m_placed = false;
  return 0;
}

// Looked into before and after, since somebody may put something into it meanwhile.
bool CInstallPlaceFolder::TakeBackWhole() {
  Machine& machine = CKestOS::GetMachine();
  if (!HoldsOnly(m_folder, m_names, false) || !machine.MoveFolder(m_folder, m_stage)) {
    return false;
  }
  return HoldsOnly(m_stage, m_names, false) || !machine.MoveFolder(m_stage, m_folder);
}

bool CInstallPlaceFolder::TakeBackFiles() {
  Machine& machine = CKestOS::GetMachine();
  bool all = true;
  for (std::size_t i = 0; i < m_names.size(); ++i) {
    const CString file = In(m_folder, m_names[i]);
    if (!machine.MoveFile(file, m_aside + '-' + std::to_string(i)) && ProbeFile(file) != Presence::kAbsent) {
      all = false;
    }
  }
  if (all && !machine.RemoveDirectory(m_folder)) {
    std::vector<FolderEntry> entries;
    const bool isInUse = IsYes(machine.ListFolder(m_folder, entries)) && !entries.empty(); // by somebody else: it stays
    all = isInUse || ProbeFolder(m_folder) == Presence::kAbsent;
  }
  return all;
}

bool CInstallPlaceFolder::Describe(StepRecord& record) const {
  record.SetKind(kKind);
  record.Add("to", m_folder);
  record.Add("stage", m_stage);
  record.Add("aside", m_aside);
  AddNames(record, m_names);
  return true;
}

void CInstallPlaceFolder::CollectTouched(CKestTypedList<CKestString>& paths) const {
  AppendFolderOf(paths, m_folder);
  paths.Append(m_folder);
  for (const CString& name : m_names) {
    paths.Append(In(m_folder, name));
  }
}

void CInstallPlaceFolder::CollectEffects(std::vector<StepEffect>& effects) const {
  if (!m_placed) {
    return;
  }
  effects.push_back({.path = m_folder, .isFolder = true});
  for (const CString& name : m_names) {
    effects.push_back({.path = m_folder + '\\' + name});
  }
}

std::unique_ptr<CKestExtensionInstallStep> CInstallPlaceFolder::FromRecord(const StepRecord& record,
                                                                           const RecordJudge& judge) {
  std::unique_ptr<CInstallPlaceFolder> step(new CInstallPlaceFolder);
  step->m_folder = record.Get("to");
  step->m_stage = record.Get("stage");
  step->m_aside = record.Get("aside");
  step->m_prepared = true;
  if (!judge.IsPrivate(step->m_stage) || !judge.IsPrivate(step->m_aside) ||
      !ReadNames(record, step->m_folder, step->m_names)) {
    return nullptr;
  }
  return step;
}

// looked into before and after, since somebody may put something into it meanwhile
bool CInstallDeleteWholeFolder::Take() {
  Machine& machine = CKestOS::GetMachine();
  if (!HoldsOnly(m_path, m_names, true)) {
    return false;
  }
  m_open = true; // a move from which something is thrown may have been done
  m_open = machine.MoveFolder(m_path, m_kept);
  if (!m_open) {
    return false;
  }
  if (HoldsOnly(m_kept, m_names, true)) {
    return true;
  }
  m_open = !machine.MoveFolder(m_kept, m_path);
  return false;
}

int CInstallDeleteWholeFolder::Undo() {
  m_restored = false;
  if (!m_open) {
    return -1;
  }
  switch (ProbeFolder(m_kept)) {
  case Presence::kAbsent: // it was never taken, or is back already
    m_open = false;
    return 0;
  case Presence::kUnknown:
    return -1;
  case Presence::kPresent:
    break;
  }
  if (!CKestOS::GetMachine().MoveFolder(m_kept, m_path) && !PutFilesBack()) {
    return -1;
  }
  m_restored = true;
  m_open = false;
  return 0;
}

bool CInstallDeleteWholeFolder::PutFilesBack() {
  Machine& machine = CKestOS::GetMachine();
  if (!IsYes(machine.DirectoryExists(m_path))) {
    return false;
  }
  std::vector<FolderEntry> entries;
  bool all = IsYes(machine.ListFolder(m_kept, entries));
  for (const FolderEntry& entry : entries) {
    all = machine.MoveFile(In(m_kept, entry.name), In(m_path, entry.name)) && all;
  }
  return all && machine.RemoveDirectory(m_kept);
}

void CInstallDeleteWholeFolder::GiveToTrash() const {
  Machine& machine = CKestOS::GetMachine();
  if (!machine.MoveFolderToTrash(m_kept, CKestPath(m_path).GetFileName())) {
    static_cast<void>(machine.RemoveTree(m_kept));
  }
}

bool CInstallDeleteWholeFolder::Describe(StepRecord& record) const {
  record.SetKind(kKind);
  record.Add("path", m_path);
  record.Add("kept", m_kept);
  AddNames(record, m_names);
  return true;
}

void CInstallDeleteWholeFolder::CollectEffects(std::vector<StepEffect>& effects) const {
  if (!m_open) {
    return;
  }
  for (const CString& name : m_names) {
    effects.push_back({.path = m_path + '\\' + name, .existed = true, .exists = false, .kept = m_kept + '\\' + name});
  }
  effects.push_back({.path = m_path, .isFolder = true, .existed = true, .exists = false});
}

std::unique_ptr<CKestExtensionInstallStep> CInstallDeleteWholeFolder::FromRecord(const StepRecord& record,
                                                                                 const RecordJudge& judge) {
  std::unique_ptr<CInstallDeleteWholeFolder> step(new CInstallDeleteWholeFolder);
  step->m_path = record.Get("path");
  step->m_kept = record.Get("kept");
  if (!judge.IsPrivate(step->m_kept) || !ReadNames(record, step->m_path, step->m_names)) {
    return nullptr;
  }
  return step;
}

} // namespace kest
