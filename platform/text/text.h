#pragma once

#include "platform/text/export.h"

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace kest {

/// The engine's strings: bytes in the machine's code page, any byte value, length counted in bytes.
using CString = std::string;
using CKestString = std::string;

/// Operations on byte strings. Letter case is folded for ASCII alone, so a folded copy keeps its length. Operations
/// marked "lead bytes" step over the second byte of a double-byte character of the code page in force.
namespace text {

/// Replaces every occurrence of `from` in one pass (replacements are not searched again). Empty `from`: no change.
KEST_API void ReplaceAll(CString& value, std::string_view from, std::string_view to);
/// The same, `from` found without regard to case.
KEST_API void ReplaceAllNoCase(CString& value, std::string_view from, std::string_view to);
/// Removes blank, tab, CR, LF, VT and FF at both ends.
KEST_API void Trim(CString& value);
/// The part that Trim would leave; a view of the argument.
[[nodiscard]] KEST_API std::string_view Trimmed(std::string_view value);
[[nodiscard]] KEST_API char ToLower(char c);                  ///< other bytes than ASCII capitals come back as they are
[[nodiscard]] KEST_API CString Lower(std::string_view value); ///< every byte through ToLower
/// Whether both are the same but for letter case.
[[nodiscard]] KEST_API bool EqualNoCase(std::string_view a, std::string_view b);
/// Negative, 0 or positive, byte by byte on folded bytes; trail bytes of double-byte characters are not folded.
[[nodiscard]] KEST_API int CompareNoCase(std::string_view a, std::string_view b);
/// Whether `value` begins with `prefix`, letter case aside. Every value begins with an empty prefix.
[[nodiscard]] KEST_API bool StartsWithNoCase(std::string_view value, std::string_view prefix);
[[nodiscard]] KEST_API bool EndsWithNoCase(std::string_view value, std::string_view suffix); ///< the same at the end
/// Index of the first occurrence at or after `from`, or -1. An empty needle is found at `from`.
[[nodiscard]] KEST_API int FindNoCase(std::string_view value, std::string_view needle, std::size_t from = 0);
/// Whether FindNoCase finds it.
[[nodiscard]] inline bool ContainsNoCase(std::string_view value, std::string_view needle) {
  return FindNoCase(value, needle) >= 0;
}
/// True when the first character is one of "1YyTt".
[[nodiscard]] KEST_API bool IsTruthy(std::string_view value);

/// Code page of the machine in force: 932 makes Shift-JIS lead bytes known to the operations above and to paths;
/// any other value means single bytes.
KEST_API void SetCodePage(int codePage);
[[nodiscard]] KEST_API int GetCodePage();
/// Whether `c` begins a double-byte character in the code page in force.
[[nodiscard]] KEST_API bool IsLeadByte(char c);
/// Index of the last backslash that is a character of its own (lead bytes), or npos.
[[nodiscard]] KEST_API std::size_t FindLastBackslash(std::string_view path);
/// Index of the first backslash that is a character of its own at or after `from`, which must not lie inside a
/// double-byte character; npos when none.
[[nodiscard]] KEST_API std::size_t FindBackslash(std::string_view path, std::size_t from = 0);

/// One argument of a message.
using Argument = std::variant<CString, long long>;

/// printf-style formatting of a text that the host supplies: understands %s, %d, %i, %u, %ld, %lu, %%, with widths
/// (at most 1,024) and %1$s positions. A specifier without an argument, or of the wrong kind, is left out (its argument
/// counts as used); a "%" that begins no specifier stays; surplus arguments are ignored; nothing is ever read that was
/// not given. Never pass a built message as `format`.
[[nodiscard]] KEST_API CString Format(std::string_view format, std::initializer_list<Argument> arguments);
[[nodiscard]] KEST_API CString Format(std::string_view format, std::span<const Argument> arguments);

} // namespace text

/// Order of maps from text: bytes, case-sensitive.
struct CKestMapStringLessThan {
  using is_transparent = void;                                                    ///< look-ups by views make no copies
  bool operator()(std::string_view a, std::string_view b) const { return a < b; } ///< whether `a` comes before `b`
};

/// Order of maps from whole numbers.
struct CKestMapIntLessThan {
  bool operator()(int a, int b) const { return a < b; } ///< whether `a` comes before `b`
};

} // namespace kest
