#pragma once

#include "platform/text/text.h"

#include <compare>
#include <cstdint>

namespace kest {

/// Three 16-bit numbers, as in "3.0.644".
class KEST_API CKestVersionNumber {
public:
  CKestVersionNumber() = default;
  CKestVersionNumber(std::uint16_t major, std::uint16_t minor, std::uint16_t build); ///< a version of three numbers
  /// Dotted text: missing parts are 0, reading stops at the first foreign character, a part over 65,535 is capped.
  explicit CKestVersionNumber(std::string_view dotted);

  /// Text that reads back equal, with as many parts as were given, two at least: "1.0", "2.1.0", "3.0.644".
  [[nodiscard]] CString ToText() const;
  /// major + minor as decimal digits behind the point ("4.02" style is not kept); 0.0 when unset. For bounds tests
  /// and displays alone: comparing goes through Compare.
  [[nodiscard]] double ToDouble() const;
  /// Negative, 0 or positive, number by number.
  [[nodiscard]] int Compare(const CKestVersionNumber& other) const;
  [[nodiscard]] int Compare(std::string_view dotted) const;
  /// Whether all its numbers are 0.
  [[nodiscard]] bool IsUnset() const { return m_major == 0 && m_minor == 0 && m_build == 0; }
  [[nodiscard]] std::uint16_t GetMajor() const { return m_major; }
  [[nodiscard]] std::uint16_t GetMinor() const { return m_minor; }
  [[nodiscard]] std::uint16_t GetBuild() const { return m_build; }

private:
  std::uint16_t m_major = 0;
  std::uint16_t m_minor = 0;
  std::uint16_t m_build = 0;
  bool m_hasBuild = false; ///< a third part was given; for the text alone
};

/// A moment: whole seconds since 1970-01-01 00:00 UTC.
class CKestDateTime {
public:
  CKestDateTime() = default;
  explicit CKestDateTime(std::int64_t seconds) : m_seconds(seconds) {} ///< seconds since the beginning of 1970, UTC
  [[nodiscard]] std::int64_t GetSeconds() const { return m_seconds; }
  auto operator<=>(const CKestDateTime&) const = default; ///< earlier is less

private:
  std::int64_t m_seconds = 0;
};

/// What a machine knows of a file beside its content: as long as it stays the same, so does the content.
struct FileStamp {
  std::uint64_t id = 0;                              ///< of the file on its volume
  std::uint64_t size = 0;                            ///< bytes
  std::int64_t written = 0;                          ///< last write, in nanoseconds
  std::int64_t changed = 0;                          ///< last change of content, name, mark or date, in nanoseconds
  bool operator==(const FileStamp&) const = default; ///< whether it is the file as it was
};

} // namespace kest
