#pragma once

#include "journal/install_step.h"
#include "journal/record_judge.h"

#include <memory>

namespace kest {

/// Puts a file in place.
/// Do:      renames a staged copy of the source (or the source itself, see SetMayMoveSource) over the destination;
/// deferred:
///          puts it beside the destination as "rpl....tmp" and has "replace.exe" swap the two at the next logon.
/// Keeps:   a second name of the old destination, in the private folder.
/// Undo:    renames the old file back; without one moves the new file away; deferred: takes pending file and value
/// away. Release: drops the old file, and the source when asked to.
class KEST_API CInstallCopyFile : public CKestExtensionInstallStep {
public:
  CInstallCopyFile(CString source, CString destination, bool deferred, bool deleteSourceOnRelease);
  /// The source is in the private folder and no other step uses it, so it may be renamed instead of copied. Set before
  /// the step is run.
  void SetMayMoveSource(bool mayMove) { m_mayMoveSource = mayMove; }
  [[nodiscard]] bool IsDeferred() const { return m_deferred; }

  int Prepare() override;
  int Do() override;
  int Undo() override;
  void Release() override;
  bool Describe(StepRecord& record) const override;
  void CollectTouched(CKestTypedList<CKestString>& paths) const override;
  void CollectEffects(std::vector<StepEffect>& effects) const override;
  void CollectRegistryValues(std::vector<CString>& values) const override;
  void CollectNeeded(CKestTypedList<CKestString>& paths) const override;
  [[nodiscard]] CString GetTarget() const override { return m_destination; }
  [[nodiscard]] CString GetKept() const override { return m_backup; }
  [[nodiscard]] bool IsUndoOpen() const override { return m_prepared; }

  static constexpr const char* kKind = "copy";
  /// Null when the record is not one that this program would act on.
  [[nodiscard]] static std::unique_ptr<CKestExtensionInstallStep> FromRecord(const StepRecord& record,
                                                                             const RecordJudge& judge);

private:
  CInstallCopyFile() = default;
  int PrepareStage();
  int PreparePending();
  int DoDeferred();
  int UndoDeferred();

  CString m_source;
  CString m_destination;
  CString m_stage;   ///< the new file until it is placed
  CString m_backup;  ///< the old file; empty when there was none
  CString m_pending; ///< deferred: the new file beside the destination
  bool m_deferred = false;
  bool m_deleteSource = false;
  bool m_mayMoveSource = false;
  bool m_existed = false; ///< there was a file at the destination
  bool m_prepared = false;
  bool m_placed = false;
  bool m_backupIsCopy = false;
};

/// Puts a finished file (a package built in the private folder) in its place, replacing what is there.
/// Do:      one rename over the destination.
/// Keeps:   a second name of the old destination, in the private folder.
/// Undo:    renames the old file back; without one moves the new file away.
/// Release: drops the old file.
class KEST_API CInstallPlaceFile : public CInstallCopyFile {
public:
  CInstallPlaceFile(CString finished, CString destination)
      : CInstallCopyFile(std::move(finished), std::move(destination), false, true) {
    SetMayMoveSource(true);
  }
};

} // namespace kest
