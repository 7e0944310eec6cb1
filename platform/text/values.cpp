#include "platform/text/values.h"

#include <algorithm>
#include <array>

namespace kest {

CKestVersionNumber::CKestVersionNumber(std::uint16_t major, std::uint16_t minor, std::uint16_t build)
    : m_major(major), m_minor(minor), m_build(build), m_hasBuild(true) {}

CKestVersionNumber::CKestVersionNumber(std::string_view dotted) {
  constexpr std::uint32_t kMost = 65535;
  const std::array<std::uint16_t*, 3> parts = {&m_major, &m_minor, &m_build};
  std::size_t at = 0;
  for (std::uint16_t* part : parts) {
    std::uint32_t number = 0;
    for (; at < dotted.size() && dotted[at] >= '0' && dotted[at] <= '9'; ++at) {
      number = std::min(number * 10 + static_cast<std::uint32_t>(dotted[at] - '0'), kMost);
    }
    *part = static_cast<std::uint16_t>(number);
    m_hasBuild = part == &m_build && at > 0 && dotted[at - 1] != '.';
    if (at == dotted.size() || dotted[at] != '.') {
      return;
    }
    ++at;
  }
}

CString CKestVersionNumber::ToText() const {
  CString text = std::to_string(m_major) + "." + std::to_string(m_minor);
  if (m_hasBuild) {
    text += "." + std::to_string(m_build);
  }
  return text;
}

double CKestVersionNumber::ToDouble() const {
  const auto behindPoint = [](unsigned number) {
    double value = number;
    for (; number > 0; number /= 10) {
      value /= 10;
    }
    return value;
  };
  // a version of a build alone is set, too, so it must not give 0.0
  return m_major + (m_major == 0 && m_minor == 0 ? behindPoint(m_build) / 10 : behindPoint(m_minor));
}

int CKestVersionNumber::Compare(const CKestVersionNumber& other) const {
  if (m_major != other.m_major) {
    return m_major < other.m_major ? -1 : 1;
  }
  if (m_minor != other.m_minor) {
    return m_minor < other.m_minor ? -1 : 1;
  }
  return m_build == other.m_build ? 0 : (m_build < other.m_build ? -1 : 1);
}

int CKestVersionNumber::Compare(std::string_view dotted) const { return Compare(CKestVersionNumber(dotted)); }

} // namespace kest
