// Files: tokens, destinations, sources, and the files that menu items, shortcuts and buttons run.
#include "description/extension.h"
#include "manager/placement.h"
#include "manager/validation_rules.h"
#include "platform/text/path.h"

#include <map>
#include <set>

namespace kest {

namespace {

constexpr std::string_view kFolderTokens = "tidemark|tidemark vantage|vantage|prism|marlin|quarry|system|fonts";
constexpr std::string_view kFontFiles = "ttf|ttc|otf|fon|fnt|pfb|pfm";

// What stands behind the "$" that a path begins with, in small letters; empty when it begins with none.
CString TokenOf(CString path) {
  CKestPath::LocalizePathSeparators(path);
  return path.empty() || path.front() != '$' ? CString()
                                             : text::Lower(path.substr(1, text::FindBackslash(path, 0) - 1));
}

// Why an install would refuse the path, of which the first component may be a folder token and the last one a file's
// name; empty when it would not.
CString WhyRefused(CString path, bool isFile) {
  CKestPath::LocalizePathSeparators(path);
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(text::FindBackslash(path, begin), path.size());
    const CString component = path.substr(begin, end - begin);
    const bool isToken = begin == 0 && component.starts_with('$');
    const bool isDropped = component == "." && (!isFile || end < path.size());
    const char* reason = component.empty() || isToken || isDropped ? nullptr : CKestPath::JudgeComponent(component);
    if (reason != nullptr) {
      return "the name \"" + component + "\" " + reason;
    }
    begin = end + 1;
  }
  return {};
}

// Folders that are the engine's own on every PC; what else is, an install finds out.
bool IsOfTheEngine(CString folder) {
  CKestPath::LocalizePathSeparators(folder);
  folder = text::Lower(WithBackslash(folder));
  return folder.find("\\windows\\temp\\") != CString::npos || folder.find("\\programdata\\kest\\") != CString::npos;
}

// Descriptions and what lies beside them.
bool IsDescriptionPlace(CString destination, const CString& source) {
  CKestPath::LocalizePathSeparators(destination);
  const CString folder = text::Lower(WithBackslash(destination));
  return folder.ends_with("\\configuration\\extensions\\disabled\\") ||
         (folder.ends_with("\\configuration\\extensions\\") && text::Lower(source).ends_with(".kei"));
}

/// One pass over the files of a description.
class FileRules {
public:
  explicit FileRules(const ValidationRules& rules) : m_rules(rules), m_findings(rules.findings) {}

  void CheckTokens() {
    for (const OutlineElement& element : m_rules.outline.GetElements()) {
      if (m_findings.IsFull()) {
        return;
      }
      if (element.name == "token" && m_rules.outline.ParentName(element) == "file-tokens") {
        CheckToken(element);
      }
    }
  }
  void CheckFiles() {
    for (const OutlineElement& element : m_rules.outline.GetElements()) {
      if (m_findings.IsFull()) {
        return;
      }
      if (element.name == "file" && m_rules.outline.ParentName(element) == "files") {
        CheckFile(element);
      }
    }
    for (const auto& [name, line] : m_tokens) {
      if (!m_used.contains(name)) {
        m_findings.Warn(line, "token-unused", "no file goes to the token \"" + name + "\"");
      }
    }
  }
  void CheckRuns() {
    for (const OutlineElement& element : m_rules.outline.GetElements()) {
      if (m_findings.IsFull()) {
        return;
      }
      if (IsOneOf(element.name, "menuitem|shortcut|button")) {
        CheckRun(element, "file");
      }
    }
  }

private:
  void CheckToken(const OutlineElement& token) {
    const CString name = text::Lower(token.Get("name"));
    if (name.empty()) {
      return;
    }
    if (!m_tokens.try_emplace(name, token.line).second) {
      m_findings.Warn(token.line, "token-twice", "the token \"" + name + "\" stands there more than once");
    }
    if (IsOneOf(name, kFolderTokens)) {
      m_findings.Warn(token.line, "token-taken", "the token \"" + name + "\" is one of the products': it is not used");
    }
    if (token.Get("default").empty() && token.Get("definition").empty()) {
      token.Get("prompt").empty()
          ? m_findings.Error(token.line, "token-without-folder",
                             "the token \"" + name + "\" has neither prompt nor default nor definition")
          : m_findings.Warn(token.line, "token-without-default",
                            "the token \"" + name + "\" proposes no folder: where nobody is asked, an install fails");
    }
    for (const char* attribute : {"default", "definition"}) {
      const CString value = token.Get(attribute);
      const CString inner = TokenOf(value);
      if (IsOfTheEngine(value)) {
        m_findings.Error(token.line, "reserved-place",
                         "the token \"" + name + "\" leads to " + value + ", where no extension puts files");
      }
      m_used.insert(inner);
      m_folders[name] = value.empty() ? m_folders[name] : value;
      if (!inner.empty() && inner != name) {
        m_wanted.emplace_back(inner, token.line);
      }
    }
  }

  void CheckFile(const OutlineElement& file) {
    const CString source = file.Has("source") ? file.Get("source") : file.Get("name");
    const CString destination = file.Has("destination") ? file.Get("destination") : file.Get("location");
    if (source.empty() || destination.empty()) {
      return; // told by the rule for what must be said
    }
    const CString token = TokenOf(destination);
    const bool isPlaced = !text::StartsWithNoCase(file.Get("platform"), "mac");
    m_used.insert(token);
    if (token.empty()) {
      m_findings.Error(file.line, "no-token", source + ": the destination does not begin with a folder token");
    } else if (!IsOneOf(token, kFolderTokens) && !m_tokens.contains(token)) {
      const CString near = NearestOf(token, kFolderTokens);
      m_findings.Error(file.line, "unknown-token",
                       source + ": nothing is called $" + token + ", and the file is left out" +
                           (near.empty() ? CString() : "; did you mean $" + near + "?"));
    }
    if (isPlaced && IsDescriptionPlace(destination, source)) {
      m_findings.Error(file.line, "reserved-place", source + ": it would lie among the installed descriptions");
    }
    for (const bool isFile : {false, true}) {
      if (const CString why = WhyRefused(isFile ? source : destination, isFile); isPlaced && !why.empty()) {
        m_findings.Error(file.line, "unsafe-name", source + ": " + why);
      }
    }
    if (file.Get("win-extension").find_first_of("\\/:") != CString::npos) {
      m_findings.Error(file.line, "unsafe-name", source + ": the win-extension is unsafe");
    }
    if (isPlaced && m_rules.subject.hasFile && !m_rules.subject.hasFile(PackageEntryName(source))) {
      m_findings.Error(file.line, "source-missing", source + ": there is no such file beside the description");
    }
    CheckKind(file, source, token);
    Remember(file, source, destination, isPlaced);
  }

  // The special folders want special files.
  void CheckKind(const OutlineElement& file, const CString& source, const CString& token) {
    if (token == "fonts" && !IsOneOf(CKestPath(source).GetExtension(), kFontFiles)) {
      m_findings.Warn(file.line, "no-font", source + " goes to the fonts, but is no font");
    }
    if (text::IsTruthy(file.Get("systemfile")) && token != "system") {
      m_findings.Warn(file.line, "no-system-file", source + " counts as a system file, but does not go to $system");
    }
    if (file.Has("win-extension") && !file.Get("platform").empty()) {
      m_findings.Warn(file.line, "no-effect", source + ": win-extension means nothing for a file of one platform");
    }
  }

  void Remember(const OutlineElement& file, const CString& source, CString destination, bool isPlaced) {
    CString local = source;
    CKestPath::LocalizePathSeparators(local);
    const CString name = text::Lower(CKestPath(local).GetFileName());
    for (int depth = 0; depth < 3 && m_folders.contains(TokenOf(destination)); ++depth) {
      const CString token = TokenOf(destination);
      destination = m_folders[token] + destination.substr(token.size() + 1);
    }
    destination = text::Lower(PackageEntryName(destination + "\\"));
    if (destination.ends_with("\\" + name)) {
      destination.erase(destination.size() - name.size() - 1);
    }
    const CString place = destination + "\\" + name;
    if (isPlaced && !m_places.try_emplace(place, file.line).second) {
      m_findings.Warn(file.line, "same-place",
                      source + " goes where line " + std::to_string(m_places[place]) + " puts a file already");
    }
    constexpr std::string_view kConfiguration = "\\configuration\\";
    constexpr std::string_view kObjects = "objects\\";
    const std::size_t folder = place.find(kConfiguration);
    if (folder == CString::npos) {
      m_elsewhere.insert(name);
      return;
    }
    const CString inside = place.substr(folder + kConfiguration.size());
    m_runnable.insert(inside);
    if (inside.starts_with(kObjects)) {
      m_runnable.insert(inside.substr(kObjects.size()));
    }
  }

  // Seen from the configuration folder, or from its folder Objects.
  void CheckRun(const OutlineElement& element, std::string_view attribute) {
    CString path = element.Get(attribute);
    CKestPath::LocalizePathSeparators(path);
    text::ReplaceAll(path, ":", "\\");
    path = text::Lower(path);
    if (path.empty() || m_elsewhere.contains(CKestPath(path).GetFileName())) {
      return;
    }
    if (m_runnable.contains(path)) {
      return;
    }
    m_findings.Warn(element.line, "file-not-installed",
                    Tag(element.name) + " runs " + element.Get(attribute) + ", which is not among the files");
  }

public:
  void CheckWanted() {
    for (const auto& [token, line] : m_wanted) {
      if (!IsOneOf(token, kFolderTokens) && !m_tokens.contains(token)) {
        m_findings.Error(line, "unknown-token", "nothing is called $" + token);
      }
    }
  }

private:
  const ValidationRules& m_rules;
  ValidationFindings& m_findings;
  std::map<CString, int> m_tokens;      ///< by name, with the line of the first
  std::map<CString, CString> m_folders; ///< what tokens stand for
  std::vector<std::pair<CString, int>> m_wanted;
  std::set<CString> m_used;
  std::map<CString, int> m_places; ///< where files go, with the line of the first
  std::set<CString> m_runnable;    ///< files of the configuration folder, as menus and the insert bar name them
  std::set<CString> m_elsewhere;   ///< names of files that go outside of a configuration folder
};

} // namespace

void ValidationRules::CheckFiles() const {
  FileRules rules(*this);
  rules.CheckTokens();
  rules.CheckFiles();
  rules.CheckWanted();
  rules.CheckRuns();
  if (!record.HasFiles() && !record.HasConfigChanges() && !record.HasHelpChanges()) {
    findings.Warn(outline.GetElements().empty() ? 0 : outline.At(0).line, "does-nothing",
                  "it has neither files nor changes: installing it does nothing");
  }
}

} // namespace kest
