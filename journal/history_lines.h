#pragma once

#include "journal/history.h"
#include "journal/step_record.h"

namespace kest {

/// The lines of the history and of the records in the trash: a kind and named fields, each line sealed. Whoever reads
/// them passes over kinds and fields that it does not know, so that what a later version writes does no harm.
///
/// A record: the operation's line as the history gets it, a line for each effect, and a last one with their number.
namespace history_lines {

inline constexpr const char* kTrashFolder = "trash";
inline constexpr const char* kEnd = "end";

struct Record {
  StepRecord line;
  long number = 0;
  std::vector<OperationEffect> effects; ///< with absolute paths of what is kept
};

/// Adds the effect's line to `lines`.
void WriteEffect(const OperationEffect& effect, CString& lines);
/// From the record in a folder, without trailing backslash. False when it is missing or not whole.
[[nodiscard]] bool ReadRecord(const CString& folder, Record& record);
/// One more than any number that the history or the trash has. False when they cannot be read.
[[nodiscard]] bool GetNextNumber(const CString& folder, long& number);
/// Adds the record's line to the history and brings it to the disk; nothing when its number is there already.
[[nodiscard]] bool AppendLine(const CString& folder, const Record& record);
/// "<number>-<seconds>-<bytes>": a list of the trash needs no more than the names.
[[nodiscard]] CString TrashName(const Record& record);

} // namespace history_lines

} // namespace kest
