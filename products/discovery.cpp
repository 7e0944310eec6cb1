#include "products/discovery.h"

#include "platform/machine/os.h"

#include <cmath>

namespace kest {

bool LiesBelow(const char* path, const CString& folder) {
  return path != nullptr && !folder.empty() && text::StartsWithNoCase(path, folder);
}

bool IsAcceptableVersion(const CKestVersionNumber& version, double signature) {
  const double number = version.ToDouble();
  return number >= signature && number < std::floor(signature) + 1.0;
}

bool FindRunningProgram(const CString& name, double signature, FoundProgram& found) {
  CString path;
  CKestOS::EnumProcs([&](const CString& process) {
    if (!text::ContainsNoCase(process, name)) {
      return true;
    }
    path = process;
    return false;
  });
  CKestVersionNumber version;
  if (path.empty() || !CKestOS::GetFileVersionNumber(path, version) || !IsAcceptableVersion(version, signature)) {
    return false;
  }
  found = {path, version};
  return true;
}

bool ReadMachineValue(const CString& key, const CString& name, CString& data) {
  return CKestOS::ReadRegistryString(RegistryRoot::kLocalMachine, key, name, data);
}

bool ReadMachineValue(const CString& keyAndName, CString& data) {
  const std::size_t at = text::FindLastBackslash(keyAndName);
  return at != CString::npos && ReadMachineValue(keyAndName.substr(0, at), keyAndName.substr(at + 1), data);
}

} // namespace kest
