#pragma once

#include "platform/text/text.h"

#include <vector>

namespace kest {

class CKestExtension;
class CKestProduct;

/// What a host may ask the owner of.
enum class OwnedThing {
  kFile,     ///< a Windows path
  kMenu,     ///< the id of a menu bar, menu, menu item or format
  kKey,      ///< keys of a shortcut, such as Ctrl+Shift+T; Cmd is Ctrl
  kButton,   ///< the id of anything in a toolbar or on the insert bar
  kRegistry, ///< a registry value that waits for the next log-on, by its name or its key and name
  kTag,      ///< the name of a tag library, of a tag in one, or of a tag whose source is formatted
};

/// An extension that put a thing on the machine.
struct Owner {
  const CKestProduct* product = nullptr;     ///< borrowed
  const CKestExtension* extension = nullptr; ///< borrowed until the catalogue changes
  CString element;                           ///< of its description that did it
};

} // namespace kest
