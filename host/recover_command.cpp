#include "host/commands.h"

#include "host/session.h"
#include "host/terminal/text_width.h"

#include <fmt/format.h>

namespace kest::host {

namespace {

/// What would be done on a machine that the user never changed.
std::string DescribePlan(const RecoveryReport& report) {
  std::string text = "What interrupted operations left on this machine, and what taking it back changes:";
  for (const RecoveryReport::Entry& entry : report.entries) {
    text += fmt::format("\n{}: {}", Shown(entry.operation),
                        !entry.refused.empty() ? "is left alone, since " + Shown(entry.refused)
                        : entry.finished       ? "had been done; its clean-up is completed"
                                               : "is taken back");
    for (const CString& path : entry.restored) {
      text += fmt::format("\n  {}", Shown(path));
    }
  }
  return text;
}

int RefuseForeign(Session& session) {
  const RecoveryReport& report = session.GetManager().GetRecoveryReport();
  session.terminal.Say(DescribePlan(report));
  return session.Fail(kDeclinedOrUnanswered,
                      {"nothing was taken back on " + session.GetMachineName(),
                       "you never changed anything in this machine, so what lies in it may be anybody's",
                       "nothing",
                       {},
                       "if you rely on the machine: kest recover --trust-machine",
                       0});
}

} // namespace

int RunRecover(Session& session) {
  int exit = kDone;
  if (!session.OpenEngine(exit, false)) {
    return exit;
  }
  HostedMachine* machine = &session.GetMachine();
  if (session.GetManager().GetRecoveryReport().isForeign) {
    if (!session.options.trustMachine) {
      return RefuseForeign(session);
    }
    session.terminal.Say(DescribePlan(session.GetManager().GetRecoveryReport()));
    session.GetManager().RecoverTrusting();
  }
  const RecoveryReport& report = session.GetManager().GetRecoveryReport();
  ErrorReport incomplete{"what an interrupted operation left could not be taken back completely",
                         "a program holds what has to be put back, or the disk refuses it",
                         "what is listed is not as it was before; all else is",
                         {},
                         "free the files named, then run: kest recover",
                         0};
  bool failed = false;
  bool refused = false;
  std::string text;
  for (const RecoveryReport::Entry& entry : report.entries) {
    Json json = Json::object();
    json["operation"] = ToUtf8(entry.operation);
    json["finished"] = entry.finished;
    json["restored"] = Json::array();
    json["left"] = Json::array();
    json["refused"] = entry.refused.empty() ? Json(nullptr) : Json(ToUtf8(entry.refused));
    text += fmt::format("{}: {}\n", Shown(entry.operation),
                        !entry.refused.empty() ? "left alone, since " + Shown(entry.refused)
                        : entry.finished       ? "had been done; its clean-up was completed"
                                               : "taken back");
    for (const CString& path : entry.restored) {
      json["restored"].push_back(PathJson(machine, path));
      text += fmt::format("  restored      {}\n", Shown(path));
    }
    for (const CKestInstallJournal::Leftover& left : entry.leftovers) {
      (entry.refused.empty() ? failed : refused) = true;
      json["left"].push_back({{"path", PathJson(machine, left.path)}, {"backup", PathJson(machine, left.backup)}});
      text += fmt::format("  {}  {}\n", entry.refused.empty() ? "not restored" : "left alone  ", Shown(left.path));
      text += left.backup.empty() ? "" : fmt::format("    kept at     {}\n", Shown(left.backup));
      if (entry.refused.empty()) {
        incomplete.left.push_back(Shown(left.path));
      }
    }
    session.document["operations"].push_back(std::move(json));
  }
  if (!session.options.json) {
    session.terminal.Data(text);
  }
  if (failed) {
    return session.Fail(kUndoIncomplete, incomplete);
  }
  if (refused) {
    return session.Fail(kProblemsFound, {"something looks like an interrupted operation of yours and is none",
                                         "see above",
                                         "nothing of it was run, and it was left where it is",
                                         {},
                                         "remove it when you know what it is",
                                         0});
  }
  if (report.entries.empty()) {
    session.terminal.Notice("Nothing was left by an interrupted operation.");
  }
  return kDone;
}

} // namespace kest::host
