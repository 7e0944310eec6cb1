#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"

#include <string_view>
#include <vector>

namespace kest {

class CKestExtension;
class CKestProduct;

/// Something on a machine that an extension meets there, or a part of its description that has no effect there.
struct Clash {
  const char* rule = "";  ///< "key-taken"; the same from version to version, never freed
  bool isLeftOut = false; ///< nothing is met: this part of the description has no effect
  bool isFatal = false;   ///< an install fails by it
  int line = 0;           ///< of the description, 1-based; 0 when that is not known
  CString element;        ///< of the description: "menuitem"
  CString name;           ///< what clashes: an id, keys, a path
  CString file;           ///< path of the file that it meets it in; empty when in none
  CString meets;          ///< what it meets, as a person knows it; empty when nothing
  CString owner;          ///< name of the extension whose that is; empty: the product's own, or nobody can tell
  CString instead;        ///< where it goes instead, with its preposition; empty when that is no question
  CString text;           ///< all of it in one sentence without its full stop
};

/// What is asked about. All borrowed.
struct ClashQuestion {
  const CKestProduct* product = nullptr;     ///< one that was found
  const CKestExtension* extension = nullptr; ///< what is to be installed there, as it loads
  std::string_view description;              ///< its bytes, which tell the lines; empty: no lines
  std::string_view fileName;                 ///< that the description would get; empty when not known
};

} // namespace kest
