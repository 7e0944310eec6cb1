#include "platform/package/inflater.h"

#include <algorithm>
#include <new>

#include <libdeflate.h>
#include <zlib.h>

namespace kest {

namespace {

constexpr std::size_t kPiece = 128 * 1024;

} // namespace

std::uint32_t ContinueCrc(std::uint32_t crc, std::string_view bytes) {
  return libdeflate_crc32(crc, bytes.data(), bytes.size());
}

struct Inflater::Stream : z_stream {
  Stream() : z_stream{} { ready = inflateInit2(this, -MAX_WBITS) == Z_OK; }
  ~Stream() {
    if (ready) {
      inflateEnd(this);
    }
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  bool ready = false;
};

void Inflater::Free::operator()(void* decompressor) const {
  libdeflate_free_decompressor(static_cast<libdeflate_decompressor*>(decompressor));
}

Inflater::Inflater() = default;
Inflater::~Inflater() = default;

char* Inflater::Output(std::size_t size) {
  if (m_outputSize < size || !m_output) {
    m_output.reset(); // before the next is made: both at a time are not needed
    m_outputSize = std::max(size, kPiece);
    m_output = std::make_unique_for_overwrite<char[]>(m_outputSize);
  }
  return m_output.get();
}

Inflater::Result Inflater::InflateAtOnce(std::string_view packed, std::size_t size, std::string_view& bytes) {
  if (!m_decompressor) {
    m_decompressor.reset(libdeflate_alloc_decompressor());
    if (!m_decompressor) {
      throw std::bad_alloc();
    }
  }
  char* const output = Output(size);
  std::size_t consumed = 0;
  std::size_t produced = 0;
  const libdeflate_result result =
      libdeflate_deflate_decompress_ex(static_cast<libdeflate_decompressor*>(m_decompressor.get()), packed.data(),
                                       packed.size(), output, size, &consumed, &produced);
  bytes = std::string_view(output, produced);
  return result == LIBDEFLATE_SUCCESS && consumed == packed.size() && produced == size ? Result::kGood
                                                                                       : Result::kDamaged;
}

Inflater::Result Inflater::InflateInPieces(std::uint64_t packedSize, std::uint64_t size, const Source& source,
                                           const Sink& sink) {
  if (!m_stream) {
    m_stream = std::make_unique<Stream>();
  }
  Stream& stream = *m_stream;
  if (!stream.ready || inflateReset(&stream) != Z_OK) {
    throw std::bad_alloc();
  }
  char* const output = Output(kPiece);
  std::uint64_t written = 0;
  stream.avail_in = 0;
  for (int status = Z_OK; status != Z_STREAM_END;) {
    if (stream.avail_in == 0 && packedSize > 0) {
      std::string_view bytes = source();
      if (bytes.empty()) {
        return Result::kUnreadable;
      }
      bytes = bytes.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(packedSize, bytes.size())));
      stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data())); // zlib only reads it
      stream.avail_in = static_cast<uInt>(bytes.size());
      packedSize -= bytes.size();
    }
    stream.next_out = reinterpret_cast<Bytef*>(output);
    stream.avail_out = static_cast<uInt>(kPiece);
    status = inflate(&stream, Z_NO_FLUSH);
    const std::size_t produced = kPiece - stream.avail_out;
    if ((status != Z_OK && status != Z_STREAM_END) || produced > size - written) {
      return Result::kDamaged;
    }
    written += produced;
    if (produced > 0 && !sink(std::string_view(output, produced))) {
      return Result::kStopped;
    }
  }
  return written == size && packedSize == 0 && stream.avail_in == 0 ? Result::kGood : Result::kDamaged;
}

} // namespace kest
