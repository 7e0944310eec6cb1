#include "host/preview_output.h"

#include "host/session.h"
#include "host/terminal/text_width.h"
#include "host/terminal/unified_diff.h"
#include "manager/operation_report.h"
#include "platform/text/path.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <utility>

namespace kest::host {
namespace {

using Kind = PreviewEntry::Kind;
using Change = PreviewEntry::Change;

constexpr std::size_t kMostListed = 40; ///< files; more are told by their folders

/// What the document calls a kind, and the head of its group for a person; groups of one head follow one another.
constexpr struct {
  Kind kind;
  const char* word;
  const char* head;
} kKinds[] = {
    {Kind::kRecovery, "recovery", "Before that"},
    {Kind::kQuestion, "question", "Questions"},
    {Kind::kExtension, "extension", "Other extensions"},
    {Kind::kClash, "clash", "To be known"},
    {Kind::kMenu, "menu", "Menus"},
    {Kind::kMenuItem, "menu-item", "Menus"},
    {Kind::kShortcut, "shortcut", "Shortcuts"},
    {Kind::kButton, "button", "Toolbars and insert bar"},
    {Kind::kCategory, "category", "Toolbars and insert bar"},
    {Kind::kListEntry, "list-entry", "Lists"},
    {Kind::kFormat, "format", "Formats"},
    {Kind::kTag, "tag", "Tags"},
    {Kind::kFile, "file", "Files"},
    {Kind::kRegistry, "registry", "Registry"},
    {Kind::kRestart, "restart", "To be restarted"},
    {Kind::kLeftOut, "left-out", "Without effect"},
};

const char* WordOf(Change change) {
  switch (change) {
  case Change::kAdded:
    return "new";
  case Change::kRemoved:
    return "gone";
  case Change::kMoved:
    return "moved";
  case Change::kChanged:
    return "changed";
  case Change::kKept:
    return "kept";
  case Change::kNone:
    break;
  }
  return "";
}

Style StyleOf(Change change) {
  return change == Change::kAdded ? Style::kAdded : change == Change::kRemoved ? Style::kRemoved : Style::kPlain;
}

bool IsNamedByWords(Kind kind) {
  return kind == Kind::kMenu || kind == Kind::kMenuItem || kind == Kind::kButton || kind == Kind::kCategory ||
         kind == Kind::kListEntry || kind == Kind::kFormat || kind == Kind::kTag || kind == Kind::kExtension;
}

/// One entry in words: name, place, note, advice.
std::string Sentence(const PreviewEntry& entry) {
  std::string text = Shown(entry.name);
  if (IsNamedByWords(entry.kind)) {
    text = '"' + text + '"';
  }
  if (entry.kind == Kind::kMenu) {
    text = "menu " + text;
  }
  if (!entry.id.empty() && entry.kind == Kind::kShortcut && entry.note.empty()) {
    text += fmt::format(" ({})", Shown(entry.id));
  }
  const bool hasPlace = entry.change == Change::kAdded || entry.change == Change::kMoved;
  if (hasPlace && !entry.after.empty()) {
    text += fmt::format(" after \"{}\"", Shown(entry.after));
  } else if (hasPlace && !entry.parent.empty()) {
    text += " as the first";
  }
  if (!entry.parent.empty()) {
    text += fmt::format(" {} {}", entry.change == Change::kRemoved ? "of" : "in", Shown(entry.parent));
  }
  const std::string note = Shown(entry.note);
  if (!note.empty()) {
    text += entry.kind == Kind::kFile       ? " (" + note + ")"
            : entry.kind == Kind::kQuestion ? " (" + note + ")" // behind a sentence
            : text.empty()                  ? note
            : entry.kind == Kind::kRegistry ? " = " + note
            : note.starts_with("of ")       ? " " + note
            : entry.kind == Kind::kClash    ? ": " + note
                                            : ", " + note;
  }
  if (!entry.advice.empty()) {
    text += fmt::format(" [{}]", Shown(entry.advice));
  }
  return text;
}

std::string Line(const Terminal& terminal, Change change, const std::string& text) {
  const std::string word = WordOf(change);
  return word.empty() ? "  " + text + "\n"
                      : fmt::format("  {}{} {}\n", terminal.PaintData(StyleOf(change), word),
                                    std::string(8 - std::min<std::size_t>(word.size(), 8), ' '), text);
}

void PrintFiles(Session& session, const std::vector<const PreviewEntry*>& files) {
  Terminal& terminal = session.terminal;
  std::map<Change, std::size_t> counts;
  for (const PreviewEntry* file : files) {
    ++counts[file->change];
  }
  std::string head = "Files:";
  for (const auto& [change, count] : counts) {
    head += fmt::format("{} {} {}", head.back() == ':' ? "" : ",", count, WordOf(change));
  }
  terminal.Data(terminal.PaintData(Style::kStrong, head) + "\n");
  if (session.options.verbose || files.size() <= kMostListed) {
    for (const PreviewEntry* file : files) {
      terminal.Data(Line(terminal, file->change, Sentence(*file)));
    }
    return;
  }
  std::map<std::pair<Change, std::string>, std::size_t> folders;
  for (const PreviewEntry* file : files) {
    ++folders[{file->change, Shown(CKestPath(file->name).GetFolder())}];
  }
  for (const auto& [folder, count] : folders) {
    terminal.Data(
        Line(terminal, folder.first, fmt::format("{} file{} in {}", count, count == 1 ? "" : "s", folder.second)));
  }
  terminal.Data("  Each of them with --verbose.\n");
}

void Print(Session& session, const Preview& preview) {
  Terminal& terminal = session.terminal;
  std::string head;
  std::vector<const PreviewEntry*> files;
  for (const auto& row : kKinds) {
    for (const PreviewEntry& entry : preview.entries) {
      if (entry.kind != row.kind) {
        continue;
      }
      if (entry.kind == Kind::kFile) {
        files.push_back(&entry);
        continue;
      }
      if (head != row.head) {
        head = row.head;
        terminal.Data(terminal.PaintData(Style::kStrong, head + ":") + "\n");
      }
      terminal.Data(Line(terminal, entry.change, Sentence(entry)));
    }
    if (row.kind == Kind::kFile && !files.empty()) {
      PrintFiles(session, files);
    }
  }
}

Style StyleOf(DiffLine::Kind kind) {
  switch (kind) {
  case DiffLine::Kind::kFile:
    return Style::kStrong;
  case DiffLine::Kind::kPlace:
    return Style::kPlace;
  case DiffLine::Kind::kGone:
    return Style::kRemoved;
  case DiffLine::Kind::kNew:
    return Style::kAdded;
  case DiffLine::Kind::kSame:
    break;
  }
  return Style::kPlain;
}

std::string PrintDiff(Session& session, const Preview::File& file) {
  std::string plain;
  for (const DiffLine& line : UnifiedDiff(file.path, file.before, file.after)) {
    const std::string text = Shown(line.text.empty() ? "" : line.text);
    plain += text + '\n';
    if (!session.options.json) {
      session.terminal.Data(session.terminal.PaintData(StyleOf(line.kind), text) + "\n");
    }
  }
  return plain;
}

Json ToJson(HostedMachine* machine, const PreviewEntry& entry) {
  const auto* const row =
      std::find_if(std::begin(kKinds), std::end(kKinds), [&](const auto& one) { return one.kind == entry.kind; });
  const auto orNull = [](const CString& text) { return text.empty() ? Json(nullptr) : Json(ToUtf8(text)); };
  Json json = Json::object();
  json["kind"] = row->word;
  json["change"] = orNull(WordOf(entry.change));
  json["name"] = ToUtf8(entry.name);
  json["id"] = orNull(entry.id);
  json["file"] = PathJson(machine, entry.kind == Kind::kFile ? entry.name : entry.file);
  json["in"] = orNull(entry.parent);
  json["after"] = orNull(entry.after);
  json["note"] = orNull(entry.note);
  json["advice"] = orNull(entry.advice);
  return json;
}

void AddQuestions(Session& session, Preview& preview) {
  for (const OpenQuestion& question : session.GetUi().GetOutcome().open) {
    PreviewEntry entry;
    entry.kind = Kind::kQuestion;
    entry.name = question.text;
    entry.note = question.isAnswered ? "answered by " + question.flag : "taken as \"" + question.taken + "\" here";
    entry.advice = question.isAnswered ? "" : "answered by " + question.flag;
    preview.entries.push_back(std::move(entry));
  }
}

/// Why the operation would have ended otherwise; kDone when it would not.
int Judge(Session& session, int exit) {
  if (const std::string interference = session.FindInterference(); !interference.empty()) {
    return session.Fail(kInUseOrLocked,
                        {"it cannot be told what would happen", interference, "nothing", {}, "try again", 0});
  }
  if (exit != kDone) {
    return exit;
  }
  if (session.FindOverlay()->IsForeign()) {
    return session.Fail(kInUseOrLocked, {"it would not be done",
                                         "you have no right to change " + session.GetMachineName(),
                                         "nothing",
                                         {},
                                         "let somebody do it who has",
                                         0});
  }
  if (!session.HasEngine()) {
    return kDone;
  }
  const std::vector<OpenQuestion>& open = session.GetUi().GetOutcome().open;
  const auto unanswered =
      std::find_if(open.begin(), open.end(), [](const OpenQuestion& question) { return !question.isAnswered; });
  if (unanswered != open.end() && !session.terminal.CanAsk()) {
    return session.Fail(kDeclinedOrUnanswered, {"it would not be done without an answer",
                                                "nobody can be asked here: " + unanswered->text,
                                                "nothing",
                                                {},
                                                "answer with " + unanswered->flag,
                                                0});
  }
  return kDone;
}

} // namespace

int ShowPreview(Session& session, const OperationReport& report, int exit) {
  session.terminal.ClearProgress();
  Preview preview = session.GetPreviewMaker().Make(report);
  if (session.HasEngine()) {
    const std::vector<PreviewEntry> first = PreviewMaker::Describe(session.GetManager().GetRecoveryReport());
    preview.entries.insert(preview.entries.begin(), first.begin(), first.end());
    AddQuestions(session, preview);
  }
  session.document["dry_run"] = true;
  session.document["preview"] = Json::array();
  for (const PreviewEntry& entry : preview.entries) {
    session.document["preview"].push_back(ToJson(session.FindMachine(), entry));
  }
  if (!session.options.json) {
    Print(session, preview);
  }
  if (session.options.diff) {
    session.document["diff"] = Json::array();
    for (const Preview::File& file : preview.files) {
      session.document["diff"].push_back(
          {{"file", PathJson(session.FindMachine(), file.path)}, {"text", PrintDiff(session, file)}});
    }
  }
  const int judged = Judge(session, exit);
  session.terminal.Notice("A dry run: nothing was changed.");
  return judged;
}

} // namespace kest::host
