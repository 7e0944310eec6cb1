#pragma once

#include "platform/text/text.h"

#include <string_view>
#include <utility>
#include <vector>

namespace kest {

/// One element of a description as it is written, whatever it means to the reader.
struct OutlineElement {
  CString name; ///< in small letters
  int line = 0;
  int parent = -1; ///< index; -1: the root
  bool hasText = false;
  std::vector<int> children;
  std::vector<std::pair<CString, CString>> attributes; ///< name in small letters, value decoded

  /// The attribute's value without blanks around it; empty when it is not there.
  [[nodiscard]] CString Get(std::string_view attribute) const;
  [[nodiscard]] bool Has(std::string_view attribute) const;
};

/// The elements of a description in the order of their start tags.
class DescriptionOutline {
public:
  /// Of what loads as a description.
  explicit DescriptionOutline(std::string_view description);
  [[nodiscard]] const std::vector<OutlineElement>& GetElements() const { return m_elements; }
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
  std::vector<OutlineElement> m_elements;
};

} // namespace kest
