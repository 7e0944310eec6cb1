#pragma once

#include "platform/text/text.h"

#include <cstdint>
#include <vector>

namespace kest {

/// Longest name of a package entry, in bytes.
inline constexpr std::size_t kMostPackageName = 1024;

/// Why a name (backslashes) may not stand in a package, as the end of "the name ..."; null when it may. What is refused
/// would lead outside the folder it is unpacked to, or name something else than a plain file on a PC.
[[nodiscard]] const char* JudgePackageName(std::string_view name);

/// A name of a package, and whether it is one of a folder (then without trailing backslash).
struct PackageName {
  std::string_view name;
  bool isFolder = false;
};

/// Judges the names of a package against one another: no two alike but for letter case, none that is a file here and a
/// folder there, and no more than `mostFolders` folders in all. Null when good, else why not, with `culprit` the name.
[[nodiscard]] const char* JudgePackageNames(const std::vector<PackageName>& names, std::uint64_t mostFolders,
                                            CString& culprit);

} // namespace kest
