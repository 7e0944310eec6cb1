#pragma once

#include "platform/text/text.h"

namespace kest {

/// False when RepairMenuLine would leave every line of the text alone.
[[nodiscard]] KEST_API bool MayNeedRepair(std::string_view text);
/// Makes XML of one line of a menu-format file as the products write it: raw ampersands, script brackets, bare
/// attribute words, and lines known to be broken.
KEST_API void RepairMenuLine(CString& line);
/// Takes back what RepairMenuLine does to text that the parser does not decode.
KEST_API void RevertMenuLine(CString& value);

} // namespace kest
