#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"

namespace kest {

/// Why `component` may not stand in the path of a file on a PC, as the end of "the name ..."; null when it may. An
/// empty one is refused, and whatever would lead outside of its folder or name something else than a plain file.
[[nodiscard]] KEST_API const char* JudgePathComponent(std::string_view component);

} // namespace kest
