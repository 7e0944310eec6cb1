#include "journal/copy_steps.h"
#include "journal/folder_steps.h"
#include "journal/font_step.h"
#include "journal/private_steps.h"
#include "journal/whole_folder_steps.h"
#include "manager/install.h"
#include "platform/machine/os.h"
#include "platform/machine/user_help.h"

namespace kest::install {
namespace {

using Failure = OperationReport::Failure;

bool IsSystemPlace(const CKestExtensionFile& file) { return text::ContainsNoCase(file.GetDestination(), "$system"); }
bool IsFontPlace(const CKestExtensionFile& file) { return text::ContainsNoCase(file.GetDestination(), "$fonts"); }

/// What the description says must be sound before anything is looked up.
bool CheckDestination(Context& context, const CKestExtensionFile& file) {
  const CString& destination = file.GetDestination();
  if (destination.empty() || destination.front() != '$') {
    return context.Refuse(Failure::kBadDescription, Message::kDestinationWithoutToken, {file.GetSource()},
                          file.GetSource(), "its destination begins with no folder token");
  }
  if (text::ContainsNoCase(destination, "jsextensions")) {
    context.restart = CKestExtensionManager::kRestartProduct;
  }
  if (destination.find("..") != CString::npos) {
    return context.Refuse(Failure::kBadDescription, Message::kParentInPath, {file.GetSource()}, file.GetSource(),
                          "its destination leads out of the folder");
  }
  return true;
}

/// Always false.
bool RefuseUnsafe(Context& context, const CKestExtensionFile& file, const FilePlace& place) {
  const CString& path = place.destination.GetText();
  if (place.why.empty()) {
    return context.Refuse(Failure::kBadDescription, Message::kParentInPath, {file.GetSource()}, path,
                          "it leads out of its folder");
  }
  context.state.Fail(Failure::kBadDescription, file.GetSource(), place.why);
  context.state.Ui().NoticeText(Message{0}, place.DescribeUnsafe(file) + LoadMessage(Message::kNotInstalled));
  return false;
}

enum class Next { kGoOn, kSkip, kEnd };

/// Asks about an existing destination, unless one answer was given for all.
Next AskOverwrite(Context& context, const FilePlace& place) {
  const CString& path = place.destination.GetText();
  CKestDateTime there;
  CKestDateTime ours;
  if (!CKestOS::GetFileDateTime(path, there) || !CKestOS::GetFileDateTime(place.source.GetText(), ours)) {
    context.state.FailByMachine(path, "its date cannot be read");
    return Next::kEnd;
  }
  const Message question = there > ours   ? Message::kExistingNewer
                           : ours > there ? Message::kExistingOlder
                                          : Message::kExistingEqual;
  context.EndWait();
  const int button = context.state.Ui().Ask(question, {path}, kOverwrite);
  if (button != kCancel) {
    context.BeginWait();
  }
  switch (button) {
  case kNo:
    context.keep.insert(path);
    context.state.report.kept.push_back({path, OperationReport::Why::kUserAnswer, CString()});
    return Next::kSkip;
  case kCancel:
    context.Declined(question, path);
    return Next::kEnd;
  case kAll:
    context.overwriteAll = true;
    return Next::kGoOn;
  default:
    return Next::kGoOn;
  }
}

/// The file is what the same extension replaced before, and what its disabling or replacement has just brought back.
bool WasAgreedTo(const Context& context, const CString& path) {
  if (!context.enroll) {
    return Originals::IsKept(path);
  }
  const auto found = context.agreed.find(text::Lower(path));
  FileDigest digest;
  return found != context.agreed.end() && DigestFile(path, digest) && digest == found->second;
}

bool MayUpdate(Context& context, const CString& path, bool exists) {
  if (exists) {
    return CKestOS::CanUpdateFile(path);
  }
  // whether a new file may be made is a question about its folder
  const CString folder = CKestPath(path).GetFolder();
  if (context.writableFolders.count(folder) != 0) {
    return true;
  }
  // one that is still to be made is as good as the one that it will be made in
  CString existing = folder;
  CString missing = CKestPath(path).GetFileName(); // a name that stands in there says nothing about a deeper one
  while (!CKestOS::DirectoryExists(existing)) {
    const CKestPath made(WithoutBackslash(existing));
    CString above = made.GetFolder();
    if (above.size() >= existing.size()) {
      return false; // not even the drive answers
    }
    existing = std::move(above);
    missing = made.GetFileName();
  }
  if (!CKestOS::CanUpdateFile(existing + missing)) {
    return false;
  }
  context.writableFolders.insert(folder);
  return true;
}

/// The destination can be written, or the user helps until it can.
bool FreeDestination(Context& context, const CString& path, bool exists) {
  CKestExtensionManager::State& state = context.state;
  if (MayUpdate(context, path, exists)) {
    return true;
  }
  if (CKestOS::IsSupportedMultiUserSystem()) {
    const Failure kind = FailureOf(CKestOS::GetMachine().GetLastError());
    return context.Refuse(kind == Failure::kInUse ? kind : Failure::kNoPermission, Message::kFileNotUpdatable, {path},
                          path, "the current user cannot replace it now");
  }
  do {
    const MachineError error = CKestOS::GetMachine().GetLastError();
    if (!CanUserHelp(error) || state.HelpUserFreeFile(path, false) != kRetry) {
      state.FailByError(error, path, "it cannot be placed", static_cast<int>(Message::kFileInUse));
      return false;
    }
    state.WaitUntil([&] { return state.CanDeleteFile(path); });
  } while (!MayUpdate(context, path, exists));
  return true;
}

/// One entry of the check pass.
Next CheckFile(Context& context, const FilePlacement::Resolver& resolver, const CKestExtensionFile& file) {
  if (!CheckDestination(context, file)) {
    return Next::kEnd;
  }
  const FilePlace place = resolver.Locate(file);
  const CString& path = place.destination.GetText();
  if (place.result == FilePlace::kNoToken) {
    context.state.Fail(Failure::kBadDescription, path, "its destination leads to no folder");
    return Next::kEnd;
  }
  if (place.result == FilePlace::kUnresolved) {
    return Next::kSkip;
  }
  if (!path.empty() && path.front() == '$') {
    context.Refuse(Failure::kBadDescription, Message::kTokenUnresolved, {path}, path, "its folder token is not known");
    return Next::kEnd;
  }
  if (place.unsafe) {
    RefuseUnsafe(context, file, place);
    return Next::kEnd;
  }
  const CString& source = place.source.GetText();
  const Answer isThere =
      context.unpacked.contains(text::Lower(source)) ? Answer::kYes : CKestOS::GetMachine().FileExists(source);
  if (isThere == Answer::kCannotTell) {
    context.state.FailByMachine(path, "a file of the extension could not be looked at");
    return Next::kEnd;
  } else if (isThere == Answer::kNo) {
    const bool isPacked = text::EndsWithNoCase(context.path, ".kep");
    context.Refuse(Failure::kBadPackage, Message::kFileMissing, {file.GetSource()},
                   isPacked ? file.GetSource() : source,
                   isPacked ? "the package does not hold it" : "the file is not there");
    return Next::kEnd;
  }
  const Answer presence = CKestOS::GetMachine().FileExists(path);
  if (presence == Answer::kCannotTell) {
    context.state.FailByMachine(path, "it cannot be looked at");
    return Next::kEnd;
  }
  const bool exists = presence == Answer::kYes;
  if (exists) {
    context.existing.insert(path);
  }
  if (exists && !context.overwriteAll && !WasAgreedTo(context, path)) {
    const Next answer = AskOverwrite(context, place);
    if (answer != Next::kGoOn) {
      return answer;
    }
  }
  if (exists) {
    const Answer hasMark = CKestOS::GetMachine().IsFileReadOnly(path);
    if (hasMark == Answer::kYes) {
      context.readOnly.insert(path);
    }
    if (hasMark == Answer::kCannotTell || AppendMakeWritable(&context.state.journal, path) != 0) {
      context.state.FailByMachine(path, "its read-only mark cannot be taken off");
      return Next::kEnd;
    }
  }
  return IsSystemPlace(file) || FreeDestination(context, path, exists) ? Next::kGoOn : Next::kEnd;
}

/// One planned step of the copy pass: a folder to make, a file to place, or a new folder with its files.
struct Planned {
  CString path{};
  bool isFolder = false;
  bool deferred = false;
  bool stays = false;                    ///< a font that is there already
  std::vector<const FilePlace*> files{}; ///< of a folder that is placed with them
};

/// The files that go to one folder.
struct FolderOfFiles {
  CString source; ///< the folder that they all come from
  std::vector<std::size_t> files;
  bool mayBeWhole = true; ///< each keeps its name, and nothing else wants it
  bool isPlanned = false;
};

struct Pass {
  std::vector<Planned> planned;
  std::vector<std::unique_ptr<CKestExtensionInstallStep>> steps;
};

void CountSources(Context& context) {
  if (!context.fromPackage) {
    return;
  }
  ++context.sourceUses[text::Lower(context.descriptionPath)];
  for (const CKestExtensionFile& file : context.extension->GetFiles()) {
    if (IsPlaced(file)) {
      CKestPath source(file.GetSource());
      (void)context.state.placement.LocalizeSource(source);
      ++context.sourceUses[text::Lower(source.GetText())];
    }
  }
}

bool MayMove(const Context& context, const CString& source) {
  const auto uses = context.sourceUses.find(text::Lower(source));
  return uses != context.sourceUses.end() && uses->second == 1;
}

void PlanFile(Context& context, const CKestExtensionFile& file, const FilePlace& place, Pass& pass) {
  const CString& source = place.source.GetText();
  const CString& path = place.destination.GetText();
  Planned planned{path};
  if (IsFontPlace(file)) {
    planned.stays = context.existing.count(path) != 0;
    pass.steps.push_back(std::make_unique<CInstallAddFontResource>(source, path));
  } else {
    planned.deferred = IsSystemPlace(file);
    auto step = std::make_unique<CInstallCopyFile>(source, path, planned.deferred, context.fromPackage);
    step->SetMayMoveSource(MayMove(context, source));
    pass.steps.push_back(std::move(step));
  }
  pass.planned.push_back(std::move(planned));
}

struct PlacedFile {
  const CKestExtensionFile* file;
  const FilePlace& place; ///< in the context
};

/// The files of the copy pass with their places, in order.
bool LocateFiles(Context& context, std::vector<PlacedFile>& files) {
  const FilePlacement::Resolver resolver(context.state.placement, context.product, context.extension.get());
  context.places.clear();
  context.places.reserve(context.extension->GetFiles().GetCount());
  for (const CKestExtensionFile& file : context.extension->GetFiles()) {
    const FilePlace& place = context.places.emplace_back(IsPlaced(file) ? resolver.Locate(file) : FilePlace{});
    if (!IsPlaced(file)) {
      continue;
    }
    const CString& path = place.destination.GetText();
    if (place.result == FilePlace::kUnresolved) {
      continue;
    }
    if (place.result != FilePlace::kResolved) {
      context.state.Fail(Failure::kBadDescription, path, "its destination leads to no folder");
      return false;
    }
    if (place.unsafe) {
      return RefuseUnsafe(context, file, place);
    }
    if (context.keep.count(path) == 0) {
      files.push_back({&file, place});
    }
  }
  return true;
}

/// By lower-case folder.
std::unordered_map<CString, FolderOfFiles> GroupByFolder(const Context& context, const std::vector<PlacedFile>& files) {
  std::unordered_map<CString, FolderOfFiles> folders;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const FilePlace& place = files[i].place;
    FolderOfFiles& folder = folders[text::Lower(place.destination.GetFolder())];
    if (folder.files.empty()) {
      folder.source = place.source.GetFolder();
    }
    folder.files.push_back(i);
    folder.mayBeWhole = folder.mayBeWhole && MayMove(context, place.source.GetText()) && !IsFontPlace(*files[i].file) &&
                        !IsSystemPlace(*files[i].file) && folder.source == place.source.GetFolder() &&
                        place.source.GetFileName() == place.destination.GetFileName();
  }
  return folders;
}

/// A folder that is new and of which all files lie ready together is placed by one step.
bool PlanWholeFolder(const CString& path, const std::vector<PlacedFile>& files, FolderOfFiles& folder, Pass& pass) {
  const CString source = WithoutBackslash(folder.source);
  folder.mayBeWhole =
      folder.mayBeWhole && folder.files.size() >= kWorthAFolder && CKestOS::GetMachine().SameVolume(source, path);
  if (!folder.mayBeWhole) {
    return false;
  }
  Planned planned;
  planned.path = path;
  planned.isFolder = true;
  std::vector<CString> names;
  for (const std::size_t i : folder.files) {
    names.push_back(files[i].place.source.GetFileName());
    planned.files.push_back(&files[i].place);
  }
  if (!HoldsOnly(source, names, true)) {
    return false;
  }
  pass.steps.push_back(std::make_unique<CInstallPlaceFolder>(source, path, std::move(names)));
  pass.planned.push_back(std::move(planned));
  folder.isPlanned = true;
  return true;
}

/// Gathers the folders and files of the copy pass, in order.
bool GatherCopies(Context& context, Pass& pass) {
  CKestExtensionManager::State& state = context.state;
  std::vector<PlacedFile> files;
  if (!LocateFiles(context, files)) {
    return false;
  }
  std::unordered_map<CString, FolderOfFiles> folders = GroupByFolder(context, files);
  std::vector<CString> missing;
  for (const PlacedFile& one : files) {
    const CString folder = one.place.destination.GetFolder();
    FolderOfFiles& group = folders[text::Lower(folder)];
    if (group.isPlanned) {
      continue;
    }
    missing.clear();
    if (!state.CollectMissingFolders(folder, missing)) {
      state.ReportFolderNotCreated(WithoutBackslash(folder));
      return false;
    }
    for (std::size_t i = 0; i < missing.size(); ++i) {
      if (i + 1 < missing.size() || !PlanWholeFolder(missing[i], files, group, pass)) {
        pass.steps.push_back(std::make_unique<CInstallCreateFolder>(missing[i]));
        pass.planned.push_back({missing[i], true});
      }
    }
    if (!group.isPlanned) {
      group.mayBeWhole = false;
      PlanFile(context, *one.file, one.place, pass);
    }
  }
  return true;
}

/// What is to be replaced and no extension put there is kept for the uninstall, unless that leaves the file.
bool KeepOriginals(Context& context) {
  std::unordered_set<CString> known;
  auto place = context.places.begin();
  for (const CKestExtensionFile& file : context.extension->GetFiles()) {
    const CString& path = (place++)->destination.GetText();
    if (context.existing.contains(path) && !context.keep.contains(path) && !file.IsSystemFile() && !IsFontPlace(file) &&
        !IsSystemPlace(file) && known.insert(text::Lower(path)).second) {
      context.originals.push_back({path, context.readOnly.contains(path)});
    }
  }
  return context.originals.empty() || Originals::Keep(context.state, context.product, context.originals);
}

/// The steps are ready to be run; else the user is told, in the name of the first file that they were to place.
bool PlanSteps(Context& context, std::vector<std::unique_ptr<CKestExtensionInstallStep>> steps) {
  CKestExtensionManager::State& state = context.state;
  const CString first = steps.empty() ? CString() : steps.front()->GetTarget();
  if (state.journal.Plan(std::move(steps)) == 0) {
    return true;
  }
  const MachineError error = CKestOS::GetMachine().GetLastError();
  const CString what = "nothing could be written down of what is to be placed";
  state.FailByError(error, first, what);
  state.Ui().NoticeText(Message{0}, first + ": " + what + (error.reason.empty() ? "" : ": " + error.reason) + ". " +
                                        LoadMessage(Message::kNotInstalled));
  return false;
}

/// The step failed: the user helps, and it is tried again, until it is done or given up.
bool RetryCopy(Context& context, const CString& path) {
  CKestExtensionManager::State& state = context.state;
  for (;;) {
    const MachineError error = CKestOS::GetMachine().GetLastError();
    // one of the machine's own, such as its registry, which is told of a file that waits for the next log-on
    const bool isMachineFile = FailureOf(error) == Failure::kInUse && error.path.starts_with("/");
    if (!CanUserHelp(error)) {
      state.FailByError(error, path, "it could not be placed");
      return false;
    }
    if (state.HelpUserFreeFile(path, isMachineFile) != kRetry) {
      state.FailByError(error, path, "it could not be placed", static_cast<int>(Message::kFileInUse));
      return false;
    }
    bool done = false;
    state.WaitUntil([&] { return done = state.journal.RetryLast() == 0; });
    if (done) {
      return true;
    }
  }
}

void NotePlaced(Context& context, const Planned& planned) {
  if (planned.isFolder) {
    for (std::size_t i = 0; i < planned.files.size(); ++i) {
      context.Advance();
    }
    return;
  }
  if (planned.deferred) {
    context.restart |= CKestExtensionManager::kRestartMachine;
  }
  if (planned.stays) {
    context.state.report.kept.push_back({planned.path, OperationReport::Why::kFont, CString()});
  }
  context.Advance();
}

/// The folder could not be placed with its files, since somebody made it meanwhile for instance.
bool PlaceOneByOne(Context& context, const Planned& folder) {
  CKestInstallJournal& journal = context.state.journal;
  context.state.knownFolders.erase(text::Lower(folder.path));
  if (!context.state.EnsureFolderExists(folder.path)) {
    return false;
  }
  std::vector<std::unique_ptr<CKestExtensionInstallStep>> steps;
  for (const FilePlace* place : folder.files) {
    auto step = std::make_unique<CInstallCopyFile>(place->source, place->destination, false, true);
    step->SetMayMoveSource(true);
    steps.push_back(std::move(step));
  }
  if (!PlanSteps(context, std::move(steps))) {
    return false;
  }
  for (const FilePlace* place : folder.files) {
    const CString& path = place->destination.GetText();
    if (context.state.IsCancelled() || (journal.RunNext() != 0 && !RetryCopy(context, path))) {
      return false;
    }
    NotePlaced(context, {path});
  }
  journal.EndPass();
  return true;
}

bool RunCopies(Context& context, const Pass& pass) {
  for (const Planned& planned : pass.planned) {
    if (context.state.IsCancelled()) {
      return false;
    }
    if (context.state.journal.RunNext() != 0) {
      if (!planned.files.empty()) {
        if (!PlaceOneByOne(context, planned)) {
          return false;
        }
        continue;
      }
      if (planned.isFolder) {
        context.state.ReportFolderNotCreated(planned.path);
        return false;
      }
      if (!RetryCopy(context, planned.path)) {
        return false;
      }
    }
    NotePlaced(context, planned);
  }
  return true;
}

} // namespace

bool CheckFiles(Context& context) {
  context.BeginWait();
  const FilePlacement::Resolver resolver(context.state.placement, context.product, context.extension.get());
  for (const CKestExtensionFile& file : context.extension->GetFiles()) {
    if (context.state.IsCancelled()) {
      return false;
    }
    if (!IsPlaced(file)) {
      continue;
    }
    switch (CheckFile(context, resolver, file)) {
    case Next::kEnd:
      return false;
    case Next::kSkip:
      break;
    case Next::kGoOn:
      context.Advance();
      break;
    }
  }
  return true;
}

bool ConvertExtension(Context& context) {
  context.product->MassageExtension(context.extension.get());
  return true;
}

bool CopyFiles(Context& context) {
  CountSources(context);
  Pass pass;
  if (!GatherCopies(context, pass) || !KeepOriginals(context)) {
    return false;
  }
  pass.steps.push_back(MakeDescriptionStep(context));
  return PlanSteps(context, std::move(pass.steps)) && RunCopies(context, pass);
}

} // namespace kest::install
