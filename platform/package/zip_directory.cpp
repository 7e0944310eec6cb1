#include "platform/package/zip_directory.h"

#include "platform/package/package_names.h"
#include "platform/package/zip_format.h"
#include "platform/text/utf8.h"

#include <algorithm>

namespace kest {

namespace {

constexpr std::size_t kLocalHeaderSize = 30;
constexpr std::size_t kCentralHeaderSize = 46;
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kLocator64Size = 20;
constexpr std::size_t kMostComment = 0xFFFF;
constexpr std::uint16_t kUnicodePathField = 0x7075;
// A directory is read into memory, so it has bounds of its own. A path on a PC has less than 260 characters, and tools
// add well under 100 bytes of fields; a few entries may have more.
constexpr std::uint64_t kMostDirectory = 24ull << 20;
constexpr std::uint64_t kMostPerEntry = 384;
constexpr std::uint64_t kDirectoryAllowance = 256ull << 10;
// No deflated stream grows by more.
constexpr std::uint64_t kMostInflation = 1032;
constexpr std::uint16_t kRefusedFlags = 0x0001 | 0x0020 | 0x0040 | 0x2000; // encrypted, patches, strong, masked

std::uint16_t U16(std::string_view bytes, std::size_t at) {
  return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[at]) | static_cast<unsigned char>(bytes[at + 1])
                                                                                << 8);
}

std::uint32_t U32(std::string_view bytes, std::size_t at) {
  return static_cast<std::uint32_t>(U16(bytes, at)) | static_cast<std::uint32_t>(U16(bytes, at + 2)) << 16;
}

std::uint64_t U64(std::string_view bytes, std::size_t at) {
  return U32(bytes, at) | static_cast<std::uint64_t>(U32(bytes, at + 4)) << 32;
}

struct Place {
  std::uint64_t count = 0;
  std::uint64_t offset = 0;
  std::uint64_t size = 0;
  std::uint64_t end = 0; // what follows the directory
};

bool ReadExactly(MachineFile& file, std::uint64_t offset, std::size_t count, CString& bytes) {
  bytes.resize(count);
  std::size_t filled = 0;
  while (filled < count) {
    const std::int64_t got = file.ReadAt(offset + filled, bytes.data() + filled, count - filled);
    if (got <= 0) {
      return false;
    }
    filled += static_cast<std::size_t>(got);
  }
  return true;
}

// The end record is the last one whose comment ends the file.
std::size_t FindEnd(std::string_view tail) {
  for (std::size_t at = tail.size() - kEndSize + 1; at-- > 0;) {
    if (tail[at] == 'P' && U32(tail, at) == kZipEndSignature && at + kEndSize + U16(tail, at + 20) == tail.size()) {
      return at;
    }
  }
  return std::string_view::npos;
}

// More than 65,535 entries need the larger end record; its numbers take the place of the small one's.
bool ReadEnd64(MachineFile& file, std::uint64_t endAt, Place& place) {
  CString locator;
  if (endAt < kLocator64Size + kZipEnd64Size || !ReadExactly(file, endAt - kLocator64Size, kLocator64Size, locator) ||
      U32(locator, 0) != kZipLocator64Signature || U32(locator, 4) != 0 ||
      U64(locator, 8) != endAt - kLocator64Size - kZipEnd64Size) {
    return false;
  }
  CString record;
  if (!ReadExactly(file, endAt - kLocator64Size - kZipEnd64Size, kZipEnd64Size, record) ||
      U32(record, 0) != kZipEnd64Signature || U64(record, 4) != kZipEnd64Size - 12 || U32(record, 16) != 0 ||
      U32(record, 20) != 0 || U64(record, 24) != U64(record, 32)) {
    return false;
  }
  place = {U64(record, 32), U64(record, 48), U64(record, 40), endAt - kLocator64Size - kZipEnd64Size};
  return true;
}

int FindDirectory(MachineFile& file, Place& place, CString& problem) {
  std::uint64_t size = 0;
  CString tail;
  if (!file.GetSize(size) ||
      !ReadExactly(file, size - std::min<std::uint64_t>(size, kEndSize + kMostComment),
                   static_cast<std::size_t>(std::min<std::uint64_t>(size, kEndSize + kMostComment)), tail)) {
    problem = "the package cannot be read";
    return CKestPackage::kUnreadable;
  }
  const std::size_t found = tail.size() < kEndSize ? std::string_view::npos : FindEnd(tail);
  if (found == std::string_view::npos) {
    CString head;
    if (size >= 2 && ReadExactly(file, 0, 2, head) && head == "PK") {
      problem = "the package is cut off: it has no directory";
      return CKestPackage::kDamaged;
    }
    problem = "the file is no package";
    return CKestPackage::kNotAPackage;
  }
  const std::string_view end = std::string_view(tail).substr(found);
  const std::uint64_t endAt = size - tail.size() + found;
  place = {U16(end, 10), U32(end, 16), U32(end, 12), endAt};
  const bool large = place.count == kZipMany || place.offset == 0xFFFFFFFF || place.size == 0xFFFFFFFF;
  const bool oneDisk = U16(end, 4) == 0 && U16(end, 6) == 0 && U16(end, 8) == U16(end, 10);
  if (!oneDisk || (large && !ReadEnd64(file, endAt, place)) || place.offset > place.end ||
      place.size != place.end - place.offset) {
    problem = "the directory of the package is damaged";
    return CKestPackage::kDamaged;
  }
  return CKestPackage::kGood;
}

std::int64_t DaysFromCivil(std::int64_t year, std::int64_t month, std::int64_t day) {
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = year / 400;
  const std::int64_t yearOfEra = year - era * 400;
  const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

// Another program may take the name from the field and unpack something else than was judged here.
bool IsOtherName(std::string_view field, std::string_view name) {
  constexpr std::size_t kBeforeName = 5; // version, check sum
  if (field.size() < kBeforeName) {
    return true;
  }
  field.remove_prefix(kBeforeName);
  return field != name && field != text::ToUtf8(name);
}

// The block of extra fields of a header; the bytes that some tools fill it up with are zero.
const char* JudgeExtra(std::string_view extra, std::string_view name) {
  constexpr std::size_t kFieldHeader = 4;
  while (extra.size() >= kFieldHeader) {
    const std::size_t length = U16(extra, 2);
    if (length > extra.size() - kFieldHeader) {
      return "has a field that is longer than its block";
    }
    if (U16(extra, 0) == kUnicodePathField && IsOtherName(extra.substr(kFieldHeader, length), name)) {
      return "has a second name that differs";
    }
    extra.remove_prefix(kFieldHeader + length);
  }
  return extra.find_first_not_of('\0') == std::string_view::npos ? nullptr
                                                                 : "has a field that is longer than its block";
}

// Whether there is a byte that stands nowhere in UTF-8; tools that mark a name are not all strict about the rest.
bool HasNoUtf8(std::string_view name) {
  return std::any_of(name.begin(), name.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte == 0xC0 || byte == 0xC1 || byte > 0xF4;
  });
}

// To the second where the archive says so, else the two-second date of the header, taken as UTC.
CKestDateTime ReadDate(std::string_view header, std::string_view extra) {
  for (std::size_t at = 0; at + 4 <= extra.size();) {
    const std::size_t length = U16(extra, at + 2);
    if (U16(extra, at) == kZipTimestampField && length >= 5 && at + 9 <= extra.size() && (extra[at + 4] & 1) != 0) {
      return CKestDateTime(static_cast<std::int32_t>(U32(extra, at + 5)));
    }
    at += 4 + length;
  }
  const std::uint16_t time = U16(header, 12);
  const std::uint16_t date = U16(header, 14);
  const std::int64_t days =
      DaysFromCivil(1980 + (date >> 9), std::clamp(date >> 5 & 15, 1, 12), std::max(date & 31, 1));
  return CKestDateTime(days * 86400 + (time >> 11) * 3600 + (time >> 5 & 63) * 60 + (time & 31) * 2);
}

// A link, a device or the like, told by what made the archive.
bool IsSpecial(std::string_view header, bool isFolder) {
  constexpr std::uint32_t kKindMask = 0170000;
  constexpr std::uint32_t kPlainFile = 0100000;
  constexpr std::uint32_t kFolder = 0040000;
  constexpr std::uint32_t kDosFolder = 0x10;
  constexpr std::uint32_t kDosReparsePoint = 0x400;
  const std::uint32_t attributes = U32(header, 38);
  const std::uint32_t kind = attributes >> 16 & kKindMask;
  const std::uint16_t madeOn = U16(header, 4) >> 8;
  const bool madeOnUnix = madeOn == 3 || madeOn == 19;
  if (madeOnUnix && kind != 0) {
    return kind != (isFolder ? kFolder : kPlainFile);
  }
  return (attributes & kDosReparsePoint) != 0 || (!isFolder && (attributes & kDosFolder) != 0);
}

const char* JudgeEntry(std::string_view header, const ZipEntry& entry, bool isFolder, const PackageLimits& limits) {
  if ((U16(header, 8) & kRefusedFlags) != 0) {
    return "is encrypted";
  }
  if (U16(header, 34) != 0) {
    return "lies in another part of the package";
  }
  if (IsSpecial(header, isFolder)) {
    return "is no plain file";
  }
  if (entry.method != kZipStored && entry.method != kZipDeflated) {
    return "is packed by an unknown method";
  }
  if (entry.size > limits.bytesPerFile) {
    return "is too large";
  }
  const bool sizesAgree = entry.method == kZipStored
                              ? entry.size == entry.packedSize
                              : entry.packedSize >= 2 && entry.size / kMostInflation <= entry.packedSize;
  if (!sizesAgree || (isFolder && entry.size != 0)) {
    return "has sizes that cannot be true";
  }
  return nullptr;
}

// Reads the records one after the other; what a record says is judged as it comes.
class DirectoryReader {
public:
  DirectoryReader(CString bytes, const PackageLimits& limits, std::uint64_t dataEnd)
      : m_bytes(std::move(bytes)), m_limits(limits), m_dataEnd(dataEnd) {}

  bool Read(std::uint64_t count, CString& problem) {
    m_entries.reserve(count);
    std::uint64_t total = 0;
    std::uint64_t inflated = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
      const char* reason = ReadRecord();
      if (reason == nullptr && (total += m_entries.back().size) > m_limits.bytesInAll) {
        reason = "makes the package too large";
      }
      if (reason == nullptr && IsInflated(m_entries.back()) &&
          (inflated += m_entries.back().size) > m_limits.bytesInflated) {
        reason = "unpacks to far more than it holds";
      }
      if (reason != nullptr) {
        problem = m_entries.empty() ? CString(reason) : DescribeEntryProblem(m_entries.back().name, reason);
        return false;
      }
    }
    if (m_at != m_bytes.size()) {
      problem = "the directory of the package holds more than it counts";
      return false;
    }
    CString().swap(m_bytes); // all is taken from it, and what follows needs room too
    return JudgeTogether(problem);
  }

  std::vector<ZipEntry> TakeFiles() {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
      if (!m_isFolder[i]) {
        if (kept != i) {
          m_entries[kept] = std::move(m_entries[i]);
        }
        ++kept;
      }
    }
    m_entries.resize(kept);
    return std::move(m_entries);
  }

private:
  [[nodiscard]] bool IsInflated(const ZipEntry& entry) const {
    return entry.size / m_limits.usualRatio > entry.packedSize;
  }

  const char* ReadRecord() {
    ZipEntry& entry = m_entries.emplace_back();
    const std::string_view header = std::string_view(m_bytes).substr(m_at);
    if (header.size() < kCentralHeaderSize || U32(header, 0) != kZipCentralSignature) {
      return "is damaged in the directory";
    }
    const std::size_t nameLength = U16(header, 28);
    const std::size_t extraLength = U16(header, 30);
    const std::size_t length = kCentralHeaderSize + nameLength + extraLength + U16(header, 32);
    if (header.size() < length) {
      return "is damaged in the directory";
    }
    m_at += length;
    const std::string_view stored = header.substr(kCentralHeaderSize, nameLength);
    TakeName(entry, stored);
    if ((U16(header, 8) & kZipUtf8Flag) != 0 && HasNoUtf8(stored)) {
      return "is no sound UTF-8";
    }
    if (const char* reason = JudgeExtra(header.substr(kCentralHeaderSize + nameLength, extraLength), stored)) {
      return reason;
    }
    entry.method = U16(header, 10);
    entry.crc = U32(header, 16);
    entry.packedSize = U32(header, 20);
    entry.size = U32(header, 24);
    entry.offset = U32(header, 42);
    entry.date = ReadDate(header, header.substr(kCentralHeaderSize + nameLength, extraLength));
    if (const char* reason = JudgePackageName(entry.name)) {
      return reason;
    }
    if (entry.offset > m_dataEnd || entry.packedSize > m_dataEnd - entry.offset) {
      return "lies outside the package";
    }
    return JudgeEntry(header, entry, m_isFolder.back(), m_limits);
  }

  void TakeName(ZipEntry& entry, std::string_view stored) {
    entry.name = stored;
    std::replace(entry.name.begin(), entry.name.end(), '/', '\\'); // "/" is never the second byte of a character
    if (entry.name != stored) {
      entry.storedName = stored;
    }
    const bool isFolder = !entry.name.empty() && text::FindLastBackslash(entry.name) == entry.name.size() - 1;
    if (isFolder) {
      entry.name.pop_back();
    }
    m_isFolder.push_back(isFolder);
  }

  bool JudgeTogether(CString& problem) {
    std::vector<PackageName> names;
    names.reserve(m_entries.size());
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
      names.push_back({m_entries[i].name, m_isFolder[i]});
    }
    CString culprit;
    if (const char* reason = JudgePackageNames(names, m_limits.entries, culprit)) {
      problem = DescribeEntryProblem(culprit, reason);
      return false;
    }
    return JudgePlaces(problem);
  }

  // Entries that share bytes are how a small package unpacks to a huge one.
  bool JudgePlaces(CString& problem) {
    std::vector<ZipEntry*> order;
    order.reserve(m_entries.size());
    for (ZipEntry& entry : m_entries) {
      order.push_back(&entry);
    }
    const auto isBefore = [](const ZipEntry* a, const ZipEntry* b) { return a->offset < b->offset; };
    if (!std::is_sorted(order.begin(), order.end(), isBefore)) {
      std::sort(order.begin(), order.end(), isBefore);
    }
    for (std::size_t i = 0; i < order.size(); ++i) {
      ZipEntry& entry = *order[i];
      entry.end = i + 1 < order.size() ? order[i + 1]->offset : m_dataEnd;
      if (kLocalHeaderSize + entry.name.size() + entry.packedSize > entry.end - entry.offset) {
        problem = DescribeEntryProblem(entry.name, "overlaps another");
        return false;
      }
    }
    return true;
  }

  CString m_bytes;
  const PackageLimits& m_limits;
  std::uint64_t m_dataEnd;
  std::size_t m_at = 0;
  std::vector<ZipEntry> m_entries;
  std::vector<bool> m_isFolder;
};

} // namespace

std::string_view FileWindow::At(std::uint64_t offset, std::size_t atLeast) {
  const std::uint64_t inBuffer = offset - m_offset;
  if (offset < m_offset || inBuffer > m_bytes.size() || m_bytes.size() - inBuffer < atLeast) {
    m_bytes.resize(kSize);
    std::size_t filled = 0;
    while (filled < atLeast) {
      const std::int64_t got = m_file.ReadAt(offset + filled, m_bytes.data() + filled, kSize - filled);
      if (got <= 0) {
        m_bytes.clear();
        return {};
      }
      filled += static_cast<std::size_t>(got);
    }
    m_bytes.resize(filled);
    m_offset = offset;
  }
  return std::string_view(m_bytes).substr(static_cast<std::size_t>(offset - m_offset));
}

CString DescribeEntryProblem(std::string_view name, std::string_view problem) {
  constexpr std::size_t kShown = 200;
  CString shown(name.substr(0, kShown));
  for (char& c : shown) {
    c = static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
  }
  return "the entry \"" + shown + (name.size() > kShown ? "..." : "") + "\" " + CString(problem);
}

int ReadZipDirectory(MachineFile& file, const PackageLimits& limits, std::vector<ZipEntry>& entries, CString& problem) {
  Place place;
  if (const int code = FindDirectory(file, place, problem); code != CKestPackage::kGood) {
    return code;
  }
  if (place.count > limits.entries) {
    problem = "the package has too many entries";
    return CKestPackage::kDamaged;
  }
  if (place.count > place.size / kCentralHeaderSize) {
    problem = "the directory of the package is damaged";
    return CKestPackage::kDamaged;
  }
  if (place.size > std::min(kMostDirectory, kDirectoryAllowance + place.count * kMostPerEntry)) {
    problem = "the directory of the package is too large";
    return CKestPackage::kDamaged;
  }
  CString bytes;
  if (!ReadExactly(file, place.offset, static_cast<std::size_t>(place.size), bytes)) {
    problem = "the package cannot be read";
    return CKestPackage::kUnreadable;
  }
  DirectoryReader reader(std::move(bytes), limits, place.offset);
  if (!reader.Read(place.count, problem)) {
    return CKestPackage::kDamaged;
  }
  entries = reader.TakeFiles();
  return CKestPackage::kGood;
}

bool FindZipData(FileWindow& window, const ZipEntry& entry, std::uint64_t& offset, CString& problem) {
  const CString& stored = entry.storedName.empty() ? entry.name : entry.storedName;
  const std::string_view header = window.At(entry.offset, kLocalHeaderSize + stored.size());
  if (header.empty() || U32(header, 0) != kZipLocalSignature || U16(header, 8) != entry.method ||
      (U16(header, 6) & kRefusedFlags) != 0 || U16(header, 26) != stored.size() ||
      header.substr(kLocalHeaderSize, stored.size()) != stored) {
    problem = DescribeEntryProblem(entry.name, "differs from what the directory says of it");
    return false;
  }
  const std::size_t extraLength = U16(header, 28);
  offset = entry.offset + kLocalHeaderSize + stored.size() + extraLength;
  if (extraLength > 0) {
    const std::string_view whole = window.At(entry.offset, kLocalHeaderSize + stored.size() + extraLength);
    const char* const reason =
        whole.empty() ? "is damaged" : JudgeExtra(whole.substr(kLocalHeaderSize + stored.size(), extraLength), stored);
    if (reason != nullptr) {
      problem = DescribeEntryProblem(entry.name, reason);
      return false;
    }
  }
  if (offset > entry.end || entry.packedSize > entry.end - offset) {
    problem = DescribeEntryProblem(entry.name, "overlaps another");
    return false;
  }
  return true;
}

} // namespace kest
