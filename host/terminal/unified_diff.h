#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kest::host {

/// One line of a unified diff.
struct DiffLine {
  enum class Kind { kFile, kPlace, kSame, kGone, kNew };
  Kind kind = Kind::kSame;
  std::string text; ///< with its sign, without its end
};

/// What changed between two states of a file, three lines of context around each place, as `diff -u` tells it; `name`
/// stands in its head. Line ends count: where two lines differ in them alone, they are named behind the text. Empty
/// when nothing changed.
[[nodiscard]] std::vector<DiffLine> UnifiedDiff(std::string_view name, std::string_view before, std::string_view after);

} // namespace kest::host
