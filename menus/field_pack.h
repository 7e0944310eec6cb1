#pragma once

#include "platform/text/text.h"

#include <cstdint>
#include <memory>
#include <span>

namespace kest {

/// The text fields of one object, in one block of memory that holds only those that are not empty: menu files have
/// hundreds of thousands of objects, each with a few of their many possible attributes.
class FieldPack {
public:
  struct Entry {
    std::uint8_t field;
    std::string_view value;
  };

  FieldPack() = default;
  FieldPack(const FieldPack& other);
  FieldPack& operator=(const FieldPack& other);

  /// Borrowed until the next change; empty for a field that was never set.
  [[nodiscard]] std::string_view Get(std::uint8_t field) const;
  void Set(std::uint8_t field, std::string_view value);
  /// Replaces everything; of two entries of one field the last counts.
  void Assign(std::span<const Entry> entries);

private:
  std::unique_ptr<char[]> m_block;
};

} // namespace kest
