#pragma once

#include "platform/text/text.h"

#include <vector>

namespace kest {

/// A Windows path cut into its components. The pieces point into the text it was made of.
struct WindowsPath {
  char drive = 0; ///< capital letter
  std::vector<std::string_view> parts;
  bool endsInBackslash = false; ///< names a folder, if anything; true for a drive root
};

/// Cuts an absolute path "X:\a\b"; repeated backslashes count as one, the second byte of a double-byte character is
/// none. False for anything else, and when a component is "." or "..", or holds a colon, a slash or a control byte;
/// `reason` then says why.
[[nodiscard]] bool ParseWindowsPath(std::string_view text, int codePage, WindowsPath& path, CString& reason);

/// Whether one component may stand in a path.
[[nodiscard]] bool IsComponentAllowed(std::string_view component, CString& reason);

} // namespace kest
