#pragma once

#include "journal/install_step.h"
#include "journal/record_judge.h"

#include <memory>

namespace kest {

/// Takes the read-only mark off a file. AppendMakeWritable makes one only where there is a mark.
/// Do:      clears the mark.
/// Keeps:   whether it was set.
/// Undo:    sets it again.
/// Release: nothing.
class KEST_API CInstallMakeWritable : public CKestExtensionInstallStep {
public:
  explicit CInstallMakeWritable(CString path);

  int Prepare() override;
  int Do() override;
  int Undo() override;
  bool Describe(StepRecord& record) const override;
  void CollectTouched(CKestTypedList<CKestString>& paths) const override;
  void CollectEffects(std::vector<StepEffect>& effects) const override;
  [[nodiscard]] CString GetTarget() const override { return m_path; }
  [[nodiscard]] bool IsUndoOpen() const override { return m_prepared && m_wasReadOnly; }
  [[nodiscard]] bool NeedsUndoneMark() const override { return true; }

  static constexpr const char* kKind = "make-writable";
  [[nodiscard]] static std::unique_ptr<CKestExtensionInstallStep> FromRecord(const StepRecord& record,
                                                                             const RecordJudge& judge);

private:
  CString m_path;
  bool m_prepared = false;
  bool m_wasReadOnly = false;
};

/// Stands before the first save of a file that was not there.
/// Do:      nothing; the caller writes the file next.
/// Keeps:   whether the file was there.
/// Undo:    moves the file into the private folder when it was not there before.
/// Release: nothing.
class KEST_API CInstallNewFile : public CKestExtensionInstallStep {
public:
  explicit CInstallNewFile(CString path);

  int Prepare() override;
  int Do() override;
  int Undo() override;
  bool Describe(StepRecord& record) const override;
  void CollectTouched(CKestTypedList<CKestString>& paths) const override;
  void CollectEffects(std::vector<StepEffect>& effects) const override;
  [[nodiscard]] CString GetTarget() const override { return m_path; }
  [[nodiscard]] bool IsUndoOpen() const override { return m_prepared && !m_existed; }
  [[nodiscard]] bool NeedsUndoneMark() const override { return true; }

  static constexpr const char* kKind = "new-file";
  [[nodiscard]] static std::unique_ptr<CKestExtensionInstallStep> FromRecord(const StepRecord& record,
                                                                             const RecordJudge& judge);

private:
  CString m_path;
  CString m_aside; ///< where Undo puts the file
  bool m_prepared = false;
  bool m_existed = false;
};

/// Gives a file another name, on one volume (a description into "Disabled", a package put aside).
/// Do:      one rename; -1, touching nothing, when the new name is taken.
/// Keeps:   nothing: the file is under the one name or the other.
/// Undo:    renames it back, in the letter case that it had.
/// Release: nothing.
class KEST_API CInstallMoveFile : public CKestExtensionInstallStep {
public:
  CInstallMoveFile(const CString& from, CString to);

  int Prepare() override;
  int Do() override;
  int Undo() override;
  bool Describe(StepRecord& record) const override;
  void CollectTouched(CKestTypedList<CKestString>& paths) const override;
  void CollectEffects(std::vector<StepEffect>& effects) const override;
  [[nodiscard]] CString GetTarget() const override { return m_from; }
  [[nodiscard]] CString GetKept() const override { return m_to; }
  [[nodiscard]] bool IsUndoOpen() const override { return m_open; }
  [[nodiscard]] bool NeedsUndoneMark() const override { return true; }

  static constexpr const char* kKind = "move";
  [[nodiscard]] static std::unique_ptr<CKestExtensionInstallStep> FromRecord(const StepRecord& record,
                                                                             const RecordJudge& judge);

private:
  CInstallMoveFile() = default;

  CString m_from;
  CString m_to;
  bool m_prepared = false;
  bool m_open = false;
};

/// Clears the read-only mark of a file through the journal; without a mark nothing is appended. 0, or -1.
KEST_API int AppendMakeWritable(CKestTypedVector<CKestExtensionInstallStep*>* steps, const CString& path);
/// The same for a file about to be created. 0, or -1: then it must not be written.
KEST_API int AppendNewFile(CKestTypedVector<CKestExtensionInstallStep*>* steps, const CString& path);

} // namespace kest
