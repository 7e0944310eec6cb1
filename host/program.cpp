#include "host/program.h"

#include "host/command_line.h"
#include "host/help.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "kest/version.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>

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
  session.command = line.command;
  session.document = EmptyDocument(*line.command);
  return line.command->run(session);
}

} // namespace

int RunProgram(int count, const char* const* arguments) {
  Session session;
  const CommandLine line = ReadCommandLine(std::vector<std::string>(arguments + 1, arguments + count));
  session.options = line.options;
  const int exit = Dispatch(session, line);
  if (line.options.json && !session.document.is_null()) {
    Complete(session, exit);
    session.terminal.Data(Printed(session.document));
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

} // namespace kest::host
