#pragma once

#include <gtest/gtest.h>

#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace kest::test {

/// Holds a file, or a whole machine, as a program does that has it open.
class FileHolder {
public:
  explicit FileHolder(const std::filesystem::path& path) : m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    EXPECT_EQ(flock(m_file, LOCK_EX | LOCK_NB), 0) << path;
  }
  ~FileHolder() { close(m_file); }
  FileHolder(const FileHolder&) = delete;
  FileHolder& operator=(const FileHolder&) = delete;

private:
  int m_file;
};

} // namespace kest::test
