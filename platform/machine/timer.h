#pragma once

#include "platform/text/export.h"

#include <cstdint>

namespace kest {

/// Counts down on the machine's monotonic clock.
class KEST_API CKestTimer {
public:
  explicit CKestTimer(std::int64_t milliseconds) : m_length(milliseconds) {} ///< runs for so long from its start on
  void Start();                                                              ///< begins anew
  /// True when the time has passed since Start, or Start was never called.
  [[nodiscard]] bool IsDone() const;

private:
  std::int64_t m_length;
  std::int64_t m_end = 0;
};

} // namespace kest
