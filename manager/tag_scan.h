#pragma once

#include "platform/text/text.h"

#include <string_view>

namespace kest {

/// Goes through the start tags of a text that need not be well-formed, as products' own files are: a tag lasts until
/// the next one begins, so that neither a quotation mark too many nor a ">" in a value hides what follows.
class TagScan {
public:
  explicit TagScan(std::string_view content) : m_rest(content) {}
  /// To the next start or end tag; false at the end.
  [[nodiscard]] bool Next();
  [[nodiscard]] std::string_view GetName() const { return m_name; } ///< as written; "/menu" of an end tag
  [[nodiscard]] bool IsClosed() const { return m_isClosed; }        ///< ends with "/>"
  /// The first value of the attribute, blanks at its ends aside; empty when there is none.
  [[nodiscard]] std::string_view Get(std::string_view attribute) const;

private:
  std::string_view m_rest;
  std::string_view m_name;
  std::string_view m_tag; ///< behind the name
  bool m_isClosed = false;
};

} // namespace kest
