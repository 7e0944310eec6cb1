#pragma once

#include "platform/text/text.h"

namespace kest {

/// What stands for the "&" of a reference that is kept as it is.
inline constexpr char kKeptReference = '\1';

/// What the "&" at the start of `text` begins.
struct Reference {
  /// Nothing that a parser takes; a byte; or a reference that it would not decode, which is kept.
  enum class Kind { kNone, kByte, kForeign };
  Kind kind = Kind::kNone;
  char byte = '\0';
  std::size_t length = 0; ///< from the "&" to the ";"
};
[[nodiscard]] Reference FindReference(std::string_view text);

/// References that a parser decodes: the five predefined names and numbers up to `largest` (255, or 127 where the bytes
/// above are no characters of their own). "&" of every other reference is replaced in `out` by "&#xE000;", which is
/// reported as byte 1. False, and `out` untouched, when there is none.
bool ProtectReferences(std::string_view text, int largest, CString& out);
/// The reverse, for text in which a parser decodes nothing.
[[nodiscard]] CString RestoreReferences(std::string_view text);

/// The bytes that were fed as ISO-8859-1, from the UTF-8 that came out; the protected "&" as byte 1.
void AppendBytesOf(std::string_view utf8, CString& out);
[[nodiscard]] CString BytesOf(std::string_view utf8);

/// Whether a text begins with the byte order mark of an encoding of Unicode.
[[nodiscard]] bool StartsWithEncodingMark(std::string_view bytes);
/// Line feeds, carriage returns and pairs of them.
[[nodiscard]] int CountLineEnds(std::string_view text);

} // namespace kest
