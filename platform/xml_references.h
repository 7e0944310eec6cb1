#pragma once

#include "platform/text.h"

namespace kest {

/// References that a parser decodes: the five predefined names and numbers up to 255. "&" of every other reference is
/// replaced in `out` by "&#xE000;", which is reported as byte 1. False, and `out` untouched, when there is none.
bool ProtectReferences(std::string_view text, CString& out);
/// The reverse, for text in which a parser decodes nothing.
[[nodiscard]] CString RestoreReferences(std::string_view text);

/// The bytes that were fed as ISO-8859-1, from the UTF-8 that came out; the protected "&" as byte 1.
void AppendBytesOf(std::string_view utf8, CString& out);
[[nodiscard]] CString BytesOf(std::string_view utf8);

} // namespace kest
