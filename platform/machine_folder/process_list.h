#pragma once

#include "platform/machine_folder/host_descriptor.h"

#include <vector>

namespace kest {

/// Whether the registry server of the Wine prefix at `root`, which is `hostFolder`, runs: a live process holds the lock
/// in its socket folder.
[[nodiscard]] bool IsPrefixServed(HostIdentity root, const CString& hostFolder);

/// What the processes of the prefix at `root` call themselves (the first word of their command lines): Windows paths
/// as Wine writes them, or host paths below `hostFolder`. Reads the list of processes once; `code` is 0, or the errno
/// of a list that broke off.
[[nodiscard]] std::vector<CString> ListPrefixProcesses(HostIdentity root, const CString& hostFolder, int& code);

/// "process 4711 (name)" of whoever holds the lock on the folder; empty when that is not known or it is this process.
[[nodiscard]] CString FindLockHolder(HostIdentity folder);

} // namespace kest
