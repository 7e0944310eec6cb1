#pragma once

#include <string>
#include <string_view>

namespace kest {

/// The system's table of the Japanese code page (932), a character at a time.
class ShiftJis {
public:
  ShiftJis();
  ~ShiftJis();
  ShiftJis(const ShiftJis&) = delete;
  ShiftJis& operator=(const ShiftJis&) = delete;

  /// The UTF-16 unit for a character's bytes; 0 when they are none.
  [[nodiscard]] char16_t ToUnit(std::string_view bytes);
  /// The bytes of a unit; empty when the code page has none.
  [[nodiscard]] std::string ToBytes(char16_t unit);

private:
  void* m_in = nullptr; ///< of the system
  void* m_out = nullptr;
};

} // namespace kest
