#include "platform/text/utf8.h"

#include "platform/text/code_page.h"

#include <algorithm>

namespace kest::text {

namespace {

constexpr int kUtf8 = 65001;
constexpr char16_t kReplacement = 0xFFFD;

// What ToUtf16 makes of a byte that is no character.
bool IsStray(char16_t unit) { return unit >= 0xDC80 && unit <= 0xDCFF; }

bool IsHigh(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }

// Whether units[at] stands for a byte, and is not the second half of a character.
bool IsStrayAt(const std::u16string& units, std::size_t at) {
  return IsStray(units[at]) && (at == 0 || !IsHigh(units[at - 1]));
}

} // namespace

bool IsUtf8(std::string_view bytes) {
  const std::u16string units = ToUtf16(bytes, kUtf8);
  for (std::size_t at = 0; at < units.size(); ++at) {
    if (IsStrayAt(units, at)) {
      return false;
    }
  }
  return true;
}

std::string ToUtf8(std::string_view text) {
  if (IsUtf8(text)) {
    return std::string(text);
  }
  std::u16string units = ToUtf16(text, GetCodePage());
  for (std::size_t at = 0; at < units.size(); ++at) {
    units[at] = IsStrayAt(units, at) ? kReplacement : units[at];
  }
  return FromUtf16(units, kUtf8);
}

CString FromUtf8(std::string_view utf8) { return FromUtf16(ToUtf16(utf8, kUtf8), GetCodePage()); }

} // namespace kest::text
