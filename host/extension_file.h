#pragma once

#include "description/extension.h"
#include "platform/package/package.h"

#include <memory>
#include <string>
#include <vector>

namespace kest::host {

class Session;

/// A package or a description that the user named, read without changing anything.
struct ExtensionFile {
  CString path; ///< Windows path; empty when its folder is not there
  bool isPackage = false;
  bool exists = false;
  std::unique_ptr<CKestExtension> record; ///< null when it could not be read at all
  int code = 0;                           ///< of the load; CKestPackage's when `record` is null
  std::string problem;                    ///< why the package could not be read
  std::string descriptionName;            ///< entry of a package
  CString text;                           ///< the description's bytes
  std::vector<PackageEntry> entries;      ///< of a package
  CKestTypedList<CKestString> messages;   ///< of the load
};

/// Fails the command since what the user named is no file to be read: it is not there, is a folder, or cannot be looked
/// at. `failed` says what was not done, `wanted` what to name instead. Returns the exit code.
int FailNoFile(Session& session, const std::string& hostFile, const std::string& failed, const std::string& wanted);

/// Reads the file; `observer` (may be null) hears what the description says in vain.
[[nodiscard]] ExtensionFile ReadExtensionFile(Session& session, const std::string& hostFile,
                                              DescriptionObserver* observer = nullptr);

} // namespace kest::host
