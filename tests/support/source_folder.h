#pragma once

#include <string>

namespace kest::test {

/// The root of the source tree that these tests were built from, without a trailing slash.
[[nodiscard]] const std::string& SourceFolder();

} // namespace kest::test
