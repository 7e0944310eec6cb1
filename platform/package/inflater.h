#pragma once

#include "platform/text/text.h"

#include <functional>
#include <memory>

namespace kest {

/// The check sum of ZIP archives, continued from `crc` (0 at the beginning).
[[nodiscard]] std::uint32_t ContinueCrc(std::uint32_t crc, std::string_view bytes);

/// Unpacks deflated bytes. Keeps its buffers and tables from one call to the next, since setting them up costs more
/// than unpacking a small file.
class Inflater {
public:
  Inflater();
  ~Inflater();
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  /// What is unpacked in one go at the most, packed and unpacked: enough for nearly every file, and little beside what
  /// an operation needs anyway.
  static constexpr std::size_t kMostAtOnce = 8u << 20;

  enum class Result {
    kGood,
    kDamaged,    ///< no deflated bytes, or more or less than promised
    kUnreadable, ///< the source has not so many bytes
    kStopped,    ///< the sink would not have them
    kNoMemory,
  };
  using Source = std::function<std::string_view()>; ///< the next packed bytes, empty when they cannot be had
  using Sink = std::function<bool(std::string_view)>;

  /// All of `packed` to exactly `size` bytes (at most kMostAtOnce), which are good until the next call.
  [[nodiscard]] Result InflateAtOnce(std::string_view packed, std::size_t size, std::string_view& bytes);
  /// `packedSize` bytes of the source to exactly `size`, in pieces.
  [[nodiscard]] Result InflateInPieces(std::uint64_t packedSize, std::uint64_t size, const Source& source,
                                       const Sink& sink);

private:
  struct Stream;
  struct Free {
    void operator()(void* decompressor) const;
  };
  char* Output(std::size_t size);

  std::unique_ptr<Stream> m_stream;
  std::unique_ptr<void, Free> m_decompressor;
  std::unique_ptr<char[]> m_output;
  std::size_t m_outputSize = 0;
};

} // namespace kest
