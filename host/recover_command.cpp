#include "host/commands.h"

#include "host/session.h"
#include "host/terminal/text_width.h"

#include <fmt/format.h>

namespace kest::host {

int RunRecover(Session& session) {
  int exit = kDone;
  if (!session.OpenEngine(exit, false)) {
    return exit;
  }
  MachineFolder* machine = &session.GetMachine();
  const RecoveryReport& report = session.GetManager().GetRecoveryReport();
  ErrorReport incomplete{"what an interrupted operation left could not be taken back completely",
                         "a program holds what has to be put back, or the disk refuses it",
                         "what is listed is not as it was before; all else is",
                         {},
                         "free the files named, then run: kest recover",
                         0};
  bool failed = false;
  std::string text;
  for (const RecoveryReport::Entry& entry : report.entries) {
    Json json;
    json["operation"] = ToUtf8(entry.operation);
    json["finished"] = entry.finished;
    json["restored"] = Json::array();
    json["left"] = Json::array();
    text += fmt::format("{}: {}\n", Shown(entry.operation),
                        entry.finished ? "had been done; its clean-up was completed" : "taken back");
    for (const CString& path : entry.restored) {
      json["restored"].push_back(PathJson(machine, path));
      text += fmt::format("  restored      {}\n", Shown(path));
    }
    for (const CKestInstallJournal::Leftover& left : entry.leftovers) {
      failed = true;
      json["left"].push_back({{"path", PathJson(machine, left.path)}, {"backup", PathJson(machine, left.backup)}});
      text += fmt::format("  not restored  {}\n", Shown(left.path));
      text += left.backup.empty() ? "" : fmt::format("    kept at     {}\n", Shown(left.backup));
      incomplete.left.push_back(Shown(left.path));
    }
    session.document["operations"].push_back(std::move(json));
  }
  if (!session.options.json) {
    session.terminal.Data(text);
  }
  if (failed) {
    return session.Fail(kUndoIncomplete, incomplete);
  }
  if (report.entries.empty()) {
    session.terminal.Notice("Nothing was left by an interrupted operation.");
  }
  return kDone;
}

} // namespace kest::host
