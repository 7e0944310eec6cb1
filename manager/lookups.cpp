#include "description/extension.h"
#include "manager/manager_state.h"

namespace kest {
namespace {

/// Letter case aside; null counts as empty.
bool Equals(const CString& value, const char* wanted) {
  return text::EqualNoCase(value, wanted != nullptr ? wanted : "");
}

} // namespace

CKestTypedIterator<CKestProduct*>* CKestExtensionManager::CreateProductIterator() const {
  std::vector<CKestProduct*> products;
  for (const auto& product : m_state->products) {
    products.push_back(product.get());
  }
  return std::make_unique<CKestTypedIterator<CKestProduct*>>(std::move(products), false).release();
}

CKestTypedIterator<CKestProduct*>* CKestExtensionManager::CreateProductReverseIterator() const {
  std::vector<CKestProduct*> products;
  for (const auto& product : m_state->products) {
    products.push_back(product.get());
  }
  return std::make_unique<CKestTypedIterator<CKestProduct*>>(std::move(products), true).release();
}

void CKestExtensionManager::GetExtensions(const CKestProduct* product, CKestTypedList<CKestExtension*>& out) const {
  if (const Catalogue::List* list = m_state->catalogue.Find(product)) {
    for (CKestExtension* extension : *list) {
      out.Append(extension);
    }
  }
}

void CKestExtensionManager::AddExtension(const CKestProduct* product, CKestExtension* extension) {
  m_state->catalogue.Add(product, extension);
}

void CKestExtensionManager::RestoreExtension(const CKestProduct* product, CKestExtension* extension) {
  m_state->catalogue.Restore(product, extension);
}

void CKestExtensionManager::RemoveExtension(const CKestProduct* product, CKestExtension* extension) {
  m_state->catalogue.Remove(product, extension);
}

void CKestExtensionManager::KeepReplacedExtension(CKestExtension* extension) {
  m_state->replacedRecords.emplace_back(extension);
}

bool CKestExtensionManager::IsProductInstalled(const char* name) const {
  for (const auto& product : m_state->products) {
    CString own;
    product->GetName(own);
    if (product->IsInstalled() && Equals(own, name)) {
      return true;
    }
  }
  return false;
}

CKestProduct* CKestExtensionManager::State::FindProduct(const CString& name, const CString& version) const {
  CKestProduct* installed = nullptr;
  for (auto product = products.rbegin(); product != products.rend(); ++product) {
    if ((*product)->IsInstalled() && (*product)->Supports(name.c_str(), version.c_str())) {
      if ((*product)->IsRunning()) {
        return product->get();
      }
      installed = installed != nullptr ? installed : product->get();
    }
  }
  return installed;
}

CKestExtension* CKestExtensionManager::FindByPath(const char* path) const {
  for (const auto& [product, list] : m_state->catalogue.All()) {
    for (CKestExtension* extension : list) {
      if (Equals(extension->GetPath(), path)) {
        return extension;
      }
    }
  }
  return nullptr;
}

CKestExtension* CKestExtensionManager::FindEnabledByNameAndAuthor(const CKestProduct* product, const char* name,
                                                                  const char* author) const {
  if (const Catalogue::List* list = m_state->catalogue.Find(product)) {
    for (CKestExtension* extension : *list) {
      if (extension->IsEnabled() && Equals(extension->GetName(), name) && Equals(extension->GetAuthorName(), author)) {
        return extension;
      }
    }
  }
  return nullptr;
}

bool CKestExtensionManager::GetTypeLabel(int type, CString& label) const {
  const auto found = m_state->typeLabels.find(type);
  if (found == m_state->typeLabels.end()) {
    return false;
  }
  label = found->second;
  return true;
}

int CKestExtensionManager::CompareName(const CKestExtension* a, const CKestExtension* b) const {
  return a != nullptr && b != nullptr ? text::CompareNoCase(a->GetName(), b->GetName()) : 0;
}

int CKestExtensionManager::CompareVersion(const CKestExtension* a, const CKestExtension* b) const {
  return a != nullptr && b != nullptr ? a->CompareVersion(*b) : 0;
}

int CKestExtensionManager::CompareType(const CKestExtension* a, const CKestExtension* b) const {
  if (a == nullptr || b == nullptr) {
    return 0;
  }
  CString first;
  CString second;
  (void)GetTypeLabel(a->GetType(), first);
  (void)GetTypeLabel(b->GetType(), second);
  return text::CompareNoCase(first, second);
}

int CKestExtensionManager::CompareAuthor(const CKestExtension* a, const CKestExtension* b) const {
  return a != nullptr && b != nullptr ? text::CompareNoCase(a->GetAuthorName(), b->GetAuthorName()) : 0;
}

int CKestExtensionManager::CompareEnabled(const CKestExtension* a, const CKestExtension* b) const {
  if (a == nullptr || b == nullptr || a->IsEnabled() == b->IsEnabled()) {
    return 0;
  }
  return a->IsEnabled() ? -1 : 1;
}

} // namespace kest
