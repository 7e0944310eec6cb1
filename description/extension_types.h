#pragma once

#include "platform/text/text.h"

namespace kest {

/// Number of the type that a keyword names, as a whole and in any letter case; 0 for any other text.
[[nodiscard]] KEST_API int ExtensionTypeOf(std::string_view keyword);

} // namespace kest
