#pragma once

#include "platform/text/text.h"
#include "platform/text/values.h"

namespace kest {

/// A four-character code as one number, first character highest.
[[nodiscard]] constexpr int SignatureOf(const char (&code)[5]) {
  int value = 0;
  for (int i = 0; i < 4; ++i) {
    value = value * 256 + code[i];
  }
  return value;
}

/// Whether `path` begins with the text of `folder`, which is not empty; any letter case.
[[nodiscard]] bool LiesBelow(const char* path, const CString& folder);

/// A program found on the machine.
struct FoundProgram {
  CString path; ///< of the executable
  CKestVersionNumber version;
};

/// The versions of an executable that belong to one product: from `signature` up to, not including, the next whole
/// number.
[[nodiscard]] bool IsAcceptableVersion(const CKestVersionNumber& version, double signature);

/// The first running process whose path contains `name` (in any letter case), if its version can be read and is
/// acceptable. Processes behind the first one are not looked at, whatever its version.
[[nodiscard]] bool FindRunningProgram(const CString& name, double signature, FoundProgram& found);

/// Reads a text value of HKEY_LOCAL_MACHINE; false when it is missing or longer than 259 bytes.
[[nodiscard]] bool ReadMachineValue(const CString& key, const CString& name, CString& data);
/// The same from a key path, a backslash and a value name.
[[nodiscard]] bool ReadMachineValue(const CString& keyAndName, CString& data);

} // namespace kest
