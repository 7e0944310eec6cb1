#pragma once

#include "platform/machine_folder/host_descriptor.h"

#include <unistd.h>

namespace kest {

/// Removes the folder `name` of `parent` with all it holds. Links are removed, never followed; a tree of any depth
/// takes a fixed number of descriptors. 0, or the errno of the first thing that would not go.
[[nodiscard]] int RemoveFolderTree(int parent, const CString& name);

/// Why the system would not let the entry `name` of `folder` be renamed, replaced or removed, whatever the rights of
/// the folder: it may not be changed at all, something is mounted on it, or it is somebody else's in a folder that lets
/// nobody touch what others own. 0, or an errno.
/// `mode` (may be null) gets the entry's kind and rights.
[[nodiscard]] int FindPin(int folder, const char* name, mode_t* mode = nullptr, uid_t user = geteuid());
/// The same of the folder itself, as the place where entries come and go.
[[nodiscard]] int FindFolderPin(int folder);
/// The same of everything that a folder holds, at any depth, which a rename of the folder would take along.
[[nodiscard]] int FindPinBelow(int folder, uid_t user = geteuid());

} // namespace kest
