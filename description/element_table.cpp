#include "description/element_table.h"

#include <vector>

namespace kest {

namespace {

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && (a == b || text::EqualNoCase(a, b));
}

// Every start tag of a description is looked up here: open addressing over a hash that letter case does not change.
class ElementIndex {
public:
  ElementIndex() : m_slots(kSlots, nullptr) {
    Add(OwnElements());
    Add(ChangeElements());
  }

  [[nodiscard]] const ElementRow* Find(std::string_view name) const {
    for (std::size_t slot = Hash(name);; slot = (slot + 1) % kSlots) {
      const ElementRow* row = m_slots[slot];
      if (row == nullptr || SameName(row->name, name)) {
        return row;
      }
    }
  }

  [[nodiscard]] const ElementRow* Next(const ElementRow* row) const {
    for (const auto rows : {OwnElements(), ChangeElements()}) {
      if (row >= rows.data() && row + 1 < rows.data() + rows.size() && row[1].name == row->name) {
        return row + 1;
      }
    }
    return nullptr;
  }

private:
  static constexpr std::size_t kSlots = 256; ///< several times the number of names, so that searches end soon

  static std::size_t Hash(std::string_view name) {
    std::uint32_t hash = 2166136261u;
    for (const char c : name) {
      hash = (hash ^ (static_cast<unsigned char>(c) | 0x20u)) * 16777619u;
    }
    return (hash ^ (hash >> 16u)) % kSlots;
  }

  // Rows of one name stand side by side; the first of them is the one that is found.
  void Add(std::span<const ElementRow> rows) {
    for (const ElementRow& row : rows) {
      std::size_t slot = Hash(row.name);
      while (m_slots[slot] != nullptr && !SameName(m_slots[slot]->name, row.name)) {
        slot = (slot + 1) % kSlots;
      }
      if (m_slots[slot] == nullptr) {
        m_slots[slot] = &row;
      }
    }
  }

  std::vector<const ElementRow*> m_slots;
};

const ElementIndex& Index() {
  static const ElementIndex index;
  return index;
}

} // namespace

const ElementRow* FindElement(std::string_view name) { return Index().Find(name); }

const ElementRow* NextElement(const ElementRow* row) { return Index().Next(row); }

const AttributeRow* FindAttributeRow(const ElementRow& row, std::string_view name) {
  for (const AttributeRow& candidate : row.attributes) {
    if (SameName(candidate.name, name)) {
      return &candidate;
    }
  }
  return nullptr;
}

} // namespace kest
