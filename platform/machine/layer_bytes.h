#pragma once

#include "platform/machine/unnamed_host_file.h"
#include "platform/text/text.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace kest {

/// Where the bytes of a layer lie: in memory up to a bound, then in a file without a name in a temporary folder of
/// this system, which goes with the process however that ends.
class LayerStore {
public:
  /// `folder` of this system for the file; empty: where temporary files lie.
  LayerStore(std::uint64_t memoryBound, CString folder);
  LayerStore(const LayerStore&) = delete;
  LayerStore& operator=(const LayerStore&) = delete;

  [[nodiscard]] bool IsMemoryFull() const { return m_inMemory > m_bound; }
  /// Bytes that the layer has now, wherever they lie.
  [[nodiscard]] std::uint64_t GetHeld() const { return m_held; }

private:
  friend class LayerBytes;
  /// 0, or an errno.
  [[nodiscard]] int Put(std::string_view bytes, std::uint64_t& at);

  std::uint64_t m_bound;
  CString m_folder;
  UnnamedHostFile m_file;
  std::uint64_t m_end = 0;
  std::uint64_t m_inMemory = 0;
  std::uint64_t m_held = 0;
};

/// The content of one file.
class LayerBytes {
public:
  explicit LayerBytes(std::shared_ptr<LayerStore> store) : m_store(std::move(store)) {}
  ~LayerBytes();
  LayerBytes(const LayerBytes&) = delete;
  LayerBytes& operator=(const LayerBytes&) = delete;

  [[nodiscard]] std::uint64_t GetSize() const { return m_size; }
  /// Each answers 0 or an errno.
  [[nodiscard]] int Append(std::string_view bytes);
  /// Called when nothing more comes: the memory is given back when others need it.
  [[nodiscard]] int Seal();
  /// Over bytes that are there, and behind them.
  [[nodiscard]] int WriteAt(std::uint64_t offset, std::string_view bytes);
  /// `count` becomes what was read; 0 at the end.
  [[nodiscard]] int ReadAt(std::uint64_t offset, char* buffer, std::size_t& count) const;
  [[nodiscard]] int CopyTo(LayerBytes& other) const;

private:
  struct Extent {
    std::uint64_t offset; ///< in the content
    std::uint64_t at;     ///< in the store's file
    std::uint64_t size;
  };
  [[nodiscard]] int SpillTail();
  [[nodiscard]] int PutBehind(std::string_view bytes);

  std::shared_ptr<LayerStore> m_store;
  std::vector<Extent> m_extents; ///< in the order of the content
  CString m_tail;                ///< behind them, in memory
  std::uint64_t m_size = 0;
};

} // namespace kest
