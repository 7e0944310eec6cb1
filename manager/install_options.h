#pragma once

#include "platform/text/export.h"

namespace kest {

class CKestExtension;
class CKestProduct;

/// How CKestExtensionManager::Install goes about it. As they stand, the members suit a host with a user.
struct InstallOptions {
  const CKestProduct* product = nullptr; ///< the product wanted, borrowed; null: the engine chooses
  bool onlyThatProduct = false;          ///< fail rather than choose another one than `product`
  bool quiet = false;                    ///< neither agreement nor closing messages
  bool askForFolders = true;             ///< of tokens with a prompt; else their defaults are taken
  bool keepEqual = false;                ///< an equal version that is enabled stays, without a question
  bool showProgress = true;              ///< drive the host's progress display
};

/// What became of an install.
struct InstallResult {
  CKestExtension* extension = nullptr;   ///< in the catalogue, borrowed; null: it failed, and the machine is as before
  const CKestProduct* product = nullptr; ///< the product chosen, borrowed; null: none fitted
  const CKestExtension* replaced = nullptr; ///< replaced, disabled or found equal; borrowed until the next operation
  bool restartProduct = false;              ///< the running product must be started again
  bool restartMachine = false;              ///< something waits for the next log-on
  /// Whether it was installed; GetLastReport says why not.
  explicit operator bool() const { return extension != nullptr; }
};

} // namespace kest
