#include "description/extension.h"
#include "journal/copy_steps.h"
#include "journal/private_folders.h"
#include "journal/waiting_file.h"
#include "manager/operation_scope.h"
#include "manager/read_failure.h"
#include "manager/validation.h"
#include "platform/machine/os.h"
#include "platform/machine/timer.h"
#include "platform/package/package.h"

#include <algorithm>

namespace kest {
namespace {

using State = CKestExtensionManager::State;
using Failure = OperationReport::Failure;

constexpr std::size_t kLongestName = 31;
constexpr std::size_t kLongestPackageName = 23;
constexpr int kSeveralPrimaries = -4;
constexpr int kFewestWithProgress = 3;

/// What a packaging was asked, and what its phases find out for each other.
struct PackContext {
  State& state;
  CString description;
  CString target;
  const CKestProduct* product;
  bool repackage;
  bool progress;
  bool portable;
  bool asStep; ///< inside an operation, putting the package in place is a step of that

  CKestExtension extension{};
  CString temporary{}; ///< where the package is built; empty before and after
  int result = -1;
  int position = 0;

  /// Notes and shows what is wrong. Always false.
  bool Refuse(int code, Failure kind, Message message, const std::vector<text::Argument>& arguments,
              const CString& path, const CString& reason, const CString& next = CString()) {
    result = code;
    state.Fail(kind, path, reason, static_cast<int>(message), next);
    state.Ui().NoticeWith(message, arguments, Message::kNotPackaged);
    return false;
  }
};

bool CheckNames(PackContext& context) {
  if (!context.portable || context.description.empty() || context.target.empty()) {
    return true;
  }
  const auto check = [&context](const CString& path, std::size_t most) {
    const CString name = CKestPath(path).GetFileName();
    return name.size() <= most ||
           context.Refuse(-1, Failure::kBadDescription, Message::kNameTooLong, {name, static_cast<long long>(most)},
                          path, "its name is longer than other platforms take");
  };
  return check(context.description, kLongestName) && check(context.target, kLongestPackageName);
}

bool LoadDescription(PackContext& context) {
  CKestTypedList<CKestString> errors;
  CKestOS::GetMachine().ClearLastError();
  const int code = context.extension.Load(context.description.c_str(), &errors);
  const CString reason = errors.IsEmpty() ? DescribeLoadCode(code) : errors[errors.GetCount() - 1];
  if (context.portable && context.extension.HasMultiplePrimaryProducts()) {
    return context.Refuse(kSeveralPrimaries, Failure::kBadDescription, Message::kSeveralPrimaries, {},
                          context.description, "several products are marked primary");
  }
  if (code == CKestExtension::kLoaded) {
    return true;
  }
  const Failure why = FailureOfReading(Failure::kBadDescription);
  const bool missing = CKestOS::GetMachine().FileExists(context.description) == Answer::kNo;
  const Message message = code == CKestExtension::kParentPath  ? Message::kParentInDescription
                          : code == kSeveralPrimaries          ? Message::kSeveralPrimaries
                          : code == CKestExtension::kBrokenTag ? Message::kStraySlash
                                                               : Message::kDescriptionUnreadable;
  return context.Refuse(code, missing ? Failure::kNotFound : why, message, {}, context.description, reason);
}

/// What a published description must have; an installed one is taken as it is.
bool CheckItems(PackContext& context) {
  const CKestExtension& extension = context.extension;
  const struct {
    bool missing;
    Message item;
  } items[] = {
      {extension.GetName().empty(), Message::kItemName},
      {extension.GetVersion().IsUnset(), Message::kItemVersion},
      {extension.GetType() == 0 && extension.GetTypeLabel().empty(), Message::kItemType},
      {extension.GetAuthorName().empty(), Message::kItemAuthor},
      {extension.GetProducts().GetCount() == 0, Message::kItemProducts},
      {extension.GetDesc().empty(), Message::kItemDescription},
      {extension.GetUIAccess().empty(), Message::kItemUiAccess},
  };
  bool complete = true;
  CString list;
  CString names;
  for (const auto& one : items) {
    if (!one.missing) {
      continue;
    }
    complete = false;
    const CString item = LoadMessage(one.item);
    if (!item.empty()) {
      list += "\r\n" + item;
      names += (names.empty() ? "" : ", ") + item;
    }
  }
  if (complete || context.repackage) {
    return true;
  }
  context.state.Fail(Failure::kBadDescription, context.description, "it lacks " + names,
                     static_cast<int>(Message::kItemsMissing));
  context.state.Ui().NoticeText(Message::kItemsMissing, LoadMessage(Message::kItemsMissing) + "\r\n" + list +
                                                            "\r\n\r\n" + LoadMessage(Message::kNotPackaged));
  return false;
}

/// The platform's packaging failed: a bare word is all there is to say.
bool ShowError(PackContext& context, const CKestPackage& package, const CString& path, int code) {
  context.result = code != 0 ? code : -1;
  const CString problem = package.GetProblem();
  const Failure kind = FailureOf(CKestOS::GetMachine().GetLastError());
  context.state.Fail(kind, path, problem.empty() ? CString("it could not be packed") : problem);
  context.state.Ui().NoticeText(Message{0}, "Error");
  return false;
}

/// A file that is put in place at the next log-on is taken from where it waits. False when it cannot be.
bool TakeWaiting(PackContext& context, CString& path) {
  Machine& machine = CKestOS::GetMachine();
  WaitingFile waiting;
  if (machine.FileExists(path) != Answer::kNo || FindWaitingFile(path, waiting) == Answer::kNo) {
    return true;
  }
  if (waiting.pending.empty() || machine.FileExists(waiting.pending) != Answer::kYes) {
    return context.Refuse(-1, Failure::kInUse, Message::kFileMissing, {path}, path,
                          "it is put in place at the next log-on, and what waits for that cannot be read",
                          "restart the machine first");
  }
  path = waiting.pending;
  return true;
}

/// Packs one file of the description. True when the next one may follow.
bool PackOne(PackContext& context, CKestPackage& package, const FilePlacement::Resolver& resolver,
             const CKestExtensionFile& file) {
  FilePlace place = resolver.Locate(file);
  if (context.repackage && place.unsafe) {
    return true;
  }
  if (context.portable && place.source.GetExtension().empty() && file.GetWinExtension().empty() &&
      file.GetPlatform() == 0) {
    context.state.Fail(Failure::kBadDescription, place.source, "it has no file extension",
                       static_cast<int>(Message::kNoFileExtension));
    context.state.Ui().Notice(Message::kNoFileExtension);
    return false;
  }
  if (context.repackage && place.destination.GetExtension().empty() && !file.GetWinExtension().empty()) {
    place.destination.SetExtension(file.GetWinExtension());
  }
  if (!place.why.empty()) {
    context.state.Fail(Failure::kBadDescription, file.GetSource(), place.why);
    context.state.Ui().NoticeText(Message{0}, place.DescribeUnsafe(file) + LoadMessage(Message::kNotPackaged));
    return false;
  }
  CString path = context.repackage ? place.destination.GetText() : place.source.GetText();
  if (context.repackage && !TakeWaiting(context, path)) {
    return false;
  }
  if (CKestOS::GetMachine().FileExists(path) != Answer::kYes) {
    return context.Refuse(-1, Failure::kNotFound, Message::kFileMissing, {path}, path, "it is not there");
  }
  if (!context.repackage && place.source.GetFileName().size() > kLongestName) {
    return context.Refuse(-1, Failure::kBadDescription, Message::kNameTooLong,
                          {place.source.GetFileName(), static_cast<long long>(kLongestName)}, path,
                          "its name is longer than other platforms take");
  }
  const int code = package.PackFile(PackageEntryName(file.GetSource()).c_str(), path.c_str(), true, false);
  return code == CKestPackage::kGood || ShowError(context, package, path, code);
}

// The host is let run so often; before each of thousands of small files it would take longer than the packing.
constexpr std::int64_t kBreath = 50;

bool PackFiles(PackContext& context, CKestPackage& package) {
  const HostUi ui = context.state.Ui();
  package.SetRelativeRoot(context.state.unpackFolder);
  const int code = package.PackFile(context.description.c_str(), false, false);
  if (code != CKestPackage::kGood) {
    return ShowError(context, package, context.description, code);
  }
  const auto advance = [&] {
    if (context.progress) {
      ui.SetProgressPosition(++context.position);
    }
  };
  advance();
  const FilePlacement::Resolver resolver(context.state.placement, context.product, &context.extension);
  CKestTimer breath(kBreath);
  for (const CKestExtensionFile& file : context.extension.GetFiles()) {
    if (breath.IsDone()) {
      CKestOS::AllowBackgroundProcessing();
      breath.Start();
    }
    if (context.state.IsCancelled()) {
      return false;
    }
    if (context.repackage && !IsPlaced(file)) {
      continue;
    }
    if (!PackOne(context, package, resolver, file)) {
      return false;
    }
    advance();
  }
  return package.Finish() || ShowError(context, package, context.temporary, CKestPackage::kCannotWrite);
}

bool BuildPackage(PackContext& context) {
  State& state = context.state;
  CString folder;
  if (!CKestOS::GetTempPath(folder) || !CKestOS::GetTempFileName(folder, "kep", context.temporary)) {
    return context.Refuse(-1, FailureOf(CKestOS::GetMachine().GetLastError()), Message::kPackageNotCreated, {folder},
                          folder, "no temporary file could be made");
  }
  CKestPackage package(nullptr);
  const int code = package.Create(context.temporary.c_str());
  if (code != CKestPackage::kGood) {
    return context.Refuse(code, FailureOf(CKestOS::GetMachine().GetLastError()), Message::kPackageNotCreated,
                          {context.temporary}, context.temporary, "the package file could not be created");
  }
  const int count = static_cast<int>(context.extension.GetFiles().GetCount()) + 1;
  context.progress = context.progress && count > kFewestWithProgress;
  if (context.progress) {
    state.Ui().BeginProgress(Message::kPackaging);
    state.Ui().SetProgressRange(count);
  }
  const bool packed = PackFiles(context, package);
  if (context.progress) {
    state.Ui().EndProgress();
  }
  return packed;
}

/// The new package takes the place of an old one in one move.
bool PlacePackage(PackContext& context) {
  State& state = context.state;
  const Answer before = CKestOS::GetMachine().FileExists(context.target);
  const bool placed = context.asStep ? RunStep<CInstallPlaceFile>(state.journal, context.temporary, context.target) == 0
                                     : CKestOS::GetMachine().ReplaceFile(context.temporary, context.target) ||
                                           CKestOS::CopyFile(context.temporary, context.target);
  if (!placed) {
    state.FailByMachine(context.target, "the package could not be put in place");
    return false;
  }
  if (state.depth == 1) { // else the steps tell, or it is a file of the engine's own
    (before == Answer::kNo ? state.report.created : state.report.changed).push_back(context.target);
  }
  return true;
}

using Phase = bool (*)(PackContext&);
constexpr Phase kPhases[] = {CheckNames, LoadDescription, CheckItems, BuildPackage, PlacePackage};

} // namespace

int CKestExtensionManager::CreatePackage(const char* description, const char* package, const CKestProduct* product,
                                         bool repackage, bool progress, bool portable) {
  State& state = *m_state;
  if (state.ui == nullptr) {
    return -1;
  }
  return Guarded(state, -1, [&] {
    OperationScope operation(state, OperationReport::Operation::kPackage);
    if (!operation.MayWrite()) {
      return -1;
    }
    const Restored unpackFolder(state.unpackFolder);
    const CString target = package != nullptr ? package : "";
    PackContext context{.state = state,
                        .description = description != nullptr ? description : "",
                        .target = target,
                        .product = product,
                        .repackage = repackage,
                        .progress = progress,
                        .portable = portable,
                        .asStep = !operation.IsOutermost() && !private_folders::Holds(target)};
    state.unpackFolder = CKestPath(context.description).GetFolder();
    bool done = true;
    for (const Phase phase : kPhases) {
      done = done && !state.IsCancelled() && phase(context);
    }
    if (operation.IsOutermost()) {
      state.report.extension = context.extension.GetName();
      state.report.version = context.extension.GetVersion().ToText();
      state.report.author = context.extension.GetAuthorName();
    }
    if (done) {
      return 0;
    }
    state.Fail(Failure::kOther, context.description, "the package could not be made");
    if (!context.temporary.empty()) {
      CKestOS::DeleteFile(context.temporary);
    }
    return context.result;
  });
}

} // namespace kest
