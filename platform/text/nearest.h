#pragma once

#include "platform/text/export.h"

#include <cstddef>
#include <string_view>

namespace kest::text {

/// How many letters are to be put in, taken out, changed or swapped to make one word of the other. Costs the product of
/// the lengths; words of 64 bytes and more count as wholly different.
[[nodiscard]] KEST_API std::size_t EditDistance(std::string_view a, std::string_view b);
/// Whether a user may have meant `known` who wrote `given`: nearly the same, letter case aside.
[[nodiscard]] KEST_API bool IsNear(std::string_view given, std::string_view known);

} // namespace kest::text
