#include "journal/font_step.h"

#include "journal/file_state.h"
#include "journal/private_folders.h"
#include "journal/step_record.h"

#include "platform/machine/os.h"
#include "platform/text/path.h"

#include <algorithm>

namespace kest {

namespace {

// Where this system keeps the user's font list; empty for a system without one.
CString FontListKey() {
  switch (CKestOS::GetMachine().GetOperatingSystemVersion()) {
  case 2:
  case 3:
    return "software\\microsoft\\windows\\currentversion\\Fonts";
  case 4:
  case 5:
    return "software\\microsoft\\windows NT\\currentversion\\Fonts";
  default:
    return {};
  }
}

std::vector<CString> ListEntriesFor(const CString& font) {
  std::vector<CString> names;
  const CString key = FontListKey();
  std::vector<RegistryValue> values;
  if (!key.empty() && IsYes(CKestOS::GetMachine().EnumRegistryValues(RegistryRoot::kCurrentUser, key, values))) {
    for (const RegistryValue& value : values) {
      if (text::EqualNoCase(value.data, font)) {
        names.push_back(value.name);
      }
    }
  }
  return names;
}

} // namespace

CInstallAddFontResource::CInstallAddFontResource(CString source, CString destination)
    : m_source(std::move(source)), m_destination(std::move(destination)) {}

int CInstallAddFontResource::Prepare() {
  if (m_prepared) {
    return 0;
  }
  const Answer exists = CKestOS::GetMachine().FileExists(m_destination);
  if (exists == Answer::kCannotTell) {
    return -1;
  }
  m_existed = IsYes(exists);
  if (!m_existed) {
    CString folder;
    if (!private_folders::GetFor(m_destination, folder) || !private_folders::HoldRoom()) {
      return -1;
    }
    const CString stage = folder + private_folders::NextName("fnt");
    if (!CKestOS::GetMachine().CopyFile(m_source, stage)) {
      return -1;
    }
    m_stage = stage;
    m_valuesThen = ListEntriesFor(m_destination);
  }
  m_prepared = true;
  return 0;
}

int CInstallAddFontResource::Do() {
  if (Prepare() != 0) {
    return -1;
  }
  if (m_existed) {
    return 0;
  }
  Machine& machine = CKestOS::GetMachine();
  if (!machine.MoveFile(m_stage, m_destination)) {
    // there meanwhile, or placed by an earlier try: the stage tells which
    return IsYes(machine.FileExists(m_destination)) ? 0 : -1;
  }
  machine.AddFontResource(m_destination);
  machine.BroadcastFontChange();
  return 0;
}

int CInstallAddFontResource::Undo() {
  m_restored = false;
  if (!m_prepared || m_existed) {
    return 0;
  }
  switch (ProbeFile(m_stage)) {
  case Presence::kPresent:
    return 0;
  case Presence::kUnknown:
    return -1;
  case Presence::kAbsent:
    break;
  }
  Machine& machine = CKestOS::GetMachine();
  machine.RemoveFontResource(m_destination);
  const bool listed = RemoveListEntries();
  machine.BroadcastFontChange();
  if (!listed) {
    return -1;
  }
  // last, since the file being back at its stage says that all is done
  if (machine.MoveFile(m_destination, m_stage)) {
    m_restored = true;
    return 0;
  }
  return ProbeFile(m_destination) == Presence::kAbsent ? 0 : -1;
}

// Entries that named the file before are somebody else's.
std::vector<CString> CInstallAddFontResource::FindOwnEntries() const {
  std::vector<CString> names = ListEntriesFor(m_destination);
  std::erase_if(names, [this](const CString& name) {
    return std::find(m_valuesThen.begin(), m_valuesThen.end(), name) != m_valuesThen.end();
  });
  return names;
}

bool CInstallAddFontResource::RemoveListEntries() const {
  const CString key = FontListKey();
  bool removed = true;
  for (const CString& name : FindOwnEntries()) {
    removed = CKestOS::GetMachine().DeleteRegistryValue(RegistryRoot::kCurrentUser, key, name) && removed;
  }
  return removed;
}

bool CInstallAddFontResource::Describe(StepRecord& record) const {
  if (m_existed) {
    return false;
  }
  record.SetKind(kKind);
  record.Add("to", m_destination);
  record.Add("stage", m_stage);
  for (const CString& name : m_valuesThen) {
    record.Add("listed", name);
  }
  return true;
}

void CInstallAddFontResource::CollectTouched(CKestTypedList<CKestString>& paths) const {
  if (!m_existed) {
    paths.Append(m_destination);
    AppendFolderOf(paths, m_destination);
  }
}

void CInstallAddFontResource::CollectEffects(std::vector<StepEffect>& effects) const {
  if (m_prepared && !m_existed) {
    effects.push_back({.path = m_destination, .whyForGood = "fonts stay"});
  }
}

void CInstallAddFontResource::CollectRegistryValues(std::vector<CString>& values) const {
  if (!m_prepared || m_existed) {
    return;
  }
  for (const CString& name : FindOwnEntries()) {
    values.push_back(RegistryPath(RegistryRoot::kCurrentUser, FontListKey()) + '\\' + name);
  }
}

std::unique_ptr<CKestExtensionInstallStep> CInstallAddFontResource::FromRecord(const StepRecord& record,
                                                                               const RecordJudge& judge) {
  std::unique_ptr<CInstallAddFontResource> step(new CInstallAddFontResource);
  step->m_destination = record.Get("to");
  step->m_stage = record.Get("stage");
  step->m_valuesThen = record.GetAll("listed");
  step->m_prepared = true;
  if (!RecordJudge::IsPlain(step->m_destination) || !judge.IsPrivate(step->m_stage)) {
    return nullptr;
  }
  return step;
}

} // namespace kest
