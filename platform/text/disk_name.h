#pragma once

#include "platform/text/text.h"

namespace kest {

/// Whether all of it is ASCII, which means the same everywhere.
[[nodiscard]] bool IsPlainName(std::string_view name);

/// A name, or path, of the engine as disks have it that other programs share: in UTF-8. Texts that are UTF-8 already
/// stay as they are, all others are of the code page; bytes that are no character of it stay as well.
[[nodiscard]] CString ToDiskName(std::string_view name, int codePage);

/// The way back: in the code page where that has all the characters and ToDiskName gives the same name again, else as
/// on the disk, so that every name stays reachable and no two become one. A name that is no UTF-8, as programs wrote
/// that passed on their bytes, comes as it is.
[[nodiscard]] CString FromDiskName(std::string_view name, int codePage);

} // namespace kest
