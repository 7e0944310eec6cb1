#pragma once

#include "support/temp_machine.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

namespace kest::test {

/// Compares with the file of tests/data/golden, line ends aside; writes it when KEST_UPDATE_GOLDEN is set.
inline void ExpectGolden(const std::string& fileName, std::string text) {
  const std::string path = KEST_SOURCE_DIR "/tests/data/golden/" + fileName;
  std::erase(text, '\r');
  if (std::getenv("KEST_UPDATE_GOLDEN") != nullptr) {
    std::ofstream(path, std::ios::binary) << text;
  }
  EXPECT_EQ(text, ReadHostFile(path)) << path;
}

} // namespace kest::test
