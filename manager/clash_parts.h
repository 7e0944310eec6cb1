#pragma once

#include "description/description_observer.h"
#include "manager/clash_finder.h"

namespace kest::clashes {

/// What the parts of a search share.
struct Search {
  const CKestExtensionManager::State& state;
  const CKestProduct* product;
  const CKestExtension* extension; ///< as the product converts it
  std::string_view fileName;
  const ClashHints& hints;
  std::vector<Clash> found{};

  /// Whether it is another version of the extension, which an install replaces.
  [[nodiscard]] bool IsSame(const CKestExtension& other) const;
};

void FindInFiles(Search&);         ///< destinations, tokens, platforms
void FindDescription(Search&);     ///< the name of the description file
void FindInConfiguration(Search&); ///< ids, keys, removals, places

/// Hears what the reader passes over.
class DropListener : public DescriptionObserver {
public:
  void OnDropped(int line, std::string_view element, std::string_view belongsIn) override;
  std::vector<Clash> dropped;
};

} // namespace kest::clashes
