#include "platform/text/shift_jis.h"

#include <windows.h>

namespace kest {

constexpr UINT kCodePage = 932;

ShiftJis::ShiftJis() = default;
ShiftJis::~ShiftJis() = default;

char16_t ShiftJis::ToUnit(std::string_view bytes) {
  wchar_t units[2] = {};
  const int count =
      MultiByteToWideChar(kCodePage, MB_ERR_INVALID_CHARS, bytes.data(), static_cast<int>(bytes.size()), units, 2);
  return count == 1 ? static_cast<char16_t>(units[0]) : u'\0';
}

std::string ShiftJis::ToBytes(char16_t unit) {
  const auto wide = static_cast<wchar_t>(unit);
  char bytes[4] = {};
  BOOL isGuess = FALSE;
  const int count =
      WideCharToMultiByte(kCodePage, WC_NO_BEST_FIT_CHARS, &wide, 1, bytes, sizeof bytes, nullptr, &isGuess);
  return count > 0 && isGuess == FALSE ? std::string(bytes, static_cast<std::size_t>(count)) : std::string();
}

} // namespace kest
