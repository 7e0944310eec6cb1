#pragma once

#include "manager/manager_state.h"

namespace kest {

/// What an operation knows already of what it asks about.
struct ClashHints {
  /// Contents of configuration files by stored path, before the changes; null: they are read.
  const std::map<CString, CString>* configuration = nullptr;
  /// Destinations that hold a file, and are asked about alone; null: each is looked at.
  const std::unordered_set<CString>* existing = nullptr;
  /// Where the description lies, read only when there is a line to find; empty: it is in the question.
  CString descriptionPath{};
  /// What the reader passed over, when the description was read with an observer.
  const std::vector<Clash>* dropped = nullptr;
  /// Of each of the extension's files; null: they are located.
  const std::vector<FilePlace>* places = nullptr;
};

/// Each configuration file is gone through once, and the catalogue once when something is met.
[[nodiscard]] std::vector<Clash> FindClashes(const CKestExtensionManager::State& state, const ClashQuestion& question,
                                             const ClashHints& hints);

} // namespace kest
