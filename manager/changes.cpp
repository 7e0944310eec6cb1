#include "manager/changes.h"

#include "config/config_change.h"
#include "description/extension.h"
#include "manager/change_problems.h"
#include "manager/reporting_ui.h"
#include "platform/machine/os.h"

namespace kest {
namespace {

using Step = int (CKestProduct::*)(CKestTypedVector<CKestExtensionInstallStep*>*, CKestExtensionManagerUI*,
                                   const CKestExtension*, CKestProduct::OperationType) const;

bool IsRemoval(CKestProduct::OperationType operation) {
  return operation == CKestProduct::Uninstall || operation == CKestProduct::Disable;
}

/// Tells the report what the product found; true when it explains a failure.
bool NoteProblems(CKestExtensionManager::State& state, const CKestProduct& product, const CKestExtension& extension) {
  bool explained = false;
  for (const ConfigProblem& found : product.GetConfigProblems()) {
    state.Note(DescribeChangeProblem(found, product, extension));
    explained = explained || found.critical;
  }
  return explained;
}

bool Process(CKestExtensionManager::State& state, const CKestProduct& product, const CKestExtension& extension,
             CKestProduct::OperationType operation, Step step, const char* what) {
  ReportingUi ui(*state.ui);
  const bool failed = (product.*step)(&state.journal, &ui, &extension, operation) != 0;
  const MachineError error = CKestOS::GetMachine().GetLastError();
  if (!NoteProblems(state, product, extension) && failed) {
    state.Fail(FailureOf(error), error.path, ui.GetText().empty() ? CString(what) : ui.GetText(), ui.GetNumber());
  }
  return !failed;
}

} // namespace

std::vector<CString> ListConfigurationFiles(const CKestProduct& product, const CKestExtension& extension) {
  CString folder;
  product.GetExtensionsFolder(folder); // lies in the configuration folder
  const CString configuration = CKestPath(WithoutBackslash(folder)).GetFolder();
  std::vector<CString> paths;
  for (const auto& set : extension.GetConfigChanges()) {
    CString relative;
    set->GetPath(relative);
    if (set->HasSafePath()) {
      paths.push_back(JoinPath({configuration, relative}));
    }
  }
  return paths;
}

bool MayChangeConfiguration(CKestExtensionManager::State& state, const CKestProduct& product,
                            const CKestExtension& extension) {
  Machine& machine = CKestOS::GetMachine();
  for (const CString& path : ListConfigurationFiles(product, extension)) {
    if (machine.FileExists(path) != Answer::kYes || machine.IsFileReadOnly(path) != Answer::kNo) {
      continue;
    }
    machine.ClearLastError();
    if (!machine.CanUpdateFile(path) && machine.GetLastError().kind == MachineError::Kind::kAccess) {
      state.FailByMachine(path, "it may not be replaced", static_cast<int>(Message::kFileNotUpdatable));
      state.Ui().Notice(Message::kFileNotUpdatable, {path});
      return false;
    }
  }
  return true;
}

bool ProcessChanges(CKestExtensionManager::State& state, const CKestProduct& product, const CKestExtension& extension,
                    CKestProduct::OperationType operation) {
  CKestOS::GetMachine().ClearLastError();
  const auto config = [&] {
    return Process(state, product, extension, operation, &CKestProduct::ProcessConfigChanges,
                   "the product's configuration could not be changed");
  };
  const auto help = [&] {
    return Process(state, product, extension, operation, &CKestProduct::ProcessHelpChanges,
                   "the product's help could not be changed");
  };
  const auto busy = [ui = state.Ui()](const auto& work) {
    ui.BeginWait();
    const bool done = work();
    ui.EndWait();
    return done;
  };
  if (IsRemoval(operation)) { // of an extension without changes: not even asked about
    return (!extension.HasConfigChanges() || busy(config)) && (!extension.HasHelpChanges() || busy(help));
  }
  return busy([&] { return config() && help(); });
}

} // namespace kest
