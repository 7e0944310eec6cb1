#pragma once

#include "journal/delete_steps.h"

#include <vector>

namespace kest {

/// From so many files on a folder is moved as a whole where that can be.
inline constexpr std::size_t kWorthAFolder = 8;

/// Whether a folder holds plain files of these names and nothing else; all of them when `all` is set. Letter case of
/// the names counts.
[[nodiscard]] bool HoldsOnly(const CString& folder, const std::vector<CString>& names, bool all);

/// Puts a new folder in place, with files in it and nothing else.
/// Do:      renames a folder of the private one, in which the files lie ready; -1, touching nothing, when the
///          destination is taken.
/// Keeps:   the names of the files.
/// Undo:    renames the folder back; one that somebody put something into stays, and only the files go.
/// Release: nothing.
class KEST_API CInstallPlaceFolder : public CKestExtensionInstallStep {
public:
  /// `stage` lies in the private folder and holds exactly the files `names`; no other step uses it. Both folders
  /// without trailing backslash.
  CInstallPlaceFolder(CString stage, CString folder, std::vector<CString> names);

  int Prepare() override;
  int Do() override;
  int Undo() override;
  bool Describe(StepRecord& record) const override;
  void CollectTouched(CKestTypedList<CKestString>& paths) const override;
  void CollectEffects(std::vector<StepEffect>& effects) const override;
  [[nodiscard]] CString GetTarget() const override { return m_folder; }
  [[nodiscard]] bool IsUndoOpen() const override { return m_prepared; }

  static constexpr const char* kKind = "place-folder";
  /// Null when the record is not one that this program would act on.
  [[nodiscard]] static std::unique_ptr<CKestExtensionInstallStep> FromRecord(const StepRecord& record,
                                                                             const RecordJudge& judge);

private:
  CInstallPlaceFolder() = default;
  [[nodiscard]] bool TakeBackWhole();
  [[nodiscard]] bool TakeBackFiles();

  CString m_stage;
  CString m_folder;
  CString m_aside; ///< beginning of the names that files get when they are taken back one by one
  std::vector<CString> m_names;
  bool m_prepared = false;
  bool m_placed = false;
};

/// Deletes a folder with files in it and nothing else.
/// Do:      renames it into the private folder; -1, touching nothing, when it holds anything else.
/// Keeps:   the folder itself.
/// Undo:    renames it back, in the letter case that it had; where somebody made it anew, the files go back into it.
/// Release: gives it to the trash. (A whole operation sends them all as one folder.)
class KEST_API CInstallDeleteWholeFolder : public DeleteByRename {
public:
  /// Takes the path in its spelling on disk; `names` in theirs.
  CInstallDeleteWholeFolder(const CString& folder, std::vector<CString> names)
      : DeleteByRename(folder), m_names(std::move(names)) {}

  int Undo() override;
  bool Describe(StepRecord& record) const override;
  void CollectEffects(std::vector<StepEffect>& effects) const override;

  static constexpr const char* kKind = "delete-whole-folder";
  /// Null when the record is not one that this program would act on.
  [[nodiscard]] static std::unique_ptr<CKestExtensionInstallStep> FromRecord(const StepRecord& record,
                                                                             const RecordJudge& judge);

private:
  CInstallDeleteWholeFolder() = default;
  bool Take() override;
  void GiveToTrash() const override;
  [[nodiscard]] bool PutFilesBack();

  std::vector<CString> m_names;
};

} // namespace kest
