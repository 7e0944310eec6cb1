#pragma once

#include "platform/machine/machine.h"

namespace kest {

/// A file that an install put beside its place, for "replace.exe" to bring it there at the next log-on.
struct WaitingFile {
  CString value;       ///< name of the value that says so, in the current user's run-once key
  CString destination; ///< windows path
  CString pending;     ///< windows path of the file that waits
};

/// The key under the current user's root that holds a value for each.
inline constexpr const char* kRunOnceKey = "software\\microsoft\\windows\\currentversion\\runonce";

/// Those of the machine in force.
[[nodiscard]] KEST_API Answer ListWaitingFiles(std::vector<WaitingFile>& files);
/// The one that goes to `destination`, and the last when there are several.
[[nodiscard]] KEST_API Answer FindWaitingFile(const CString& destination, WaitingFile& file);

} // namespace kest
