#include "platform/package/zip_archive.h"

#include "platform/machine/os.h"
#include "platform/package/zip_format.h"
#include "platform/text/utf8.h"

#include <algorithm>
#include <concepts>
#include <limits>

namespace kest {

namespace {

constexpr std::uint16_t kVersionForDeflated = 20;
constexpr std::uint16_t kVersionForStored = 10;
constexpr std::uint16_t kVersionForMany = 45;
constexpr std::uint16_t kMadeOnUnix = 3 << 8 | 63;
constexpr std::uint8_t kTimestampHasModified = 1;
constexpr std::uint32_t kPlainFileAttributes = 0100644u << 16;
constexpr std::uint32_t kMostBytes = 0xFFFFFFFE;
constexpr std::size_t kFlushAbove = 256 * 1024;

/// Numbers with the low byte first, and text.
class Bytes {
public:
  Bytes& Add(std::string_view text) {
    m_bytes.append(text);
    return *this;
  }
  template <std::unsigned_integral Number> Bytes& Add(Number number) {
    for (std::size_t i = 0; i < sizeof number; ++i) {
      m_bytes += static_cast<char>(static_cast<std::uint64_t>(number) >> (8 * i));
    }
    return *this;
  }
  [[nodiscard]] const CString& Get() const { return m_bytes; }
  [[nodiscard]] std::size_t GetSize() const { return m_bytes.size(); }

private:
  CString m_bytes;
};

// In the archive every separator is a forward slash; a second byte that looks like a backslash stays.
CString StoredName(CString name) {
  for (std::size_t at = text::FindBackslash(name); at != CString::npos; at = text::FindBackslash(name, at + 1)) {
    name[at] = '/';
  }
  return name;
}

bool IsAscii(std::string_view name) {
  return std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

struct DosDate {
  std::uint16_t time = 0;
  std::uint16_t date = (1 << 5) | 1; // 1980-01-01, the first there is
};

DosDate ToDosDate(const CKestDateTime& moment) {
  constexpr std::int64_t kFirst = 315532800; // 1980-01-01
  constexpr std::int64_t kLast = 4354819199; // 2107-12-31
  const std::int64_t seconds = std::clamp(moment.GetSeconds(), kFirst, kLast);
  const std::int64_t shifted = seconds / 86400 + 719468;
  const std::int64_t era = shifted / 146097;
  const std::int64_t dayOfEra = shifted - era * 146097;
  const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t monthIndex = (5 * dayOfYear + 2) / 153;
  const std::int64_t day = dayOfYear - (153 * monthIndex + 2) / 5 + 1;
  const std::int64_t month = monthIndex + (monthIndex < 10 ? 3 : -9);
  const std::int64_t year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
  const std::int64_t inDay = seconds % 86400;
  return {static_cast<std::uint16_t>(inDay / 3600 << 11 | inDay / 60 % 60 << 5 | inDay % 60 / 2),
          static_cast<std::uint16_t>((year - 1980) << 9 | month << 5 | day)};
}

/// What an entry's local header and its line of the directory have in common: from the version needed to the lengths of
/// name and field.
struct EntryHead {
  explicit EntryHead(const ZipEntry& entry) : name(StoredName(entry.name)) {
    const std::int64_t seconds = entry.date.GetSeconds();
    if (seconds >= std::numeric_limits<std::int32_t>::min() && seconds <= std::numeric_limits<std::int32_t>::max()) {
      const Bytes timestamp = Bytes()
                                  .Add(kZipTimestampField)
                                  .Add(std::uint16_t{5})
                                  .Add(kTimestampHasModified)
                                  .Add(static_cast<std::uint32_t>(seconds));
      field = timestamp.Get();
    }
    const DosDate dos = ToDosDate(entry.date);
    common.Add(entry.method == kZipStored ? kVersionForStored : kVersionForDeflated)
        .Add(!IsAscii(name) && text::IsUtf8(name) ? kZipUtf8Flag : std::uint16_t{0})
        .Add(entry.method)
        .Add(dos.time)
        .Add(dos.date)
        .Add(entry.crc)
        .Add(static_cast<std::uint32_t>(entry.packedSize))
        .Add(static_cast<std::uint32_t>(entry.size))
        .Add(static_cast<std::uint16_t>(name.size()))
        .Add(static_cast<std::uint16_t>(field.size()));
  }

  CString name;
  CString field;
  Bytes common;
};

/// Writes from front to back, a lot at a time.
class ArchiveOutput {
public:
  explicit ArchiveOutput(MachineFile& file) : m_file(file) {}

  bool Write(std::string_view bytes) {
    m_size += bytes.size();
    m_tail.append(bytes);
    return m_tail.size() < kFlushAbove || Flush();
  }
  bool Flush() {
    const bool written = m_tail.empty() || m_file.Write(m_tail.data(), m_tail.size());
    m_tail.clear();
    return written;
  }
  [[nodiscard]] std::uint64_t GetSize() const { return m_size; }

private:
  MachineFile& m_file;
  CString m_tail;
  std::uint64_t m_size = 0;
};

bool WriteEntry(ArchiveOutput& output, const ZipEntry& entry, const EntryHead& head, PackedBytes& bytes) {
  if (!output.Write(Bytes().Add(kZipLocalSignature).Add(head.common.Get()).Add(head.name).Add(head.field).Get())) {
    return false;
  }
  for (std::uint64_t given = 0; given < entry.packedSize;) {
    std::string_view part = bytes.At(entry.offset + given);
    part = part.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(part.size(), entry.packedSize - given)));
    if (part.empty() || !output.Write(part)) {
      return false;
    }
    given += part.size();
  }
  return true;
}

void AddToDirectory(Bytes& directory, const EntryHead& head, std::uint64_t offset) {
  constexpr std::uint16_t kNone = 0;
  directory.Add(kZipCentralSignature)
      .Add(kMadeOnUnix)
      .Add(head.common.Get())
      .Add(kNone) // length of a comment
      .Add(kNone) // disk
      .Add(kNone) // attributes in the file system that it was made on
      .Add(kPlainFileAttributes)
      .Add(static_cast<std::uint32_t>(offset))
      .Add(head.name)
      .Add(head.field);
}

CString EndOf(std::uint64_t count, std::uint64_t size, std::uint64_t offset) {
  constexpr std::uint16_t kThisDisk = 0;
  Bytes end;
  if (count >= kZipMany) {
    end.Add(kZipEnd64Signature)
        .Add(static_cast<std::uint64_t>(kZipEnd64Size - 12))
        .Add(kMadeOnUnix)
        .Add(kVersionForMany)
        .Add(std::uint32_t{kThisDisk})
        .Add(std::uint32_t{kThisDisk})
        .Add(count)
        .Add(count)
        .Add(size)
        .Add(offset);
    end.Add(kZipLocator64Signature).Add(std::uint32_t{kThisDisk}).Add(offset + size).Add(std::uint32_t{1});
  }
  const auto few = static_cast<std::uint16_t>(std::min<std::uint64_t>(count, kZipMany));
  end.Add(kZipEndSignature)
      .Add(kThisDisk)
      .Add(kThisDisk)
      .Add(few)
      .Add(few)
      .Add(static_cast<std::uint32_t>(size))
      .Add(static_cast<std::uint32_t>(offset))
      .Add(std::uint16_t{0}); // length of a comment
  return end.Get();
}

CString WithReason(CString problem) {
  const MachineError error = CKestOS::GetMachine().GetLastError();
  return error.reason.empty() ? problem : std::move(problem) + ": " + error.reason;
}

} // namespace

bool WriteZipArchive(MachineFile& file, const std::vector<ZipEntry>& entries, PackedBytes& bytes, CString& problem) {
  ArchiveOutput output(file);
  Bytes directory;
  for (const ZipEntry& entry : entries) {
    const EntryHead head(entry);
    const std::uint64_t offset = output.GetSize();
    if (offset + entry.packedSize + directory.GetSize() > kMostBytes || entry.size > kMostBytes) {
      problem = DescribeEntryProblem(entry.name, "makes the package larger than 4 GiB");
      return false;
    }
    if (!WriteEntry(output, entry, head, bytes)) {
      problem = WithReason(DescribeEntryProblem(entry.name, "cannot be put into the package"));
      return false;
    }
    AddToDirectory(directory, head, offset);
  }
  const std::uint64_t offset = output.GetSize();
  if (!output.Write(directory.Get()) || !output.Write(EndOf(entries.size(), directory.GetSize(), offset)) ||
      !output.Flush()) {
    problem = WithReason("the package cannot be put together");
    return false;
  }
  return true;
}

} // namespace kest
