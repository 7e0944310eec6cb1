#pragma once

#include "platform/text/export.h"

namespace kest {

class CKestExtension;
class CKestProduct;

/// What two journal steps ask of the manager. Implemented by CKestExtensionManager.
class KEST_API CatalogueOperations {
public:
  virtual ~CatalogueOperations() = default;
  /// 0, or -1 on failure or cancellation. Parameters as CKestExtensionManager has them.
  virtual int UninstallExtension(const CKestProduct* product, CKestExtension* extension, bool refresh, bool quiet,
                                 bool ownJournal, bool remove, bool deleteDisabled, int& restart, bool progress) = 0;
  /// 0, or a code as CKestExtensionManager has it.
  virtual int DisableExtension(const CKestProduct* product, CKestExtension* extension, bool progress) = 0;
  /// 0, or -1 on failure or cancellation.
  virtual int EnableExtension(const CKestProduct* product, CKestExtension* extension) = 0;
  /// Appends the record to the product's list and takes ownership.
  virtual void AddExtension(const CKestProduct* product, CKestExtension* extension) = 0;
  /// Takes back a record that an uninstall has taken out of the catalogue and that the caller owned since: to its old
  /// place in the list where that can be told.
  virtual void RestoreExtension(const CKestProduct* product, CKestExtension* extension) = 0;
  /// Called when a disable is undone, after the steps that it handed to the operation around it were undone. When the
  /// extension's description stands at its enabled place again (or the record says already that it is enabled), brings
  /// the record to that state (enabled, path) and answers true. False: the disable is final on the disk, nothing was
  /// changed, and the caller enables the extension in the ordinary way.
  virtual bool RestoreEnabledState(const CKestProduct* product, CKestExtension* extension) = 0;
  /// Takes over a record that nothing in the catalogue refers to any more; kept until the next operation starts.
  virtual void KeepReplacedExtension(CKestExtension* extension) = 0;
};

} // namespace kest
