#include "manager/clash_parts.h"
#include "manager/install.h"
#include "manager/read_failure.h"
#include "platform/machine/os.h"

namespace kest::install {
namespace {

using Failure = OperationReport::Failure;

/// A folder of its own inside the private one, so that nothing in a package meets what else lies there.
bool MakeUnpackFolder(CString& folder) {
  CString temp;
  if (!CKestOS::GetTempPath(temp)) {
    return false;
  }
  for (int number = 1; number < 10000; ++number) {
    folder = temp + "files" + std::to_string(number);
    if (!CKestOS::DirectoryExists(folder)) {
      const bool made = CKestOS::GetMachine().CreatePrivateDirectory(folder);
      folder += '\\';
      return made;
    }
  }
  return false;
}

std::uint64_t SpaceFor(const std::vector<PackageEntry>& entries) {
  constexpr std::uint64_t kMargin = 1u << 20;
  constexpr std::uint64_t kCluster = 4096; // a file takes whole blocks
  std::uint64_t bytes = kMargin;
  for (const PackageEntry& entry : entries) {
    bytes += (entry.size / kCluster + 1) * kCluster;
  }
  return bytes;
}

bool HasSpace(Context& context, const CString& folder, std::uint64_t need) {
  std::uint64_t available = 0;
  if (!CKestOS::GetMachine().GetFreeSpace(folder, available) || available >= need) {
    return true; // where the machine cannot tell, the steps will
  }
  context.state.Fail(Failure::kDiskFull, folder,
                     "it needs " + std::to_string(need) + " bytes and " + std::to_string(available) + " are free", 0,
                     "make room on the disk and try again");
  return false;
}

/// Lists the package and finds the description in it.
bool ListPackage(Context& context, CKestPackage& package) {
  CKestOS::GetMachine().ClearLastError();
  const int listed = package.GetEntries(context.entries);
  if (listed != CKestPackage::kGood) {
    const bool damaged = listed == CKestPackage::kUnreadable || listed == CKestPackage::kDamaged;
    return context.Refuse(FailureOfReading(Failure::kBadPackage),
                          damaged ? Message::kPackageUnreadable : Message::kPackageNotReadable, {}, context.path,
                          package.GetProblem());
  }
  if (context.progress) {
    const int range = static_cast<int>((2.0 * static_cast<double>(context.entries.size()) + 2.0) * 1.05);
    context.position = range / 20;
    context.state.Ui().SetProgressRange(range);
    context.state.Ui().SetProgressPosition(context.position);
  }
  for (const PackageEntry& entry : context.entries) {
    if (text::EqualNoCase(CKestPath(entry.name).GetExtension(), "kei")) {
      context.state.descriptionName = entry.name;
      return true;
    }
  }
  context.state.Fail(Failure::kBadPackage, context.path, "it holds no description (.kei)");
  return false;
}

} // namespace

bool OpenFile(Context& context) {
  if (CKestOS::GetMachine().FileExists(context.path) != Answer::kYes) {
    context.state.Fail(Failure::kNotFound, context.path, "there is no such file",
                       static_cast<int>(Message::kPackageMissing));
    context.state.Ui().Notice(Message::kPackageMissing, {context.path});
    return false;
  }
  if (context.progress) {
    context.state.Ui().BeginProgress(Message::kInstalling);
    context.state.Ui().SetProgressRange(20);
    context.state.Ui().SetProgressPosition(context.position = 1);
  }
  CKestPath(context.path).Split(context.state.unpackFolder, context.state.descriptionName);
  context.descriptionPath = context.path;
  return true;
}

bool UnpackPackage(Context& context) {
  CKestExtensionManager::State& state = context.state;
  context.fromPackage = text::EqualNoCase(CKestPath(context.path).GetExtension(), "kep");
  if (!context.fromPackage) {
    return true;
  }
  CKestPackage package(context.path.c_str());
  if (!ListPackage(context, package)) {
    return false;
  }
  CString folder;
  if (!MakeUnpackFolder(folder)) {
    state.FailByMachine(folder, "the folder to unpack into could not be made");
    return false;
  }
  if (!HasSpace(context, folder, SpaceFor(context.entries))) {
    return false;
  }
  CKestOS::GetMachine().ClearLastError();
  context.hashes.resize(context.entries.size());
  const int unpacked = package.UnPackTo(
      folder, [&state] { return state.WantsCancel(); },
      [&](std::size_t number, const CString& hash) {
        context.hashes[number] = hash;
        context.unpacked.emplace(text::Lower(folder + context.entries[number].name), number);
      });
  if (state.IsCancelled()) {
    return false;
  }
  if (unpacked != CKestPackage::kGood) {
    const MachineError error = CKestOS::GetMachine().GetLastError();
    const bool isOfMachine = unpacked == CKestPackage::kCannotWrite || error.kind == MachineError::Kind::kOther ||
                             FailureOf(error) != Failure::kOther;
    state.Fail(isOfMachine ? FailureOf(error) : Failure::kBadPackage, context.path, package.GetProblem());
    return false;
  }
  CKestOS::GetMachine().StartSync(folder);
  context.descriptionPath = folder + state.descriptionName;
  CKestPath(context.descriptionPath).Split(state.unpackFolder, state.descriptionName);
  return true;
}

bool ReadDescription(Context& context) {
  CKestTypedList<CKestString> errors;
  clashes::DropListener listener;
  context.extension = std::make_unique<CKestExtension>();
  CKestOS::GetMachine().ClearLastError();
  if (context.extension->Load(context.descriptionPath.c_str(), &errors, &listener) != CKestExtension::kLoaded) {
    return context.Refuse(FailureOfReading(Failure::kBadDescription), Message::kDescriptionUnreadable, {}, context.path,
                          errors.IsEmpty() ? CString("its description cannot be read") : errors[errors.GetCount() - 1],
                          "see what a check of the file says");
  }
  context.dropped = std::move(listener.dropped);
  OperationReport& report = context.state.report;
  if (context.state.depth == 1 || report.extension.empty()) {
    report.extension = context.extension->GetName();
    report.version = context.extension->GetVersion().ToText();
    report.author = context.extension->GetAuthorName();
  }
  context.steps.SetOperation("install " + context.extension->GetName());
  if (!CKestOS::GetFileDateTime(context.path, context.date)) {
    context.state.FailByMachine(context.path, "its date cannot be read");
    return false;
  }
  if (context.extension->GetName().empty()) {
    return context.Refuse(Failure::kBadDescription, Message::kNameMissing, {}, context.path, "it names no extension");
  }
  return true;
}

bool CheckFreeSpace(Context& context) {
  if (!context.fromPackage) {
    return true;
  }
  CString folder;
  context.product->GetInstallFolder(folder);
  // on the volume that it was unpacked on, placing is moving
  return CKestOS::GetMachine().SameVolume(context.state.unpackFolder, folder) ||
         HasSpace(context, folder, SpaceFor(context.entries));
}

bool AskAgreement(Context& context) {
  if (context.quiet) {
    return true;
  }
  const CString prompt = FormatMessage(Message::kAgreementPrompt, {context.extension->GetName()});
  return context.state.Ui().ConfirmAgreement(Message::kAgreementPrompt, prompt, BuildLegalAgreement(),
                                             {context.extension->GetName()}) ||
         context.Declined(Message::kAgreementPrompt);
}

} // namespace kest::install
