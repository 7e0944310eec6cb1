#include "host/commands.h"

#include "description/extension.h"
#include "host/selector.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "products/product.h"

#include <fmt/format.h>

#include <algorithm>

namespace kest::host {
namespace {

const char* WordOf(VerifyReport::State state) {
  switch (state) {
  case VerifyReport::State::kChanged:
    return "changed";
  case VerifyReport::State::kMoved:
    return "moved";
  case VerifyReport::State::kMissing:
    return "missing";
  case VerifyReport::State::kUnknown:
    return "unknown";
  case VerifyReport::State::kForeign:
    return "foreign";
  case VerifyReport::State::kAsInstalled:
    break;
  }
  return "as_installed";
}

/// How many of the entries are neither as installed nor additions of others.
std::size_t CountTold(const VerifyReport& report, bool unknown) {
  return static_cast<std::size_t>(
      std::count_if(report.entries.begin(), report.entries.end(), [unknown](const VerifyReport::Entry& entry) {
        return entry.state != VerifyReport::State::kForeign &&
               (entry.state == VerifyReport::State::kUnknown) == unknown;
      }));
}

Json ReportJson(Session& session, const Installed& one, const VerifyReport& report) {
  Json json = ExtensionJson(session.GetManager(), &session.GetMachine(), one.product, *one.extension);
  json["recorded"] = report.recorded;
  json["files"] = report.files;
  json["entries"] = report.lines;
  json["problems"] = Json::array();
  for (const VerifyReport::Entry& entry : report.entries) {
    Json problem = PathJson(&session.GetMachine(), entry.path);
    problem["entry"] = entry.line.empty() ? Json(nullptr) : Json(ToUtf8(entry.line));
    problem["state"] = WordOf(entry.state);
    json["problems"].push_back(std::move(problem));
  }
  return json;
}

void Say(Session& session, const Installed& one, const VerifyReport& report) {
  const std::size_t wrong = CountTold(report, false);
  const std::size_t unknown = CountTold(report, true);
  std::string text = fmt::format("{} in {}: ", Quote(*one.extension), NameOf(*one.product));
  const std::string looked = fmt::format("{} file{}, {} configuration entr{}", report.files,
                                         report.files == 1 ? "" : "s", report.lines, report.lines == 1 ? "y" : "ies");
  if (wrong > 0) {
    text += fmt::format("{} not as installed, of {}\n", wrong, looked);
  } else if (unknown > 0) {
    text += fmt::format("nothing is missing; whether {} as installed is unknown, since {}\n",
                        report.files == 1 ? "it is" : "all is",
                        !report.answered             ? "the machine gives no answer"
                        : report.damaged             ? "the record of its install is damaged, or of a later version"
                        : one.extension->IsEnabled() ? "its install was not recorded"
                                                     : "it is disabled");
  } else {
    text += fmt::format("{} as installed\n", looked);
  }
  for (const VerifyReport::Entry& entry : report.entries) {
    if (entry.state == VerifyReport::State::kUnknown && wrong == 0) {
      continue;
    }
    text += fmt::format("  {:<8} {}\n", WordOf(entry.state), Shown(entry.path));
    text += entry.line.empty() ? "" : fmt::format("           {}\n", Shown(entry.line));
  }
  session.terminal.Data(text);
}

/// Extensions that are in no catalogue, since their descriptions are gone or damaged; how many.
std::size_t TellLost(Session& session, const CKestProduct* only) {
  const std::vector<VerifyReport::Entry> lost = session.GetManager().FindLost(only);
  session.document["lost"] = Json::array();
  for (const VerifyReport::Entry& entry : lost) {
    Json json = PathJson(&session.GetMachine(), entry.path);
    json["state"] = WordOf(entry.state);
    session.document["lost"].push_back(std::move(json));
    if (!session.options.json) {
      session.terminal.Data(fmt::format("The description of an installed extension {}: {}\n",
                                        entry.state == VerifyReport::State::kMissing   ? "is gone"
                                        : entry.state == VerifyReport::State::kChanged ? "cannot be read any more"
                                                                                       : "cannot be looked at",
                                        Shown(entry.path)));
    }
  }
  return lost.size();
}

} // namespace

int RunVerify(Session& session) {
  int exit = kDone;
  if (!session.OpenEngine(exit)) {
    return exit;
  }
  const CKestProduct* only = nullptr;
  if (!session.options.product.empty() && !(only = session.FindProduct(session.options.product, exit))) {
    return exit;
  }
  session.GetMachine().SetBriefTrust(true); // one moment is told of
  std::vector<Installed> all = CollectInstalled(session, only);
  if (!session.options.arguments.empty()) {
    std::vector<Installed> chosen;
    for (const std::string& word : session.options.arguments) {
      const Installed one = Select(session, all, word, exit);
      if (one.extension == nullptr) {
        return exit;
      }
      chosen.push_back(one);
    }
    all = std::move(chosen);
  }
  std::size_t bad = session.options.arguments.empty() ? TellLost(session, only) : 0;
  std::size_t unanswered = 0;
  const std::size_t count = all.size() + bad;
  for (const Installed& one : all) {
    const VerifyReport report = session.GetManager().VerifyExtension(one.product, one.extension);
    bad += report.HasProblems() ? 1 : 0;
    unanswered += report.answered ? 0 : 1;
    session.document["extensions"].push_back(ReportJson(session, one, report));
    if (!session.options.json) {
      Say(session, one, report);
    }
  }
  if (bad > 0) {
    return session.Fail(kProblemsFound,
                        {fmt::format("{} of {} extension{} not as installed", bad, count, count == 1 ? " is" : "s are"),
                         "somebody has changed, moved or taken away what is listed",
                         "nothing",
                         {},
                         "put back what is missing: kest repair EXT, or install it again when its description is lost; "
                         "or leave it when "
                         "the change was yours",
                         0});
  }
  if (unanswered > 0) {
    return session.Fail(kFailed, {fmt::format("{} extension{} could not be looked at as a whole", unanswered,
                                              unanswered == 1 ? "" : "s"),
                                  "the machine did not let all that is listed as unknown be read",
                                  "nothing",
                                  {},
                                  "see that this user may read it, and try again",
                                  0});
  }
  if (count == 0) {
    session.terminal.Notice(fmt::format("No extension is installed {} {}.", only ? "in" : "on",
                                        only ? NameOf(*only) : session.GetMachineName()));
  }
  return kDone;
}

} // namespace kest::host
