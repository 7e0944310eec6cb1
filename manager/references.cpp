#include "manager/references.h"
#include "platform/machine/os.h"

#include "description/extension.h"

#include <algorithm>

namespace kest {
namespace {

/// Whether its files can be looked at; one whose description is gone by now uses none. One that cannot be read goes
/// into `unread`.
bool CanRead(const CKestExtension& extension, CString& unread) {
  if (extension.ReadRest()) {
    return true;
  }
  if (CKestOS::GetMachine().FileExists(extension.GetPath()) != Answer::kNo) {
    unread = extension.GetPath();
  }
  return false;
}

} // namespace

void References::Gather() {
  if (m_isGathered) {
    return;
  }
  m_isGathered = true;
  for (const auto& [owner, list] : m_state.catalogue.All()) {
    for (const CKestExtension* extension : list) {
      if (extension == m_except || (m_among == Among::kEnabled && !extension->IsEnabled())) {
        continue;
      }
      std::vector<std::uint16_t> keys = extension->GetFileKeys();
      std::sort(keys.begin(), keys.end());
      keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
      for (const std::uint16_t key : keys) {
        m_candidates.push_back({key, extension});
      }
    }
  }
  std::stable_sort(m_candidates.begin(), m_candidates.end(),
                   [](const Candidate& a, const Candidate& b) { return a.key < b.key; });
}

void References::Locate(const CKestExtension& extension, const CString& name) {
  std::optional<FilePlacement::Resolver> resolver;
  for (const CKestExtensionFile& file : extension.GetFiles()) {
    if (!IsPlaced(file) || !text::EqualNoCase(FilePlacement::GetPlacedName(file), name)) {
      continue;
    }
    if (!resolver) {
      resolver.emplace(m_state.placement, m_product, &extension);
    }
    const FilePlace place = resolver->Locate(file);
    if (place.result == FilePlace::kResolved) {
      m_places.try_emplace(text::Lower(place.destination.GetText()), &extension);
    }
  }
}

const CKestExtension* References::FindHolder(const CString& path) {
  Gather();
  const CString name = CKestPath(path).GetFileName();
  const auto [look, isNew] = m_looks.try_emplace(text::Lower(name));
  if (isNew) {
    const auto [begin, end] =
        std::equal_range(m_candidates.begin(), m_candidates.end(), Candidate{CKestExtension::GetFileKey(name), nullptr},
                         [](const Candidate& a, const Candidate& b) { return a.key < b.key; });
    look->second.next = static_cast<std::size_t>(begin - m_candidates.begin());
    look->second.end = static_cast<std::size_t>(end - m_candidates.begin());
  }
  const CString wanted = text::Lower(path);
  m_canTell = true;
  auto found = m_places.find(wanted);
  for (Look& at = look->second; found == m_places.end() && at.next < at.end; found = m_places.find(wanted)) {
    const CKestExtension& candidate = *m_candidates[at.next++].extension;
    if (CanRead(candidate, at.unread)) {
      Locate(candidate, name);
    }
  }
  if (found != m_places.end()) {
    return found->second;
  }
  if (!look->second.unread.empty()) {
    m_canTell = false;
    m_unread = look->second.unread;
  }
  return nullptr;
}

bool References::Holds(const CString& path) { return FindHolder(path) != nullptr || !m_canTell; }

bool CKestExtensionManager::IsFileReferenced(const CKestProduct* product, const char* path,
                                             const CKestExtension* except) const {
  if (m_state->depth == 0) {
    m_state->placement.Forget();
  }
  if (path == nullptr) {
    return false;
  }
  References references(*m_state, product, except);
  return references.Holds(path);
}

} // namespace kest
