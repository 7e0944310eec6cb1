#include "host/program.h"

#include "host/command_line.h"
#include "host/help.h"
#include "host/session.h"
#include "host/terminal/console.h"
#include "host/terminal/text_width.h"
#include "kest/version.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <new>
#include <optional>

namespace kest::host {
namespace {

// Puts result and error into the document, keeping the order of its keys.
void Complete(Session& session, int exit) {
  Json& document = session.document;
  document["ok"] = exit == kDone;
  if (document.contains("exit") || exit != kDone) {
    document["exit"] = exit;
  }
  if (session.GetError()) {
    document["error"] = ErrorJson(*session.GetError());
  }
}

int ReportUsage(Session& session, const CommandLine& line) {
  session.document = MakeDocument("error", false);
  return session.Fail(kUsage, {line.problem, line.reason, "nothing", {}, line.advice, 0});
}

int Dispatch(Session& session, const CommandLine& line) {
  if (!session.terminal.Configure(line.options)) {
    session.document = MakeDocument("error", false);
    return session.Fail(kNotFoundHere, {"the log cannot be written",
                                        ForTerminal(line.options.log) + ": " + std::strerror(errno),
                                        "nothing",
                                        {},
                                        "name another with --log FILE",
                                        0});
  }
  if (line.wantsVersion) {
    if (line.options.json) {
      session.document = MakeDocument("version", true);
      session.document["version"] = KEST_VERSION_TEXT;
    } else {
      session.terminal.Data("kest " KEST_VERSION_TEXT "\n");
    }
    return kDone;
  }
  if (line.wantsHelp) {
    return ShowText(session, "help", line.command ? HelpText(*line.command) : HelpText());
  }
  if (!line.command) {
    return ReportUsage(session, line);
  }
  if (line.options.diff && !line.options.dryRun) {
    session.document = MakeDocument("error", false);
    return session.Fail(kUsage, {"--diff goes with --dry-run",
                                 "it shows what a dry run would change",
                                 "nothing",
                                 {},
                                 fmt::format("as in: kest {} --dry-run --diff ...", line.command->name),
                                 0});
  }
  session.command = line.command;
  session.document = EmptyDocument(*line.command);
  return line.command->run(session);
}

/// What is told when something was thrown up to here, for want of memory as a rule. Allocates nothing. Returns the exit
/// code.
int ReportThrown(const OperationReport* report, bool isOneOfSeveral, const char* what) {
  const bool ran = report != nullptr && report->operation != OperationReport::Operation::kNone;
  const auto isDone = [](const OperationReport& part) { return part.Succeeded(); };
  const bool isAll = ran && std::all_of(report->parts.begin(), report->parts.end(), isDone);
  const bool isAny = ran && std::any_of(report->parts.begin(), report->parts.end(), isDone);
  const char* changed = "nothing";
  int exit = kFailed;
  if (ran && report->Succeeded() && isAll) {
    changed = "what the command did stays; only its words are lost";
    exit = isOneOfSeveral ? kSomeFailed : kDone;
  } else if (ran && !report->rolledBack) {
    changed = "the undo is incomplete\n  left     what the operation had done so far";
    exit = kUndoIncomplete;
  } else if (isAny) {
    changed = "what was done of it is in: kest history";
    exit = kSomeFailed;
  } else if (isOneOfSeveral) {
    changed = "nothing by the operation at hand; those before it are in: kest history";
  }
  for (const char* part :
       {exit == kDone ? "warning: " : "error: ", "the program had to end early\n  why      ",
        std::strcmp(what, std::bad_alloc().what()) == 0 ? "there is not enough memory" : what, "\n  changed  ", changed,
        "\n  next     ", exit == kUndoIncomplete ? "run: kest recover\n" : "close other programs and try again\n"}) {
    if (!console::WriteAll(console::kError, part)) {
      break;
    }
  }
  return exit;
}

int Run(Session& session, int count, const char* const* arguments) {
  const CommandLine line = ReadCommandLine(std::vector<std::string>(arguments + 1, arguments + count));
  session.options = line.options;
  const int exit = Dispatch(session, line);
  if (line.options.json && !session.document.is_null()) {
    Complete(session, exit);
    session.lists.Print(session.document, [&](std::string_view text) { session.terminal.Data(text); });
  }
  session.terminal.Flush();
  if (const int error = session.terminal.GetDataError(); error != 0) {
    PrintError(session.terminal, {"the output cannot be written",
                                  std::strerror(error),
                                  "what the command did stays; only its output is lost",
                                  {},
                                  "send the output to a place that has room for it",
                                  0});
    return exit == kDone || exit == kProblemsFound ? kInUseOrLocked : exit;
  }
  return exit;
}

bool s_isRunning = false;
int s_told = -1; ///< the exit code, once the user knows it

} // namespace

void EndAtOnce() {
  if (s_told >= 0) {
    _exit(s_told); // only the clean-up of a command that is over
  }
  OperationReport report;
  report.failure = OperationReport::Failure::kNoMemory;
  report.operation = OperationReport::Operation::kUndo;
  report.rolledBack = false;
  _exit(ReportThrown(s_isRunning ? &report : nullptr, false, std::bad_alloc().what()));
}

int RunProgram(int count, const char* const* arguments) {
  s_isRunning = true;
  std::optional<Session> session;
  try {
    session.emplace();
    s_told = Run(*session, count, arguments);
  } catch (const std::exception& thrown) {
    s_told = ReportThrown(session ? session->FindReport() : nullptr, session && session->options.arguments.size() > 1,
                          thrown.what());
  }
  return s_told;
}

} // namespace kest::host
