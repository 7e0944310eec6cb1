#pragma once

#include "platform/text/text.h"

namespace kest {

/// Whether `c` begins a double-byte character of the code page: Shift-JIS for 932, none for any other.
[[nodiscard]] bool IsLeadByteOf(int codePage, char c);

/// `name` with its ASCII letters lowered; second bytes of double-byte characters stay. Two names of a folder are the
/// same when their folded forms are.
[[nodiscard]] CString FoldName(std::string_view name, int codePage);

/// Bytes of the code page as UTF-16 units. Bytes that are no character of it become U+DC80 to U+DCFF, so that
/// FromUtf16 gives every byte string back.
[[nodiscard]] std::u16string ToUtf16(std::string_view bytes, int codePage);

/// The way back. A text with a character that the code page does not have comes as UTF-8, the form in which a prefix
/// spells the names of its files.
[[nodiscard]] CString FromUtf16(std::u16string_view units, int codePage);

} // namespace kest
