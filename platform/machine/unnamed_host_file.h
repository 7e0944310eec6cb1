#pragma once

#include "platform/text/text.h"

#include <cstdint>

namespace kest {

/// A file of this system that has no name, or loses it with the process: bytes that do not fit into memory.
class UnnamedHostFile {
public:
  UnnamedHostFile() = default;
  ~UnnamedHostFile();
  UnnamedHostFile(const UnnamedHostFile&) = delete;
  UnnamedHostFile& operator=(const UnnamedHostFile&) = delete;

  [[nodiscard]] bool IsOpen() const { return m_handle != -1; }
  /// In the folder given, else where the system keeps such files. 0, or an errno.
  [[nodiscard]] int Open(const CString& folder);
  /// All of it. 0, or an errno.
  [[nodiscard]] int WriteAt(std::uint64_t at, std::string_view bytes);
  [[nodiscard]] int ReadAt(std::uint64_t at, char* buffer, std::size_t count) const;

private:
  std::intptr_t m_handle = -1; ///< of the system
};

} // namespace kest
