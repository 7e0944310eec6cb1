#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"

#include <cstdint>

namespace kest {

/// What tells one content of a file from another.
struct FileDigest {
  std::uint64_t size = 0;                             ///< bytes
  CString hash;                                       ///< SHA-256 in hexadecimal digits; empty when not known
  bool operator==(const FileDigest&) const = default; ///< whether it is the same content
};

/// Reads the file; false when it cannot be read to its end.
[[nodiscard]] KEST_API bool DigestFile(const CString& path, FileDigest& digest);

} // namespace kest
