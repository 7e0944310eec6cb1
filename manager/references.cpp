#include "manager/references.h"
#include "platform/machine/os.h"

#include "description/extension.h"

#include <algorithm>

namespace kest {
namespace {

/// Calls `visit` with each file of every record but one, until it answers true. So it ends at a record that cannot be
/// read any more, too, which goes into `unread`; one whose description is gone by now uses nothing.
template <class Visit>
bool AnyFile(const CKestExtensionManager::State& state, const CKestExtension* except, CString& unread,
             const Visit& visit) {
  for (const auto& [owner, list] : state.catalogue.All()) {
    for (const CKestExtension* extension : list) {
      if (extension == except) {
        continue;
      }
      if (!extension->ReadRest()) {
        if (CKestOS::GetMachine().FileExists(extension->GetPath()) == Answer::kNo) {
          continue;
        }
        unread = extension->GetPath();
        return true;
      }
      for (const CKestExtensionFile& file : extension->GetFiles()) {
        if (IsPlaced(file) && visit(*extension, file)) {
          return true;
        }
      }
    }
  }
  return false;
}

std::size_t HashOf(std::string_view name) { return std::hash<CString>{}(text::Lower(name)); }

} // namespace

void References::Gather() {
  if (m_isGathered) {
    return;
  }
  m_isGathered = true;
  (void)AnyFile(m_state, m_except, m_unread, [this](const CKestExtension& extension, const CKestExtensionFile& file) {
    m_files.push_back({HashOf(FilePlacement::GetPlacedName(file)), &extension, &file});
    return false;
  });
  std::stable_sort(m_files.begin(), m_files.end(), [](const Named& a, const Named& b) { return a.name < b.name; });
}

void References::Locate(std::size_t name) {
  if (!m_looked.insert(name).second) {
    return;
  }
  const auto begin = std::lower_bound(m_files.begin(), m_files.end(), name,
                                      [](const Named& file, std::size_t wanted) { return file.name < wanted; });
  std::optional<FilePlacement::Resolver> resolver;
  const CKestExtension* resolved = nullptr;
  for (auto file = begin; file != m_files.end() && file->name == name; ++file) {
    if (resolved != file->extension) {
      resolver.emplace(m_state.placement, m_product, file->extension);
      resolved = file->extension;
    }
    const FilePlace place = resolver->Locate(*file->file);
    if (place.result == FilePlace::kResolved) {
      m_places.try_emplace(text::Lower(place.destination.GetText()), file->extension);
    }
  }
}

const CKestExtension* References::FindHolder(const CString& path) {
  Gather();
  if (!m_unread.empty()) {
    return nullptr;
  }
  Locate(HashOf(CKestPath(path).GetFileName()));
  const auto found = m_places.find(text::Lower(path));
  return found == m_places.end() ? nullptr : found->second;
}

bool References::Holds(const CString& path) { return FindHolder(path) != nullptr || !m_unread.empty(); }

bool CKestExtensionManager::IsFileReferenced(const CKestProduct* product, const char* path,
                                             const CKestExtension* except) const {
  if (m_state->depth == 0) {
    m_state->placement.Forget();
  }
  if (path == nullptr) {
    return false;
  }
  const CString name = CKestPath(path).GetFileName();
  CString unread;
  return AnyFile(*m_state, except, unread, [&](const CKestExtension& extension, const CKestExtensionFile& file) {
    if (!text::EqualNoCase(FilePlacement::GetPlacedName(file), name)) {
      return false;
    }
    const FilePlace place = FilePlacement::Resolver(m_state->placement, product, &extension).Locate(file);
    return place.result == FilePlace::kResolved && text::EqualNoCase(place.destination.GetText(), path);
  });
}

} // namespace kest
