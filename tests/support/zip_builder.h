#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <zlib.h>

namespace kest::test {

/// One entry of an archive made byte by byte. What is set beside name and content is written as it is, true or not.
struct ZipItem {
  std::string name = {};
  std::string content = {};
  bool deflated = false;
  std::optional<std::string> packed = {}; ///< packed bytes instead of those made of the content
  std::optional<std::string> localName = {};
  std::optional<std::uint32_t> crc = {};
  std::optional<std::uint32_t> size = {};
  std::optional<std::uint32_t> packedSize = {};
  std::optional<std::uint32_t> offset = {};
  std::uint16_t flags = 0;
  std::optional<std::uint16_t> method = {};
  std::uint16_t madeBy = 0x0314; ///< high byte 3: Unix
  std::uint32_t attributes = 0100644u << 16;
  std::uint16_t dosTime = 0x3904;
  std::uint16_t dosDate = 0x30A6;
  std::string extra = {}; ///< of both headers
};

/// What the end record says instead of the truth.
struct ZipEnd {
  std::optional<std::uint16_t> count = {};
  std::optional<std::uint32_t> size = {};
  std::optional<std::uint32_t> offset = {};
  bool large = false; ///< with the end record of more than 65,535 entries
  std::optional<std::uint64_t> largeCount = {};
  std::string comment = {};
};

inline void PutLittle(std::string& out, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) {
    out.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
  }
}

/// The extra field that holds a modification time to the second.
inline std::string TimestampField(std::int32_t seconds) {
  std::string field = "UT";
  PutLittle(field, 5, 2);
  field.push_back('\x01');
  PutLittle(field, static_cast<std::uint32_t>(seconds), 4);
  return field;
}

inline std::string Deflate(std::string_view content) {
  z_stream stream{};
  if (deflateInit2(&stream, 9, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("deflateInit2");
  }
  std::string packed(deflateBound(&stream, static_cast<uLong>(content.size())), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  const int status = deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  if (status != Z_STREAM_END) {
    throw std::runtime_error("deflate");
  }
  return packed;
}

/// An archive of the items, in their order.
inline std::string BuildZip(const std::vector<ZipItem>& items, const ZipEnd& end = {}) {
  std::string out;
  std::string directory;
  for (const ZipItem& item : items) {
    const std::string packed = item.packed ? *item.packed : item.deflated ? Deflate(item.content) : item.content;
    const auto crc = item.crc.value_or(static_cast<std::uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(item.content.data()), static_cast<uInt>(item.content.size()))));
    const std::string& localName = item.localName ? *item.localName : item.name;
    const auto putCommon = [&](std::string& to) {
      PutLittle(to, 20, 2);
      PutLittle(to, item.flags, 2);
      PutLittle(to, item.method.value_or(item.deflated ? 8 : 0), 2);
      PutLittle(to, item.dosTime, 2);
      PutLittle(to, item.dosDate, 2);
      PutLittle(to, crc, 4);
      PutLittle(to, item.packedSize.value_or(static_cast<std::uint32_t>(packed.size())), 4);
      PutLittle(to, item.size.value_or(static_cast<std::uint32_t>(item.content.size())), 4);
    };
    directory += "PK\x01\x02";
    PutLittle(directory, item.madeBy, 2);
    putCommon(directory);
    PutLittle(directory, item.name.size(), 2);
    PutLittle(directory, item.extra.size(), 2);
    PutLittle(directory, 0, 2 + 2 + 2); // comment, disk, internal attributes
    PutLittle(directory, item.attributes, 4);
    PutLittle(directory, item.offset.value_or(static_cast<std::uint32_t>(out.size())), 4);
    directory += item.name + item.extra;
    out += "PK\x03\x04";
    putCommon(out);
    PutLittle(out, localName.size(), 2);
    PutLittle(out, item.extra.size(), 2);
    out += localName + item.extra + packed;
  }
  const std::size_t directoryAt = out.size();
  out += directory;
  if (end.large) {
    const std::size_t recordAt = out.size();
    out += "PK\x06\x06";
    PutLittle(out, 44, 8);
    PutLittle(out, 45 | 45 << 16, 4); // versions
    PutLittle(out, 0, 8);             // disks
    PutLittle(out, end.largeCount.value_or(items.size()), 8);
    PutLittle(out, end.largeCount.value_or(items.size()), 8);
    PutLittle(out, directory.size(), 8);
    PutLittle(out, directoryAt, 8);
    out += "PK\x06\x07";
    PutLittle(out, 0, 4);
    PutLittle(out, recordAt, 8);
    PutLittle(out, 1, 4);
  }
  out += "PK\x05\x06";
  PutLittle(out, 0, 4);
  PutLittle(out, end.count.value_or(static_cast<std::uint16_t>(items.size())), 2);
  PutLittle(out, end.count.value_or(static_cast<std::uint16_t>(items.size())), 2);
  PutLittle(out, end.size.value_or(static_cast<std::uint32_t>(directory.size())), 4);
  PutLittle(out, end.offset.value_or(static_cast<std::uint32_t>(directoryAt)), 4);
  PutLittle(out, end.comment.size(), 2);
  return out + end.comment;
}

} // namespace kest::test
