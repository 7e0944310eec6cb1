#include "host/commands.h"

#include "host/session.h"
#include "host/terminal/text_width.h"
#include "journal/waiting_file.h"
#include "platform/machine/os.h"

#include <fmt/format.h>

namespace kest::host {
namespace {

bool CarryOut(const WaitingFile& replacement) {
  Machine& machine = CKestOS::GetMachine();
  if (!IsYes(machine.FileExists(replacement.pending))) {
    return false;
  }
  if (machine.IsFileReadOnly(replacement.destination) != Answer::kNo &&
      !machine.SetFileReadOnly(replacement.destination, false)) {
    return false;
  }
  return machine.ReplaceFile(replacement.pending, replacement.destination);
}

} // namespace

int RunMachineLogon(Session& session) {
  int exit = kDone;
  if (!session.OpenMachine(exit)) {
    return exit;
  }
  Machine& machine = session.GetMachine();
  const WriterLock lock = machine.LockWriter(std::int64_t{std::max(session.options.wait, 0)} * 1000);
  if (!lock.held) {
    return session.Fail(kInUseOrLocked, {"the log-on was not done",
                                         "the machine is being changed by " + Shown(lock.holder),
                                         "nothing",
                                         {},
                                         "try again, or wait with --wait SEC",
                                         0});
  }
  std::vector<WaitingFile> waiting;
  static_cast<void>(ListWaitingFiles(waiting));
  int failed = 0;
  int done = 0;
  std::string why;
  for (const WaitingFile& replacement : waiting) {
    const bool carried = CarryOut(replacement) &&
                         machine.DeleteRegistryValue(RegistryRoot::kCurrentUser, kRunOnceKey, replacement.value);
    (carried ? done : failed) += 1;
    why = carried ? why : Shown(replacement.destination) + " could not be replaced";
    session.document["replacements"].push_back(
        {{"destination", PathJson(&session.GetMachine(), replacement.destination)},
         {"pending", ToUtf8(replacement.pending)},
         {"done", carried}});
    session.terminal.Notice((carried ? "Replaced " : "Not replaced: ") + Shown(replacement.destination));
  }
  machine.UnlockWriter();
  if (failed > 0) {
    return session.Fail(kFailed, {"the log-on is not complete",
                                  why,
                                  fmt::format("{} of {} files", done, done + failed),
                                  {},
                                  "try again: kest machine logon",
                                  0});
  }
  session.terminal.Notice(done == 0 ? "Nothing was waiting for the next log-on."
                                    : fmt::format("{} file{} replaced.", done, done == 1 ? "" : "s"));
  return kDone;
}

} // namespace kest::host
