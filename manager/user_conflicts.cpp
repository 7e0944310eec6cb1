#include "description/extension.h"
#include "manager/uninstall.h"
#include "platform/machine/os.h"

namespace kest {
namespace {

using State = CKestExtensionManager::State;

/// Every other user's configuration root, in the machine's order.
void GetOtherBinPaths(const CKestProduct& product, CKestTypedList<CKestString>& paths) {
  (void)product.GetAllUserBinPaths(paths);
  CKestPath own;
  if (product.GetSharedBinPath(own)) {
    paths.RemoveEvery(own.GetText());
  }
  if (product.GetCurrentUserBinPath(own)) {
    paths.RemoveEvery(own.GetText());
  }
}

/// One user's copy goes for good, whatever becomes of the operation around it.
void RemoveCopy(State& state, const CKestProduct& product, const CString& path) {
  CKestExtension record;
  CKestTypedList<CKestString> errors;
  if (record.Load(path.c_str(), &errors) != CKestExtension::kLoaded) {
    return;
  }
  OperationScope operation(state, OperationReport::Operation::kUninstall);
  int restart = 0;
  uninstall::Context context{.state = state,
                             .product = product,
                             .extension = record,
                             .quiet = true,
                             .remove = true,
                             .deleteDisabled = true,
                             .restart = restart,
                             .kind = JournalScope::Kind::kFinal};
  const OperationReport::Failure before = state.report.failure;
  const std::size_t problems = state.report.problems.size();
  if (operation.MayWrite() && uninstall::Run(context) != 0) {
    state.report.failure = before; // the operation goes on without it
    for (std::size_t i = problems; i < state.report.problems.size(); ++i) {
      state.report.problems[i].fatal = false;
    }
  }
}

} // namespace

void State::CheckForUserLevelConflicts(const CKestProduct* product, const CKestExtension* extension,
                                       CKestTypedList<CKestString>& conflicts) const {
  if (product == nullptr || extension == nullptr) {
    return;
  }
  CKestTypedList<CKestString> binPaths;
  GetOtherBinPaths(*product, binPaths);
  for (const CKestString& binPath : binPaths) {
    CKestPath folder;
    product->GetExtensionsFolderFor(CKestPath(binPath), folder);
    CKestTypedList<CKestExtension*> found;
    product->AddExtensionsFrom(folder, true, false, &found);
    product->AddExtensionsFrom(CKestPath(JoinPath({folder.GetText(), "Disabled"})), false, false, &found);
    for (CKestExtension* copy : found) {
      const std::unique_ptr<CKestExtension> owned(copy);
      if (text::EqualNoCase(copy->GetName(), extension->GetName()) &&
          text::EqualNoCase(copy->GetAuthorName(), extension->GetAuthorName())) {
        conflicts.Append(copy->GetPath());
      }
    }
  }
}

bool State::RemoveUserLevelConflicts(const CKestProduct* product, const CKestTypedList<CKestString>& conflicts) {
  if (product == nullptr || conflicts.IsEmpty()) {
    return false;
  }
  for (const CKestString& path : conflicts) {
    CString user;
    if (CKestOS::ExtractUserName(path, user)) {
      LoginAs(user);
      RemoveCopy(*this, *product, path);
    }
  }
  LoginAs(CString());
  return true;
}

std::optional<bool> State::HasFilesNewerThan(const CKestProduct& product, const CString& descriptionPath,
                                             const CKestDateTime& when) const {
  CKestExtension record;
  CKestDateTime date;
  if (record.Load(descriptionPath.c_str(), nullptr) != CKestExtension::kLoaded) {
    return std::nullopt;
  }
  bool sure = CKestOS::GetFileDateTime(descriptionPath, date);
  if (sure && date > when) {
    return true;
  }
  const FilePlacement::Resolver resolver(placement, &product, &record);
  for (const CKestExtensionFile& file : record.GetFiles()) {
    if (!IsPlaced(file)) {
      continue;
    }
    const FilePlace place = resolver.Locate(file);
    CKestOS::GetMachine().ClearLastError();
    if (CKestOS::GetFileDateTime(place.destination, date)) {
      if (date > when) {
        return true;
      }
    } else {
      const MachineError::Kind kind = CKestOS::GetMachine().GetLastError().kind;
      sure = sure && (kind == MachineError::Kind::kNone || kind == MachineError::Kind::kNotFound);
    }
  }
  return sure ? std::optional<bool>(false) : std::nullopt;
}

bool CKestExtensionManager::ExtensionHasFilesNewerThan(const CKestProduct* product, const char* descriptionPath,
                                                       const CKestDateTime& when) const {
  if (product == nullptr || descriptionPath == nullptr) {
    return false;
  }
  if (m_state->depth == 0) {
    m_state->placement.Forget();
  }
  return m_state->HasFilesNewerThan(*product, descriptionPath, when).value_or(false);
}

} // namespace kest
