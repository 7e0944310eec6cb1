#include "description/extension.h"
#include "journal/delete_steps.h"
#include "manager/operation_scope.h"
#include "platform/machine/os.h"

namespace kest {
namespace {

using State = CKestExtensionManager::State;
using Failure = OperationReport::Failure;

/// What was set aside goes, package and description, whatever they are called: nobody uses them any more. The
/// catalogue's record becomes enabled.
bool FinishRecord(State& state, const CKestPath& package, CKestExtension& record, const CKestExtension& installed) {
  if (RunStep<CInstallDeleteFile>(state.journal, package) != 0 ||
      RunStep<CInstallDeleteFile>(state.journal, record.GetPath()) != 0 ||
      ChangeRecord(state, record, true, installed.GetPath()) != 0) {
    state.FailByMachine(record.GetPath(), "the description set aside could not be deleted");
    return false;
  }
  return true;
}

void TellRestart(State& state, const CKestProduct& product, int restart) {
  if ((restart & CKestExtensionManager::kRestartMachine) != 0) {
    state.Ui().Notice(Message::kEnabledRestartMachine);
  } else if (product.IsRunning() && (restart & CKestExtensionManager::kRestartProduct) != 0) {
    CString name;
    product.GetName(name);
    state.Ui().Notice(Message::kEnabledRestartProduct, {name});
  } else if (product.IsRunning()) {
    product.Refresh();
  }
}

} // namespace

int CKestExtensionManager::EnableExtension(const CKestProduct* product, CKestExtension* extension) {
  State& state = *m_state;
  if (product == nullptr || extension == nullptr) {
    return -1;
  }
  return Guarded(state, -1, [&] {
    OperationScope operation(state, OperationReport::Operation::kEnable);
    if (!operation.MayWrite()) {
      return -1;
    }
    if (operation.IsOutermost()) {
      state.NameInReport(*product, *extension);
    }
    if (!state.HasWholeRecord(*extension)) {
      return -1;
    }
    StepScope steps(state, "enable " + extension->GetName());
    CKestPath package(extension->GetPath());
    package.SetExtension("kep");
    CKestExtension* equal = nullptr;
    int restart = 0;
    // never registered: the catalogue keeps the record that it has
    const std::unique_ptr<CKestExtension> installed(
        InstallExtension(&product, package.c_str(), &equal, true, false, false, restart, true, true, true));
    if (installed == nullptr) {
      if (equal != nullptr && equal->CompareVersion(*extension) == 0) {
        state.Ui().Notice(Message::kEqualEnabled);
      } else if (equal != nullptr) {
        state.Ui().NoticeText(Message{0}, equal->GetName() + ' ' + equal->GetVersion().ToText() + " is enabled. " +
                                              LoadMessage(Message::kEnableFailed));
      }
      state.Fail(Failure::kOther, CString(), "the extension could not be enabled");
      return -1;
    }
    if (!FinishRecord(state, package, *extension, *installed) || !steps.Commit()) {
      return -1;
    }
    AfterDone([&] { TellRestart(state, *product, restart); });
    return 0;
  });
}

} // namespace kest
