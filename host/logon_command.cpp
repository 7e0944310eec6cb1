#include "host/commands.h"

#include "host/preview_output.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "journal/waiting_file.h"
#include "platform/machine/os.h"

#include <fmt/format.h>

namespace kest::host {
namespace {

enum class Carried { kDone, kNot, kHalf };

/// Whoever was stopped half-way last time has put the file there, and only the entry is left.
Carried CarryOut(const WaitingFile& replacement) {
  Machine& machine = CKestOS::GetMachine();
  const Answer isPending = machine.FileExists(replacement.pending);
  if (isPending == Answer::kCannotTell || (isPending == Answer::kNo && !CKestOS::FileExists(replacement.destination))) {
    return Carried::kNot;
  }
  if (isPending == Answer::kYes) {
    const Answer isReadOnly = machine.IsFileReadOnly(replacement.destination);
    if (isReadOnly != Answer::kNo && !machine.SetFileReadOnly(replacement.destination, false)) {
      return Carried::kNot;
    }
    if (!machine.ReplaceFile(replacement.pending, replacement.destination)) {
      return isReadOnly != Answer::kYes || machine.SetFileReadOnly(replacement.destination, true) ? Carried::kNot
                                                                                                  : Carried::kHalf;
    }
  }
  const auto forget = [&] {
    return machine.DeleteRegistryValue(RegistryRoot::kCurrentUser, kRunOnceKey, replacement.value);
  };
  return forget() || forget() ? Carried::kDone : Carried::kHalf;
}

/// What became of all of them.
int Tell(Session& session, int done, int failed, const MachineError& error, const ErrorReport& first) {
  if (failed == 0) {
    session.terminal.Notice(done == 0 ? "Nothing was waiting for the next log-on."
                                      : fmt::format("{} file{} replaced.", done, done == 1 ? "" : "s"));
    return kDone;
  }
  ErrorReport report = first;
  report.what = "the log-on is not complete";
  report.changed = done == 0 ? "nothing" : fmt::format("{} of {} files are replaced", done, done + failed);
  report.next = "try again: kest machine logon";
  return session.Fail(report.left.empty() ? ExitCodeOf(error) : kUndoIncomplete, report);
}

} // namespace

int RunMachineLogon(Session& session) {
  int exit = kDone;
  if (!session.OpenMachine(exit)) {
    return exit;
  }
  Machine& machine = CKestOS::GetMachine();
  const WriterLock lock = machine.LockWriter(std::int64_t{std::max(session.options.wait, 0)} * 1000);
  if (!lock.held) {
    const MachineError refused = machine.GetLastError();
    const bool isHeld = refused.kind == MachineError::Kind::kInUse;
    return session.Fail(
        ExitCodeOf(refused),
        {"the log-on was not done",
         isHeld ? "the machine is being changed by " + (lock.holder.empty() ? "another process" : Shown(lock.holder))
                : "the machine cannot be changed: " + Shown(refused.reason),
         "nothing",
         {},
         "try again, or wait with --wait SEC",
         0});
  }
  std::vector<WaitingFile> waiting;
  machine.ClearLastError();
  if (ListWaitingFiles(waiting) == Answer::kCannotTell) {
    const MachineError error = machine.GetLastError();
    machine.UnlockWriter();
    return session.Fail(ExitCodeOf(error), {"the log-on was not done",
                                            "what waits for it could not be read: " + Shown(error.reason),
                                            "nothing",
                                            {},
                                            "try again: kest machine logon",
                                            0});
  }
  int failed = 0;
  int half = 0;
  int done = 0;
  MachineError error;
  ErrorReport report;
  OperationReport changes;
  for (const WaitingFile& replacement : waiting) {
    Carried carried = Carried::kHalf;
    session.own.operation = OperationReport::Operation::kRepair;
    session.own.failure = OperationReport::Failure::kOther;
    session.own.rolledBack = false;
    try {
      carried = CarryOut(replacement);
    } catch (const std::exception&) {
      machine.ClearLastError(); // it may or may not have been done
    }
    (carried == Carried::kDone ? done : failed) += 1;
    half += carried == Carried::kHalf ? 1 : 0;
    session.own.failure = failed == 0 ? OperationReport::Failure::kNone : OperationReport::Failure::kOther;
    session.own.rolledBack = done + half == 0;
    const std::string destination = Shown(replacement.destination);
    if (carried != Carried::kDone) {
      error = machine.GetLastError();
      report.why = destination + " could not be replaced" + (error.reason.empty() ? "" : ": " + Shown(error.reason));
    }
    if (carried == Carried::kHalf) {
      report.left.push_back(destination + " (replaced, but its entry still waits for the log-on)");
    }
    session.document["replacements"].push_back(
        {{"destination", PathJson(&session.GetMachine(), replacement.destination)},
         {"pending", ToUtf8(replacement.pending)},
         {"done", carried == Carried::kDone}});
    if (carried == Carried::kDone) {
      changes.changed.push_back(replacement.destination);
      changes.deleted.push_back(replacement.pending);
    }
    if (!session.options.dryRun || carried != Carried::kDone) {
      session.terminal.Notice((carried == Carried::kDone ? "Replaced " : "Not replaced: ") + destination);
    }
  }
  machine.UnlockWriter();
  if (session.options.dryRun && failed == 0) {
    return ShowPreview(session, changes, kDone);
  }
  const int code = Tell(session, done, failed, error, report);
  return session.options.dryRun ? ShowPreview(session, changes, code) : code;
}

} // namespace kest::host
