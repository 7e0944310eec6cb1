#include "manager/references.h"

#include "description/extension.h"

namespace kest {
namespace {

/// Calls `visit` with each place of a file of every record but one, until it answers true.
template <class Visit>
bool AnyPlace(const CKestExtensionManager::State& state, const CKestProduct* product, const CKestExtension* except,
              const Visit& visit) {
  for (const auto& [owner, list] : state.catalogue.All()) {
    for (const CKestExtension* extension : list) {
      if (extension == except) {
        continue;
      }
      const FilePlacement::Resolver resolver(state.placement, product, extension);
      for (const CKestExtensionFile& file : extension->GetFiles()) {
        if (IsPlaced(file)) {
          const FilePlace place = resolver.Locate(file);
          if (place.result == FilePlace::kResolved && visit(place.destination.GetText())) {
            return true;
          }
        }
      }
    }
  }
  return false;
}

} // namespace

bool References::Holds(const CString& path) {
  if (!m_places) {
    m_places.emplace();
    (void)AnyPlace(m_state, m_product, m_except, [this](const CString& place) {
      m_places->insert(text::Lower(place));
      return false;
    });
  }
  return m_places->count(text::Lower(path)) != 0;
}

bool CKestExtensionManager::IsFileReferenced(const CKestProduct* product, const char* path,
                                             const CKestExtension* except) const {
  if (m_state->depth == 0) {
    m_state->placement.Forget();
  }
  return path != nullptr &&
         AnyPlace(*m_state, product, except, [path](const CString& place) { return text::EqualNoCase(place, path); });
}

} // namespace kest
