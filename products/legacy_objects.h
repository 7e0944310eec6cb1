#pragma once

#include "platform/xml/xml_object.h"

#include <memory>
#include <unordered_map>
#include <vector>

namespace kest {

class CKestExtensionFile;

/// The object pages and icons of an extension made for an editor that had an objects panel, and the insert-bar buttons
/// that stand for them in version 6.
class ObjectFiles {
public:
  /// Takes note of a file below the objects folder: a page, an icon, or neither.
  void Remember(const CKestExtensionFile& file);
  /// There are pages and icons.
  [[nodiscard]] bool WantButtons() const { return !m_pages.empty() && !m_icons.empty(); }
  /// An insert-bar insert with a category for each folder of pages and a button for each page.
  [[nodiscard]] std::unique_ptr<CKestXmlObject> MakeButtons(const CString& extensionName) const;

private:
  struct Place {
    CString folder; ///< below the objects folder, without backslashes around it
    CString name;
    [[nodiscard]] CString GetPath() const;
  };
  static Place PlaceOf(const CKestExtensionFile& file);

  struct Page {
    CString stem; ///< of the source; the icon of the same stem belongs to it
    Place place;
  };
  std::vector<Page> m_pages;
  std::unordered_map<CString, Place> m_icons; ///< by stem
};

} // namespace kest
