#pragma once

#include "platform/text/text.h"

namespace kest {

constexpr std::string_view kLineEnd = "\r\n"; ///< as the products write it

/// Bounds of a line. A lone LF ends one too: files that were edited by hand have them, and what is taken out of a line
/// must not reach into the next.
struct TextLine {
  std::size_t start;
  std::size_t end;  ///< before the line's end
  std::size_t next; ///< where the next line starts
};

/// The line that begins at `start`.
[[nodiscard]] TextLine LineFrom(std::string_view content, std::size_t start);
/// The line that holds the byte at `at`.
[[nodiscard]] TextLine LineAround(std::string_view content, std::size_t at);
/// Ends a last line that has no end. Empty text has no line.
void EndLastLine(CString& content);

} // namespace kest
