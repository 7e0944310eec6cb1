#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"

#include <array>
#include <cstdint>

namespace kest {

/// SHA-256 of bytes that come in parts.
class KEST_API Sha256 {
public:
  /// With `portable` without the processor's own instructions for it, which are used where there are any.
  explicit Sha256(bool portable = false);
  void Add(const char* bytes, std::size_t count); ///< the next bytes
  /// 64 lower-case hexadecimal digits; nothing may be added afterwards.
  [[nodiscard]] CString Finish();

private:
  std::array<std::uint32_t, 8> m_state;
  std::array<unsigned char, 64> m_block{};
  std::size_t m_held = 0;
  std::uint64_t m_length = 0;
  bool m_portable;
};

} // namespace kest
