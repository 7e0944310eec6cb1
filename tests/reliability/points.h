#pragma once

#include <cstdlib>

namespace kest::test {

/// How many points or rounds a test takes: all of them when KEST_ALL_POINTS is set (the test "reliability_all"), else a
/// sample, so that every run of the tests can bear it.
[[nodiscard]] inline int PointsOf(int all, int sampled) {
  return std::getenv("KEST_ALL_POINTS") != nullptr ? all : sampled;
}

} // namespace kest::test
