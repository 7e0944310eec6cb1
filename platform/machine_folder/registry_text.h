#pragma once

#include "platform/text/text.h"

#include <optional>
#include <string>

namespace kest {

/// Escapes of registry files: a backslash doubled, the delimiters with one in front, control characters as letters or
/// octal digits, everything beyond ASCII as "\x" and hexadecimal digits.
[[nodiscard]] CString EscapeRegistryText(std::u16string_view units, std::string_view delimiters);

/// The text from `at` up to the character `delimiter`, which `at` then stands behind. Nothing when it does not come.
/// Bytes beyond ASCII, which editors leave, are read as UTF-8.
[[nodiscard]] std::optional<std::u16string> UnescapeRegistryText(std::string_view line, std::size_t& at,
                                                                 char delimiter);

/// The text of a value as written behind the "=": "..." , str(2):"..." or their byte forms hex(1): and hex(2):. Nothing
/// for values of other kinds and damaged ones.
[[nodiscard]] std::optional<std::u16string> ReadRegistryData(std::string_view written);

} // namespace kest
