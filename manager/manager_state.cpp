#include "manager/manager_state.h"

#include "manager/read_failure.h"

#include "description/extension.h"
#include "platform/machine/os.h"

namespace kest {

using State = CKestExtensionManager::State;

OperationReport::Failure FailureOf(const MachineError& error) {
  using Failure = OperationReport::Failure;
  switch (error.kind) {
  case MachineError::Kind::kAccess:
  case MachineError::Kind::kRefused:
    return Failure::kNoPermission;
  case MachineError::Kind::kInUse:
    return Failure::kInUse;
  case MachineError::Kind::kDiskFull:
    return Failure::kDiskFull;
  default:
    return Failure::kOther;
  }
}

State::State(CKestExtensionManager& manager, CKestExtensionManagerUI* host) : owner(manager), ui(host) {
  journal.SetReach(&reach);
}

State::~State() = default;

CString State::GetDisabledFolder(const CKestProduct& product) const {
  CString folder;
  product.GetExtensionsFolder(folder);
  return WithBackslash(JoinPath({folder, "Disabled"}));
}

CString State::GetExtensionsPath(const CKestProduct& product, const CString& fileName) const {
  CString folder;
  product.GetExtensionsFolder(folder);
  return WithBackslash(std::move(folder)) + fileName;
}

bool State::IsCancelled() {
  if (!WantsCancel()) {
    return false;
  }
  if (report.failure == OperationReport::Failure::kNone) {
    Fail(OperationReport::Failure::kDeclined, CString(), "it was interrupted");
  }
  return true;
}

bool State::HasWholeRecord(const CKestExtension& extension) {
  constexpr auto kBad = OperationReport::Failure::kBadDescription;
  CKestOS::GetMachine().ClearLastError();
  if (extension.ReadRest()) {
    return true;
  }
  if (FailureOfReading(kBad) != kBad) {
    FailByMachine(extension.GetPath(), "the description cannot be read");
    return false;
  }
  Fail(OperationReport::Failure::kBadDescription, extension.GetPath(),
       "the description is not there any more, or was changed since it was listed", 0, "list the extensions again");
  return false;
}

void State::NameInReport(const CKestProduct& product, const CKestExtension& extension) {
  product.GetName(report.product);
  report.extension = extension.GetName();
  report.version = extension.GetVersion().ToText();
  report.author = extension.GetAuthorName();
}

void State::Fail(OperationReport::Failure kind, const CString& path, const CString& reason, int message,
                 const CString& next) {
  const MachineError open = CKestOS::GetMachine().GetUnanswered();
  const bool isFirst = report.failure == OperationReport::Failure::kNone;
  if (isFirst && kind != OperationReport::Failure::kDeclined && open.kind != MachineError::Kind::kNone) {
    // "not there" or "damaged" is a guess of somebody who could not look
    const CString what = open.path.empty() || open.path == path ? CString("it could not be looked at")
                                                                : "a question about " + open.path + " had no answer";
    Note({FailureOf(open), path.empty() ? open.path : path, open.reason.empty() ? what : what + ": " + open.reason, 0,
          "try again", CString(), true});
  }
  Note({kind, path, reason, message, next, CString(), true});
}

void State::Note(OperationReport::Problem problem) {
  if (problem.fatal && report.failure == OperationReport::Failure::kNone) {
    report.failure = problem.kind;
  }
  report.problems.push_back(std::move(problem));
}

void State::FailByMachine(const CString& path, const CString& what, int message) {
  FailByError(CKestOS::GetMachine().GetLastError(), path, what, message);
}

void State::FailByError(const MachineError& error, const CString& path, const CString& what, int message) {
  CString next;
  if (FailureOf(error) == OperationReport::Failure::kDiskFull) {
    next = "make room on the disk and try again";
  } else if (FailureOf(error) == OperationReport::Failure::kInUse) {
    // a file of the machine itself is the registry, which all of its programs have open
    next = error.path.starts_with("/") ? "end the running programs of the machine and try again"
                                       : "close the program that uses the file and try again";
  }
  const CString reason = error.reason.empty() ? what : what + ": " + error.reason;
  const CString& about = path.empty() ? error.path : path;
  if (error.kind == MachineError::Kind::kNone || error.kind == MachineError::Kind::kNotFound) {
    Fail(FailureOf(error), about, reason, message, next);
  } else {
    Note({FailureOf(error), about, reason, message, next, CString(), true});
  }
}

} // namespace kest
