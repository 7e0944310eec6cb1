#include "description/extension.h"
#include "journal/private_steps.h"
#include "manager/operation_scope.h"
#include "platform/machine/os.h"
#include "platform/package/package.h"

#include <unordered_map>

namespace kest {
namespace {

using State = CKestExtensionManager::State;
using Failure = OperationReport::Failure;

constexpr int kLongestStem = 27;
constexpr std::uint64_t kLongestDescription = 16u << 20;

/// What a disable is about, and what its phases find out for each other.
struct DisableContext {
  State& state;
  const CKestProduct& product;
  CKestExtension& extension;
  bool progress;
  CKestPath aside;     ///< where the description is going to lie
  CKestPath package{}; ///< beside it
  bool needsPackage = true;
  int result = -1; ///< of the phase that failed
  int restart = 0;
};

/// Whether the package's first entry is a description of the extension that is being disabled.
bool IsPackageOfExtension(const DisableContext& context, CKestPackage& package, const PackageEntry& first) {
  CString text;
  CKestExtension packed;
  if (package.UnPackToMemory(first.name, kLongestDescription, text) != CKestPackage::kGood ||
      packed.LoadText(text, nullptr) != CKestExtension::kLoaded) {
    return false;
  }
  const CKestExtension& own = context.extension;
  return text::EqualNoCase(packed.GetName(), own.GetName()) &&
         text::EqualNoCase(packed.GetAuthorName(), own.GetAuthorName()) && packed.CompareVersion(own) == 0;
}

/// A package from an earlier disable will do when it is of this extension, and holds each installed file as it is now:
/// somebody may have put an older file in a place by hand, or a package of another extension in this one.
bool IsPackageUpToDate(const DisableContext& context) {
  CKestPackage package(context.package.GetText().c_str());
  std::vector<PackageEntry> entries;
  if (CKestOS::GetMachine().FileExists(context.package) != Answer::kYes ||
      package.GetEntries(entries) != CKestPackage::kGood || entries.empty() ||
      !IsPackageOfExtension(context, package, entries.front())) {
    return false;
  }
  std::unordered_map<CString, const PackageEntry*> byName;
  for (const PackageEntry& entry : entries) {
    byName.emplace(text::Lower(entry.name), &entry);
  }
  const FilePlacement::Resolver resolver(context.state.placement, &context.product, &context.extension);
  for (const CKestExtensionFile& file : context.extension.GetFiles()) {
    const FilePlace place = IsPlaced(file) ? resolver.Locate(file) : FilePlace{};
    if (!IsPlaced(file) || place.result != FilePlace::kResolved) {
      continue;
    }
    const auto entry = byName.find(text::Lower(PackageEntryName(file.GetSource())));
    std::uint64_t size = 0;
    CKestDateTime date;
    if (entry == byName.end() || !IsYes(CKestOS::GetMachine().GetFileSize(place.destination, size)) ||
        !CKestOS::GetFileDateTime(place.destination, date) || size != entry->second->size ||
        date != entry->second->date) {
      return false;
    }
  }
  return true;
}

/// A name in the folder that neither a description nor a package has.
bool FindFreeStem(const DisableContext& context, CKestPath& description, CKestPath& package) {
  const CString folder = context.package.GetFolder();
  CKestPath stem(context.package.GetFileName());
  stem.SetExtension("");
  for (int number = 1; number < 1000; ++number) {
    CString path = folder + stem.GetText() + (number == 1 ? CString() : std::to_string(number)) + ".kep";
    if (!CKestOS::DeriveUniqueFileName(path, kLongestStem)) {
      return false;
    }
    package = CKestPath(path);
    description = package;
    description.SetExtension("kei");
    const Answer presence = CKestOS::GetMachine().FileExists(description);
    if (presence != Answer::kYes) {
      return presence == Answer::kNo;
    }
  }
  return false;
}

/// Another disabled extension has a description of this name: it moves to a name of its own, with its package.
bool MakeWay(DisableContext& context) {
  State& state = context.state;
  const Answer taken = CKestOS::GetMachine().FileExists(context.aside);
  if (taken == Answer::kNo) {
    context.needsPackage = !IsPackageUpToDate(context);
    return true;
  }
  CKestPath description;
  CKestPath package;
  if (taken == Answer::kCannotTell || !FindFreeStem(context, description, package)) {
    state.FailByMachine(context.aside, "another disabled extension has a description of this name");
    return false;
  }
  CKestExtension* other = state.owner.FindByPath(context.aside.c_str());
  const Answer packed = CKestOS::GetMachine().FileExists(context.package);
  if (packed == Answer::kCannotTell || RunStep<CInstallMoveFile>(state.journal, context.aside, description) != 0 ||
      (packed == Answer::kYes && RunStep<CInstallMoveFile>(state.journal, context.package, package) != 0) ||
      (other != nullptr && ChangeRecord(state, *other, other->IsEnabled(), description) != 0)) {
    state.FailByMachine(context.aside, "another disabled extension has this name and cannot be moved");
    return false;
  }
  return true;
}

bool BuildPackage(DisableContext& context) {
  if (!context.needsPackage) {
    return true;
  }
  context.result = context.state.owner.CreatePackage(context.extension.GetPath().c_str(), context.package.c_str(),
                                                     &context.product, true, context.progress, false);
  return context.result == 0;
}

/// The description goes aside first: the uninstall then finds nothing of it to delete.
bool MoveDescription(DisableContext& context) {
  context.result = -1;
  if (RunStep<CInstallMoveFile>(context.state.journal, context.extension.GetPath(), context.aside) != 0) {
    context.state.FailByMachine(context.aside, "the description could not be put aside");
    return false;
  }
  return true;
}

bool RemoveFiles(DisableContext& context) {
  context.result = context.state.owner.UninstallExtension(&context.product, &context.extension, false, true, true,
                                                          false, false, context.restart, false);
  return context.result == 0;
}

/// What the package has need not be kept a second time.
bool NotePackaged(DisableContext& context) {
  if (!context.needsPackage) {
    return true;
  }
  const FilePlacement::Resolver resolver(context.state.placement, &context.product, &context.extension);
  for (const CKestExtensionFile& file : context.extension.GetFiles()) {
    const FilePlace place = IsPlaced(file) ? resolver.Locate(file) : FilePlace{};
    if (place.result == FilePlace::kResolved && !place.unsafe) {
      context.state.note.packaged[text::Lower(place.destination.GetText())] = {context.package,
                                                                               PackageEntryName(file.GetSource())};
    }
  }
  return true;
}

bool MarkDisabled(DisableContext& context) {
  return ChangeRecord(context.state, context.extension, false, context.aside) == 0;
}

using Phase = bool (*)(DisableContext&);
constexpr Phase kPhases[] = {MakeWay, BuildPackage, NotePackaged, MoveDescription, RemoveFiles, MarkDisabled};

bool RunPhases(DisableContext& context) {
  for (const Phase phase : kPhases) {
    if (context.state.IsCancelled() || !phase(context)) {
      return false;
    }
  }
  return true;
}

void TellRestart(DisableContext& context) {
  if (!context.product.IsRunning()) {
    return;
  }
  if (context.restart != 0) {
    CString name;
    context.product.GetName(name);
    context.state.Ui().Notice(Message::kDisabledRestartProduct, {name});
  } else {
    context.product.Refresh();
  }
}

} // namespace

int CKestExtensionManager::DisableExtension(const CKestProduct* product, CKestExtension* extension, bool progress) {
  State& state = *m_state;
  if (product == nullptr || extension == nullptr) {
    return -1;
  }
  return Guarded(state, -1, [&] {
    OperationScope operation(state, OperationReport::Operation::kDisable);
    if (!operation.MayWrite()) {
      return -1;
    }
    if (operation.IsOutermost()) {
      state.NameInReport(*product, *extension);
    }
    if (!extension->IsEnabled()) {
      state.Fail(Failure::kOther, extension->GetPath(), "it is disabled already");
      return -1;
    }
    if (!state.HasWholeRecord(*extension)) {
      return -1;
    }
    StepScope steps(state, "disable " + extension->GetName());
    DisableContext context{.state = state,
                           .product = *product,
                           .extension = *extension,
                           .progress = progress,
                           .aside = state.GetDisabledFolder(*product) + CKestPath(extension->GetPath()).GetFileName()};
    context.package = context.aside;
    context.package.SetExtension("kep");
    if (!RunPhases(context) || !steps.Commit()) {
      state.Fail(Failure::kOther, CString(), "the extension could not be disabled");
      return context.result != 0 ? context.result : -1;
    }
    state.report.restartProduct |= context.restart != 0;
    AfterDone([&] { TellRestart(context); });
    return 0;
  });
}

bool CKestExtensionManager::RestoreEnabledState(const CKestProduct* product, CKestExtension* extension) {
  if (product == nullptr || extension == nullptr) {
    return false;
  }
  if (extension->IsEnabled()) {
    return true;
  }
  const CString path = m_state->GetExtensionsPath(*product, CKestPath(extension->GetPath()).GetFileName());
  if (CKestOS::GetMachine().FileExists(path) != Answer::kYes ||
      CKestOS::GetMachine().FileExists(extension->GetPath()) != Answer::kNo) {
    return false;
  }
  extension->SetPath(path);
  extension->SetEnabled(true);
  return true;
}

} // namespace kest
