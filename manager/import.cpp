#include "description/extension.h"
#include "journal/copy_steps.h"
#include "journal/private_folders.h"
#include "manager/operation_scope.h"
#include "platform/machine/os.h"

namespace kest {
namespace {

using State = CKestExtensionManager::State;
using Failure = OperationReport::Failure;

/// An enabled extension comes over as a package of its installed files.
int ImportEnabled(State& state, const CKestProduct& from, const CKestProduct& to, const CKestExtension& extension) {
  CString folder;
  if (!CKestOS::GetTempPath(folder)) {
    state.FailByMachine(folder, "no temporary file could be made");
    return 0;
  }
  CKestPath package(folder + CKestPath(extension.GetPath()).GetFileName());
  package.SetExtension("kep");
  if (state.owner.CreatePackage(extension.GetPath().c_str(), package.c_str(), &from, true, false, false) != 0) {
    return 0;
  }
  const CKestProduct* target = &to;
  int restart = 0;
  const bool installed = state.owner.InstallExtension(&target, package.c_str(), nullptr, true, true, true, restart,
                                                      true, false, false) != nullptr;
  CKestOS::DeleteFile(package);
  return installed ? restart : 0;
}

/// Another extension's description is not copied over: true when one has this path.
bool RefuseTaken(State& state, const CString& path, const CKestExtension& extension) {
  const CKestExtension* there = state.owner.FindByPath(path.c_str());
  if (there == nullptr) {
    return false;
  }
  if (text::EqualNoCase(there->GetName(), extension.GetName()) &&
      text::EqualNoCase(there->GetAuthorName(), extension.GetAuthorName())) {
    state.Fail(Failure::kAlreadyThere, path, "it is there already, disabled");
  } else {
    state.Fail(Failure::kOther, path, "the disabled extension \"" + there->GetName() + "\" has this file name");
  }
  return true;
}

/// A disabled extension comes over as what lies aside of it.
void ImportDisabled(State& state, const CKestProduct& to, const CKestExtension& extension) {
  CKestPath description(extension.GetPath());
  CKestPath package = description;
  package.SetExtension("kep");
  description.SetExtension("kei");
  const CString folder = state.GetDisabledFolder(to);
  const CString target = folder + description.GetFileName();
  if (RefuseTaken(state, target, extension)) {
    return;
  }
  StepScope steps(state, "import " + extension.GetName());
  const CString packageTarget = folder + package.GetFileName();
  auto record = std::make_unique<CKestExtension>();
  if (!state.EnsureFolderExists(folder) ||
      RunStep<CInstallCopyFile>(state.journal, package, packageTarget, false, false) != 0 ||
      RunStep<CInstallCopyFile>(state.journal, description, target, false, false) != 0 ||
      record->Load(target.c_str(), nullptr) != CKestExtension::kLoaded || !steps.Commit()) {
    state.FailByMachine(target, "what is set aside of it could not be copied");
    return;
  }
  record->SetEnabled(false);
  state.owner.AddExtension(&to, record.release());
}

/// One extension, with a report of its own. Restart flags.
int ImportOne(State& state, const CKestProduct& from, const CKestProduct& to, const CKestExtension& extension) {
  OperationReport whole = std::move(state.report);
  state.report = OperationReport{};
  state.report.operation = OperationReport::Operation::kImport;
  const int restart = Guarded(state, 0, [&] {
    state.NameInReport(to, extension);
    if (extension.IsEnabled()) {
      return ImportEnabled(state, from, to, extension);
    }
    ImportDisabled(state, to, extension);
    return 0;
  });
  whole.rolledBack = whole.rolledBack && state.report.rolledBack;
  whole.parts.push_back(std::move(state.report));
  state.report = std::move(whole);
  return restart;
}

void TellRestart(State& state, const CKestProduct& to, int restart) {
  state.report.restartProduct = (restart & CKestExtensionManager::kRestartProduct) != 0;
  state.report.restartMachine = (restart & CKestExtensionManager::kRestartMachine) != 0;
  if (state.report.restartMachine) {
    state.Ui().Notice(Message::kImportRestartMachine);
  } else if (to.IsRunning() && state.report.restartProduct) {
    CString name;
    to.GetName(name);
    state.Ui().Notice(Message::kImportRestartProduct, {name});
  } else if (to.IsRunning()) {
    to.Refresh();
  }
}

} // namespace

bool CKestExtensionManager::Import(const CKestProduct* from, const CKestProduct* to,
                                   const CKestTypedList<CKestExtension*>& extensions) {
  State& state = *m_state;
  if (state.ui == nullptr || from == nullptr || to == nullptr) {
    return true;
  }
  return Guarded(state, true, [&] {
    OperationScope operation(state, OperationReport::Operation::kImport);
    if (!operation.MayWrite()) {
      return true;
    }
    to->GetName(state.report.product);
    const HostUi ui = state.Ui();
    if (!ui.ConfirmAgreement(Message::kImportAgreement, LoadMessage(Message::kImportAgreement),
                             BuildLegalAgreement())) {
      state.Fail(Failure::kDeclined, CString(), "the agreement was declined",
                 static_cast<int>(Message::kImportAgreement));
      return true;
    }
    const TempFolderHold hold; // a package is made by one operation and installed by the next
    ui.BeginProgress(Message::kImporting);
    ui.SetProgressRange(static_cast<int>(extensions.GetCount()));
    ui.SetProgressPosition(0);
    int restart = 0;
    int position = 0;
    state.report.parts.reserve(extensions.GetCount()); // what became of one is told, whatever lacks later
    for (const CKestExtension* extension : extensions) {
      if (state.IsCancelled()) {
        break;
      }
      if (extension != nullptr) {
        restart |= ImportOne(state, *from, *to, *extension);
        ui.SetProgressPosition(++position);
      }
    }
    AfterDone([&] {
      ui.EndProgress();
      TellRestart(state, *to, restart);
    });
    return true;
  });
}

} // namespace kest
