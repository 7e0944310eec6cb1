#pragma once

#include "platform/machine/machine.h"

#include <algorithm>
#include <utility>

namespace kest {

/// An entry of a folder with its name as the machine compares names.
using FoldedEntry = std::pair<CString, FolderEntry>;

/// Appends a folder's entries in the order in which every machine lists them: by folded name, then as spelled.
inline void AppendInOrder(std::vector<FoldedEntry> folded, std::vector<FolderEntry>& entries) {
  std::sort(folded.begin(), folded.end(), [](const FoldedEntry& a, const FoldedEntry& b) {
    return a.first != b.first ? a.first < b.first : a.second.name < b.second.name;
  });
  for (auto& [key, entry] : folded) {
    entries.push_back(std::move(entry));
  }
}

} // namespace kest
