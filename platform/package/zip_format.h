#pragma once

#include <cstddef>
#include <cstdint>

namespace kest {

/// The numbers that reading and writing an archive go by.
inline constexpr std::uint32_t kZipLocalSignature = 0x04034B50;
inline constexpr std::uint32_t kZipCentralSignature = 0x02014B50;
inline constexpr std::uint32_t kZipEndSignature = 0x06054B50;
inline constexpr std::uint32_t kZipEnd64Signature = 0x06064B50;
inline constexpr std::uint32_t kZipLocator64Signature = 0x07064B50;
inline constexpr std::size_t kZipEnd64Size = 56;
inline constexpr std::uint16_t kZipTimestampField = 0x5455;
inline constexpr std::uint16_t kZipUtf8Flag = 0x0800;
/// In the small end record: the number stands in the larger one.
inline constexpr std::uint16_t kZipMany = 0xFFFF;

} // namespace kest
