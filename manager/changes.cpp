#include "manager/changes.h"

#include "description/extension.h"
#include "manager/reporting_ui.h"
#include "platform/os.h"

namespace kest {
namespace {

bool IsRemoval(CKestProduct::OperationType operation) {
  return operation == CKestProduct::Uninstall || operation == CKestProduct::Disable;
}

void NoteFailure(CKestExtensionManager::State& state, const ReportingUi& ui, const CString& what) {
  const MachineError error = CKestOS::GetMachine().GetLastError();
  CString reason = ui.GetText().empty() ? what : ui.GetText();
  state.Fail(FailureOf(error), error.path, reason, ui.GetNumber());
}

} // namespace

bool ProcessChanges(CKestExtensionManager::State& state, const CKestProduct& product, const CKestExtension& extension,
                    CKestProduct::OperationType operation) {
  ReportingUi ui(*state.ui);
  CKestOS::GetMachine().ClearLastError();
  // a removal of an extension without changes is not even asked about
  if (!IsRemoval(operation) || extension.HasConfigChanges()) {
    ui.BeginWait();
    const int result = product.ProcessConfigChanges(&state.journal, &ui, &extension, operation);
    ui.EndWait();
    if (result != 0) {
      NoteFailure(state, ui, "the product's configuration could not be changed");
      return false;
    }
  }
  if (!IsRemoval(operation) || extension.HasHelpChanges()) {
    ui.BeginWait();
    const int result = product.ProcessHelpChanges(&state.journal, &ui, &extension, operation);
    ui.EndWait();
    if (result != 0) {
      NoteFailure(state, ui, "the product's help could not be changed");
      return false;
    }
  }
  return true;
}

} // namespace kest
