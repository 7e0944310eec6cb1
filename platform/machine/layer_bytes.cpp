#include "platform/machine/layer_bytes.h"

#include <algorithm>

namespace kest {
namespace {

constexpr std::size_t kBlock = 256 * 1024; // small writes are not worth a call each

} // namespace

LayerStore::LayerStore(std::uint64_t memoryBound, CString folder) : m_bound(memoryBound), m_folder(std::move(folder)) {}

int LayerStore::Put(std::string_view bytes, std::uint64_t& at) {
  if (!m_file.IsOpen()) {
    if (const int failure = m_file.Open(m_folder); failure != 0) {
      return failure;
    }
  }
  const int code = m_file.WriteAt(m_end, bytes);
  at = m_end;
  m_end += code == 0 ? bytes.size() : 0;
  return code;
}

LayerBytes::~LayerBytes() {
  m_store->m_held -= m_size;
  m_store->m_inMemory -= m_tail.size();
}

int LayerBytes::SpillTail() {
  Extent extent{m_size - m_tail.size(), 0, m_tail.size()};
  const int code = m_store->Put(m_tail, extent.at);
  if (code == 0) {
    m_extents.push_back(extent);
    m_store->m_inMemory -= m_tail.size();
    CString().swap(m_tail);
  }
  return code;
}

// Many bytes at once, past the memory.
int LayerBytes::PutBehind(std::string_view bytes) {
  int code = m_tail.empty() ? 0 : SpillTail();
  Extent extent{m_size, 0, bytes.size()};
  code = code != 0 ? code : m_store->Put(bytes, extent.at);
  if (code == 0) {
    m_extents.push_back(extent);
    m_size += bytes.size();
    m_store->m_held += bytes.size();
  }
  return code;
}

int LayerBytes::Append(std::string_view bytes) {
  if (bytes.size() >= kBlock && m_store->m_inMemory + bytes.size() > m_store->m_bound) {
    return PutBehind(bytes);
  }
  m_tail += bytes;
  m_size += bytes.size();
  m_store->m_held += bytes.size();
  m_store->m_inMemory += bytes.size();
  return m_store->IsMemoryFull() && m_tail.size() >= kBlock ? SpillTail() : 0;
}

int LayerBytes::Seal() { return m_store->IsMemoryFull() && !m_tail.empty() ? SpillTail() : 0; }

int LayerBytes::WriteAt(std::uint64_t offset, std::string_view bytes) {
  if (offset > m_size) {
    if (const int code = Append(CString(offset - m_size, '\0')); code != 0) {
      return code;
    }
  }
  for (const Extent& extent : m_extents) {
    if (!bytes.empty() && offset >= extent.offset && offset < extent.offset + extent.size) {
      const std::size_t count = std::min<std::uint64_t>(bytes.size(), extent.offset + extent.size - offset);
      if (const int code = m_store->m_file.WriteAt(extent.at + (offset - extent.offset), bytes.substr(0, count));
          code != 0) {
        return code;
      }
      bytes.remove_prefix(count);
      offset += count;
    }
  }
  if (bytes.empty()) {
    return 0;
  }
  const std::uint64_t tailAt = m_size - m_tail.size();
  const std::size_t over = std::min<std::uint64_t>(bytes.size(), m_size - offset);
  m_tail.replace(offset - tailAt, over, bytes.substr(0, over));
  return Append(bytes.substr(over));
}

int LayerBytes::ReadAt(std::uint64_t offset, char* buffer, std::size_t& count) const {
  std::size_t left = offset < m_size ? std::min<std::uint64_t>(count, m_size - offset) : 0;
  count = left;
  const auto first = std::partition_point(m_extents.begin(), m_extents.end(),
                                          [&](const Extent& extent) { return extent.offset + extent.size <= offset; });
  for (auto extent = first; extent != m_extents.end() && left > 0; ++extent) {
    const std::size_t part = std::min<std::uint64_t>(left, extent->offset + extent->size - offset);
    if (const int code = m_store->m_file.ReadAt(extent->at + (offset - extent->offset), buffer, part); code != 0) {
      return code;
    }
    buffer += part;
    offset += part;
    left -= part;
  }
  if (left > 0) {
    m_tail.copy(buffer, left, offset - (m_size - m_tail.size()));
  }
  return 0;
}

int LayerBytes::CopyTo(LayerBytes& other) const {
  CString block(kBlock, '\0');
  for (std::uint64_t at = 0; at < m_size;) {
    std::size_t count = block.size();
    int code = ReadAt(at, block.data(), count);
    code = code != 0 ? code : other.Append({block.data(), count});
    if (code != 0) {
      return code;
    }
    at += count;
  }
  return 0;
}

} // namespace kest
