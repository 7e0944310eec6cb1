#include "menus/field_pack.h"

#include <cstring>
#include <vector>

namespace kest {
namespace {

// block: its size; then, for each field, its number, the length of its value, the value
constexpr std::size_t kHead = sizeof(std::uint32_t);
constexpr std::size_t kFieldHead = 1 + sizeof(std::uint32_t);

std::uint32_t ReadNumber(const char* at) {
  std::uint32_t number = 0;
  std::memcpy(&number, at, sizeof number);
  return number;
}

void WriteNumber(std::size_t value, char* at) {
  const auto number = static_cast<std::uint32_t>(value);
  std::memcpy(at, &number, sizeof number);
}

} // namespace

FieldPack::FieldPack(const FieldPack& other) { *this = other; }

FieldPack& FieldPack::operator=(const FieldPack& other) {
  if (this == &other) {
    return *this;
  }
  m_block.reset();
  if (other.m_block) {
    const std::size_t size = ReadNumber(other.m_block.get());
    m_block = std::make_unique_for_overwrite<char[]>(size);
    std::memcpy(m_block.get(), other.m_block.get(), size);
  }
  return *this;
}

std::string_view FieldPack::Get(std::uint8_t field) const {
  if (!m_block) {
    return {};
  }
  const char* at = m_block.get() + kHead;
  const char* end = m_block.get() + ReadNumber(m_block.get());
  while (at != end) {
    const std::size_t length = ReadNumber(at + 1);
    if (static_cast<std::uint8_t>(*at) == field) {
      return {at + kFieldHead, length};
    }
    at += kFieldHead + length;
  }
  return {};
}

void FieldPack::Set(std::uint8_t field, std::string_view value) {
  std::vector<Entry> entries;
  if (m_block) {
    const char* at = m_block.get() + kHead;
    const char* end = m_block.get() + ReadNumber(m_block.get());
    while (at != end) {
      const std::size_t length = ReadNumber(at + 1);
      entries.push_back({static_cast<std::uint8_t>(*at), {at + kFieldHead, length}});
      at += kFieldHead + length;
    }
  }
  entries.push_back({field, value});
  Assign(entries);
}

void FieldPack::Assign(std::span<const Entry> entries) {
  // the last entry of a field counts, and it only when it is not empty
  const auto counts = [&](std::size_t i) {
    if (entries[i].value.empty()) {
      return false;
    }
    for (std::size_t j = i + 1; j < entries.size(); ++j) {
      if (entries[j].field == entries[i].field) {
        return false;
      }
    }
    return true;
  };
  std::size_t size = kHead;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    size += counts(i) ? kFieldHead + entries[i].value.size() : 0;
  }
  if (size == kHead) {
    m_block.reset();
    return;
  }
  // the entries may point into the block that is replaced
  auto block = std::make_unique_for_overwrite<char[]>(size);
  WriteNumber(size, block.get());
  char* at = block.get() + kHead;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (!counts(i)) {
      continue;
    }
    *at = static_cast<char>(entries[i].field);
    WriteNumber(entries[i].value.size(), at + 1);
    std::memcpy(at + kFieldHead, entries[i].value.data(), entries[i].value.size());
    at += kFieldHead + entries[i].value.size();
  }
  m_block = std::move(block);
}

} // namespace kest
