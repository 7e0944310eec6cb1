#pragma once

#include "description/extension.h"

#include <string_view>
#include <unordered_map>

namespace kest {

/// The heads of the descriptions of one folder as they were when they were read last, in a file beside them: a start
/// among thousands of extensions then reads that file instead of every description. Each line is sealed and counts only
/// while the stamp of its description's file is what it was; an index that is missing, damaged or of another version
/// is as good as none.
class KEST_API DescriptionIndex {
public:
  /// Fewer descriptions than this are read without an index.
  static constexpr std::size_t kWorthwhile = 64;
  /// Of the index, beside the descriptions.
  static constexpr const char* kFileName = "descriptions.index";

  /// Reads the index of a folder, given with a trailing backslash.
  explicit DescriptionIndex(const CString& folder);
  DescriptionIndex(const DescriptionIndex&) = delete;
  DescriptionIndex& operator=(const DescriptionIndex&) = delete;

  /// Makes `record`, which should be new, that of the description of this name, the rest to be read later; its path is
  /// set by the caller before. False, and the record left alone, when the index does not know the file as it is.
  [[nodiscard]] bool Fill(const CString& name, const FileStamp& stamp, CKestExtension& record) const;

  /// Writes the index of every folder that is far from complete, of the records that were read and have not changed
  /// since; they count as indexed then. Failures are no matter: the next start reads the descriptions.
  static void Refresh(const std::vector<CKestExtension*>& records);

private:
  CString m_content;
  std::unordered_map<CString, std::string_view> m_lines; ///< by name in lower case; parts of m_content
};

} // namespace kest
