#include "journal/folder_steps.h"
#include "manager/manager_state.h"
#include "manager/operation_scope.h"
#include "platform/machine/os.h"

#include <algorithm>

namespace kest {

using State = CKestExtensionManager::State;

bool State::CollectMissingFolders(const CString& folder, std::vector<CString>& missing) {
  const std::size_t first = missing.size();
  CString path = WithoutBackslash(folder);
  while (knownFolders.count(text::Lower(path)) == 0 && !CKestOS::DirectoryExists(path)) {
    CString parent = CKestPath(path).GetFolder();
    if (parent.empty() || parent.size() >= path.size()) {
      missing.resize(first);
      return false;
    }
    missing.push_back(path);
    path = WithoutBackslash(std::move(parent));
  }
  knownFolders.insert(text::Lower(path));
  for (std::size_t i = first; i < missing.size(); ++i) {
    knownFolders.insert(text::Lower(missing[i]));
  }
  std::reverse(missing.begin() + static_cast<std::ptrdiff_t>(first), missing.end());
  return true;
}

bool State::EnsureFolderExists(const CString& folder) {
  std::vector<CString> missing;
  if (!CollectMissingFolders(folder, missing)) {
    return false;
  }
  for (const CString& path : missing) {
    if (RunStep<CInstallCreateFolder>(journal, path) != 0) {
      for (const CString& never : missing) {
        knownFolders.erase(text::Lower(never));
      }
      ReportFolderNotCreated(path);
      return false;
    }
  }
  return true;
}

void State::ReportFolderNotCreated(const CString& folder) {
  FailByMachine(folder, "the folder could not be created", static_cast<int>(Message::kFolderNotCreated));
  Ui().Notice(Message::kFolderNotCreated, {folder});
}

} // namespace kest
