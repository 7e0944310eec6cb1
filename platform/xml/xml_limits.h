#pragma once

namespace kest {

/// Depth of elements that readers accept and writers make.
inline constexpr int kMaxXmlLevel = 200;

} // namespace kest
