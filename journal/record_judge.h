#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"

#include <vector>

namespace kest {

/// Judges the paths of a journal file before anything is done with them: a file that looks like a journal may have been
/// damaged, or put there by somebody.
class KEST_API RecordJudge {
public:
  /// `folders`: the private folders of the process that wrote the file, with trailing backslashes.
  explicit RecordJudge(std::vector<CString> folders) : m_folders(std::move(folders)) {}
  void AddFolder(CString folder) { m_folders.push_back(std::move(folder)); }

  /// An absolute path with a drive, without "." and "..", empty components, control bytes and further colons.
  [[nodiscard]] static bool IsPlain(std::string_view path);
  /// A plain path inside a private folder of that process.
  [[nodiscard]] bool IsPrivate(std::string_view path) const;
  /// The same, or empty.
  [[nodiscard]] bool IsPrivateOrEmpty(std::string_view path) const { return path.empty() || IsPrivate(path); }

private:
  std::vector<CString> m_folders;
};

} // namespace kest
