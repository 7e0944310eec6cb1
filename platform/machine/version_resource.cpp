#include "platform/machine/version_resource.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <vector>

namespace kest {
namespace {

constexpr std::uint32_t kFixedInfoSignature = 0xFEEF04BD;
constexpr std::uint32_t kVersionResource = 16;
constexpr std::size_t kMostSections = 96;           // what the system's loader takes
constexpr std::size_t kMostEntries = 4096;          // of one resource folder
constexpr std::size_t kLongestBlock = 64 * 1024;    // a version block names its length in 16 bits
constexpr std::size_t kLongestSearch = 4096 * 1024; // of a section whose folders are damaged

/// A block of bytes read from a file, with numbers taken out of it; asking beyond its end gives 0 and is remembered.
class Block {
public:
  explicit Block(std::size_t size) : m_bytes(size) {}
  char* Data() { return m_bytes.data(); }
  [[nodiscard]] std::size_t Size() const { return m_bytes.size(); }
  [[nodiscard]] std::uint32_t Take(std::size_t offset, std::size_t count) const {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count && offset + i < m_bytes.size(); ++i) {
      value |= static_cast<std::uint32_t>(static_cast<unsigned char>(m_bytes[offset + i])) << (8 * i);
    }
    return value;
  }
  [[nodiscard]] std::uint32_t Word(std::size_t offset) const { return Take(offset, 2); }
  [[nodiscard]] std::uint32_t Dword(std::size_t offset) const { return Take(offset, 4); }

private:
  std::vector<char> m_bytes;
};

struct Section {
  std::uint32_t address = 0;
  std::uint32_t rawOffset = 0;
  std::uint32_t rawSize = 0;
  bool isResources = false;
};

class Executable {
public:
  Executable(const ReadBytesAt& read, std::uint64_t size) : m_read(read), m_size(size) {}

  [[nodiscard]] bool ReadHeaders() {
    const auto dos = Read(0, 64);
    if (!dos || dos->Word(0) != 0x5A4D) {
      return false;
    }
    const std::uint32_t start = dos->Dword(60);
    const auto headers = Read(start, 24);
    if (!headers || headers->Dword(0) != 0x4550) {
      return false;
    }
    const std::size_t optionalSize = headers->Word(20);
    const auto optional = Read(std::uint64_t{start} + 24, optionalSize);
    if (!optional || optionalSize < 2) {
      return false;
    }
    const std::uint32_t magic = optional->Word(0);
    const std::size_t tables = magic == 0x20B ? 112 : 96; // 64 or 32 bits
    if ((magic != 0x20B && magic != 0x10B) || optionalSize < tables) {
      return false;
    }
    if (optional->Dword(tables - 4) > 2 && optionalSize >= tables + 24) {
      m_resources = optional->Dword(tables + 16);
    }
    return ReadSections(std::uint64_t{start} + 24 + optionalSize, headers->Word(6));
  }

  /// The version block by way of the resource folders: type, name, language.
  [[nodiscard]] bool FindByFolders(CKestVersionNumber& version) {
    if (m_resources == 0) {
      return false;
    }
    std::uint32_t at = 0;
    for (int level = 0; level < 3; ++level) {
      const auto next = FirstEntry(at, level == 0 ? std::optional(kVersionResource) : std::nullopt);
      const bool leadsToFolder = next && (*next & 0x80000000U) != 0;
      if (!next || leadsToFolder != (level < 2)) {
        return false;
      }
      at = *next & 0x7FFFFFFFU;
    }
    const auto leaf = ReadAddress(std::uint64_t{m_resources} + at, 16);
    if (!leaf) {
      return false;
    }
    const auto block = ReadAddress(leaf->Dword(0), std::min<std::size_t>(leaf->Dword(4), kLongestBlock));
    return block && TakeFixedInfo(*block, version);
  }

  /// The signature of the block anywhere in the resources, for files whose folders are not as they should be.
  [[nodiscard]] bool FindBySignature(CKestVersionNumber& version) {
    for (const Section& section : m_sections) {
      const bool holdsTable =
          m_resources != 0 && m_resources >= section.address && m_resources - section.address < section.rawSize;
      if (!section.isResources && !holdsTable) {
        continue;
      }
      const std::uint64_t left = section.rawOffset < m_size ? m_size - section.rawOffset : 0;
      const auto size = static_cast<std::size_t>(std::min<std::uint64_t>({left, section.rawSize, kLongestSearch}));
      const auto block = Read(section.rawOffset, size);
      if (block && TakeFixedInfo(*block, version)) {
        return true;
      }
    }
    return false;
  }

private:
  [[nodiscard]] std::optional<Block> Read(std::uint64_t offset, std::size_t count) const {
    if (offset > m_size || count > m_size - offset) {
      return std::nullopt;
    }
    Block block(count);
    return count == 0 || m_read(offset, block.Data(), count) ? std::optional(std::move(block)) : std::nullopt;
  }

  [[nodiscard]] bool ReadSections(std::uint64_t offset, std::size_t count) {
    if (count > kMostSections) {
      return false;
    }
    const auto table = Read(offset, count * 40);
    for (std::size_t i = 0; table && i < count; ++i) {
      const std::size_t row = i * 40;
      const bool isResources = table->Dword(row) == 0x7273722E && table->Word(row + 4) == 0x63; // ".rsrc"
      m_sections.push_back({table->Dword(row + 12), table->Dword(row + 20), table->Dword(row + 16), isResources});
    }
    return table.has_value();
  }

  /// Bytes at an address of the loaded program.
  [[nodiscard]] std::optional<Block> ReadAddress(std::uint64_t address, std::size_t count) const {
    for (const Section& section : m_sections) {
      if (address >= section.address && address - section.address < section.rawSize) {
        return Read(section.rawOffset + (address - section.address), count);
      }
    }
    return std::nullopt;
  }

  /// Where the entry with the id (or simply the first one) of a resource folder leads.
  [[nodiscard]] std::optional<std::uint32_t> FirstEntry(std::uint32_t folder, std::optional<std::uint32_t> id) const {
    const auto head = ReadAddress(std::uint64_t{m_resources} + folder, 16);
    if (!head) {
      return std::nullopt;
    }
    const std::size_t count = std::min<std::size_t>(head->Word(12) + head->Word(14), kMostEntries);
    const auto entries = ReadAddress(std::uint64_t{m_resources} + folder + 16, count * 8);
    for (std::size_t i = 0; entries && i < count; ++i) {
      if (!id || entries->Dword(i * 8) == *id) {
        return entries->Dword(i * 8 + 4);
      }
    }
    return std::nullopt;
  }

  [[nodiscard]] static bool TakeFixedInfo(const Block& block, CKestVersionNumber& version) {
    for (std::size_t at = 0; at + 52 <= block.Size(); at += 4) {
      if (block.Dword(at) == kFixedInfoSignature && block.Word(at + 6) == 1) {
        version = CKestVersionNumber(static_cast<std::uint16_t>(block.Word(at + 10)),
                                     static_cast<std::uint16_t>(block.Word(at + 8)),
                                     static_cast<std::uint16_t>(block.Word(at + 14)));
        return true;
      }
    }
    return false;
  }

  const ReadBytesAt& m_read;
  std::uint64_t m_size;
  std::uint32_t m_resources = 0;
  std::vector<Section> m_sections;
};

/// Writes numbers into a file image, low byte first.
class Image {
public:
  explicit Image(std::size_t size) : m_bytes(size, '\0') {}
  void Put(std::size_t at, std::uint32_t value, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      m_bytes[at + i] = static_cast<char>(static_cast<unsigned char>(value >> (8 * i)));
    }
  }
  void Word(std::size_t at, std::uint32_t value) { Put(at, value, 2); }
  void Dword(std::size_t at, std::uint32_t value) { Put(at, value, 4); }
  void Text(std::size_t at, std::string_view text) {
    std::copy(text.begin(), text.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(at));
  }
  void Wide(std::size_t at, std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
      Word(at + 2 * i, static_cast<unsigned char>(text[i]));
    }
  }
  CString Take() { return std::move(m_bytes); }

private:
  CString m_bytes;
};

constexpr std::uint32_t kHeaderSize = 0x200;
constexpr std::uint32_t kSectionAddress = 0x1000;
constexpr std::uint32_t kSectionSize = 0x200;
constexpr std::uint32_t kBlockAt = 0x58; // behind three folders of one entry each and the leaf

void WriteHeaders(Image& image) {
  image.Text(0, "MZ");
  image.Dword(60, 0x40);
  image.Text(0x40, "PE");
  image.Word(0x44, 0x14C); // 32 bits
  image.Word(0x46, 1);     // sections
  image.Word(0x54, 0xE0);  // size of what follows
  image.Word(0x56, 0x102); // executable
  const std::size_t optional = 0x58;
  image.Word(optional, 0x10B);
  image.Dword(optional + 28, 0x400000);
  image.Dword(optional + 32, 0x1000); // alignment in memory and in the file
  image.Dword(optional + 36, 0x200);
  image.Word(optional + 40, 4);
  image.Word(optional + 48, 4);
  image.Dword(optional + 56, kSectionAddress + 0x1000);
  image.Dword(optional + 60, kHeaderSize);
  image.Word(optional + 68, 2);
  image.Dword(optional + 92, 16);
  image.Dword(optional + 96 + 16, kSectionAddress);
  image.Dword(optional + 96 + 20, kSectionSize);
  const std::size_t section = optional + 0xE0;
  image.Text(section, ".rsrc");
  image.Dword(section + 8, kSectionSize);
  image.Dword(section + 12, kSectionAddress);
  image.Dword(section + 16, kSectionSize);
  image.Dword(section + 20, kHeaderSize);
  image.Dword(section + 36, 0x40000040);
}

void WriteVersionBlock(Image& image, const CKestVersionNumber& version) {
  const std::size_t at = kHeaderSize + kBlockAt;
  constexpr std::uint32_t kBlockSize = 0x28 + 52;
  image.Word(at, kBlockSize);
  image.Word(at + 2, 52);
  image.Wide(at + 6, "VS_VERSION_INFO");
  const std::size_t fixed = at + 0x28;
  image.Dword(fixed, kFixedInfoSignature);
  image.Dword(fixed + 4, 0x10000);
  for (const std::size_t number : {fixed + 8, fixed + 16}) { // of the file, of the product
    image.Word(number, version.GetMinor());
    image.Word(number + 2, version.GetMajor());
    image.Word(number + 6, version.GetBuild());
  }
  image.Dword(fixed + 24, 0x3F);
  image.Dword(fixed + 32, 0x40004);
  image.Dword(fixed + 36, 1);
}

} // namespace

bool ReadFileVersion(const ReadBytesAt& read, std::uint64_t size, CKestVersionNumber& version) {
  Executable executable(read, size);
  return executable.ReadHeaders() && (executable.FindByFolders(version) || executable.FindBySignature(version));
}

bool ReadFileVersion(std::string_view bytes, CKestVersionNumber& version) {
  const ReadBytesAt read = [bytes](std::uint64_t offset, char* buffer, std::size_t count) {
    std::memcpy(buffer, bytes.data() + offset, count);
    return true;
  };
  return ReadFileVersion(read, bytes.size(), version);
}

CString MakeVersionedExecutable(const CKestVersionNumber& version) {
  Image image(kHeaderSize + kSectionSize);
  WriteHeaders(image);
  struct Level {
    std::uint32_t id;
    std::uint32_t leadsTo;
  };
  const std::array levels = {Level{kVersionResource, 0x80000018}, Level{1, 0x80000030}, Level{0x409, 0x48}};
  for (std::size_t i = 0; i < levels.size(); ++i) {
    const std::size_t at = kHeaderSize + i * 24;
    image.Word(at + 14, 1);
    image.Dword(at + 16, levels[i].id);
    image.Dword(at + 20, levels[i].leadsTo);
  }
  image.Dword(kHeaderSize + 0x48, kSectionAddress + kBlockAt);
  image.Dword(kHeaderSize + 0x4C, 0x28 + 52);
  WriteVersionBlock(image, version);
  return image.Take();
}

} // namespace kest
