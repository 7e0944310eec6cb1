#pragma once

#include "platform/package/zip_directory.h"

namespace kest {

/// Where packed bytes are taken from.
class PackedBytes {
public:
  virtual ~PackedBytes() = default;
  /// The bytes from `offset` on, as many as are at hand, at least one; empty on failure. Valid until the next call.
  [[nodiscard]] virtual std::string_view At(std::uint64_t offset) = 0;
};

/// Writes an archive of the entries, in their order. Of each entry the offset says where its packed bytes begin in
/// `bytes`. The same entries give the same archive, wherever and whenever. False: nothing usable was written.
[[nodiscard]] bool WriteZipArchive(MachineFile& file, const std::vector<ZipEntry>& entries, PackedBytes& bytes,
                                   CString& problem);

} // namespace kest
