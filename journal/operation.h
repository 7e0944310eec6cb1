#pragma once

#include "journal/journal_file.h"
#include "journal/operation_record.h"

#include <optional>

namespace kest {

/// What an outermost scope holds for all scopes inside it: the writer lock, the journal file, and the duty to remove
/// the private folders at its end.
class Operation {
public:
  enum class Outcome { kDone, kUndone, kLeftovers };

  /// Takes the lock. Without it, or while another operation of this process is open, nothing may be changed.
  void Begin(const CString& name, bool recorded);
  void SetName(const CString& name) { m_name = name; }
  /// Has the operation recorded in the machine's history when it is done.
  void SetNote(HistoryNote note) { m_note = std::move(note); }
  /// Writes that record. `path`: to be brought to the disk; empty when there is none.
  void WriteRecord(const std::vector<StepEffect>& effects, CString& path);
  /// Whether a record was wanted and could not be written.
  [[nodiscard]] bool IsRecordMissing() const { return m_recordMissing; }
  [[nodiscard]] bool MayChange() const { return m_mayChange; }
  /// Whether steps get lines.
  [[nodiscard]] bool IsRecorded() const { return m_open && m_recorded; }
  /// Made at the first call; null when that fails.
  [[nodiscard]] JournalFile* GetFile();
  /// Null while there is none.
  [[nodiscard]] JournalFile* GetOpenFile() { return m_file.IsOpen() ? &m_file : nullptr; }

  /// Says on the disk that all is done. False: it is not certain that it says so.
  [[nodiscard]] bool MarkDone();
  /// The steps with lines from `first` on are released for good.
  [[nodiscard]] bool MarkReleased(long first);
  /// To be called before anything is undone: takes a mark back that may be on the disk.
  void MarkUndoing();
  /// From now on files kept for deleted ones go to the trash as a whole.
  void BeginCleanUp();
  void End(Outcome outcome);
  /// Ends it with everything left as it is, for the next start. Allocates nothing.
  void Drop();

private:
  bool NoteFolder(const CString& folder);

  CString m_name;
  JournalFile m_file;
  std::optional<HistoryNote> m_note;
  bool m_recordMissing = false;
  bool m_open = false;
  bool m_mayChange = false;
  bool m_recorded = false;
  std::uint64_t m_markAt = 0; ///< where the mark "done" stands
  bool m_mayBeMarked = false; ///< a mark "done" was written that may not hold
};

} // namespace kest
