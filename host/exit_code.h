#pragma once

namespace kest::host {

/// What scripts may rely on.
enum ExitCode : int {
  kDone = 0, ///< or nothing to do
  kFailed = 1,
  kUsage = 2,
  kDeclinedOrUnanswered = 3,
  kNotFoundHere = 4, ///< file, extension, product or machine
  kNoProductSupports = 5,
  kBadInput = 6,      ///< package or description
  kInUseOrLocked = 7, ///< also: no permission, disk full
  kProblemsFound = 8,
  kUndoIncomplete = 9,
  kSomeFailed = 10,
  kInterrupted = 130,
};

} // namespace kest::host
