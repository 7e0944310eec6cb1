#pragma once

#include "platform/containers.h"

namespace kest {

class StepRecord;

/// One reversible change. It stands in the journal before Do runs; its Undo is right after a Do that failed half-way.
/// Undo restores exactly what the step's own fields say was done, may be run again after it was interrupted, and
/// touches nothing when Do changed nothing.
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
  /// record below is complete before Do. 0, or -1: the step must not be done. The default has nothing to prepare.
  virtual int Prepare() { return 0; }
  /// Fills the record from which the step can be made again after the process died; false for a step that leaves
  /// nothing on a disk. Called after Prepare, before Do.
  virtual bool Describe(StepRecord& record) const {
    (void)record;
    return false;
  }
  /// Files and folders to be on the disk before the operation is called done.
  virtual void CollectTouched(CKestTypedList<CKestString>& paths) const { (void)paths; }
};

} // namespace kest
