#include "journal/operation.h"

#include "journal/private_folders.h"

#include "platform/machine/os.h"
#include "platform/text/sealed_line.h"

namespace kest {

void Operation::Begin(const CString& name, bool recorded) {
  m_name = name;
  m_recorded = recorded;
  m_mayBeMarked = false;
  m_note.reset();
  m_recordMissing = false;
  m_open = false;
  m_mayChange = false;
  if (private_folders::IsOperationOpen() || !CKestOS::GetMachine().LockWriter(0).held) {
    return;
  }
  m_open = true;
  m_mayChange = true;
  CKestOS::GetMachine().ForgetFolders();
  private_folders::SetOperationOpen(true);
  private_folders::SetNote([this](const CString& folder) { return NoteFolder(folder); });
}

JournalFile* Operation::GetFile() {
  if (!m_file.IsOpen()) {
    CString folder;
    CKestOS::GetMachine().NoteOwn({});
    if (!IsRecorded() || !private_folders::GetOwn(folder) ||
        !m_file.Create(folder + private_folders::NextName(private_folders::kJournalPrefix), m_name)) {
      return nullptr;
    }
  }
  return m_file.IsBroken() ? nullptr : &m_file;
}

bool Operation::NoteFolder(const CString& folder) {
  if (!IsRecorded()) {
    return true;
  }
  JournalFile* file = GetFile();
  if (file == nullptr) {
    return false;
  }
  file->Add("F\t" + sealed_line::Escape(folder));
  return file->WriteAndSync();
}

void Operation::WriteRecord(const std::vector<StepEffect>& effects, CString& path) {
  path.clear();
  if (m_note && IsRecorded() && !effects.empty() && !operation_record::Write(*m_note, effects, path)) {
    path.clear();
    m_recordMissing = true;
  }
}

bool Operation::MarkDone() {
  if (!m_file.IsOpen()) {
    return true;
  }
  if (m_file.IsBroken()) {
    return false;
  }
  m_mayBeMarked = true;
  m_markAt = m_file.GetEnd();
  m_file.Add("D");
  return m_file.WriteAndSync();
}

bool Operation::MarkReleased(long first) {
  if (!m_file.IsOpen() || m_file.GetNextNumber() <= first) {
    return true;
  }
  if (m_file.IsBroken()) {
    return false;
  }
  m_file.Add("R\t" + std::to_string(first) + '\t' + std::to_string(m_file.GetNextNumber() - 1));
  return m_file.WriteAndSync();
}

void Operation::MarkUndoing() {
  private_folders::FreeRoom();
  if (m_mayBeMarked && m_file.IsOpen()) {
    // on a full disk no line can be added, but the mark itself can be changed
    m_file.Add("B");
    if (!m_file.WriteAndSync()) {
      static_cast<void>(m_file.OverwriteAndSync(m_markAt, "B"));
    }
    m_mayBeMarked = false;
  }
}

void Operation::BeginCleanUp() { private_folders::SetTrashedWhole(m_open); }

void Operation::Drop() {
  if (!m_open) {
    return;
  }
  m_file.Close();
  CKestOS::KeepTempFolder();
  private_folders::SetTrashedWhole(false);
  private_folders::SetNote(nullptr);
  private_folders::SetOperationOpen(false);
  m_open = false;
  m_mayChange = false;
  CKestOS::GetMachine().UnlockWriter();
}

void Operation::End(Outcome outcome) {
  if (!m_open) {
    return;
  }
  if (outcome == Outcome::kUndone && m_file.IsOpen()) {
    m_file.Add("X");
    static_cast<void>(m_file.WriteAndSync());
  }
  m_file.Close();
  if (outcome == Outcome::kLeftovers) {
    private_folders::Abandon();
  } else {
    private_folders::RemoveAll(outcome == Outcome::kDone, m_name);
  }
  private_folders::SetTrashedWhole(false);
  private_folders::SetNote(nullptr);
  private_folders::SetOperationOpen(false);
  m_open = false;
  m_mayChange = false;
  CKestOS::GetMachine().UnlockWriter();
}

} // namespace kest
