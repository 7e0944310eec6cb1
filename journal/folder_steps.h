#pragma once

#include "journal/install_step.h"
#include "journal/record_judge.h"

#include <memory>

namespace kest {

/// Makes a folder.
/// Do:      creates it; a folder that is there already is success.
/// Keeps:   whether it was there.
/// Undo:    removes it when it was not there before.
/// Release: nothing.
class KEST_API CInstallCreateFolder : public CKestExtensionInstallStep {
public:
  explicit CInstallCreateFolder(const CString& folder);

  int Prepare() override;
  int Do() override;
  int Undo() override;
  bool Describe(StepRecord& record) const override;
  void CollectTouched(CKestTypedList<CKestString>& paths) const override;
  void CollectEffects(std::vector<StepEffect>& effects) const override;
  [[nodiscard]] CString GetTarget() const override { return m_folder; }
  [[nodiscard]] bool IsUndoOpen() const override { return m_prepared && !m_existed; }
  [[nodiscard]] bool IsUndoInTheWayOfOthers() const override;

  static constexpr const char* kKind = "create-folder";
  [[nodiscard]] static std::unique_ptr<CKestExtensionInstallStep> FromRecord(const StepRecord& record,
                                                                             const RecordJudge& judge);

private:
  CString m_folder;
  bool m_prepared = false;
  bool m_existed = false;
};

/// Removes an empty folder.
/// Do:      moves it into the private folder, or removes it where that cannot be; -1 when it is not empty or not there.
/// Keeps:   the folder itself, and its name in the letter case that it had.
/// Undo:    moves it back, which needs no room on the disk and keeps its rights; else creates it.
/// Release: removes it.
class KEST_API CInstallDeleteFolder : public CKestExtensionInstallStep {
public:
  explicit CInstallDeleteFolder(const CString& folder);

  int Prepare() override;
  int Do() override;
  int Undo() override;
  void Release() override;
  bool Describe(StepRecord& record) const override;
  void CollectTouched(CKestTypedList<CKestString>& paths) const override;
  void CollectEffects(std::vector<StepEffect>& effects) const override;
  [[nodiscard]] CString GetTarget() const override { return m_folder; }
  [[nodiscard]] bool IsUndoOpen() const override { return m_prepared && m_existed; }

  static constexpr const char* kKind = "delete-folder";
  [[nodiscard]] static std::unique_ptr<CKestExtensionInstallStep> FromRecord(const StepRecord& record,
                                                                             const RecordJudge& judge);

private:
  CString m_folder;
  CString m_aside; ///< where the folder lies meanwhile; empty when there is no such place
  bool m_prepared = false;
  bool m_existed = false;
};

} // namespace kest
