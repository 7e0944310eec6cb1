#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"

#include <vector>

namespace kest {

/// Lines of files that only we write: fields between tabs, and a check sum at the end.
namespace sealed_line {

/// Control bytes and "%" as "%XX", so that a text holds neither a tab nor a line end.
[[nodiscard]] KEST_API CString Escape(std::string_view value);
[[nodiscard]] KEST_API bool Unescape(std::string_view text, CString& value);
/// `body` with its check sum and the line end. Any change of one byte is noticed by Unseal.
[[nodiscard]] KEST_API CString Seal(std::string_view body);
/// `line` without its line end. False when the check sum does not fit.
[[nodiscard]] KEST_API bool Unseal(std::string_view line, std::string_view& body);
/// Splits at tabs.
[[nodiscard]] KEST_API std::vector<std::string_view> SplitFields(std::string_view body);
/// Digits alone, at most 9 of them.
[[nodiscard]] KEST_API bool ParseNumber(std::string_view text, long& value);

} // namespace sealed_line

} // namespace kest
