#pragma once

#include "manager/manager_state.h"

#include <optional>

namespace kest {

/// Where the extensions in the catalogue, but for one, place their files. Gathered in one walk, at the first question.
class References {
public:
  /// All borrowed. The catalogue must not change while the object lives.
  References(const CKestExtensionManager::State& state, const CKestProduct* product, const CKestExtension* except)
      : m_state(state), m_product(product), m_except(except) {}
  [[nodiscard]] bool Holds(const CString& path);

private:
  const CKestExtensionManager::State& m_state;
  const CKestProduct* m_product;
  const CKestExtension* m_except;
  std::optional<std::unordered_set<CString>> m_places;
};

} // namespace kest
