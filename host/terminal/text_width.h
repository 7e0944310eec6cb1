#pragma once

#include <string>
#include <string_view>

namespace kest::host {

/// Columns that a UTF-8 text takes on a terminal: wide characters count two, combining marks none. Broken bytes count
/// one each.
[[nodiscard]] int DisplayWidth(std::string_view utf8);
/// As much of the text as fits into `width` columns; an ellipsis stands for the rest.
[[nodiscard]] std::string FitToWidth(std::string_view utf8, int width);
/// Its lines broken between words, and long words anywhere, so that none takes more than `width` columns.
[[nodiscard]] std::string WrapToWidth(std::string_view utf8, int width);
/// The text followed by blanks up to `width` columns.
[[nodiscard]] std::string PadToWidth(std::string_view utf8, int width);

/// UTF-8 of an engine text: bytes that are UTF-8 stay, others are read in the machine's code page; what that cannot be
/// becomes U+FFFD.
[[nodiscard]] std::string ToUtf8(std::string_view bytes);
/// UTF-8 that is fit for a terminal: control characters and those that reorder text are dropped. Line feeds and tabs
/// stay when `keepLines`, and become blanks otherwise.
[[nodiscard]] std::string ForTerminal(std::string_view utf8, bool keepLines = false);
/// Both at once, for names and paths in one line.
[[nodiscard]] std::string Shown(std::string_view bytes);
/// UTF-8 of a text from a description, where the five predefined entities stay written: they are decoded.
[[nodiscard]] std::string PlainText(std::string_view bytes);
/// The same, fit for a line on a terminal.
[[nodiscard]] std::string ShownText(std::string_view bytes);

} // namespace kest::host
