#pragma once

#include "support/temp_machine.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace kest::test {

/// How many points or rounds a test takes: all of them when KEST_ALL_POINTS is set (the test "reliability_all"), else a
/// sample, so that every run of the tests can bear it.
[[nodiscard]] inline int PointsOf(int all, int sampled) {
  return std::getenv("KEST_ALL_POINTS") != nullptr ? all : sampled;
}

/// All that an operation has to change as a whole or leave alone: bytes, read-only marks, dates and names of every file
/// (the temporary folder among them, so that a leftover shows), and what the registry holds. Not part of it: backup
/// copies beside configuration files, and the trash.
struct PcState {
  std::map<std::string, SnapshotEntry> files; ///< by path; a date since the program began is told as kJustNow
  std::map<std::string, std::string> registry;

  /// One line a difference; empty when the two are the same.
  [[nodiscard]] std::string difference(const PcState& later) const;
  /// The same without the engine's own files in its private folders, in the temporary folder and on other volumes,
  /// which go with the next start where nothing can be removed any more.
  [[nodiscard]] std::string differenceOutsidePrivate(const PcState& later) const;

  static constexpr std::int64_t kJustNow = -1;
};

/// Machine folders in a scratch folder: the one at work, "pc", and copies of it by name.
class PcUnderTest {
public:
  /// On a file system in memory where there is one, since thousands of copies are made.
  PcUnderTest();
  ~PcUnderTest();
  PcUnderTest(const PcUnderTest&) = delete;
  PcUnderTest& operator=(const PcUnderTest&) = delete;

  [[nodiscard]] std::filesystem::path root() const { return m_scratch / "pc"; }
  [[nodiscard]] const std::filesystem::path& scratch() const { return m_scratch; }
  /// Tidemark Nova and Tidemark 4 with their usual files, one user, replace.exe beside the program.
  void makeSample() const;
  /// Dates every file that was written since the program began before it, so that a later change shows.
  void age() const;
  /// Removes the copy of that name, and copies the machine at work with its dates and marks.
  void save(const std::string& name) const;
  void restore(const std::string& name) const;
  [[nodiscard]] PcState state() const;

private:
  std::filesystem::path m_scratch;
};

} // namespace kest::test
