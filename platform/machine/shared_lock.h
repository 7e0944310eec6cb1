#pragma once

#include <cstdint>

namespace kest::shared_lock {

/// In a prefix of Wine programs of two systems meet, whose locks are not the same, but for ranges of files: who changes
/// the machine has locked this byte, which the file need not have. Windows programs lock it for themselves alone, a
/// machine folder for reading. Wine makes the file with the prefix.
inline constexpr const char* kFile = R"(C:\windows\win.ini)";
inline constexpr std::int32_t kAt = 0x4B657374;

} // namespace kest::shared_lock
