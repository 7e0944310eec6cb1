#include "host/commands.h"

#include "host/operation.h"
#include "host/preview_output.h"
#include "host/session.h"
#include "host/terminal/table_printer.h"
#include "host/terminal/text_width.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace kest::host {
namespace {

std::tm UtcOf(CKestDateTime time) {
  const auto seconds = static_cast<std::time_t>(time.GetSeconds());
  std::tm utc{};
  return gmtime_r(&seconds, &utc) != nullptr ? utc : std::tm{};
}

std::string TimeText(CKestDateTime time) { return fmt::format("{:%Y-%m-%d %H:%M:%S}", UtcOf(time)); }
Json TimeJson(CKestDateTime time) { return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", UtcOf(time)); }

std::string SizeText(std::uint64_t bytes) {
  constexpr double kStep = 1024;
  constexpr const char* kUnits[] = {"KB", "MB", "GB"};
  if (bytes < static_cast<std::uint64_t>(kStep)) {
    return fmt::format("{} B", bytes);
  }
  double size = static_cast<double>(bytes) / kStep;
  std::size_t unit = 0;
  for (; size >= kStep && unit + 1 < std::size(kUnits); ++unit) {
    size /= kStep;
  }
  return fmt::format("{:.1f} {}", size, kUnits[unit]);
}

Json NamedJson(const CString& name, const CString& author, const CString& version) {
  if (name.empty()) {
    return nullptr;
  }
  Json json = Json::object();
  json["name"] = PlainText(name);
  if (!author.empty()) {
    json["author"] = PlainText(author);
  }
  json["version"] = ToUtf8(version);
  return json;
}

Json EntryJson(HostedMachine* machine, const HistoryEntry& entry) {
  Json json = Json::object();
  json["number"] = entry.number;
  json["time"] = TimeJson(entry.time);
  json["user"] = entry.user.empty() ? Json(nullptr) : Json(ToUtf8(entry.user));
  json["operation"] = ToUtf8(entry.operation);
  json["extension"] = NamedJson(entry.extension, entry.author, entry.version);
  json["product"] = entry.product.empty() ? Json(nullptr) : Json(ToUtf8(entry.product));
  json["replaced"] = NamedJson(entry.replaced, CString(), entry.replacedVersion);
  json["result"] = ToUtf8(entry.result);
  json["undoes"] = entry.undoes != 0 ? Json(entry.undoes) : Json(nullptr);
  json["kept"] = PathJson(machine, entry.kept);
  return json;
}

// "install Table Tools 1.0", "undo of 3: install Table Tools 1.0"
std::string Describe(const HistoryEntry& entry) {
  const std::string undo = entry.undoes != 0 ? fmt::format(" of {}:", entry.undoes) : "";
  return fmt::format("{}{} {} {}", Shown(entry.operation), undo, ShownText(entry.extension), Shown(entry.version));
}

// Whether the history and the trash could be read; ends the command otherwise, `exit` then being its code.
bool CouldRead(Session& session, bool isComplete, int& exit) {
  if (isComplete) {
    return true;
  }
  const MachineError& error = session.GetMachine().GetLastError();
  exit =
      session.Fail(error.kind == MachineError::Kind::kAccess ? kInUseOrLocked : kFailed,
                   {"the history of the machine cannot be read",
                    error.reason.empty() ? "a folder or file of it did not answer" : error.path + ": " + error.reason,
                    "nothing",
                    {},
                    "see that this user may read C:\\ProgramData\\Kest, and try again",
                    0});
  return false;
}

void WarnOfUnreadable(Session& session, const History& history) {
  if (history.unreadable > 0) {
    session.terminal.Notice(fmt::format("{} {} line{} of the history {} damaged, or written by a later kest, and "
                                        "passed over.",
                                        session.terminal.Paint(Style::kWarning, "warning:"), history.unreadable,
                                        history.unreadable == 1 ? "" : "s", history.unreadable == 1 ? "is" : "are"));
  }
  if (history.lost > 0) {
    session.terminal.Notice(fmt::format("{} the history lacks {} operation{} that the trash keeps something of; see: "
                                        "kest trash",
                                        session.terminal.Paint(Style::kWarning, "warning:"), history.lost,
                                        history.lost == 1 ? "" : "s"));
  }
}

bool IsAbout(const HistoryEntry& entry, const std::string& word) {
  return text::EqualNoCase(PlainText(entry.extension), word) || text::EqualNoCase(PlainText(entry.replaced), word);
}

// The number that the user typed; 0 without one, -1 for a text that is none.
long ReadNumber(const Session& session) {
  const std::vector<std::string>& arguments = session.options.arguments;
  if (arguments.empty()) {
    return 0;
  }
  const std::string& text = arguments.front();
  const bool digits = !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos;
  return digits && std::stol(text) > 0 ? std::stol(text) : -1;
}

struct Trash {
  std::vector<TrashEntry> entries;
  std::map<long, HistoryEntry> operations;
  bool isComplete = true;
};

Trash ReadTrash(Session& session) {
  History history = session.GetManager().GetHistory();
  Trash trash{session.GetManager().GetTrash(), {}, history.isComplete};
  for (HistoryEntry& entry : history.entries) {
    const long number = entry.number;
    trash.operations[number] = std::move(entry);
  }
  return trash;
}

std::uint64_t BytesOf(const std::vector<TrashEntry>& entries) {
  std::uint64_t bytes = 0;
  for (const TrashEntry& entry : entries) {
    bytes += entry.bytes;
  }
  return bytes;
}

Json TrashJson(Session& session, const Trash& trash, const std::vector<TrashEntry>& entries) {
  Json list = Json::array();
  for (const TrashEntry& entry : entries) {
    const auto known = trash.operations.find(entry.number);
    Json json = Json::object();
    json["number"] = entry.number;
    json["time"] = TimeJson(entry.time);
    json["bytes"] = entry.bytes;
    json["operation"] = known == trash.operations.end() ? Json(nullptr) : Json(ToUtf8(known->second.operation));
    json["extension"] = known == trash.operations.end()
                            ? Json(nullptr)
                            : NamedJson(known->second.extension, known->second.author, known->second.version);
    json["path"] = PathJson(&session.GetMachine(), entry.folder);
    list.push_back(std::move(json));
  }
  return list;
}

std::string EntriesText(const std::vector<TrashEntry>& entries) {
  return fmt::format("{} entr{} ({})", entries.size(), entries.size() == 1 ? "y" : "ies", SizeText(BytesOf(entries)));
}

} // namespace

int RunHistory(Session& session) {
  int exit = kDone;
  if (!session.OpenEngine(exit, false)) {
    return exit;
  }
  History history = session.GetManager().GetHistory();
  if (!CouldRead(session, history.isComplete, exit)) {
    return exit;
  }
  session.document["unreadable"] = history.unreadable;
  session.document["lost"] = history.lost;
  WarnOfUnreadable(session, history);
  if (!session.options.arguments.empty()) {
    const std::string& word = session.options.arguments.front();
    std::erase_if(history.entries, [&word](const HistoryEntry& entry) { return !IsAbout(entry, word); });
    if (history.entries.empty()) {
      return session.Fail(kNotFoundHere, {fmt::format("the history tells nothing of \"{}\"", ForTerminal(word)),
                                          "no operation since it is kept was about an extension of that name",
                                          "nothing",
                                          {},
                                          "see all of it: kest history",
                                          0});
    }
  }
  TablePrinter table({"NO", "TIME (UTC)", "USER", "OPERATION", "REPLACED", "PRODUCT", "UNDO"});
  for (const HistoryEntry& entry : history.entries) {
    session.document["operations"].push_back(EntryJson(&session.GetMachine(), entry));
    table.AddRow({std::to_string(entry.number), TimeText(entry.time), Shown(entry.user), Describe(entry),
                  entry.replaced.empty() ? "-" : ShownText(entry.replaced) + " " + Shown(entry.replacedVersion),
                  Shown(entry.product), entry.kept.empty() ? "no" : "yes"});
  }
  if (history.entries.empty() && history.lost == 0 && history.unreadable == 0) {
    session.terminal.Notice(fmt::format("No operation has changed {} yet.", session.GetMachineName()));
  } else if (!session.options.json && !history.entries.empty()) {
    session.terminal.Data(table.Print(session.terminal.GetTableWidth()));
  }
  return kDone;
}

int RunUndo(Session& session) {
  const long number = ReadNumber(session);
  if (number < 0) {
    return session.Fail(
        kUsage, {fmt::format("\"{}\" is no number of an operation", ForTerminal(session.options.arguments.front())),
                 "the first operation on a machine is number 1",
                 "nothing",
                 {},
                 "see: kest history",
                 0});
  }
  int exit = kDone;
  if (!session.OpenEngine(exit)) {
    return exit;
  }
  CKestExtensionManager& manager = session.GetManager();
  const History history = manager.GetHistory();
  if (!CouldRead(session, history.isComplete, exit)) {
    return exit;
  }
  const auto found =
      std::find_if(history.entries.rbegin(), history.entries.rend(),
                   [number](const HistoryEntry& entry) { return number == 0 || entry.number == number; });
  ConsoleUi& ui = session.GetUi();
  ui.Begin();
  std::string subject = number == 0 ? "the last operation" : fmt::format("operation {}", number);
  if (found != history.entries.rend()) {
    subject = fmt::format("operation {} ({})", found->number, Describe(*found));
    session.terminal.Notice(fmt::format("Undo {} on {}", subject, session.GetMachineName()));
    if (!ui.Confirm(fmt::format("Undo {}?", subject), false, session.options.yes, "--yes")) {
      OperationReport declined;
      declined.failure = OperationReport::Failure::kDeclined;
      const ExitCode code = ExitCodeOf(declined, ui.GetOutcome());
      session.document = ResultJson(session, "undo", declined, code);
      return session.Fail(code, DescribeFailure(declined, ui.GetOutcome(), subject, "undone"));
    }
  }
  static_cast<void>(manager.UndoOperation(found == history.entries.rend() ? number : found->number));
  const OperationReport& report = manager.GetLastReport();
  const ExitCode code = ExitCodeOf(report, ui.GetOutcome());
  session.document = ResultJson(session, "undo", report, code);
  int done = code;
  if (code != kDone) {
    done = session.Fail(code, DescribeFailure(report, ui.GetOutcome(), subject, "undone"));
  }
  if (session.options.dryRun || done != kDone) {
    return session.options.dryRun ? ShowPreview(session, report, done) : done;
  }
  session.terminal.Notice(fmt::format("Undid {}: {} created, {} changed, {} deleted.", subject, report.created.size(),
                                      report.changed.size(), report.deleted.size()));
  SayWhatHappened(session, report);
  return kDone;
}

int RunTrash(Session& session) {
  int exit = kDone;
  if (!session.OpenEngine(exit, false)) {
    return exit;
  }
  const Trash trash = ReadTrash(session);
  if (!CouldRead(session, trash.isComplete, exit)) {
    return exit;
  }
  const TrashLimits limits = history::ReadLimits();
  session.document["entries"] = TrashJson(session, trash, trash.entries);
  session.document["limits"] = {{"days", limits.days}, {"megabytes", limits.megabytes}};
  TablePrinter table({"NO", "TIME (UTC)", "SIZE", "OPERATION"});
  for (const TrashEntry& entry : trash.entries) {
    const auto known = trash.operations.find(entry.number);
    table.AddRow({std::to_string(entry.number), TimeText(entry.time), SizeText(entry.bytes),
                  known == trash.operations.end() ? "-" : Describe(known->second)});
  }
  if (!trash.entries.empty() && !session.options.json) {
    session.terminal.Data(table.Print(session.terminal.GetTableWidth()));
  }
  session.terminal.Notice(fmt::format("{} in the trash; an operation drops those older than {} days or beyond {} MB.",
                                      EntriesText(trash.entries), limits.days, limits.megabytes));
  return kDone;
}

int RunTrashEmpty(Session& session) {
  int exit = kDone;
  if (!session.OpenEngine(exit, false)) {
    return exit;
  }
  constexpr long kAnyAge = 999999999;
  const Options& options = session.options;
  TrashLimits limits{0, 0};
  if (options.olderThan >= 0 || options.keepSize >= 0) {
    limits.days = options.olderThan >= 0 ? options.olderThan : kAnyAge;
    limits.megabytes = options.keepSize >= 0 ? options.keepSize : kAnyAge;
  }
  session.document["dropped"] = Json::array();
  std::vector<TrashEntry> goes;
  if (!CouldRead(session, history::SelectTrash(limits, goes), exit)) {
    return exit;
  }
  if (goes.empty()) {
    session.terminal.Notice("Nothing in the trash is to go.");
    return kDone;
  }
  ConsoleUi& ui = session.GetUi();
  ui.Begin();
  session.terminal.Notice(
      fmt::format("{} will go; the operations that they are of cannot be undone any more.", EntriesText(goes)));
  std::vector<TrashEntry> dropped;
  OperationReport report;
  if (!ui.Confirm("Remove them for good?", false, options.yes, "--yes")) {
    report.failure = OperationReport::Failure::kDeclined;
  } else {
    const Trash trash = ReadTrash(session);
    static_cast<void>(session.GetManager().EmptyTrash(limits, dropped));
    report = session.GetManager().GetLastReport();
    session.document["dropped"] = TrashJson(session, trash, dropped);
  }
  const ExitCode code = ExitCodeOf(report, ui.GetOutcome());
  if (code != kDone) {
    return session.Fail(code, DescribeFailure(report, ui.GetOutcome(), "the trash", "emptied"));
  }
  session.terminal.Notice(fmt::format("Removed {} from the trash.", EntriesText(dropped)));
  return kDone;
}

void SayTrashDropped(Session& session, const OperationReport& report) {
  if (report.trashDropped > 0) {
    const TrashLimits limits = history::ReadLimits();
    session.terminal.Notice(fmt::format("Dropped {} entr{} ({}) from the trash: older than {} days, or beyond {} MB.",
                                        report.trashDropped, report.trashDropped == 1 ? "y" : "ies",
                                        SizeText(report.trashDroppedBytes), limits.days, limits.megabytes));
  }
}

} // namespace kest::host
