// A package: listed, unpacked into memory and into a folder. Nothing lands outside the folder, and no more is unpacked
// than the limits allow.

#include "fuzz/fuzz_input.h"
#include "fuzz/scratch_machine.h"

#include "platform/machine/os.h"
#include "platform/package/package.h"

#include <zlib.h>

#include <cstring>
#include <set>

using namespace kest;

namespace {

constexpr const char* kPackage = "C:\\in.kep";
constexpr const char* kFolder = "C:\\windows\\temp\\out";
constexpr PackageLimits kLimits{64, 64u << 10, 256u << 10};

void JudgeEntries(const std::vector<PackageEntry>& entries) {
  std::uint64_t all = 0;
  std::set<CString> names;
  for (const PackageEntry& entry : entries) {
    all += entry.size;
    fuzz::Require(entry.size <= kLimits.bytesPerFile, "no file is larger than the limit");
    fuzz::Require(names.insert(text::Lower(entry.name)).second, "no two files have one name");
    fuzz::Require(entry.name.find_first_of("/:*?\"<>|") == CString::npos, "names hold no signs of other meaning");
    fuzz::Require(("\\" + entry.name + "\\").find("\\..\\") == CString::npos, "no name leads upwards");
    fuzz::Require(!entry.name.starts_with('\\'), "no name is absolute");
  }
  fuzz::Require(entries.size() <= kLimits.entries && all <= kLimits.bytesInAll, "a package stays in its limits");
}

std::size_t Little(std::string_view bytes, std::size_t at, int count) {
  std::size_t value = 0;
  for (int i = count; i-- > 0;) {
    value = value << 8 | static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
  }
  return value;
}

void PutLittle(CString& bytes, std::size_t at, std::size_t value) {
  for (int i = 0; i < 4; ++i, value >>= 8) {
    bytes[at++] = static_cast<char>(value);
  }
}

// What packed bytes unpack to; at most a little more than any reader here takes.
CString Inflated(std::string_view packed) {
  CString content(kLimits.bytesPerFile + 1, '\0');
  z_stream stream{};
  if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) {
    return {};
  }
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  stream.next_out = reinterpret_cast<Bytef*>(content.data());
  stream.avail_out = static_cast<uInt>(content.size());
  static_cast<void>(inflate(&stream, Z_FINISH));
  content.resize(stream.total_out);
  inflateEnd(&stream);
  return content;
}

// Makes check sums and sizes fit what a mutation left of the files, so that the reader looks further.
void Settle(CString& zip) {
  constexpr std::size_t kLocal = 30;
  constexpr std::size_t kCentral = 46;
  for (std::size_t at = zip.find("PK\x01\x02"); at != CString::npos; at = zip.find("PK\x01\x02", at + kCentral)) {
    if (at + kCentral > zip.size()) {
      return;
    }
    const std::size_t local = Little(zip, at + 42, 4);
    if (local > zip.size() || zip.size() - local < kLocal) {
      continue;
    }
    const std::size_t begin = local + kLocal + Little(zip, local + 26, 2) + Little(zip, local + 28, 2);
    const std::size_t packed = Little(zip, at + 20, 4);
    if (begin > zip.size() || packed > zip.size() - begin) {
      continue;
    }
    const std::string_view bytes = std::string_view(zip).substr(begin, packed);
    const CString content = Little(zip, at + 10, 2) == 8 ? Inflated(bytes) : CString(bytes);
    const auto sum = crc32(0, reinterpret_cast<const Bytef*>(content.data()), static_cast<uInt>(content.size()));
    PutLittle(zip, at + 16, sum);
    PutLittle(zip, local + 14, sum);
    PutLittle(zip, at + 24, content.size());
    PutLittle(zip, local + 22, content.size());
  }
}

} // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
  size = LLVMFuzzerMutate(data, size, maxSize);
  if (seed % 4 != 0) {
    CString zip(reinterpret_cast<const char*>(data), size);
    Settle(zip);
    std::memcpy(data, zip.data(), size);
  }
  return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::ScratchMachine machine;
  const bool placed = machine.Put(kPackage, {reinterpret_cast<const char*>(data), size});
  fuzz::Require(placed && machine.Get().CreateDirectory(kFolder), "the machine holds the package");
  CKestPackage::SetLimits(kLimits);

  CKestPackage package(kPackage);
  std::vector<PackageEntry> entries;
  const int listed = package.GetEntries(entries);
  fuzz::Require((listed == CKestPackage::kGood) == package.GetProblem().empty(), "a failure has a reason");
  if (listed == CKestPackage::kGood) {
    JudgeEntries(entries);
    for (const PackageEntry& entry : entries) {
      CString content;
      if (package.UnPackToMemory(entry.name, kLimits.bytesPerFile, content) == CKestPackage::kGood) {
        fuzz::Require(content.size() == entry.size, "a file is as long as the directory says");
      }
    }
    const CString before = machine.Describe(kFolder);
    const int unpacked = package.UnPackTo(kFolder);
    fuzz::Require(machine.GetBytes(kFolder) <= kLimits.bytesInAll, "no more is unpacked than allowed");
    fuzz::RequireEqual(machine.Describe(kFolder), before, "nothing lands outside the folder");
    for (const PackageEntry& entry : entries) {
      const std::optional<CString> content = machine.Find(CString(kFolder) + '\\' + entry.name);
      fuzz::Require(unpacked != CKestPackage::kGood || (content && content->size() == entry.size),
                    "what was unpacked is there whole");
    }
  }
  return 0;
}
