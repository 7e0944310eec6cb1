#include "host/commands.h"

#include "description/extension.h"
#include "host/extension_file.h"
#include "host/operation.h"
#include "host/selector.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "platform/machine/os.h"
#include "products/product.h"

#include <fmt/format.h>

namespace kest::host {

int RunRepair(Session& session) {
  int exit = kDone;
  if (!session.OpenEngine(exit)) {
    return exit;
  }
  const Options& options = session.options;
  const CKestProduct* only = nullptr;
  if (!options.product.empty() && !(only = session.FindProduct(options.product, exit))) {
    return exit;
  }
  const Installed one = Select(session, CollectInstalled(session, only), options.arguments.front(), exit);
  if (one.extension == nullptr) {
    return exit;
  }
  RepairOptions how;
  how.all = options.all;
  if (!options.from.empty()) {
    how.package = session.ReachFile(options.from, false);
    if (how.package.empty() || !CKestOS::FileExists(how.package)) {
      return FailNoFile(session, options.from,
                        fmt::format("{} was not repaired from {}", Quote(*one.extension), ForTerminal(options.from)),
                        "name the package that was installed");
    }
  }
  CKestExtensionManager& manager = session.GetManager();
  ConsoleUi& ui = session.GetUi();
  ui.Begin();
  const std::string name = fmt::format("{} in {}", Quote(*one.extension), NameOf(*one.product));
  session.terminal.Notice(
      fmt::format("Repair {} on {}, user {}", name, session.GetMachineName(), session.GetUserName()));
  static_cast<void>(manager.RepairExtension(one.product, one.extension, how));
  const OperationReport& report = manager.GetLastReport();
  const ExitCode code = ExitCodeOf(report, ui.GetOutcome());
  session.document = ResultJson(session, "repair", report, code);
  if (code != kDone) {
    return session.Fail(code, DescribeFailure(report, ui.GetOutcome(), name, "repaired"));
  }
  const std::size_t put = report.created.size() + report.changed.size();
  session.terminal.Notice(put == 0 ? fmt::format("Nothing of {} is missing.", name)
                                   : fmt::format("Repaired {}: {} created, {} changed.", name, report.created.size(),
                                                 report.changed.size()));
  for (const OperationReport::Problem& problem : report.problems) {
    if (!problem.fatal && !problem.path.empty() && problem.change.empty()) {
      session.terminal.Notice(session.terminal.Paint(Style::kWarning, "warning:") + " " + Shown(problem.reason));
    }
  }
  SayWhatHappened(session, report);
  return kDone;
}

} // namespace kest::host
