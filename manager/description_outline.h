#pragma once

#include "platform/text/text.h"

#include <deque>
#include <memory_resource>
#include <span>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace kest {

/// Name in small letters, value decoded.
using OutlineAttribute = std::pair<std::string_view, std::string_view>;

/// One element of a description as it is written, whatever it means to the reader. Its texts are the outline's.
struct OutlineElement {
  std::string_view name; ///< in small letters
  int line = 0;
  int parent = -1; ///< index; -1: the root
  int firstChild = -1;
  int nextSibling = -1;
  bool hasText = false;
  std::span<const OutlineAttribute> attributes{};

  /// The attribute's value without blanks around it; empty when it is not there.
  [[nodiscard]] CString Get(std::string_view attribute) const;
  [[nodiscard]] bool Has(std::string_view attribute) const;
};

/// The elements of a description in the order of their start tags.
class DescriptionOutline {
public:
  /// Of what loads as a description.
  explicit DescriptionOutline(std::string_view description);
  DescriptionOutline(const DescriptionOutline&) = delete;
  DescriptionOutline& operator=(const DescriptionOutline&) = delete;
  [[nodiscard]] const std::deque<OutlineElement>& GetElements() const { return m_elements; }
  [[nodiscard]] const OutlineElement& At(int index) const { return m_elements[static_cast<std::size_t>(index)]; }
  /// Name of the parent; empty for the root.
  [[nodiscard]] std::string_view ParentName(const OutlineElement& element) const;
  /// The nearest element around this one for which `fits` holds; null when there is none.
  template <class Fits> [[nodiscard]] const OutlineElement* Around(const OutlineElement& element, Fits fits) const {
    for (int at = element.parent; at >= 0; at = At(at).parent) {
      if (fits(At(at))) {
        return &At(at);
      }
    }
    return nullptr;
  }

private:
  class Reader;

  std::deque<OutlineElement> m_elements;
  std::unordered_set<CString> m_names;              ///< of elements and attributes
  std::pmr::monotonic_buffer_resource m_attributes; ///< and their values
};

} // namespace kest
