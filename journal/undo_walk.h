#pragma once

#include "journal/journal.h"
#include "journal/journal_file.h"

namespace kest {

/// Undoes steps from the last to the first, the same way for a failed operation and for one that a dead process left:
/// a step that cannot be undone does not keep the others from it.
class UndoWalk {
public:
  /// `file` may be null (or not open): then nothing is noted.
  explicit UndoWalk(JournalFile* file) : m_file(file) {}

  /// Undoes one step and notes it. `number` is that of its line, or -1. True when it was undone: then the step may be
  /// released; else the walk has taken it.
  bool Undo(std::unique_ptr<CKestExtensionInstallStep>& step, long number);
  /// To be called after the last step: brings what was restored to the disk, judges what was left, and appends it.
  void Finish(std::vector<CKestInstallJournal::Leftover>& leftovers);
  /// Paths that were changed back.
  [[nodiscard]] std::vector<CString>& GetRestored() { return m_restored; }

private:
  void SyncRestored();
  void Note(const CKestExtensionInstallStep& step, long number);

  JournalFile* m_file;
  CKestTypedList<CKestString> m_touched;
  std::vector<CString> m_restored;
  std::vector<std::pair<std::unique_ptr<CKestExtensionInstallStep>, long>> m_failed;
};

} // namespace kest
