#pragma once

#include "platform/machine_folder/host_descriptor.h"

namespace kest {

/// Removes the folder `name` of `parent` with all it holds. Links are removed, never followed; a tree of any depth
/// takes a fixed number of descriptors. 0, or the errno of the first thing that would not go.
[[nodiscard]] int RemoveFolderTree(int parent, const CString& name);

} // namespace kest
