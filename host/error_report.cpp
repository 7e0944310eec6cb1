#include "host/error_report.h"

#include "host/terminal/console_ui.h"
#include "host/terminal/terminal.h"
#include "host/terminal/text_width.h"
#include "manager/operation_report.h"
#include "platform/machine/machine.h"

#include <fmt/format.h>

#include <algorithm>

namespace kest::host {
namespace {

using Failure = OperationReport::Failure;

struct FailureRow {
  Failure failure;
  ExitCode exit;
  const char* why;
  const char* next;
};

constexpr FailureRow kFailures[] = {
    {Failure::kDeclined, kDeclinedOrUnanswered, "it was declined", "to go on after all, run it again"},
    {Failure::kNotFound, kNotFoundHere, "a file, product or extension is not there", "see what is there: kest list"},
    {Failure::kUnsupportedProduct, kNoProductSupports, "no product here supports it",
     "see what is here: kest products --all"},
    {Failure::kBadPackage, kBadInput, "the package cannot be used",
     "get the package again, or see: kest validate FILE"},
    {Failure::kBadDescription, kBadInput, "the description cannot be used", "see: kest validate FILE"},
    {Failure::kInUse, kInUseOrLocked, "a file is in use", "close the program that uses it, or wait with --wait SEC"},
    {Failure::kNoPermission, kInUseOrLocked, "you have no right to write there", "ask the owner of the machine folder"},
    {Failure::kLocked, kInUseOrLocked, "another process is changing the machine", "try again, or wait with --wait SEC"},
    {Failure::kDiskFull, kInUseOrLocked, "the disk is full", "make room and try again"},
    {Failure::kAlreadyThere, kDone, "the same extension is enabled already", "nothing is to be done"},
    {Failure::kNoMemory, kFailed, "there is not enough memory", "close other programs and try again"},
    {Failure::kOther, kFailed, "the engine gives no reason", "try again with --verbose --log FILE"},
};

const FailureRow& RowOf(Failure failure) {
  for (const FailureRow& row : kFailures) {
    if (row.failure == failure) {
      return row;
    }
  }
  return kFailures[std::size(kFailures) - 1];
}

// The last thing that the engine said, as one line.
std::string LastNotice(const Outcome& outcome, int& number) {
  for (auto at = outcome.messages.rbegin(); at != outcome.messages.rend(); ++at) {
    if (at->style == 0) {
      number = at->number;
      return ForTerminal(at->text);
    }
  }
  return "";
}

// The problem that the operation failed by; null when the engine named none.
const OperationReport::Problem* FatalProblem(const OperationReport& report) {
  const auto at =
      std::find_if(report.problems.begin(), report.problems.end(), [](const auto& one) { return one.fatal; });
  return at == report.problems.end() ? nullptr : &*at;
}

// Whether the reason names the file, in full or by its end.
bool Names(const std::string& reason, const std::string& path) {
  return reason.find(path) != std::string::npos || path.ends_with("\\" + reason.substr(0, reason.find(' ')));
}

std::string Why(const OperationReport& report, const Outcome& outcome, int& number) {
  if (outcome.interrupted) {
    return "you pressed Ctrl-C";
  }
  if (!outcome.missingFlag.empty()) {
    return "a question needs an answer: " + ForTerminal(outcome.question);
  }
  if (!outcome.notThere.empty()) {
    return outcome.notThere;
  }
  if (const OperationReport::Problem* problem = FatalProblem(report)) {
    number = problem->message;
    const std::string path = Shown(problem->path);
    const std::string reason = Shown(problem->reason);
    if (outcome.inUse && !path.empty()) {
      return path + " stayed in use" + (reason.empty() ? "" : ": " + reason);
    }
    if (!reason.empty()) {
      return path.empty() || Names(reason, path) ? reason : path + ": " + reason;
    }
  }
  if (outcome.inUse) {
    return "a file stayed in use";
  }
  if (outcome.declined) {
    return "you said no, or cancelled";
  }
  const std::string notice = LastNotice(outcome, number);
  return notice.empty() ? RowOf(report.failure).why : notice;
}

std::string Changed(const OperationReport& report) {
  if (!report.rolledBack) {
    return "the undo is incomplete; what could not be put back is listed below";
  }
  if (report.undoneSteps == 0) {
    return "nothing";
  }
  return (report.undoneSteps == 1 ? std::string("nothing: its one step undone")
                                  : fmt::format("nothing: all {} steps undone", report.undoneSteps)) +
         (report.replaced.empty() ? "" : fmt::format(", \"{}\" put back", Shown(report.replaced)));
}

} // namespace

void PrintError(Terminal& terminal, const ErrorReport& error) {
  terminal.Say(terminal.Paint(Style::kError, "error:") + " " + error.what);
  const auto part = [&](const char* name, const std::string& text) {
    if (!text.empty()) {
      terminal.Say(fmt::format("  {:<8} {}", name, text));
    }
  };
  part("why", error.why);
  part("changed", error.changed);
  for (const std::string& left : error.left) {
    part("left", left);
  }
  part("next", error.next);
  if (error.message != 0) {
    terminal.Say(fmt::format("  [message {}]", error.message));
  }
}

Json ErrorJson(const ErrorReport& error) {
  Json json = Json::object();
  json["what"] = error.what;
  json["why"] = error.why;
  json["changed"] = error.changed;
  json["left"] = error.left;
  json["next"] = error.next;
  json["message"] = error.message != 0 ? Json(error.message) : Json(nullptr);
  return json;
}

ExitCode ExitCodeOf(const MachineError& error) {
  using Kind = MachineError::Kind;
  const bool isOfUsersMaking = error.kind == Kind::kAccess || error.kind == Kind::kRefused ||
                               error.kind == Kind::kInUse || error.kind == Kind::kDiskFull;
  return isOfUsersMaking ? kInUseOrLocked : kFailed;
}

ExitCode ExitCodeOf(const OperationReport& report, const Outcome& outcome) {
  if (report.Succeeded()) {
    return kDone;
  }
  if (!report.rolledBack) {
    return kUndoIncomplete;
  }
  if (outcome.interrupted) {
    return kInterrupted;
  }
  if (!outcome.missingFlag.empty()) {
    return kDeclinedOrUnanswered;
  }
  if (!outcome.notThere.empty()) {
    return kNotFoundHere;
  }
  if (outcome.inUse) {
    return kInUseOrLocked;
  }
  if (outcome.equal) {
    return kDone;
  }
  return outcome.declined ? kDeclinedOrUnanswered : RowOf(report.failure).exit;
}

ErrorReport DescribeFailure(const OperationReport& report, const Outcome& outcome, const std::string& subject,
                            const std::string& verb, const std::string& changesOf) {
  ErrorReport error;
  error.what = fmt::format("{} was not {}", subject, verb) +
               (report.product.empty() ? "" : fmt::format(" in {}", Shown(report.product)));
  error.why = Why(report, outcome, error.message);
  error.changed = Changed(report);
  for (const OperationReport::Leftover& leftover : report.leftovers) {
    error.left.push_back(fmt::format("{} ({})", Shown(leftover.path), Shown(leftover.why)) +
                         (leftover.backup.empty() ? "" : "; its old state: " + Shown(leftover.backup)));
  }
  if (!report.rolledBack && error.left.empty()) {
    error.left.emplace_back("what the operation had done so far");
  }
  if (!report.rolledBack) {
    error.next = "run: kest recover";
  } else if (!outcome.notThere.empty()) {
    error.next = "name another folder with --set TOKEN=DIR; the drives are in: kest machine show";
  } else if (!outcome.missingFlag.empty()) {
    error.next = "answer it with " + outcome.missingFlag;
  } else if (outcome.interrupted || outcome.declined) {
    error.next = RowOf(Failure::kDeclined).next;
  } else {
    const OperationReport::Problem* problem = FatalProblem(report);
    error.next = problem && !problem->next.empty() ? Shown(problem->next) : RowOf(report.failure).next;
    if (outcome.inUse) {
      error.next += error.next.find("--wait") == std::string::npos ? ", or wait longer with --wait SEC" : "";
      return error;
    }
    if (problem && !problem->change.empty() && !changesOf.empty()) {
      error.next += (error.next.empty() ? "" : "; ") + fmt::format("see: kest info {} --changes", changesOf);
    }
  }
  return error;
}

} // namespace kest::host
