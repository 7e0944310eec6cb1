#pragma once

#include "journal/journal.h"
#include "journal/journal_file.h"

#include <unordered_set>

namespace kest {

/// Undoes steps from the last to the first, the same way for a failed operation and for one that a dead process left:
/// a step that cannot be undone keeps those before it back that are about the same place, or one below or above it.
/// They would take what it left for what they themselves have to find, and be called undone. The others are undone.
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
  [[nodiscard]] bool IsHeldBack(const CString& path) const;
  void HoldBack(const CString& path);
  void SyncRestored();
  void Note(const CKestExtensionInstallStep& step, long number);

  JournalFile* m_file;
  CKestTypedList<CKestString> m_touched;
  std::vector<CString> m_restored;
  std::unordered_set<CString> m_held;  ///< lower-case paths of steps that could not be undone
  std::unordered_set<CString> m_above; ///< those and the folders that they lie in
  std::vector<std::pair<std::unique_ptr<CKestExtensionInstallStep>, long>> m_failed;
};

} // namespace kest
