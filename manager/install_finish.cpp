#include "journal/copy_steps.h"
#include "manager/changes.h"
#include "manager/install.h"
#include "platform/machine/os.h"

namespace kest::install {
namespace {

using Failure = OperationReport::Failure;

/// The step copies the description as it came; saving it anew adds what the install found out. A text that would not
/// load again is not saved: then the copy stays. Any failure of the machine is one of the save.
bool SaveDescription(Context& context) {
  CKestOS::GetMachine().ClearLastError();
  if (context.extension->Save(context.destination.c_str()) != 0 &&
      CKestOS::GetMachine().GetLastError().kind != MachineError::Kind::kNone) {
    return false;
  }
  return CKestOS::SetFileDateTime(context.destination, context.date);
}

} // namespace

bool ApplyChanges(Context& context) {
  return ProcessChanges(context.state, *context.product, *context.extension,
                        context.enroll ? CKestProduct::Install : CKestProduct::Enable);
}

bool CheckConfiguration(Context& context) {
  return MayChangeConfiguration(context.state, *context.product, *context.extension);
}

std::unique_ptr<CKestExtensionInstallStep> MakeDescriptionStep(const Context& context) {
  auto step =
      std::make_unique<CInstallCopyFile>(context.descriptionPath, context.destination, false, context.fromPackage);
  const auto uses = context.sourceUses.find(text::Lower(context.descriptionPath));
  step->SetMayMoveSource(uses != context.sourceUses.end() && uses->second == 1);
  return step;
}

bool PlaceDescription(Context& context) {
  CKestExtensionManager::State& state = context.state;
  const bool copied = state.journal.RunNext() == 0;
  state.journal.EndPass();
  context.extension->SetPath(context.destination);
  if (!copied || !SaveDescription(context)) {
    state.FailByMachine(context.destination, "the description could not be stored",
                        static_cast<int>(Message::kDescriptionNotCopied));
    state.Ui().NoticeWith(Message::kDescriptionNotCopied, {context.descriptionPath, context.destination},
                          Message::kNotInstalled);
    return false;
  }
  context.EndWait();
  if (context.progress) {
    state.Ui().EndProgress();
  }
  return true;
}

void TellRestart(Context& context) {
  const HostUi ui = context.state.Ui();
  const bool machine = (context.restart & CKestExtensionManager::kRestartMachine) != 0;
  if (!context.product->IsRunning()) {
    if (!context.quiet) {
      ui.Notice(machine ? Message::kRestartMachine : Message::kInstalled);
    }
    return;
  }
  if (context.extension->RequiresRestart() || context.product->RequiresRestart(context.extension.get(), true)) {
    context.restart |= CKestExtensionManager::kRestartProduct;
  }
  if (!context.quiet && machine) {
    ui.Notice(Message::kRestartMachine);
  } else if (!context.quiet && (context.restart & CKestExtensionManager::kRestartProduct) != 0) {
    CString name;
    context.product->GetName(name);
    ui.Notice(Message::kInstalledRestartProduct, {name});
  } else {
    context.product->Refresh();
    if (!context.quiet) {
      ui.Notice(Message::kInstalled);
    }
  }
}

} // namespace kest::install
