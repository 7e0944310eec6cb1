#pragma once

#include "platform/text/text.h"

#include <string>
#include <string_view>

namespace kest::text {

/// A text of the engine, which is in UTF-8 or in the machine's code page (as a description or a folder has it), as
/// UTF-8 for a host to show. Bytes that are no character become U+FFFD. A text that is UTF-8 comes back as it is.
[[nodiscard]] KEST_API std::string ToUtf8(std::string_view text);
/// The way back, for names and paths that a user types: in the machine's code page where it has all their characters,
/// else as UTF-8.
[[nodiscard]] KEST_API CString FromUtf8(std::string_view utf8);
/// Whether the bytes are well-formed UTF-8.
[[nodiscard]] KEST_API bool IsUtf8(std::string_view bytes);

} // namespace kest::text
