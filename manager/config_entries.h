#pragma once

#include "manager/preview.h"

namespace kest {

/// Compares two states of a configuration file and appends what a person would call different: entries that came, went,
/// moved or changed, each with its place. Files that no reader takes are compared by their lines.
void CompareConfiguration(const CString& path, std::string_view before, std::string_view after,
                          std::vector<PreviewEntry>& entries);

} // namespace kest
