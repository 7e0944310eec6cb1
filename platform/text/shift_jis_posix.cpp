#include "platform/text/shift_jis.h"

#include <array>
#include <cerrno>
#include <iconv.h>
#include <new>

namespace kest {
namespace {

iconv_t None() { return reinterpret_cast<iconv_t>(-1); }

/// Empty when the bytes are no character.
std::string Convert(iconv_t handle, std::string input) {
  if (handle == None()) {
    return {};
  }
  iconv(handle, nullptr, nullptr, nullptr, nullptr);
  std::array<char, 16> buffer{};
  char* from = input.data();
  char* to = buffer.data();
  std::size_t inLeft = input.size();
  std::size_t outLeft = buffer.size();
  if (iconv(handle, &from, &inLeft, &to, &outLeft) == static_cast<std::size_t>(-1) || inLeft != 0) {
    return {};
  }
  return {buffer.data(), buffer.size() - outLeft};
}

} // namespace

ShiftJis::ShiftJis() : m_in(iconv_open("UTF-16LE", "CP932")), m_out(iconv_open("CP932", "UTF-16LE")) {
  if ((m_in == None() || m_out == None()) && errno == ENOMEM) {
    throw std::bad_alloc(); // the table would lack a code page that there is
  }
}

ShiftJis::~ShiftJis() {
  for (void* handle : {m_in, m_out}) {
    if (handle != None()) {
      iconv_close(handle);
    }
  }
}

char16_t ShiftJis::ToUnit(std::string_view bytes) {
  const std::string units = Convert(m_in, std::string(bytes));
  return units.size() != 2 ? u'\0'
                           : static_cast<char16_t>(static_cast<unsigned char>(units[0]) |
                                                   (static_cast<unsigned char>(units[1]) << 8));
}

std::string ShiftJis::ToBytes(char16_t unit) {
  return Convert(m_out, {static_cast<char>(static_cast<unsigned char>(unit & 0xFF)),
                         static_cast<char>(static_cast<unsigned char>(unit >> 8))});
}

} // namespace kest
