#pragma once

#include "platform/text.h"
#include "platform/values.h"

namespace kest {

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
