// The version resource of an executable: what is read lies in the file, and little of it is read.

#include "fuzz/fuzz_input.h"

#include "platform/machine/version_resource.h"

#include <cstring>

using namespace kest;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  CKestVersionNumber whole;
  const bool found = ReadFileVersion(bytes, whole);

  std::uint64_t total = 0;
  const ReadBytesAt read = [&](std::uint64_t offset, char* buffer, std::size_t count) {
    if (offset > size || count > size - offset) {
      return false;
    }
    std::memcpy(buffer, data + offset, count);
    total += count;
    return true;
  };
  CKestVersionNumber byParts;
  fuzz::Require(ReadFileVersion(read, size, byParts) == found, "both ways of reading find the same");
  fuzz::Require(!found || whole.Compare(byParts) == 0, "both ways of reading give one version");
  fuzz::Require(total <= (4u << 20), "the version of a small file takes few bytes to read");
  if (found) {
    CKestVersionNumber again;
    fuzz::Require(ReadFileVersion(MakeVersionedExecutable(whole), again) && again.Compare(whole) == 0,
                  "a version that was read can be put into an executable");
  }
  return 0;
}
