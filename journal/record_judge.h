#pragma once

#include "journal/step_record.h"

#include <unordered_map>
#include <vector>

namespace kest {

/// The places that operations change as a rule: folders of the products, of fonts, of the system. Whoever knows them
/// gathers them; a reach that is not complete holds every place.
class KEST_API Reach {
public:
  /// With or without trailing backslash; empty and relative ones are passed over, and so are drives as a whole.
  void Add(const CString& folder);
  /// No other place is held.
  void SetComplete() { m_isComplete = true; }
  /// Whether the path lies in one of the folders, or is one.
  [[nodiscard]] bool Holds(const CString& path) const;
  /// Whether one of the folders lies in the path, which is made on the way to it.
  [[nodiscard]] bool LiesIn(const CString& path) const;

private:
  bool m_isComplete = false;
  std::vector<CString> m_folders;                           ///< folded, with trailing backslashes
  mutable std::unordered_map<CString, bool> m_foldersAsked; ///< by the folder of a path
};

/// Judges the paths of a journal file before anything is done with them: a file that looks like a journal may have been
/// damaged, or put there by somebody.
class KEST_API RecordJudge {
public:
  /// `folders`: the private folders of the process that wrote the file, with trailing backslashes.
  explicit RecordJudge(std::vector<CString> folders) : m_folders(std::move(folders)) {}
  /// One more such folder, with trailing backslash.
  void AddFolder(CString folder) { m_folders.push_back(std::move(folder)); }

  /// An absolute path with a drive, without "." and "..", empty components, control bytes and further colons.
  [[nodiscard]] static bool IsPlain(std::string_view path);
  /// A plain path inside a private folder of that process.
  [[nodiscard]] bool IsPrivate(std::string_view path) const;
  /// The same, or empty.
  [[nodiscard]] bool IsPrivateOrEmpty(std::string_view path) const { return path.empty() || IsPrivate(path); }

  /// Whether an operation may have changed the path: it lies within reach on a drive of the machine's own, or in a
  /// place that the user noted before it was changed. Never below the temporary folder.
  [[nodiscard]] static bool IsTarget(const CString& path, const Reach& reach);
  /// The paths of a step's record that are neither private nor such a target.
  [[nodiscard]] std::vector<CString> FindStrays(const StepRecord& record, const Reach& reach) const;

private:
  std::vector<CString> m_folders;
};

} // namespace kest
