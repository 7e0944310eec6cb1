#include "host/commands.h"

#include "config/config_change.h"
#include "description/description_observer.h"
#include "description/extension.h"
#include "description/extension_xml_parser.h"
#include "host/extension_file.h"
#include "host/operation.h"
#include "host/session.h"
#include "host/terminal/text_width.h"
#include "platform/messages/messages.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace kest::host {
namespace {

struct Problem {
  bool isError = false;
  int line = 0; ///< 0: about no line
  std::string text;
};

/// Nobody reads more at once, and a hostile description could give any number of them.
constexpr std::size_t kMostProblems = 1000;

/// Collects what a description says in vain.
class Listener : public DescriptionObserver {
public:
  std::vector<Problem> problems;

  void OnUnknownAttribute(int line, std::string_view element, std::string_view attribute) override {
    Add(false, line, [&] {
      return fmt::format("<{}> has no attribute \"{}\": it is passed over", Shown(element), Shown(attribute));
    });
  }
  void OnDropped(int line, std::string_view element, std::string_view belongsIn) override {
    Add(false, line, [&] {
      return belongsIn.empty()
                 ? fmt::format("<{}> has no effect here", Shown(element))
                 : fmt::format("<{}> has no effect here: it belongs in <{}>", Shown(element), Shown(belongsIn));
    });
  }
  void OnForeignChange(int line, std::string_view element, std::string_view set) override {
    Add(true, line,
        [&] { return fmt::format("<{}> is no change: <{}> cannot be applied with it", Shown(element), Shown(set)); });
  }
  void OnFailure(int line, std::string_view reason) override {
    failureLine = line;
    failure = Shown(reason);
  }
  int failureLine = 0;
  std::string failure;

private:
  template <class MakeText> void Add(bool isError, int line, const MakeText& makeText) {
    if (problems.size() < kMostProblems) {
      problems.push_back({isError, line, makeText()});
    } else if (problems.size() == kMostProblems) {
      problems.push_back({true, line, "there is more of the kind: mend these first"});
    }
  }
};

void CheckItems(const CKestExtension& record, std::vector<Problem>& problems) {
  const std::pair<bool, Message> items[] = {
      {record.GetName().empty(), Message::kItemName},
      {record.GetVersion().IsUnset(), Message::kItemVersion},
      {record.GetType() == 0 && record.GetTypeLabel().empty(), Message::kItemType},
      {record.GetAuthorName().empty(), Message::kItemAuthor},
      {!record.GetProducts().HasChildren(), Message::kItemProducts},
      {record.GetDesc().empty(), Message::kItemDescription},
      {record.GetUIAccess().empty(), Message::kItemUiAccess},
  };
  for (const auto& [missing, message] : items) {
    if (missing) {
      problems.push_back({true, 0, "missing: " + Shown(LoadMessage(message))});
    }
  }
  if (record.GetType() == 0 && !record.GetTypeLabel().empty()) {
    problems.push_back({false, 0, fmt::format("the type \"{}\" is not known", ShownText(record.GetTypeLabel()))});
  }
  if (record.HasMultiplePrimaryProducts()) {
    problems.push_back({false, 0, "more than one product is marked primary; the first one counts"});
  }
  for (const auto& set : record.GetConfigChanges()) {
    if (!set->HasSafePath()) {
      problems.push_back(
          {true, 0, fmt::format("<{}> names a file outside the configuration folder", Shown(set->GetTag()))});
    }
  }
}

CString EntryName(const CString& source) {
  CString name = source;
  CKestPath::LocalizePathSeparators(name);
  while (!name.empty() && name.front() == '\\') {
    name.erase(0, 1);
  }
  return text::Lower(name);
}

// Why an install would refuse the path, of which the first component may be a folder token; empty when it would not.
std::string WhyRefused(CString path) {
  CKestPath::LocalizePathSeparators(path);
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(text::FindBackslash(path, begin), path.size());
    const std::string_view component = std::string_view(path).substr(begin, end - begin);
    const bool isToken = begin == 0 && component.starts_with('$');
    const char* reason = component.empty() || isToken ? nullptr : CKestPath::JudgeComponent(component);
    if (reason != nullptr) {
      return fmt::format("the name \"{}\" {}", Shown(CString(component)), reason);
    }
    begin = end + 1;
  }
  return {};
}

// Files: destinations, unsafe names, and whether a package has what its description lists.
void CheckFiles(const ExtensionFile& file, std::vector<Problem>& problems) {
  std::set<CString> packed;
  for (const PackageEntry& entry : file.entries) {
    packed.insert(EntryName(entry.name));
  }
  // Sources are named from where the description lies.
  const CString base = EntryName(CKestPath(file.descriptionName).GetFolder());
  for (const auto& child : file.record->GetFiles().GetChildren()) {
    const auto* entry = dynamic_cast<const CKestExtensionFile*>(child.get());
    if (!entry) {
      continue;
    }
    const std::string source = ShownText(entry->GetSource());
    if (entry->GetSource().empty()) {
      problems.push_back({true, 0, "a file has no source"});
      continue;
    }
    if (entry->GetDestination().empty() || entry->GetDestination().front() != '$') {
      problems.push_back({true, 0, fmt::format("{}: the destination does not begin with a folder token", source)});
    }
    const bool isPlaced = entry->GetPlatform() != CKestExtensionFile::kMac;
    for (const CString& path : {entry->GetDestination(), entry->GetSource()}) {
      if (const std::string why = WhyRefused(path); isPlaced && !why.empty()) {
        problems.push_back({true, 0, fmt::format("{}: {}", source, why)});
      }
    }
    if (entry->GetWinExtension().find_first_of("\\/:") != CString::npos) {
      problems.push_back({true, 0, fmt::format("{}: the win-extension is unsafe", source)});
    }
    if (file.isPackage && isPlaced && !packed.contains(base + EntryName(entry->GetSource()))) {
      problems.push_back({true, 0, fmt::format("{}: the package does not hold this file", source)});
    }
  }
}

Json CheckJson(const std::string& name, const Json& code, const std::vector<Problem>& problems, bool ok) {
  Json json = MakeDocument("check", ok);
  json["file"] = ForTerminal(name);
  json["code"] = code;
  json["problems"] = Json::array();
  for (const Problem& problem : problems) {
    json["problems"].push_back({{"severity", problem.isError ? "error" : "warning"},
                                {"line", problem.line ? Json(problem.line) : Json(nullptr)},
                                {"text", problem.text}});
  }
  return json;
}

int ValidateOne(Session& session, const std::string& word) {
  Listener listener;
  const ExtensionFile file = ReadExtensionFile(session, word, &listener);
  const std::string name = ForTerminal(word);
  session.document["file"] = name;
  if (!file.exists) {
    return session.Fail(kNotFoundHere, {name + " was not checked",
                                        "there is no such file",
                                        "nothing",
                                        {},
                                        "name a package (.kep) or a description (.kei)",
                                        0});
  }
  std::vector<Problem> problems = std::move(listener.problems);
  if (!file.record) {
    problems.push_back({true, 0, (file.isPackage ? "the package cannot be used: " : "") + file.problem});
  } else if (file.code != 0) {
    const std::string words = DescribeLoadCode(file.code);
    problems.push_back(
        {true, listener.failureLine,
         listener.failure.empty() || listener.failure == words ? words : words + ": " + listener.failure});
  } else {
    CheckItems(*file.record, problems);
    CheckFiles(file, problems);
  }
  int code = file.code;
  if (file.isPackage && file.record) {
    // what an install would unpack and refuse
    CKestPackage package(file.path.c_str());
    if (const int checked = package.Check(); checked != CKestPackage::kGood) {
      code = checked;
      problems.push_back({true, 0, "the package cannot be used: " + Shown(package.GetProblem())});
    }
  }
  std::stable_sort(problems.begin(), problems.end(),
                   [](const Problem& a, const Problem& b) { return a.line != 0 && (b.line == 0 || a.line < b.line); });
  session.document = CheckJson(word, code, problems, problems.empty());
  if (!session.options.json) {
    for (const Problem& problem : problems) {
      const std::string place = problem.line ? fmt::format("{}:{}", name, problem.line) : name;
      session.terminal.Data(fmt::format("{}: {}: {}\n", place,
                                        session.terminal.PaintData(problem.isError ? Style::kError : Style::kWarning,
                                                                   problem.isError ? "error" : "warning"),
                                        problem.text));
    }
  }
  if (problems.empty()) {
    session.terminal.Notice(name + " is in order.");
  }
  return problems.empty() ? kDone : kProblemsFound;
}

} // namespace

int RunValidate(Session& session) {
  int exit = kDone;
  if (!session.OpenMachineForFiles(exit)) {
    return exit;
  }
  bool found = false;
  const int code = RunEach(session, session.options.arguments, [&](const std::string& word) {
    const int one = ValidateOne(session, word);
    found |= one == kProblemsFound;
    return one;
  });
  return code == kSomeFailed && found ? kProblemsFound : code;
}

} // namespace kest::host
