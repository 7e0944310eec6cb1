#pragma once

#include "platform/package/package.h"

#include <cstdint>
#include <vector>

namespace kest {

/// Bytes of a file through one buffer, so that reading it from front to back costs few calls.
class FileWindow {
public:
  /// The file is borrowed.
  explicit FileWindow(MachineFile& file) : m_file(file) {}
  /// The bytes from `offset` on, at least `atLeast` of them (at most kSize) and as many as are at hand; empty when the
  /// file has not so many or cannot be read. Valid until the next call.
  [[nodiscard]] std::string_view At(std::uint64_t offset, std::size_t atLeast);

  static constexpr std::size_t kSize = 256 * 1024;

private:
  MachineFile& m_file;
  std::uint64_t m_offset = 0;
  CString m_bytes;
};

/// A plain file in an archive, as its central directory tells, judged.
struct ZipEntry {
  CString name;       ///< backslashes
  CString storedName; ///< the same as written in the archive, when that differs
  CKestDateTime date;
  std::uint64_t offset = 0; ///< of its local header
  std::uint64_t end = 0;    ///< where the next header begins
  std::uint64_t packedSize = 0;
  std::uint64_t size = 0;
  std::uint32_t crc = 0;
  std::uint16_t method = 0;
};

enum ZipMethod : std::uint16_t { kZipStored = 0, kZipDeflated = 8 };

/// Reads the central directory of an archive and judges all that can be judged before unpacking: names (each and
/// against one another), kinds, sizes, methods, places. Entries come in the order of the directory, those of folders
/// left out. CKestPackage::kGood, or a code with `problem` saying what is wrong with which entry.
[[nodiscard]] int ReadZipDirectory(MachineFile& file, const PackageLimits& limits, std::vector<ZipEntry>& entries,
                                   CString& problem);

/// Where the packed bytes of an entry begin, by its local header, which must agree with the directory. False: damaged.
[[nodiscard]] bool FindZipData(FileWindow& window, const ZipEntry& entry, std::uint64_t& offset, CString& problem);

/// `problem` with the entry that it is about.
[[nodiscard]] CString DescribeEntryProblem(std::string_view name, std::string_view problem);

} // namespace kest
