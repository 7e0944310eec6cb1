#include "journal/catalogue_steps.h"

#include <utility>

namespace kest {

CInstallRemoveExtension::CInstallRemoveExtension(CatalogueOperations* manager, const CKestProduct* product,
                                                 CKestExtension* extension)
    : m_manager(manager), m_product(product), m_extension(extension) {}

CInstallRemoveExtension::~CInstallRemoveExtension() {
  try {
    CInstallRemoveExtension::Release();
  } catch (const std::bad_alloc&) {
    m_owned = false; // nobody could keep it
  }
}

int CInstallRemoveExtension::Do() {
  if (m_manager == nullptr || m_product == nullptr || m_extension == nullptr) {
    return -1;
  }
  if (m_owned) {
    return 0;
  }
  int restart = 0;
  const int result =
      m_manager->UninstallExtension(m_product, m_extension, false, true, false, true, true, restart, false);
  m_owned = result == 0;
  return result;
}

int CInstallRemoveExtension::Undo() {
  if (m_manager == nullptr || m_product == nullptr || m_extension == nullptr) {
    return -1;
  }
  if (m_owned) {
    m_owned = false;
    m_manager->RestoreExtension(m_product, m_extension);
    m_extension = nullptr;
  }
  return 0;
}

void CInstallRemoveExtension::Release() {
  if (m_owned) {
    m_owned = false;
    m_manager->KeepReplacedExtension(m_extension);
    m_extension = nullptr;
  }
}

CInstallDisableExtension::CInstallDisableExtension(CatalogueOperations* manager, const CKestProduct* product,
                                                   CKestExtension* extension)
    : m_manager(manager), m_product(product), m_extension(extension) {}

int CInstallDisableExtension::Do() {
  if (m_manager == nullptr || m_product == nullptr || m_extension == nullptr) {
    return -1;
  }
  if (m_done) {
    return 0;
  }
  const int result = m_manager->DisableExtension(m_product, m_extension, false);
  m_done = result == 0;
  return result;
}

int CInstallDisableExtension::Undo() {
  if (m_manager == nullptr || m_product == nullptr || m_extension == nullptr) {
    return -1;
  }
  if (m_done) {
    m_done = false;
    if (!m_manager->RestoreEnabledState(m_product, m_extension)) {
      static_cast<void>(m_manager->EnableExtension(m_product, m_extension));
    }
    m_extension = nullptr;
  }
  return 0;
}

CInstallRestoreState::CInstallRestoreState(std::function<void()> restore) : m_restore(std::move(restore)) {}

int CInstallRestoreState::Do() { return 0; }

int CInstallRestoreState::Undo() {
  if (const std::function<void()> restore = std::exchange(m_restore, nullptr)) {
    restore();
  }
  return 0;
}

} // namespace kest
