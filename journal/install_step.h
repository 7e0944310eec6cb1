#pragma once

#include "platform/text/containers.h"

#include <vector>

namespace kest {

class StepRecord;

/// What a step has done to one path, for the record of the operation.
struct StepEffect {
  CString path{};                   ///< windows path
  bool isFolder = false;            ///< of a folder, not a file
  bool existed = false;             ///< before the step
  bool exists = true;               ///< after it
  CString kept{};                   ///< where the file that was there lies now; empty when that is nowhere
  bool wasReadOnly = false;         ///< the step took the mark off, and did nothing else
  const char* whyForGood = nullptr; ///< why it cannot be taken back later; null when it can
  bool isBackup = false;            ///< a copy that is left beside a file that is going to be changed
};

/// One reversible change. It stands in the journal before Do runs; its Undo is right after a Do that failed half-way.
/// Undo restores exactly what the step's own fields say was done, may be run again after it was interrupted, and
/// touches nothing when Do changed nothing.
///
/// How far Do came is told by what lies in the private folder (a staged file that is still there was never placed), not
/// by memory alone: the same Undo serves a step made again from its line after the process died.
class KEST_API CKestExtensionInstallStep {
public:
  virtual ~CKestExtensionInstallStep() = default;
  /// 0, or -1.
  virtual int Do() = 0;
  /// 0, or -1: then what undo needs is still kept.
  virtual int Undo() = 0;
  /// Throws away what was kept for the undo. Never fails the operation.
  virtual void Release() {}

  /// Gets everything ready that changes nothing outside the private folder (staged copies, second names), so that the
  /// record below is complete before Do. 0, or -1: the step must not be done. Prepared once, it answers 0 at once. Do
  /// prepares a step that was not prepared.
  virtual int Prepare() { return 0; }
  /// Fills the record from which the step can be made again after the process died; false for a step that leaves
  /// nothing on a disk. Called after Prepare, before Do.
  virtual bool Describe(StepRecord& record) const {
    (void)record;
    return false;
  }
  /// Files and folders to be on the disk before the operation is called done.
  virtual void CollectTouched(CKestTypedList<CKestString>& paths) const { (void)paths; }
  /// What was done, path by path. Called after the last Do, before Release.
  virtual void CollectEffects(std::vector<StepEffect>& effects) const { (void)effects; }
  /// The registry values that were written: root, key and name. Called when CollectEffects is.
  virtual void CollectRegistryValues(std::vector<CString>& values) const { (void)values; }
  /// Files that must be on the disk before Do, since undo relies on their bytes (backups that had to be copied).
  virtual void CollectNeeded(CKestTypedList<CKestString>& paths) const { (void)paths; }

  /// The path that the step is about; empty for a step that leaves nothing on a disk. Of two steps of a pass about one
  /// path the second is prepared only after the first was done.
  [[nodiscard]] virtual CString GetTarget() const { return {}; }
  /// Where the old state of the target is kept; empty when there is none.
  [[nodiscard]] virtual CString GetKept() const { return {}; }
  /// Whether an Undo that failed left something to be undone.
  [[nodiscard]] virtual bool IsUndoOpen() const { return true; }
  /// Whether Undo failed only since something of somebody else's stands in the way that has to stay.
  [[nodiscard]] virtual bool IsUndoInTheWayOfOthers() const { return false; }
  /// Whether nothing on the disk tells that Undo ran, so that the journal must say so before the step before is undone.
  [[nodiscard]] virtual bool NeedsUndoneMark() const { return false; }
  /// Whether the last Undo changed anything.
  [[nodiscard]] bool DidRestore() const { return m_restored; }

protected:
  bool m_restored = false; ///< whether Undo brought the old state back
};

} // namespace kest
