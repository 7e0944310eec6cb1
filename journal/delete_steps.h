#pragma once

#include "journal/install_step.h"
#include "journal/record_judge.h"

#include <memory>

namespace kest {

/// What deletes by a rename into the private folder.
class KEST_API DeleteByRename : public CKestExtensionInstallStep {
public:
  int Prepare() override;
  int Do() override;
  void Release() override;
  void CollectTouched(CKestTypedList<CKestString>& paths) const override;
  [[nodiscard]] CString GetTarget() const override { return m_path; }
  [[nodiscard]] CString GetKept() const override { return m_kept; }
  [[nodiscard]] bool IsUndoOpen() const override { return m_open; }

protected:
  /// Made again from a line that an operation left.
  DeleteByRename() : m_prepared(true), m_open(true) {}
  /// Takes the path in its spelling on disk when there is such a thing.
  explicit DeleteByRename(const CString& path);

  virtual bool Take() = 0;              ///< renames it; whether it may be gone from its place is left in m_open
  virtual void GiveToTrash() const = 0; ///< deletes it where the trash refuses

  CString m_path;
  CString m_kept;
  bool m_prepared = false;
  bool m_open = false; ///< it may be in the private folder
};

/// Deletes a file.
/// Do:      renames it into the private folder.
/// Keeps:   the file itself.
/// Undo:    renames it back, in the letter case that it had.
/// Release: gives it to the trash; deletes it where the trash refuses. (A whole operation sends them all as one
/// folder.)
class KEST_API CInstallDeleteFile : public DeleteByRename {
public:
  /// Takes the path in its spelling on disk when the file exists.
  explicit CInstallDeleteFile(const CString& path) : DeleteByRename(path) {}

  /// -1, touching nothing, when Do did not get the file.
  int Undo() override;
  bool Describe(StepRecord& record) const override;
  void CollectEffects(std::vector<StepEffect>& effects) const override;

  static constexpr const char* kKind = "delete";
  [[nodiscard]] static std::unique_ptr<CKestExtensionInstallStep> FromRecord(const StepRecord& record,
                                                                             const RecordJudge& judge);

private:
  CInstallDeleteFile() = default;
  bool Take() override;
  void GiveToTrash() const override;
};

/// Leaves a copy of a file beside it before the file is changed.
/// Do:      puts a copy of the file at the copy path.
/// Keeps:   a second name of the file as it is, and of an earlier copy. (A save renames a new file over the old one, so
///          the second name keeps the old bytes, date and mark.)
/// Undo:    renames file and earlier copy back; a copy that was not there before goes.
/// Release: drops the second names; the copy stays.
class KEST_API CInstallBackupFile : public CKestExtensionInstallStep {
public:
  CInstallBackupFile(CString file, CString copy);

  int Prepare() override;
  int Do() override;
  int Undo() override;
  void Release() override;
  bool Describe(StepRecord& record) const override;
  void CollectTouched(CKestTypedList<CKestString>& paths) const override;
  void CollectEffects(std::vector<StepEffect>& effects) const override;
  void CollectNeeded(CKestTypedList<CKestString>& paths) const override;
  [[nodiscard]] CString GetTarget() const override { return m_file; }
  [[nodiscard]] const CString& GetCopy() const { return m_copy; }
  [[nodiscard]] CString GetKept() const override { return m_kept; }
  [[nodiscard]] bool IsUndoOpen() const override { return m_prepared; }

  static constexpr const char* kKind = "backup";
  [[nodiscard]] static std::unique_ptr<CKestExtensionInstallStep> FromRecord(const StepRecord& record,
                                                                             const RecordJudge& judge);

private:
  CInstallBackupFile() = default;

  CString m_file;
  CString m_copy;
  CString m_stage;   ///< the copy until it is placed
  CString m_kept;    ///< second name of the file
  CString m_oldCopy; ///< second name of an earlier copy; empty when there was none
  bool m_prepared = false;
  bool m_placed = false;
  bool m_keptIsCopy = false;
  bool m_oldCopyIsCopy = false;
};

} // namespace kest
