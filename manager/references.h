#pragma once

#include "manager/manager_state.h"

#include <unordered_map>

namespace kest {

/// Where the extensions in the catalogue, but for one, place their files. Their names are gathered in one walk, at the
/// first question; where a file lies is found out when one of its name is asked for. When the description of one of
/// them cannot be read any more every path may be one of its files, and GetUnread names it.
class References {
public:
  /// All borrowed. The catalogue must not change while the object lives.
  References(const CKestExtensionManager::State& state, const CKestProduct* product, const CKestExtension* except)
      : m_state(state), m_product(product), m_except(except) {}
  [[nodiscard]] bool Holds(const CString& path);
  /// The first extension that places a file at the path; null when none does, or when it cannot be told.
  [[nodiscard]] const CKestExtension* FindHolder(const CString& path);
  /// The description that could not be read; empty when there was none, or nothing was asked.
  [[nodiscard]] const CString& GetUnread() const { return m_unread; }

private:
  struct Named {
    std::size_t name; ///< hash of it
    const CKestExtension* extension;
    const CKestExtensionFile* file;
  };
  void Gather();
  void Locate(std::size_t name);

  const CKestExtensionManager::State& m_state;
  const CKestProduct* m_product;
  const CKestExtension* m_except;
  bool m_isGathered = false;
  CString m_unread;
  std::vector<Named> m_files;                                  ///< by name
  std::unordered_set<std::size_t> m_looked;                    ///< names whose files are among the places
  std::unordered_map<CString, const CKestExtension*> m_places; ///< by lower-case path
};

} // namespace kest
