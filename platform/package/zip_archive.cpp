#include "platform/package/zip_archive.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <zip.h>

namespace kest {

namespace {

constexpr zip_uint16_t kTimestampField = 0x5455;
constexpr zip_uint8_t kTimestampHasModified = 1;
constexpr zip_uint32_t kPlainFileAttributes = 0100644u << 16;
constexpr std::size_t kFlushAbove = 256 * 1024;
constexpr std::size_t kMostUnflushed = 1024 * 1024;

bool IsUtf8(std::string_view value) {
  for (std::size_t at = 0; at < value.size();) {
    const auto lead = static_cast<unsigned char>(value[at]);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || at + length > value.size()) {
      return false;
    }
    for (std::size_t i = 1; i < length; ++i) {
      if ((static_cast<unsigned char>(value[at + i]) & 0xC0) != 0x80) {
        return false;
      }
    }
    const unsigned char second = length > 2 ? static_cast<unsigned char>(value[at + 1]) : 0;
    const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    const bool outside = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
    if (overlong || outside) {
      return false;
    }
    at += length;
  }
  return true;
}

// In the archive every separator is a forward slash; a second byte that looks like a backslash stays.
CString StoredName(CString name) {
  for (std::size_t at = text::FindBackslash(name); at != CString::npos; at = text::FindBackslash(name, at + 1)) {
    name[at] = '/';
  }
  return name;
}

struct DosDate {
  zip_uint16_t time = 0;
  zip_uint16_t date = (1 << 5) | 1; // 1980-01-01, the first there is
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
  return {static_cast<zip_uint16_t>(inDay / 3600 << 11 | inDay / 60 % 60 << 5 | inDay % 60 / 2),
          static_cast<zip_uint16_t>((year - 1980) << 9 | month << 5 | day)};
}

// Takes what libzip writes. It goes back to write an entry's header again when the entry's bytes are out, so what was
// written last is kept in memory, where that costs nothing.
class ArchiveOutput {
public:
  explicit ArchiveOutput(MachineFile& file) : m_file(file) {}

  bool Write(std::string_view bytes) {
    if (m_at < m_flushed) {
      const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), m_flushed - m_at));
      if (!m_file.WriteAt(m_at, bytes.data(), count)) {
        return false;
      }
      m_at += count;
      bytes.remove_prefix(count);
    }
    if (bytes.empty()) {
      return true;
    }
    const auto at = static_cast<std::size_t>(m_at - m_flushed);
    m_tail.replace(at, std::min(bytes.size(), m_tail.size() - at), bytes);
    m_at += bytes.size();
    return m_tail.size() < kMostUnflushed || Flush();
  }

  bool Seek(std::uint64_t at) {
    if (at > GetEnd()) {
      return false;
    }
    m_at = at;
    return at < GetEnd() || m_tail.size() < kFlushAbove || Flush();
  }

  bool Flush() {
    if (!m_tail.empty() && !m_file.Write(m_tail.data(), m_tail.size())) {
      return false;
    }
    m_flushed += m_tail.size();
    m_tail.clear();
    return true;
  }

  [[nodiscard]] std::uint64_t GetAt() const { return m_at; }
  [[nodiscard]] std::uint64_t GetEnd() const { return m_flushed + m_tail.size(); }

private:
  MachineFile& m_file;
  CString m_tail;
  std::uint64_t m_flushed = 0;
  std::uint64_t m_at = 0;
};

struct EntrySource {
  const ZipEntry* entry;
  PackedBytes* bytes;
  std::uint64_t given = 0;
};

constexpr zip_int64_t kFailed = -1;

// libzip asks for the reason of a failure; ours is told elsewhere.
zip_int64_t GiveError(void* data) {
  auto* codes = static_cast<int*>(data);
  codes[0] = ZIP_ER_INTERNAL;
  codes[1] = 0;
  return 2 * sizeof(int);
}

zip_int64_t GiveStat(const EntrySource& source, void* data) {
  zip_stat_t stat;
  zip_stat_init(&stat);
  stat.valid = ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE | ZIP_STAT_CRC | ZIP_STAT_COMP_METHOD | ZIP_STAT_ENCRYPTION_METHOD;
  stat.size = source.entry->size;
  stat.comp_size = source.entry->packedSize;
  stat.crc = source.entry->crc;
  stat.comp_method = source.entry->method;
  stat.encryption_method = ZIP_EM_NONE;
  std::memcpy(data, &stat, sizeof stat);
  return sizeof stat;
}

zip_int64_t GiveBytes(EntrySource& source, void* data, zip_uint64_t length) {
  const std::uint64_t left = source.entry->packedSize - source.given;
  if (left == 0 || length == 0) {
    return 0;
  }
  const std::string_view bytes = source.bytes->At(source.entry->offset + source.given);
  const auto count = static_cast<std::size_t>(std::min({left, length, static_cast<std::uint64_t>(bytes.size())}));
  std::memcpy(data, bytes.data(), count);
  source.given += count;
  return count == 0 ? kFailed : static_cast<zip_int64_t>(count);
}

zip_int64_t OnEntry(void* user, void* data, zip_uint64_t length, zip_source_cmd_t command) {
  auto& source = *static_cast<EntrySource*>(user);
  switch (command) {
  case ZIP_SOURCE_OPEN:
    source.given = 0;
    return 0;
  case ZIP_SOURCE_READ:
    return GiveBytes(source, data, length);
  case ZIP_SOURCE_STAT:
    return GiveStat(source, data);
  case ZIP_SOURCE_ERROR:
    return GiveError(data);
  case ZIP_SOURCE_SUPPORTS:
    return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                          ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, -1);
  default:
    return 0;
  }
}

zip_int64_t SeekOutput(ArchiveOutput& output, const void* data) {
  zip_source_args_seek_t to;
  std::memcpy(&to, data, sizeof to);
  const std::uint64_t from = to.whence == SEEK_SET ? 0 : to.whence == SEEK_CUR ? output.GetAt() : output.GetEnd();
  return output.Seek(from + static_cast<std::uint64_t>(to.offset)) ? 0 : kFailed;
}

zip_int64_t OnOutput(void* user, void* data, zip_uint64_t length, zip_source_cmd_t command) {
  auto& output = *static_cast<ArchiveOutput*>(user);
  switch (command) {
  case ZIP_SOURCE_WRITE:
    return output.Write({static_cast<const char*>(data), static_cast<std::size_t>(length)})
               ? static_cast<zip_int64_t>(length)
               : kFailed;
  case ZIP_SOURCE_SEEK_WRITE:
    return SeekOutput(output, data);
  case ZIP_SOURCE_TELL_WRITE:
    return static_cast<zip_int64_t>(output.GetAt());
  case ZIP_SOURCE_COMMIT_WRITE:
    return output.Flush() ? 0 : kFailed;
  case ZIP_SOURCE_STAT: {
    zip_stat_t stat;
    zip_stat_init(&stat);
    stat.valid = ZIP_STAT_SIZE;
    stat.size = 0;
    std::memcpy(data, &stat, sizeof stat);
    return sizeof stat;
  }
  case ZIP_SOURCE_ERROR:
    return GiveError(data);
  case ZIP_SOURCE_SUPPORTS:
    return zip_source_make_command_bitmap(
        ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT, ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE,
        ZIP_SOURCE_SEEK, ZIP_SOURCE_TELL, ZIP_SOURCE_BEGIN_WRITE, ZIP_SOURCE_COMMIT_WRITE, ZIP_SOURCE_ROLLBACK_WRITE,
        ZIP_SOURCE_SEEK_WRITE, ZIP_SOURCE_TELL_WRITE, ZIP_SOURCE_REMOVE, ZIP_SOURCE_WRITE, -1);
  default:
    return 0;
  }
}

bool AddEntry(zip_t* archive, EntrySource& source) {
  const ZipEntry& entry = *source.entry;
  const CString name = StoredName(entry.name);
  zip_source_t* zipSource = zip_source_function(archive, OnEntry, &source);
  if (zipSource == nullptr) {
    return false;
  }
  zip_int64_t added =
      zip_file_add(archive, name.c_str(), zipSource, IsUtf8(name) ? ZIP_FL_ENC_UTF_8 : ZIP_FL_ENC_CP437);
  if (added < 0) {
    // libzip takes some broken UTF-8 for whole and then admits no other mark
    added = zip_file_add(archive, name.c_str(), zipSource, ZIP_FL_ENC_GUESS);
  }
  if (added < 0) {
    zip_source_free(zipSource);
    return false;
  }
  const auto index = static_cast<zip_uint64_t>(added);
  const DosDate dos = ToDosDate(entry.date);
  const std::int64_t seconds = entry.date.GetSeconds();
  if (seconds >= std::numeric_limits<std::int32_t>::min() && seconds <= std::numeric_limits<std::int32_t>::max()) {
    const auto low = static_cast<std::uint32_t>(seconds);
    const zip_uint8_t field[] = {kTimestampHasModified, static_cast<zip_uint8_t>(low),
                                 static_cast<zip_uint8_t>(low >> 8), static_cast<zip_uint8_t>(low >> 16),
                                 static_cast<zip_uint8_t>(low >> 24)};
    if (zip_file_extra_field_set(archive, index, kTimestampField, ZIP_EXTRA_FIELD_NEW, field, sizeof field,
                                 ZIP_FL_LOCAL | ZIP_FL_CENTRAL) != 0) {
      return false;
    }
  }
  return (entry.method == kZipDeflated || zip_set_file_compression(archive, index, ZIP_CM_STORE, 0) == 0) &&
         zip_file_set_dostime(archive, index, dos.time, dos.date, 0) == 0 &&
         zip_file_set_external_attributes(archive, index, 0, ZIP_OPSYS_UNIX, kPlainFileAttributes) == 0;
}

CString ZipProblem(const zip_error_t& error) {
  zip_error_t copy = error;
  return CString("the package cannot be put together: ") + zip_error_strerror(&copy);
}

} // namespace

bool WriteZipArchive(MachineFile& file, const std::vector<ZipEntry>& entries, PackedBytes& bytes, CString& problem) {
  ArchiveOutput output(file);
  zip_error_t error;
  zip_error_init(&error);
  zip_source_t* zipOutput = zip_source_function_create(OnOutput, &output, &error);
  zip_t* archive = zipOutput != nullptr ? zip_open_from_source(zipOutput, ZIP_TRUNCATE, &error) : nullptr;
  if (archive == nullptr) {
    problem = ZipProblem(error);
    zip_source_free(zipOutput);
    zip_error_fini(&error);
    return false;
  }
  zip_error_fini(&error);
  std::vector<EntrySource> sources;
  sources.reserve(entries.size());
  for (const ZipEntry& entry : entries) {
    if (!AddEntry(archive, sources.emplace_back(EntrySource{&entry, &bytes}))) {
      problem = DescribeEntryProblem(entry.name, "cannot be put into the package");
      zip_discard(archive);
      return false;
    }
  }
  if (zip_close(archive) != 0) {
    problem = CString("the package cannot be put together: ") + zip_strerror(archive);
    zip_discard(archive);
    return false;
  }
  return true;
}

} // namespace kest
