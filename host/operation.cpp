#include "host/operation.h"

#include "host/session.h"
#include "host/terminal/text_width.h"
#include "platform/messages/messages.h"

#include <fmt/format.h>

#include <algorithm>

namespace kest::host {
namespace {

// Closing notices of the engine: the host says the same in its own words.
constexpr Message kClosing[] = {
    Message::kInstalled,
    Message::kInstalledRestartProduct,
    Message::kUninstalledRestart,
    Message::kUninstalled,
    Message::kRestartMachine,
    Message::kEnabledRestartMachine,
    Message::kEnabledRestartProduct,
    Message::kDisabledRestartProduct,
    Message::kImportRestartMachine,
    Message::kImportRestartProduct,
};

bool IsClosing(int number) {
  return std::any_of(std::begin(kClosing), std::end(kClosing),
                     [number](Message message) { return static_cast<int>(message) == number; });
}

// Whether the notice is of changes that the report tells one by one, with what and where.
bool IsToldInFull(int number, const OperationReport& report) {
  return std::any_of(report.problems.begin(), report.problems.end(), [number](const auto& problem) {
    return !problem.fatal && !problem.change.empty() &&
           (problem.message == number || number == static_cast<int>(Message::kSeveralProblems));
  });
}

// Told as a problem of the change, with what came of it, or before the install.
bool IsToldElsewhere(const Clash& clash) {
  constexpr std::string_view kRules[] = {"place-missing", "dropped-element", "unknown-token"};
  return std::find(std::begin(kRules), std::end(kRules), std::string_view(clash.rule)) != std::end(kRules);
}

std::string WordOf(const OperationReport::Kept& kept) {
  switch (kept.why) {
  case OperationReport::Why::kShared:
    return SharedWith(kept.holder);
  case OperationReport::Why::kFont:
    return "font";
  case OperationReport::Why::kSystemFile:
    return "system file";
  case OperationReport::Why::kUserAnswer:
    break;
  }
  return "kept as you answered";
}

Json MessagesJson(const Outcome& outcome) {
  Json list = Json::array();
  for (const ShownMessage& message : outcome.messages) {
    Json json = Json::object();
    json["number"] = message.number;
    json["style"] = message.style;
    json["text"] = message.text;
    json["answer"] = message.answer.empty() ? Json(nullptr) : Json(message.answer);
    list.push_back(std::move(json));
  }
  return list;
}

} // namespace

std::string SharedWith(const CString& holder) {
  return holder.empty() ? "another extension uses it" : fmt::format("\"{}\" uses it, too", Shown(holder));
}

const char* RestartWord(const OperationReport& report) {
  return report.restartMachine ? "machine" : report.restartProduct ? "product" : "none";
}

Json ResultJson(Session& session, const char* operation, const OperationReport& report, ExitCode exit) {
  HostedMachine* machine = session.FindMachine();
  Json json = MakeDocument("result", exit == kDone);
  json["exit"] = static_cast<int>(exit);
  json["operation"] = operation;
  json["extension"] = nullptr;
  if (!report.extension.empty()) {
    json["extension"] = {{"name", PlainText(report.extension)},
                         {"author", PlainText(report.author)},
                         {"version", ToUtf8(report.version)}};
  }
  json["product"] = report.product.empty() ? Json(nullptr) : Json(ToUtf8(report.product));
  json["replaced"] = report.replaced.empty() ? Json(nullptr) : Json(PlainText(report.replaced));
  json["restart"] = RestartWord(report);
  json["messages"] = MessagesJson(session.GetUi().GetOutcome());
  json["changed"] = Json::array();
  for (const auto& [list, what] :
       {std::pair{&report.created, "created"}, {&report.changed, "changed"}, {&report.deleted, "deleted"}}) {
    if (!session.options.json) {
      break; // where thousands of files stand on this system is looked up only for a document that is printed
    }
    for (const CString& path : *list) {
      Json entry = PathJson(machine, path);
      entry["what"] = what;
      json["changed"].push_back(std::move(entry));
    }
  }
  json["registry"] = Json::array();
  for (const CString& value : report.registry) {
    json["registry"].push_back({{"value", ToUtf8(value)}, {"what", "written"}});
  }
  json["kept"] = Json::array();
  for (const OperationReport::Kept& kept : report.kept) {
    Json entry = PathJson(machine, kept.path);
    entry["why"] = WordOf(kept);
    json["kept"].push_back(std::move(entry));
  }
  json["clashes"] = Json::array();
  for (const Clash& clash : report.clashes) {
    json["clashes"].push_back({{"rule", clash.rule},
                               {"line", clash.line != 0 ? Json(clash.line) : Json(nullptr)},
                               {"name", ToUtf8(clash.name)},
                               {"file", clash.file.empty() ? Json(nullptr) : PathJson(machine, clash.file)},
                               {"meets", clash.meets.empty() ? Json(nullptr) : Json(ToUtf8(clash.meets))},
                               {"owner", clash.owner.empty() ? Json(nullptr) : Json(PlainText(clash.owner))},
                               {"text", Shown(clash.text)}});
  }
  json["rolled_back"] = exit != kDone && !report.Succeeded() && report.rolledBack;
  json["left"] = Json::array();
  for (const OperationReport::Leftover& left : report.leftovers) {
    json["left"].push_back({{"path", PathJson(machine, left.path)}, {"why", ToUtf8(left.why)}});
  }
  return json;
}

void SayWhatHappened(Session& session, const OperationReport& report) {
  Terminal& terminal = session.terminal;
  for (const ShownMessage& message : session.GetUi().GetOutcome().messages) {
    if (message.style == kNotice && !IsClosing(message.number) && !IsToldInFull(message.number, report)) {
      terminal.Notice(terminal.Paint(Style::kWarning, "warning:") + " " + message.text);
    }
  }
  for (const OperationReport::Kept& kept : report.kept) {
    terminal.Notice(fmt::format("Kept {} ({}).", Shown(kept.path), WordOf(kept)));
  }
  for (const OperationReport::Problem& problem : report.problems) {
    if (!problem.fatal && (!problem.change.empty() || (problem.message == 0 && problem.path.empty()))) {
      terminal.Notice(terminal.Paint(Style::kWarning, "warning:") + " " + Shown(problem.reason));
    }
  }
  for (const Clash& clash : report.clashes) {
    if (!IsToldElsewhere(clash)) {
      const std::string line = clash.line != 0 ? fmt::format("line {} of the description: ", clash.line) : "";
      terminal.Notice(terminal.Paint(Style::kWarning, "warning:") + " " + line + Shown(clash.text) + ".");
    }
  }
  SayTrashDropped(session, report);
  if (session.options.verbose) {
    for (const auto& [list, what] :
         {std::pair{&report.created, "created"}, {&report.changed, "changed"}, {&report.deleted, "deleted"}}) {
      for (const CString& path : *list) {
        terminal.Notice(fmt::format("{:<8} {}", what, Shown(path)));
      }
    }
    for (const CString& value : report.registry) {
      terminal.Notice(fmt::format("{:<8} {}", "written", Shown(value)));
    }
    for (const OperationReport::Leftover& left : report.leftovers) {
      terminal.Notice(fmt::format("Left {} ({}).", Shown(left.path), Shown(left.why)));
    }
  }
  if (report.restartMachine) {
    terminal.Notice("Restart the computer to finish.");
  } else if (report.restartProduct) {
    terminal.Notice(fmt::format("Restart {} to finish.", Shown(report.product)));
  }
}

int RunEach(Session& session, const std::vector<std::string>& words,
            const std::function<int(const std::string&)>& one) {
  if (words.size() == 1) {
    return one(words.front());
  }
  Json all = MakeDocument("results", true);
  all["exit"] = 0;
  all["results"] = Json::array();
  int failed = 0;
  int exit = kDone;
  for (const std::string& word : words) {
    if (Terminal::WasInterrupted()) {
      exit = kInterrupted;
      break;
    }
    session.document = EmptyDocument(*session.command);
    session.ForgetError();
    const int code = one(word);
    Json& document = session.document;
    document["ok"] = code == kDone;
    if (document.contains("exit")) {
      document["exit"] = code;
    }
    if (session.GetError()) {
      document["error"] = ErrorJson(*session.GetError());
    }
    all["results"].push_back(std::move(document));
    failed += code != kDone;
    if (code == kInterrupted) {
      exit = kInterrupted;
      break;
    }
  }
  session.ForgetError();
  session.document = std::move(all);
  const std::size_t done = session.document["results"].size() - static_cast<std::size_t>(failed);
  session.terminal.Notice(
      fmt::format("{} of {} done{}.", done, words.size(), failed ? fmt::format(", {} failed", failed) : ""));
  return exit != kDone ? exit : failed ? kSomeFailed : kDone;
}

} // namespace kest::host
