#include "journal/private_steps.h"

#include "journal/file_state.h"
#include "journal/journal.h"
#include "journal/private_folders.h"
#include "journal/step_record.h"

#include "platform/machine/os.h"
#include "platform/text/path.h"

namespace kest {

CInstallMakeWritable::CInstallMakeWritable(CString path) : m_path(std::move(path)) {}

int CInstallMakeWritable::Prepare() {
  if (!m_prepared) {
    const Answer isReadOnly = CKestOS::GetMachine().IsFileReadOnly(m_path);
    if (isReadOnly == Answer::kCannotTell) {
      return -1;
    }
    m_wasReadOnly = IsYes(isReadOnly);
    m_prepared = true;
  }
  return 0;
}

int CInstallMakeWritable::Do() {
  if (Prepare() != 0) {
    return -1;
  }
  return !m_wasReadOnly || CKestOS::GetMachine().SetFileReadOnly(m_path, false) ? 0 : -1;
}

int CInstallMakeWritable::Undo() {
  m_restored = false;
  if (!m_prepared || !m_wasReadOnly) {
    return 0;
  }
  m_restored = CKestOS::GetMachine().SetFileReadOnly(m_path, true);
  return m_restored ? 0 : -1;
}

bool CInstallMakeWritable::Describe(StepRecord& record) const {
  if (!m_wasReadOnly) {
    return false;
  }
  record.SetKind(kKind);
  record.Add("path", m_path);
  return true;
}

void CInstallMakeWritable::CollectTouched(CKestTypedList<CKestString>& paths) const {
  if (m_wasReadOnly) {
    paths.Append(m_path);
  }
}

void CInstallMakeWritable::CollectEffects(std::vector<StepEffect>& effects) const {
  if (m_wasReadOnly) {
    effects.push_back({.path = m_path, .existed = true, .wasReadOnly = true});
  }
}

std::unique_ptr<CKestExtensionInstallStep> CInstallMakeWritable::FromRecord(const StepRecord& record,
                                                                            const RecordJudge& judge) {
  static_cast<void>(judge); // a mark is all that this step can set
  if (!RecordJudge::IsPlain(record.Get("path"))) {
    return nullptr;
  }
  auto step = std::make_unique<CInstallMakeWritable>(record.Get("path"));
  step->m_prepared = true;
  step->m_wasReadOnly = true;
  return step;
}

CInstallNewFile::CInstallNewFile(CString path) : m_path(std::move(path)) {}

int CInstallNewFile::Prepare() {
  if (m_prepared) {
    return 0;
  }
  // Undo takes away whatever stands at the path, so "it was not there" must be certain.
  const Presence presence = ProbeFile(m_path);
  CString folder;
  if (presence == Presence::kUnknown || !private_folders::GetFor(m_path, folder)) {
    return -1;
  }
  m_existed = presence == Presence::kPresent;
  m_aside = folder + private_folders::NextName("sav");
  m_prepared = true;
  return 0;
}

int CInstallNewFile::Do() { return Prepare(); }

int CInstallNewFile::Undo() {
  m_restored = false;
  if (!m_prepared || m_existed) {
    return 0;
  }
  if (CKestOS::GetMachine().MoveFile(m_path, m_aside)) {
    m_restored = true;
    return 0;
  }
  return ProbeFile(m_path) == Presence::kAbsent ? 0 : -1;
}

bool CInstallNewFile::Describe(StepRecord& record) const {
  if (m_existed) {
    return false;
  }
  record.SetKind(kKind);
  record.Add("path", m_path);
  record.Add("aside", m_aside);
  return true;
}

void CInstallNewFile::CollectTouched(CKestTypedList<CKestString>& paths) const {
  paths.Append(m_path);
  AppendFolderOf(paths, m_path);
}

void CInstallNewFile::CollectEffects(std::vector<StepEffect>& effects) const {
  if (m_prepared && !m_existed) {
    effects.push_back({.path = m_path});
  }
}

std::unique_ptr<CKestExtensionInstallStep> CInstallNewFile::FromRecord(const StepRecord& record,
                                                                       const RecordJudge& judge) {
  if (!RecordJudge::IsPlain(record.Get("path")) || !judge.IsPrivate(record.Get("aside"))) {
    return nullptr;
  }
  auto step = std::make_unique<CInstallNewFile>(record.Get("path"));
  step->m_aside = record.Get("aside");
  step->m_prepared = true;
  return step;
}

CInstallMoveFile::CInstallMoveFile(const CString& from, CString to)
    : m_from(CKestOS::GetMachine().GetStoredPath(from)), m_to(std::move(to)) {
  if (m_from.empty()) {
    m_from = from;
  }
}

int CInstallMoveFile::Prepare() {
  if (m_prepared) {
    return 0;
  }
  Machine& machine = CKestOS::GetMachine();
  // across volumes a move is a copy and a deletion, and a process that dies between the two leaves both
  if (!IsYes(machine.FileExists(m_from)) || ProbeFile(m_to) != Presence::kAbsent || !machine.SameVolume(m_from, m_to)) {
    return -1;
  }
  m_prepared = true;
  return 0;
}

int CInstallMoveFile::Do() {
  if (Prepare() != 0) {
    return -1;
  }
  if (!m_open) {
    m_open = CKestOS::GetMachine().MoveFile(m_from, m_to);
  }
  return m_open ? 0 : -1;
}

int CInstallMoveFile::Undo() {
  m_restored = false;
  if (!m_open) {
    return 0;
  }
  switch (ProbeFile(m_from)) {
  case Presence::kPresent:
    m_open = false;
    return 0;
  case Presence::kUnknown:
    return -1;
  case Presence::kAbsent:
    break;
  }
  m_restored = CKestOS::GetMachine().MoveFile(m_to, m_from);
  if (!m_restored && ProbeFile(m_to) != Presence::kAbsent) {
    return -1;
  }
  m_open = false;
  return 0;
}

bool CInstallMoveFile::Describe(StepRecord& record) const {
  record.SetKind(kKind);
  record.Add("from", m_from);
  record.Add("to", m_to);
  return true;
}

void CInstallMoveFile::CollectTouched(CKestTypedList<CKestString>& paths) const {
  paths.Append(m_to);
  AppendFolderOf(paths, m_from);
  AppendFolderOf(paths, m_to);
}

void CInstallMoveFile::CollectEffects(std::vector<StepEffect>& effects) const {
  if (m_open) {
    effects.push_back({.path = m_from, .existed = true, .exists = false, .kept = m_to});
    effects.push_back({.path = m_to});
  }
}

std::unique_ptr<CKestExtensionInstallStep> CInstallMoveFile::FromRecord(const StepRecord& record,
                                                                        const RecordJudge& judge) {
  static_cast<void>(judge); // both names lie in folders of a product
  std::unique_ptr<CInstallMoveFile> step(new CInstallMoveFile);
  step->m_from = record.Get("from");
  step->m_to = record.Get("to");
  step->m_prepared = true;
  step->m_open = true;
  if (!RecordJudge::IsPlain(step->m_from) || !RecordJudge::IsPlain(step->m_to)) {
    return nullptr;
  }
  return step;
}

int AppendMakeWritable(CKestTypedVector<CKestExtensionInstallStep*>* steps, const CString& path) {
  const Answer isReadOnly = CKestOS::GetMachine().IsFileReadOnly(path);
  if (!IsYes(isReadOnly)) {
    return isReadOnly == Answer::kNo ? 0 : -1;
  }
  return AppendAndDo(steps, std::make_unique<CInstallMakeWritable>(path));
}

int AppendNewFile(CKestTypedVector<CKestExtensionInstallStep*>* steps, const CString& path) {
  return AppendAndDo(steps, std::make_unique<CInstallNewFile>(path));
}

} // namespace kest
