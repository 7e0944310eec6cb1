#pragma once

#include "journal/file_digest.h"
#include "journal/history.h"
#include "journal/install_step.h"
#include "journal/step_record.h"

#include <unordered_map>

namespace kest {

/// Where a package has a file.
struct PackagedFile {
  CString package; ///< windows path
  CString entry;   ///< name in it
};

/// What an operation wants the history to say of it.
struct HistoryNote {
  static constexpr const char* kKind = "operation";
  StepRecord line;                                    ///< of kind kKind, without number and time
  std::unordered_map<CString, FileDigest> digests;    ///< of files written, as far as known, by lower-case path
  std::unordered_map<CString, PackagedFile> packaged; ///< files deleted that need not be kept, by lower-case path
};

/// The effects of an operation on one path as one.
struct MergedEffect {
  OperationEffect effect; ///< without the digest of what is there
  bool marked = false;    ///< nothing is known but the loss of its read-only mark
  bool isBackup = false;  ///< a copy that is left beside a changed file
};

/// In the order in which the paths were first touched.
[[nodiscard]] std::vector<MergedEffect> MergeEffects(const std::vector<StepEffect>& effects);

/// The record of an operation: written into the private folder before the operation is called done, brought to its
/// place in the machine's folder after that, by the process itself or by the next start.
namespace operation_record {

inline constexpr const char* kFileName = "record";

/// Writes the record into the private folder. `path`: the file, to be brought to the disk. False: it could not be
/// written, and the operation goes on without.
[[nodiscard]] bool Write(const HistoryNote& note, const std::vector<StepEffect>& effects, CString& path);
/// Whether the private folder (without trailing backslash) holds a record.
[[nodiscard]] bool IsIn(const CString& own);
/// Of an operation that is done: adds its line to the history unless it is there, and moves the private folder to the
/// trash but for what undo needs no more. May be interrupted and done again. True when the folder is gone. Where that
/// cannot be, its deleted files go to the machine's trash as `label`.
bool Publish(const CString& own, const CString& label);

} // namespace operation_record

} // namespace kest
