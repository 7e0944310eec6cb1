#pragma once

#include "manager/manager_state.h"

#include <unordered_map>
#include <vector>

namespace kest {

/// Where the extensions in the catalogue, but for one, place their files. What they may list is gathered in one walk,
/// at the first question; a description is read when it may list a file of the name that is asked for, up to the first
/// one that does. When one of those cannot be read any more, and no other holds the file, that cannot be told, and
/// GetUnread names it.
class References {
public:
  /// Which extensions count.
  enum class Among { kAll, kEnabled };
  /// All borrowed. The catalogue must not change while the object lives.
  References(const CKestExtensionManager::State& state, const CKestProduct* product, const CKestExtension* except,
             Among among = Among::kAll)
      : m_state(state), m_product(product), m_except(except), m_among(among) {}
  [[nodiscard]] bool Holds(const CString& path);
  /// The first extension that places a file at the path; null when none does, or when it cannot be told.
  [[nodiscard]] const CKestExtension* FindHolder(const CString& path);
  /// The description that could not be read; empty when there was none, or nothing was asked.
  [[nodiscard]] const CString& GetUnread() const { return m_unread; }

private:
  /// An extension that may list files of a name.
  struct Candidate {
    std::uint16_t key; ///< of the name
    const CKestExtension* extension;
  };
  /// How far the candidates of a name were looked at.
  struct Look {
    std::size_t next = 0;
    std::size_t end = 0;
    CString unread{}; ///< one of them that could not be read
  };
  void Gather();
  void Locate(const CKestExtension& extension, const CString& name);

  const CKestExtensionManager::State& m_state;
  const CKestProduct* m_product;
  const CKestExtension* m_except;
  Among m_among;
  bool m_isGathered = false;
  bool m_canTell = true; ///< whether the last question had an answer
  CString m_unread;
  std::vector<Candidate> m_candidates;                         ///< by key, then as the catalogue has them
  std::unordered_map<CString, Look> m_looks;                   ///< by lower-case name
  std::unordered_map<CString, const CKestExtension*> m_places; ///< by lower-case path
};

} // namespace kest
