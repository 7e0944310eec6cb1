#include "host/commands.h"

#include "description/extension.h"
#include "host/operation.h"
#include "host/preview_output.h"
#include "host/selector.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "platform/messages/messages.h"
#include "products/product.h"

#include <fmt/format.h>

#include <algorithm>

namespace kest::host {
namespace {

// The extensions named, or all; false after an error.
bool Choose(Session& session, const CKestProduct* from, std::vector<Installed>& chosen, int& exit) {
  const std::vector<Installed> all = CollectInstalled(session, from);
  if (session.options.arguments.empty()) {
    chosen = all;
    return true;
  }
  for (const std::string& word : session.options.arguments) {
    const Installed one = Select(session, all, word, exit);
    if (!one.extension) {
      return false;
    }
    const bool twice = std::any_of(chosen.begin(), chosen.end(),
                                   [&](const Installed& other) { return other.extension == one.extension; });
    if (!twice) {
      chosen.push_back(one);
    }
  }
  return true;
}

// What the receiving product has already is left as it is, and that is no failure.
bool IsThereAlready(const OperationReport& part) {
  return part.failure == OperationReport::Failure::kAlreadyThere ||
         std::any_of(part.problems.begin(), part.problems.end(), [](const OperationReport::Problem& problem) {
           return problem.message == static_cast<int>(Message::kEqualVersion);
         });
}

int Summarize(Session& session, const CKestProduct& to) {
  const OperationReport& report = session.GetManager().GetLastReport();
  const Outcome& outcome = session.GetUi().GetOutcome();
  std::size_t imported = 0;
  std::size_t failed = 0;
  for (const OperationReport& part : report.parts) {
    const bool there = !part.Succeeded() && IsThereAlready(part);
    const ExitCode exit = there ? kDone : ExitCodeOf(part, {});
    session.document["results"].push_back(ResultJson(session, "import", part, exit));
    session.document["results"].back()["messages"] = Json::array();
    imported += part.Succeeded() ? 1 : 0;
    failed += exit != kDone ? 1 : 0;
    const std::string quoted = fmt::format("\"{}\" {}", ShownText(part.extension), Shown(part.version));
    session.terminal.Notice(
        part.Succeeded() ? fmt::format("{} {}.", session.options.dryRun ? "Would import" : "Imported", quoted)
        : there          ? fmt::format("{} is there already.", quoted)
                         : fmt::format("Left out {}: {}", quoted, DescribeFailure(part, {}, quoted, "imported").why));
  }
  session.document["restart"] = RestartWord(report);
  if (outcome.Stopped() || (report.parts.empty() && !report.Succeeded())) {
    const ExitCode exit = ExitCodeOf(report, outcome);
    ErrorReport error = DescribeFailure(report, outcome, "the import", "done");
    if (imported > 0) {
      error.what = fmt::format("the import into {} was not completed", NameOf(to));
      error.changed = fmt::format("what was imported stays ({} of it); the rest is as it was", imported);
    }
    const int code = session.Fail(exit != kDone         ? exit
                                  : outcome.interrupted ? kInterrupted
                                                        : kDeclinedOrUnanswered,
                                  error);
    return session.options.dryRun ? ShowPreview(session, report, code) : code;
  }
  const auto incomplete = std::find_if(report.parts.begin(), report.parts.end(),
                                       [](const OperationReport& one) { return !one.rolledBack; });
  if (failed > 0 && (report.parts.size() == 1 || incomplete != report.parts.end())) {
    const OperationReport& part = incomplete != report.parts.end() ? *incomplete : report.parts.front();
    const std::string quoted = fmt::format("\"{}\" {}", ShownText(part.extension), Shown(part.version));
    const int code = session.Fail(ExitCodeOf(part, {}), DescribeFailure(part, {}, quoted, "imported"));
    return session.options.dryRun ? ShowPreview(session, report, code) : code;
  }
  if (session.options.dryRun) {
    return ShowPreview(session, report, failed == 0 ? kDone : kSomeFailed);
  }
  session.terminal.Notice(
      fmt::format("{} of {} extensions imported into {}.", imported, report.parts.size(), NameOf(to)));
  SayWhatHappened(session, report);
  return failed == 0 ? kDone : kSomeFailed;
}

} // namespace

int RunImport(Session& session) {
  int exit = kDone;
  const Options& options = session.options;
  if (options.from.empty() || options.to.empty()) {
    return session.Fail(kUsage, {"import needs two products",
                                 "--from or --to is missing",
                                 "nothing",
                                 {},
                                 "as in: kest import --from \"Tidemark 4\" --to \"Tidemark Nova\"",
                                 0});
  }
  if (!session.OpenEngine(exit)) {
    return exit;
  }
  const CKestProduct* from = session.FindProduct(options.from, exit);
  const CKestProduct* to = from ? session.FindProduct(options.to, exit) : nullptr;
  if (!to) {
    return exit;
  }
  if (from == to) {
    return session.Fail(
        kUsage,
        {"import needs two products", "--from and --to are the same", "nothing", {}, "name another with --to", 0});
  }
  std::vector<Installed> chosen;
  if (!Choose(session, from, chosen, exit)) {
    return exit;
  }
  if (chosen.empty()) {
    session.terminal.Notice(NameOf(*from) + " has no extensions: nothing to do.");
    return kDone;
  }
  session.terminal.Notice(fmt::format("Import {} extension{} of {} into {} on {}, user {}", chosen.size(),
                                      chosen.size() == 1 ? "" : "s", NameOf(*from), NameOf(*to),
                                      session.GetMachineName(), session.GetUserName()));
  CKestTypedList<CKestExtension*> extensions;
  for (const Installed& one : chosen) {
    extensions.Append(one.extension);
  }
  session.GetUi().BeginSeveral();
  session.GetManager().Import(from, to, extensions);
  return Summarize(session, *to);
}

} // namespace kest::host
