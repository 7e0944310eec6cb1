#pragma once

#include "journal/catalogue_operations.h"
#include "journal/install_step.h"

#include <functional>

namespace kest {

/// Uninstalls an extension that another one replaces.
/// Do:      has it uninstalled; the steps of that stand behind this one in the journal.
/// Keeps:   the record, once it is out of the catalogue.
/// Undo:    puts the record back into the catalogue (the files come back by the steps behind).
/// Release: hands the record to the manager's keeper.
class KEST_API CInstallRemoveExtension : public CKestExtensionInstallStep {
public:
  CInstallRemoveExtension(CatalogueOperations* manager, const CKestProduct* product, CKestExtension* extension);
  ~CInstallRemoveExtension() override; ///< a record still held goes to the keeper
  CInstallRemoveExtension(const CInstallRemoveExtension&) = delete;
  CInstallRemoveExtension& operator=(const CInstallRemoveExtension&) = delete;

  int Do() override;
  int Undo() override;
  void Release() override;
  [[nodiscard]] bool IsUndoOpen() const override { return m_owned; }

private:
  CatalogueOperations* m_manager;
  const CKestProduct* m_product;
  CKestExtension* m_extension;
  bool m_owned = false;
};

/// Disables an extension that stands in the way of another one.
/// Do:      has it disabled; the steps of that stand behind this one in the journal.
/// Keeps:   nothing.
/// Undo:    brings the record back to its enabled state; has the extension enabled when the disable was final.
/// Release: nothing.
class KEST_API CInstallDisableExtension : public CKestExtensionInstallStep {
public:
  CInstallDisableExtension(CatalogueOperations* manager, const CKestProduct* product, CKestExtension* extension);

  int Do() override;
  int Undo() override;
  [[nodiscard]] bool IsUndoOpen() const override { return m_done; }

private:
  CatalogueOperations* m_manager;
  const CKestProduct* m_product;
  CKestExtension* m_extension;
  bool m_done = false;
};

/// Something that changed in memory alone (a record's state, an entry of a list) and has to follow the files back.
/// Do:      nothing; the caller has changed it, or changes it next.
/// Keeps:   what the function given holds.
/// Undo:    calls the function once.
/// Release: nothing.
class KEST_API CInstallRestoreState : public CKestExtensionInstallStep {
public:
  explicit CInstallRestoreState(std::function<void()> restore);

  int Do() override;
  int Undo() override;
  [[nodiscard]] bool IsUndoOpen() const override { return false; }

private:
  std::function<void()> m_restore;
};

} // namespace kest
