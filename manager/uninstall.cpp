#include "manager/uninstall.h"

#include "journal/delete_steps.h"
#include "journal/whole_folder_steps.h"
#include "manager/changes.h"
#include "manager/installed_record.h"
#include "platform/machine/os.h"

#include <optional>

namespace kest {
namespace uninstall {
namespace {

using Failure = OperationReport::Failure;

// the files of a disabled extension are gone already, and so are its changes
constexpr Phase kPhases[] = {CheckConfiguration, CheckOriginals, CheckFiles,         ConvertExtension,
                             DeleteFiles,        CleanUpFolders, DeleteDescriptions, TakeBackChanges};
constexpr Phase kPhasesOfDisabled[] = {DropOriginals, DeleteDescriptions};
constexpr const char* kLostOriginal =
    "the file that stood there before this extension does not come back: its copy is gone or changed";

template <std::size_t n> bool RunPhases(Context& context, const Phase (&phases)[n]) {
  for (const Phase phase : phases) {
    if (context.state.IsCancelled() || !phase(context)) {
      return false;
    }
  }
  return true;
}

/// Whether the product lets the file go now, and no program holds it open. A mark or a right that is missing is no
/// reason to wait: the step that takes the file away tells.
bool IsFree(CKestExtensionManager::State& state, const CString& path) {
  return state.CanDeleteFile(path) &&
         (CKestOS::CanUpdateFile(path) || CKestOS::GetMachine().GetLastError().kind != MachineError::Kind::kInUse);
}

/// The user closes what holds the file, or gives up.
bool FreeFile(Context& context, const CString& path) {
  CKestExtensionManager::State& state = context.state;
  while (!IsFree(state, path)) {
    if (CKestOS::GetMachine().FileExists(path) == Answer::kNo) {
      return true;
    }
    if (state.HelpUserFreeFile(path, false) != kRetry) {
      state.Fail(Failure::kInUse, path, "it cannot be deleted now", static_cast<int>(Message::kFileInUse),
                 "close the program that uses it and try again");
      return false;
    }
    state.WaitUntil([&] { return IsFree(state, path); });
  }
  return true;
}

/// The extension's files, in order.
template <class Visit> bool ForEachPlace(Context& context, const Visit& visit) {
  const FilePlacement::Resolver resolver(context.state.placement, &context.product, &context.extension);
  for (const CKestExtensionFile& file : context.extension.GetFiles()) {
    if (!IsPlaced(file)) {
      continue;
    }
    if (context.state.IsCancelled()) {
      return false;
    }
    const FilePlace place = resolver.Locate(file);
    if (place.result != FilePlace::kResolved || place.unsafe) {
      continue;
    }
    if (!visit(file, place.destination.GetText())) {
      return false;
    }
  }
  return true;
}

/// Those that exist; false when the machine cannot tell.
template <class Visit> bool ForEachFile(Context& context, const Visit& visit) {
  return ForEachPlace(context, [&](const CKestExtensionFile& file, const CString& path) {
    const Answer presence = CKestOS::GetMachine().FileExists(path);
    if (presence == Answer::kCannotTell) {
      context.state.FailByMachine(path, "it cannot be looked at");
      return false;
    }
    return (presence == Answer::kNo && context.originals.Get(path) != Originals::Fate::kReturns) || visit(file, path);
  });
}

/// The files that go out of one folder.
struct FilesOfFolder {
  CString path;
  std::vector<CString> paths;
  std::vector<CString> names; ///< as stored, when the folder goes with them
};

/// Whether the folder holds nothing but these files, and may go, too. Notes their names.
bool MayGoWhole(Context& context, FilesOfFolder& folder) {
  const CKestProduct* product = context.state.FindOwner(folder.path);
  std::vector<FolderEntry> entries;
  if (folder.paths.size() < kWorthAFolder || product == nullptr || !product->CanDelete(folder.path.c_str()) ||
      !IsYes(CKestOS::GetMachine().ListFolder(folder.path, entries)) || entries.size() != folder.paths.size()) {
    return false;
  }
  std::unordered_set<CString> ours;
  for (const CString& path : folder.paths) {
    ours.insert(text::Lower(CKestPath(path).GetFileName()));
  }
  for (const FolderEntry& entry : entries) {
    if (entry.isFolder || entry.isLink || ours.erase(text::Lower(entry.name)) == 0) {
      folder.names.clear();
      return false;
    }
    folder.names.push_back(entry.name);
  }
  return true;
}

void AddFileSteps(const FilesOfFolder& folder, std::vector<std::unique_ptr<CKestExtensionInstallStep>>& steps) {
  for (const CString& path : folder.paths) {
    steps.push_back(std::make_unique<CInstallDeleteFile>(path));
  }
}

/// Runs the planned steps of a folder's files.
bool RunFileSteps(Context& context, const FilesOfFolder& folder) {
  CKestExtensionManager::State& state = context.state;
  for (const CString& path : folder.paths) {
    if (state.IsCancelled() || state.journal.RunNext() != 0) {
      if (!state.WantsCancel()) {
        state.FailByMachine(path, "it could not be deleted");
      }
      return false;
    }
    context.Advance();
  }
  return true;
}

/// Runs the planned step of a folder; when it cannot go as a whole, since somebody put something into it meanwhile for
/// instance, its files go alone.
bool DeleteWhole(Context& context, const FilesOfFolder& folder) {
  CKestExtensionManager::State& state = context.state;
  if (state.IsCancelled()) {
    return false;
  }
  if (state.journal.RunNext() != 0) {
    std::vector<std::unique_ptr<CKestExtensionInstallStep>> steps;
    AddFileSteps(folder, steps);
    if (state.journal.Plan(std::move(steps)) != 0) {
      state.FailByMachine(CString(), "the journal could not be written");
      return false;
    }
    const bool done = RunFileSteps(context, folder);
    state.journal.EndPass();
    return done;
  }
  for (std::size_t i = 0; i < folder.paths.size(); ++i) {
    context.Advance();
  }
  state.knownFolders.erase(text::Lower(folder.path));
  context.goneFolders.insert(text::Lower(folder.path));
  return true;
}

/// One more description or package to delete, unless another extension needs it.
bool PlanDeletion(Context& context, const CString& path,
                  std::vector<std::unique_ptr<CKestExtensionInstallStep>>& steps) {
  const Answer presence = CKestOS::GetMachine().FileExists(path);
  if (presence == Answer::kCannotTell) {
    context.state.FailByMachine(path, "it cannot be looked at");
    return false;
  }
  if (presence == Answer::kYes) {
    steps.push_back(std::make_unique<CInstallDeleteFile>(path));
  }
  return true;
}

bool BelongsToAnother(const Context& context, const CString& path) {
  for (const auto& [product, list] : context.state.catalogue.All()) {
    for (const CKestExtension* other : list) {
      if (other != &context.extension && text::EqualNoCase(other->GetPath(), path)) {
        return true;
      }
    }
  }
  return false;
}

/// Name of the extension for which a shared file stays.
CString HolderOf(OperationReport::Why why, const CString& path, References& references) {
  const CKestExtension* holder = why == OperationReport::Why::kShared ? references.FindHolder(path) : nullptr;
  return holder != nullptr ? holder->GetName() : CString();
}

/// Whether the questions had answers; else the user is told.
bool HasReadAll(Context& context, const References& references) {
  if (references.GetUnread().empty()) {
    return true;
  }
  context.state.Fail(Failure::kBadDescription, references.GetUnread(),
                     "whether it lists a file that others share cannot be told any more", 0,
                     "list the extensions again");
  return false;
}

/// Which files go, by their folders, and which give way to what stood there before.
bool SortFiles(Context& context, std::vector<FilesOfFolder>& folders, std::vector<CString>& returning) {
  CKestExtensionManager::State& state = context.state;
  References references(state, &context.product, &context.extension);
  References enabled(state, &context.product, &context.extension, References::Among::kEnabled);
  std::unordered_map<CString, std::size_t> known;
  std::unordered_set<CString> planned;
  const bool looked = ForEachFile(context, [&](const CKestExtensionFile& file, const CString& path) {
    if (const auto why = WhyKept(file, path, references)) {
      state.report.kept.push_back({path, *why, HolderOf(*why, path, references)});
      context.Advance();
      return true;
    }
    if (!planned.insert(text::Lower(path)).second) {
      context.Advance(); // listed twice
      return true;
    }
    if (context.originals.Get(path) == Originals::Fate::kReturns && !enabled.Holds(path)) {
      returning.push_back(path);
      return true;
    }
    const CString folder = WithoutBackslash(CKestPath(path).GetFolder());
    const auto [place, isNew] = known.try_emplace(text::Lower(folder), folders.size());
    if (isNew) {
      folders.push_back({folder, {}, {}});
      context.folders.push_back(folder);
    }
    folders[place->second].paths.push_back(path);
    return true;
  });
  return looked && HasReadAll(context, enabled);
}

void FinishReport(Context& context) {
  OperationReport& report = context.state.report;
  report.restartProduct |= context.restart != 0;
}

} // namespace

std::optional<OperationReport::Why> WhyKept(const CKestExtensionFile& file, const CString& destination,
                                            References& references) {
  using Why = OperationReport::Why;
  if (file.IsSystemFile()) {
    return Why::kSystemFile;
  }
  if (text::ContainsNoCase(file.GetDestination(), "$fonts")) {
    return Why::kFont;
  }
  if (file.IsShared() && references.Holds(destination)) {
    return Why::kShared;
  }
  return std::nullopt;
}

void Context::EndWait() {
  waiting = false;
  state.Ui().EndWait();
}

void Context::Advance() {
  if (progress) {
    state.Ui().SetProgressPosition(++position);
  }
}

bool CheckConfiguration(Context& context) {
  return MayChangeConfiguration(context.state, context.product, context.extension);
}

bool CheckOriginals(Context& context) {
  CKestExtensionManager::State& state = context.state;
  if (!context.originals.Find(context.extension)) {
    state.FailByMachine(CString(), "what stood in the place of the extension's files could not be looked up");
    return false;
  }
  for (const CString& path : context.originals.GetLost()) {
    state.Note({Failure::kOther, path, kLostOriginal, 0, CString(), CString(), false});
    state.Ui().NoticeText(Message{0}, path + ": " + kLostOriginal + '.');
  }
  return true;
}

bool DropOriginals(Context& context) {
  References references(context.state, &context.product, &context.extension);
  return ForEachPlace(context, [&](const CKestExtensionFile&, const CString& path) {
    CString copy;
    const Answer presence = Originals::GetCopy(path, copy) ? CKestOS::GetMachine().FileExists(copy) : Answer::kNo;
    if (presence == Answer::kNo || (presence == Answer::kYes && references.Holds(path))) {
      return true;
    }
    if (presence == Answer::kCannotTell || RunStep<CInstallDeleteFile>(context.state.journal, copy) != 0) {
      context.state.FailByMachine(path, "the copy of what stood there could not be deleted");
      return false;
    }
    return true;
  });
}

bool CheckFiles(Context& context) {
  References references(context.state, &context.product, &context.extension);
  return ForEachPlace(context, [&](const CKestExtensionFile& file, const CString& path) {
    // one that is not there is free; but the display counts those that are, and of one that is gone nobody is asked who
    // else lists it
    if ((context.progress || file.IsShared()) && CKestOS::GetMachine().FileExists(path) == Answer::kNo) {
      return true;
    }
    const bool goes = !WhyKept(file, path, references);
    if (!HasReadAll(context, references)) {
      return false;
    }
    if (goes && !FreeFile(context, path)) {
      return false;
    }
    context.Advance();
    return true;
  });
}

bool ConvertExtension(Context& context) {
  context.product.MassageExtension(&context.extension);
  return true;
}

bool DeleteFiles(Context& context) {
  CKestExtensionManager::State& state = context.state;
  std::vector<FilesOfFolder> folders;
  std::vector<CString> returning;
  if (!SortFiles(context, folders, returning)) {
    return false;
  }
  std::vector<std::unique_ptr<CKestExtensionInstallStep>> steps;
  for (FilesOfFolder& folder : folders) {
    if (MayGoWhole(context, folder)) {
      steps.push_back(std::make_unique<CInstallDeleteWholeFolder>(folder.path, folder.names));
    } else {
      AddFileSteps(folder, steps);
    }
  }
  if (state.journal.Plan(std::move(steps)) != 0) {
    state.FailByMachine(CString(), "the journal could not be written");
    return false;
  }
  for (const FilesOfFolder& folder : folders) {
    if (!(folder.names.empty() ? RunFileSteps(context, folder) : DeleteWhole(context, folder))) {
      state.journal.EndPass();
      return false;
    }
  }
  state.journal.EndPass();
  if (!returning.empty() && !Originals::PutBack(state, returning, context.remove)) {
    return false;
  }
  for (std::size_t i = 0; i < returning.size(); ++i) {
    context.Advance();
  }
  return true;
}

bool DeleteDescriptions(Context& context) {
  CKestExtensionManager::State& state = context.state;
  context.EndWait();
  const CString name = CKestPath(context.extension.GetPath()).GetFileName();
  std::vector<std::unique_ptr<CKestExtensionInstallStep>> steps;
  const CString installed = state.GetExtensionsPath(context.product, name);
  if (!BelongsToAnother(context, installed) && !PlanDeletion(context, installed, steps)) {
    return false;
  }
  if (context.deleteDisabled) {
    CKestPath aside(state.GetDisabledFolder(context.product) + name);
    if (!BelongsToAnother(context, aside)) {
      CKestPath package = aside;
      package.SetExtension("kep");
      if (!PlanDeletion(context, aside, steps) || !PlanDeletion(context, package, steps)) {
        return false;
      }
    }
  }
  // with them, and with one wait for the disk, goes the record of what was installed; one that stays is compared with
  // nothing that is installed
  CString record;
  const std::size_t needed = steps.size();
  if (installed_record::GetPath(context.extension.GetPath(), record) &&
      CKestOS::GetMachine().FileExists(record) == Answer::kYes) {
    steps.push_back(std::make_unique<CInstallDeleteFile>(record));
  }
  const std::size_t planned = steps.size();
  bool done = planned == 0 || state.journal.Plan(std::move(steps)) == 0;
  for (std::size_t i = 0; done && i < planned; ++i) {
    done = state.journal.RunNext() == 0 || i >= needed;
  }
  if (planned > 0) {
    state.journal.EndPass();
  }
  if (!done) {
    state.FailByMachine(CString(), "the description could not be deleted");
  }
  return done;
}

bool TakeBackChanges(Context& context) {
  return ProcessChanges(context.state, context.product, context.extension,
                        context.remove ? CKestProduct::Uninstall : CKestProduct::Disable);
}

void TellRestart(Context& context) {
  const HostUi ui = context.state.Ui();
  const bool running = context.product.IsRunning();
  if (running && (context.extension.RequiresRestart() || context.product.RequiresRestart(&context.extension, false))) {
    context.restart = 1;
    if (!context.quiet) {
      CString product;
      context.product.GetName(product);
      ui.Notice(Message::kUninstalledRestart, {context.extension.GetName(), product});
    }
    return;
  }
  if (running && context.refresh) {
    context.product.Refresh();
  }
  if (!context.quiet) {
    ui.Notice(Message::kUninstalled, {context.extension.GetName()});
  }
}

int Run(Context& context) {
  CKestExtensionManager::State& state = context.state;
  const HostUi ui = state.Ui();
  // steps left to a caller that has no journal open would stay for ever
  const bool own = context.ownJournal || state.depth == 1;
  std::optional<StepScope> steps;
  if (own) {
    steps.emplace(state, "uninstall " + context.extension.GetName(), context.kind);
  }
  if (!context.quiet) {
    CKestProduct::ClearBackedUpFileList();
  }
  ui.BeginWait();
  if (context.progress) {
    ui.BeginProgress(Message::kUninstalling);
    ui.SetProgressRange(2 * static_cast<int>(context.extension.GetFiles().GetCount()));
  }
  bool done = context.extension.IsEnabled() ? RunPhases(context, kPhases) : RunPhases(context, kPhasesOfDisabled);
  if (context.waiting) {
    context.EndWait();
  }
  if (done && context.progress) {
    ui.EndProgress();
  }
  done = done && (!own || steps->Commit());
  if (done) {
    AfterDone([&] { TellRestart(context); });
    if (context.remove) {
      state.owner.RemoveExtension(&context.product, &context.extension);
    }
    FinishReport(context);
  } else {
    state.Fail(Failure::kOther, CString(), "the extension could not be uninstalled");
  }
  if (context.progress) {
    ui.EndProgress();
  }
  return done ? 0 : -1;
}

} // namespace uninstall

int CKestExtensionManager::UninstallExtension(const CKestProduct* product, CKestExtension* extension, bool refresh,
                                              bool quiet, bool ownJournal, bool remove, bool deleteDisabled,
                                              int& restart, bool progress) {
  restart = 0;
  State& state = *m_state;
  if (state.ui == nullptr || product == nullptr || extension == nullptr) {
    return -1;
  }
  return Guarded(state, -1, [&] {
    // an uninstall that leaves its steps to its caller is part of the caller's operation, the list of backups included
    std::optional<OperationScope> operation;
    if (ownJournal || state.depth == 0) {
      operation.emplace(state, OperationReport::Operation::kUninstall);
      if (!operation->MayWrite()) {
        return -1;
      }
    }
    if (state.depth == 1 && operation) {
      state.NameInReport(*product, *extension);
    }
    if (!state.HasWholeRecord(*extension)) {
      return -1;
    }
    uninstall::Context context{.state = state,
                               .product = *product,
                               .extension = *extension,
                               .refresh = refresh,
                               .quiet = quiet,
                               .ownJournal = ownJournal,
                               .remove = remove,
                               .deleteDisabled = deleteDisabled,
                               .restart = restart,
                               .progress = progress};
    return uninstall::Run(context);
  });
}

CKestExtension CKestExtensionManager::GetConverted(const CKestProduct& product, const CKestExtension& extension) const {
  CKestExtension converted = extension;
  converted.RemoveAllConfigChanges(); // the copy shares them with the record, which stays as it is
  product.MassageExtension(&converted);
  return converted;
}

UninstallPreview CKestExtensionManager::PreviewUninstall(const CKestProduct* product,
                                                         const CKestExtension* extension) const {
  UninstallPreview preview;
  if (product == nullptr || extension == nullptr) {
    return preview;
  }
  m_state->placement.Forget();
  References references(*m_state, product, extension);
  Originals originals;
  static_cast<void>(originals.Find(*extension)); // the operation itself refuses when that cannot be told
  const CKestExtension converted = GetConverted(*product, *extension);
  const FilePlacement::Resolver resolver(m_state->placement, product, &converted);
  for (const CKestExtensionFile& file : converted.GetFiles()) {
    if (!extension->IsEnabled() || !IsPlaced(file)) {
      continue;
    }
    const FilePlace place = resolver.Locate(file);
    if (place.result != FilePlace::kResolved || place.unsafe) {
      continue;
    }
    const CString& path = place.destination.GetText();
    if (!CKestOS::FileExists(path)) {
      preview.missing.push_back(path);
      continue;
    }
    const auto why = uninstall::WhyKept(file, path, references);
    preview.files.push_back({path, why.has_value(), why.value_or(OperationReport::Why::kShared),
                             why ? uninstall::HolderOf(*why, path, references) : CString(),
                             !why && originals.Get(path) == Originals::Fate::kReturns,
                             !why && originals.Get(path) == Originals::Fate::kLost});
  }
  preview.described.push_back(extension->GetPath());
  CKestPath package(extension->GetPath());
  package.SetExtension("kep");
  if (!extension->IsEnabled() && CKestOS::FileExists(package)) {
    preview.described.push_back(package);
  }
  // the products only read the record
  preview.restartProduct =
      product->IsRunning() &&
      (extension->RequiresRestart() || product->RequiresRestart(const_cast<CKestExtension*>(extension), false));
  return preview;
}

std::vector<CString> CKestExtensionManager::GetInstalledFiles(const CKestProduct* product,
                                                              const CKestExtension* extension) const {
  std::vector<CString> paths;
  if (product == nullptr || extension == nullptr) {
    return paths;
  }
  m_state->placement.Forget();
  const CKestExtension converted = GetConverted(*product, *extension);
  const FilePlacement::Resolver resolver(m_state->placement, product, &converted);
  for (const CKestExtensionFile& file : converted.GetFiles()) {
    const FilePlace place = IsPlaced(file) ? resolver.Locate(file) : FilePlace{};
    if (place.result == FilePlace::kResolved && !place.unsafe) {
      paths.push_back(place.destination.GetText());
    }
  }
  return paths;
}

} // namespace kest
