#include "journal/file_digest.h"

#include "platform/machine/os.h"
#include "platform/text/sha256.h"

#include <array>

namespace kest {

bool DigestFile(const CString& path, FileDigest& digest) {
  std::array<char, 64u << 10> buffer; // not filled before it is read into
  const std::unique_ptr<MachineFile> file = CKestOS::GetMachine().Open(path, OpenMode::kRead);
  if (file == nullptr) {
    return false;
  }
  Sha256 hash;
  std::uint64_t size = 0;
  for (;;) {
    const std::int64_t count = file->Read(buffer.data(), buffer.size());
    if (count < 0) {
      return false;
    }
    if (count == 0) {
      break;
    }
    hash.Add(buffer.data(), static_cast<std::size_t>(count));
    size += static_cast<std::uint64_t>(count);
  }
  digest = {size, hash.Finish()};
  return true;
}

} // namespace kest
