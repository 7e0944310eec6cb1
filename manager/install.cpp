#include "manager/install.h"

#include "manager/clash_finder.h"
#include "manager/installed_record.h"

namespace kest {
namespace install {
namespace {

constexpr Phase kPhases[] = {
    OpenFile,           UnpackPackage,     ReadDescription,  ChooseProduct, CheckFreeSpace,   AskAgreement,
    CheckConfiguration, ReplaceExisting,   RemoveUserCopies, ResolveTokens, CheckFiles,       ConvertExtension,
    CopyFiles,          NoteConfiguration, NoteClashes,      ApplyChanges,  PlaceDescription, RecordInstalled,
};

bool RunPhases(Context& context) {
  for (const Phase phase : kPhases) {
    if (context.state.IsCancelled() || !phase(context)) {
      return false;
    }
  }
  return true;
}

/// The one way out: with success the record, else everything as it was.
CKestExtension* Finish(Context& context, bool done) {
  const HostUi ui = context.state.Ui();
  auto& kept = context.state.replacedRecords;
  kept.reserve(kept.size() + 1);
  if (done && context.steps.Commit()) {
    AfterDone([&] {
      TellRestart(context);
      if (context.progress) {
        ui.EndProgress();
      }
    });
    CKestExtension* extension = context.extension.get();
    if (!context.enroll) {
      return context.extension.release();
    }
    AfterDone([&] {
      context.state.owner.AddExtension(context.product, extension);
      static_cast<void>(context.extension.release());
    });
    if (context.extension != nullptr) {
      kept.push_back(std::move(context.extension)); // it is installed all the same, and the next Load lists it
    }
    return extension;
  }
  if (context.waiting) {
    context.EndWait();
  }
  if (context.progress) {
    ui.EndProgress();
  }
  context.state.Fail(OperationReport::Failure::kOther, CString(), "the installation could not be completed");
  if (context.steps.HasSteps()) {
    context.replaced = nullptr;
  }
  context.steps.RollBack();
  return nullptr;
}

} // namespace

bool NoteClashes(Context& context) {
  CKestExtensionManager::State& state = context.state;
  if (state.undoing == 0) {
    const ClashHints hints{&context.configuration, &context.existing, context.descriptionPath, &context.dropped,
                           &context.places};
    for (Clash& clash : FindClashes(
             state, {context.product, context.extension.get(), {}, CKestPath(context.destination).GetFileName()},
             hints)) {
      state.report.clashes.push_back(std::move(clash));
    }
  }
  return true;
}

void Context::Advance() {
  if (progress) {
    state.Ui().SetProgressPosition(++position);
  }
}

void Context::BeginWait() {
  waiting = true;
  state.Ui().BeginWait();
}

void Context::EndWait() {
  waiting = false;
  state.Ui().EndWait();
}

bool Context::Refuse(OperationReport::Failure kind, Message message, const std::vector<text::Argument>& arguments,
                     const CString& about, const CString& reason, const CString& next) {
  state.Fail(kind, about, reason, static_cast<int>(message), next);
  state.Ui().NoticeWith(message, arguments, Message::kNotInstalled);
  return false;
}

bool Context::Declined(Message question, const CString& about) {
  state.Fail(OperationReport::Failure::kDeclined, about, "it was declined", static_cast<int>(question));
  return false;
}

} // namespace install

CKestExtension* CKestExtensionManager::InstallExtension(const CKestProduct** product, const char* path,
                                                        CKestExtension** replaced, bool quiet, bool enroll,
                                                        bool resolveTokens, int& restartFlags, bool keepProduct,
                                                        bool acceptEqual, bool progress) {
  restartFlags = 0;
  CKestExtension* ignored = nullptr;
  CKestExtension*& other = replaced != nullptr ? *replaced : ignored;
  other = nullptr;
  State& state = *m_state;
  if (state.ui == nullptr || product == nullptr) {
    return nullptr;
  }
  return Guarded(state, static_cast<CKestExtension*>(nullptr), [&]() -> CKestExtension* {
    OperationScope operation(state, OperationReport::Operation::kInstall);
    if (!operation.MayWrite()) {
      return nullptr;
    }
    // a disable inside this install builds a package, and an undo may install again
    const Restored unpackFolder(state.unpackFolder);
    const Restored descriptionName(state.descriptionName);
    StepScope steps(state, "install");
    install::Context context{.state = state,
                             .steps = steps,
                             .product = *product,
                             .path = path != nullptr ? path : "",
                             .replaced = other,
                             .quiet = quiet,
                             .enroll = enroll,
                             .resolveTokens = resolveTokens,
                             .restart = restartFlags,
                             .keepProduct = keepProduct,
                             .acceptEqual = acceptEqual,
                             .progress = progress};
    CKestExtension* extension = install::Finish(context, install::RunPhases(context));
    if (extension != nullptr) {
      state.report.restartProduct |= (restartFlags & kRestartProduct) != 0;
      state.report.restartMachine |= (restartFlags & kRestartMachine) != 0;
    }
    return extension;
  });
}

InstallResult CKestExtensionManager::Install(const CString& path, const InstallOptions& options) {
  InstallResult result;
  result.product = options.product;
  CKestExtension* replaced = nullptr;
  int restart = 0;
  result.extension =
      InstallExtension(&result.product, path.c_str(), &replaced, options.quiet, true, options.askForFolders, restart,
                       options.onlyThatProduct, options.keepEqual, options.showProgress);
  result.replaced = replaced;
  result.restartProduct = (restart & kRestartProduct) != 0;
  result.restartMachine = (restart & kRestartMachine) != 0;
  return result;
}

} // namespace kest
