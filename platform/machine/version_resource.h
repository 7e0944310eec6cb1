#pragma once

#include "platform/text/values.h"

#include <functional>

namespace kest {

/// Where an executable's bytes come from: fills `buffer` with `count` bytes at `offset`; false when they are not there.
using ReadBytesAt = std::function<bool(std::uint64_t offset, char* buffer, std::size_t count)>;

/// The file version in the fixed-info block of a Windows executable (32 or 64 bits). False when the file is no such
/// thing, carries no version, or is damaged. Reads only the headers and the version resource.
[[nodiscard]] KEST_API bool ReadFileVersion(const ReadBytesAt& read, std::uint64_t size, CKestVersionNumber& version);
/// The same for a file in memory.
[[nodiscard]] KEST_API bool ReadFileVersion(std::string_view bytes, CKestVersionNumber& version);

/// A small executable file, well-formed but with no code, that carries the version. For sample machines.
[[nodiscard]] KEST_API CString MakeVersionedExecutable(const CKestVersionNumber& version);

} // namespace kest
