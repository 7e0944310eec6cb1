#pragma once

#include "journal/file_digest.h"
#include "manager/install.h"

#include <unordered_map>

namespace kest {

/// What an install left, to be compared later: a record of ours beside the history, one file for each installed
/// description. Lines are sealed; a record that is damaged is as good as none.
namespace installed_record {

inline constexpr const char* kFolder = "installed"; ///< in the folder of the history

/// A line that the install put into a configuration file. Lines without blanks at their ends.
struct Line {
  CString path;   ///< of the file
  CString text;   ///< the line
  CString before; ///< the nearest line above it that the file has once, and had before; empty when there is none
  CString after;  ///< the same below it
};

struct Record {
  std::vector<std::pair<CString, FileDigest>> files; ///< path and content; the description is the first
  std::vector<CString> folders;                      ///< those that the install made
  /// Files that stood where it placed its own, with their content; copies are kept for the uninstall.
  std::vector<std::pair<CString, FileDigest>> originals;
  std::vector<Line> lines;
};

/// The folder of the records, with a trailing backslash; false when the machine has no place for it.
[[nodiscard]] bool GetFolder(CString& folder);
/// Where the record of an installed description lies; false when the machine has no place for it.
[[nodiscard]] bool GetPath(const CString& description, CString& path);
/// The description that a record of this file name is about, in any folder; empty when that cannot be told.
[[nodiscard]] CString FindDescription(const CString& fileName);
/// No when there is none, or it is `damaged`.
[[nodiscard]] Answer Read(const CString& description, Record& record, bool& damaged);

/// The lines of a configuration file, without blanks at their ends.
[[nodiscard]] std::vector<CString> SplitLines(std::string_view content);
/// Which lines of `after` are new against `before`, with their neighbours.
[[nodiscard]] std::vector<Line> FindNewLines(const CString& path, std::string_view before, std::string_view after);

} // namespace installed_record

namespace install {

/// Reads the configuration files that are about to be changed.
bool NoteConfiguration(Context&);
/// Writes the record as a step of the install; one that cannot be written is only noted, unless the uninstall needs
/// it to bring something back.
bool RecordInstalled(Context&);

} // namespace install

} // namespace kest
