// Elements one by one: where they may stand, what they must say, what their values may be.
#include "manager/validation_rules.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>

namespace kest {

namespace {

// ---- what may stand in an element, where the reader would take anything

struct ContentRow {
  std::string_view parent;
  std::string_view children;
};

constexpr ContentRow kContents[] = {
    {"products", "product"},
    {"files", "file"},
    {"file-tokens", "token"},
    {"menu-insert", "menubar|menu|menuitem|format|separator|comment"},
    {"shortcut-insert", "shortcutlist|shortcut|comment"},
    {"toolbar-insert", "toolbar|comment"},
    {"insertbar-insert", "category|comment"},
    {"documenttype-insert", "documenttype|comment"},
    {"taglibrary-insert", "taglibrary|comment"},
    {"helpbook-insert", "book-id|comment"},
};

// Elements that hold no others, and no text.
constexpr std::string_view kLeaves =
    "product|file|token|author|menuitem|format|shortcut|menu-remove|shortcut-remove|element-insert|element-remove|"
    "attribute-insert|attribute-remove|ftp-extension-insert|ftp-extension-remove|extension-insert|extension-remove|"
    "documenttype-remove|taglibrary-remove|helpbook-remove|toolbar-remove|toolbar-item-remove|insertbar-remove|"
    "insertbar-item-remove";
constexpr std::string_view kOnce = "author|description|ui-access|license-agreement|products|files|file-tokens";

// ---- what must be said

struct RequiredRow {
  std::string_view elements;
  std::string_view attributes; ///< any of them will do
  bool isError;
  const char* rule;
  const char* consequence;
};

constexpr RequiredRow kRequired[] = {
    {"product|token", "name", true, "missing-attribute", "it means nothing without"},
    {"file", "source|name", true, "missing-attribute", "no file is meant"},
    {"file", "destination|location", true, "missing-attribute", "nobody knows where the file goes"},
    {"menu", "name", false, "missing-attribute", "it shows no text"},
    {"format", "title", false, "missing-attribute", "it shows no text"},
    {"menuitem", "name|dynamic", false, "missing-attribute", "it shows no text"},
    {"menuitem", "file|command|dynamic", false, "no-action", "choosing it does nothing"},
    {"shortcut", "key", true, "missing-attribute", "no key is meant"},
    {"shortcut", "file|command", false, "no-action", "pressing it does nothing"},
    {"menubar|menu|menuitem|format|shortcutlist|shortcut|toolbar|category|documenttype|taglibrary|book-id|button", "id",
     false, "missing-id", "an uninstall cannot find it, and it stays"},
    {"menu-remove", "id|menuid", true, "empty-removal", "it removes nothing"},
    {"shortcut-remove|documenttype-remove|taglibrary-remove|helpbook-remove|toolbar-remove|toolbar-item-remove|"
     "insertbar-remove|insertbar-item-remove",
     "id", true, "empty-removal", "it removes nothing"},
    {"element-remove|attribute-remove", "name", true, "empty-removal", "it removes nothing"},
    {"ftp-extension-remove|extension-remove", "extension", true, "empty-removal", "it removes nothing"},
    {"element-insert|attribute-insert", "name", true, "missing-attribute", "it inserts nothing"},
    {"ftp-extension-insert|extension-insert", "extension", true, "missing-attribute", "it inserts nothing"},
    {"extension-insert", "description", true, "missing-attribute", "its group is not known"},
    {"ftp-extension-insert", "type", false, "missing-attribute", "such files are sent as binary"},
    {"server-behavior-changes|server-format-changes|server-format-definition-changes|data-source-changes",
     "server|servermodel|folder|servermodelfolder", false, "missing-attribute", "no server model is meant"},
};

// ---- what values may be

// How a value is wrong, as the end of a sentence; empty when it is not.
using Judge = CString (*)(std::string_view);

template <std::size_t N> struct Words {
  constexpr Words(const char (&text)[N]) { std::copy_n(text, N, words); }
  char words[N]{};
};
template <Words choices> CString OneOf(std::string_view value) {
  return IsOneOf(value, choices.words) ? CString() : "is none of " + CString(choices.words);
}

constexpr Judge kTruth = OneOf<"true|false|yes|no|1|0|t|f|y|n">;
constexpr Judge kTrueOrFalse = OneOf<"true|false">;

CString Version(std::string_view value) {
  int dots = 0;
  bool digit = false;
  for (const char c : value) {
    if (c == '.' ? !digit : !(c >= '0' && c <= '9')) {
      return "is no version such as 1.0.2";
    }
    dots += c == '.';
    digit = c != '.';
  }
  return !digit ? "is no version such as 1.0.2" : dots > 3 ? "has more than four numbers" : "";
}

CString IndentGroup(std::string_view value) {
  return value.size() == 1 && value[0] >= '1' && value[0] <= '8' ? "" : "is no number from 1 to 8";
}

CString Break(std::string_view value) {
  const bool fits = std::count(value.begin(), value.end(), ',') == 3 &&
                    std::all_of(value.begin(), value.end(), [](char c) { return c == ',' || (c >= '0' && c <= '9'); });
  return fits ? "" : "is not four numbers such as 1,1,1,1";
}

CString Identifier(std::string_view value) {
  return value.find_first_of(" \t\"<>&") == std::string_view::npos ? "" : "has a blank or a mark in it";
}

CString FileExtensions(std::string_view value) {
  return value.find_first_of(".*\\/:") == std::string_view::npos ? "" : "has a mark in it: write HTM, not *.htm";
}

CString TokenName(std::string_view value) {
  return value.find_first_of("$\\/:") == std::string_view::npos ? "" : "has a mark in it: write the name alone";
}

CString Keys(std::string_view value) {
  constexpr std::string_view kModifiers = "cmd|ctrl|control|opt|alt|shift";
  constexpr std::string_view kNamed = "bksp|del|ins|end|home|left|right|up|down|pgdn|pgup|space|tab|enter|return|esc";
  while (true) {
    const std::size_t plus = value.find('+', 1);
    if (value.empty()) {
      return "names no key";
    }
    if (plus == std::string_view::npos || plus + 1 > value.size()) {
      break;
    }
    if (!IsOneOf(value.substr(0, plus), kModifiers)) {
      return "has a modifier that is none of Cmd, Ctrl, Opt, Alt, Shift";
    }
    value.remove_prefix(plus + 1);
  }
  const bool isFunction = value.size() >= 2 && value.size() <= 3 && text::ToLower(value[0]) == 'f' &&
                          std::all_of(value.begin() + 1, value.end(), [](char c) { return c >= '0' && c <= '9'; });
  const bool isOneByte = value.size() == 1 || static_cast<unsigned char>(value[0]) >= 0x80;
  return isOneByte || isFunction || IsOneOf(value, kNamed) ? "" : "ends in what is no key";
}

struct ValueRow {
  std::string_view elements;
  std::string_view attributes;
  Judge judge;
  const char* rule = "wrong-value";
};

constexpr std::string_view kMenuThings = "menubar|menu|menuitem|format|separator|shortcut|shortcutlist";

constexpr ValueRow kValues[] = {
    {"kestrel-extension|kestrel-package", "requires-restart", kTruth},
    {"kestrel-extension|kestrel-package|product", "version", Version, "wrong-version"},
    {"product", "primary|required", kTruth},
    {"file", "platform", OneOf<"mac|win">},
    {"file", "shared|systemfile", kTruth},
    {"file", "win-extension", FileExtensions},
    {"token", "name", TokenName},
    {kMenuThings, "platform", OneOf<"mac|win">},
    {kMenuThings, "id", Identifier},
    {"toolbar|category|button|documenttype|taglibrary|book-id", "id", Identifier},
    {"menuitem|shortcut", "key", Keys, "wrong-key"},
    {"menuitem|shortcut", "domrequired", kTruth},
    {"menuitem", "dynamic", kTruth},
    {"menu-insert", "skipseparator", kTruth},
    {"menu|format", "visibility", OneOf<"hidden|visible">},
    {"element-insert", "indent|noformat", kTrueOrFalse},
    {"element-insert", "indentgroup", IndentGroup},
    {"element-insert", "break", Break},
    {"attribute-insert", "samecase", kTrueOrFalse},
    {"ftp-extension-insert", "type", OneOf<"ascii|binary">},
    {"ftp-extension-insert|ftp-extension-remove|extension-insert|extension-remove", "extension", FileExtensions},
};

// Attributes that are one and the same.
constexpr std::pair<std::string_view, std::string_view> kAliases[] = {
    {"file", "source|name"},
    {"file", "destination|location"},
    {"menu-remove", "id|menuid"},
    {"server-behavior-changes|server-format-changes|server-format-definition-changes|data-source-changes",
     "server|servermodel|folder|servermodelfolder"},
};

// Of what the product reads itself: a word that is nearly one of these was meant to be it.
constexpr std::string_view kButtonAttributes =
    "id|image|overimage|disabledimage|tooltip|label|file|command|arguments|enabled|checked|showif|update|domrequired|"
    "platform|app|name|width|menuid|codesnippet|canvasimage|type";

CString Said(const OutlineElement& element, std::string_view names) {
  for (const auto& [name, value] : element.attributes) {
    if (IsOneOf(name, names) && !text::Trimmed(value).empty()) {
      return CString(value);
    }
  }
  return {};
}

CString Readable(std::string_view choices) {
  CString text(choices);
  text::ReplaceAll(text, "|", " or ");
  return text;
}

void CheckContent(const ValidationRules& rules, const OutlineElement& element) {
  const std::string_view parent = rules.outline.ParentName(element);
  for (const ContentRow& row : kContents) {
    if (parent == row.parent && !IsOneOf(element.name, row.children)) {
      const CString near = NearestOf(element.name, row.children);
      rules.findings.Error(
          element.line, "unknown-element",
          Tag(element.name) + " means nothing in " + Tag(parent) +
              (near.empty() ? ": it may hold " + Readable(row.children) : "; did you mean " + Tag(near) + "?"));
    }
  }
  if (IsOneOf(parent, kLeaves)) {
    rules.findings.Warn(element.line, "misplaced-element",
                        Tag(element.name) + " stands inside " + Tag(parent) + ", which holds no other element");
  }
  if (IsOneOf(element.name, "menuitem|separator|menu|shortcut") && IsOneOf(parent, "menu|menubar|shortcutlist")) {
    rules.findings.Warn(element.line, "flat-content",
                        Tag(element.name) + " comes after the " + Tag(parent) +
                            " that it stands in, not into it: append to that one with a change of its own");
  }
  if (element.hasText &&
      (IsOneOf(element.name, kLeaves) || IsOneOf(element.name, kConfigSets) || IsOneOf(element.name, kHelpSets) ||
       IsOneOf(element.name, kInserts) || IsOneOf(element.name, "products|files|file-tokens|kestrel-extension"))) {
    rules.findings.Warn(element.line, "stray-text", "text stands inside " + Tag(element.name) + ", where it is lost");
  }
}

/// The rows that are about elements of one name.
struct RowsOfElement {
  explicit RowsOfElement(std::string_view element) {
    for (const RequiredRow& row : kRequired) {
      if (IsOneOf(element, row.elements)) {
        required.push_back(&row);
      }
    }
    for (const ValueRow& row : kValues) {
      if (IsOneOf(element, row.elements)) {
        values.push_back(&row);
      }
    }
  }
  std::vector<const RequiredRow*> required;
  std::vector<const ValueRow*> values;
};

void CheckAttributes(const ValidationRules& rules, const OutlineElement& element, const RowsOfElement& rows) {
  for (const RequiredRow* at : rows.required) {
    const RequiredRow& row = *at;
    if (Said(element, row.attributes).empty()) {
      const CString text = Tag(element.name) + " has no " + Readable(row.attributes) + ": " + row.consequence;
      row.isError ? rules.findings.Error(element.line, row.rule, text)
                  : rules.findings.Warn(element.line, row.rule, text);
    }
  }
  for (const ValueRow* at : rows.values) {
    const ValueRow& row = *at;
    for (const auto& [name, value] : element.attributes) {
      const CString why = IsOneOf(name, row.attributes) && !value.empty() ? row.judge(text::Trimmed(value)) : "";
      if (!why.empty()) {
        rules.findings.Warn(element.line, row.rule,
                            Tag(element.name) + ": " + CString(name) + "=\"" + CString(value) + "\" " + why);
      }
    }
  }
  for (const auto& [elements, same] : kAliases) {
    if (!IsOneOf(element.name, elements)) {
      continue;
    }
    const auto count = std::count_if(element.attributes.begin(), element.attributes.end(),
                                     [&, names = same](const auto& one) { return IsOneOf(one.first, names); });
    if (count > 1) {
      rules.findings.Warn(element.line, "attribute-twice",
                          Tag(element.name) + " says " + Readable(same) + " more than once: the last one counts");
    }
  }
  if (element.name == "file" && element.Has("actual-path")) {
    rules.findings.Warn(element.line, "not-for-authors", "<file>: actual-path is written at an install alone");
  }
  if (element.name == "button") {
    for (const auto& [name, value] : element.attributes) {
      const CString near = IsOneOf(name, kButtonAttributes) ? CString() : NearestOf(name, kButtonAttributes);
      if (!near.empty()) {
        rules.findings.Warn(element.line, "unknown-attribute",
                            "<button> has an attribute \"" + CString(name) + "\"; did you mean \"" + near + "\"?");
      }
    }
  }
}

} // namespace

void ValidationRules::CheckElements() const {
  std::map<std::string_view, int> seen;
  // a description of many elements has few kinds of them
  std::unordered_map<std::string_view, RowsOfElement> rows;
  std::unordered_set<CString> inPlace;
  for (const OutlineElement& element : outline.GetElements()) {
    if (findings.IsFull()) {
      return;
    }
    const CString place = CString(outline.ParentName(element)).append("/").append(element.name);
    if (element.hasText || !inPlace.contains(place)) {
      const std::size_t before = findings.GetCount();
      CheckContent(*this, element);
      if (findings.GetCount() == before) {
        inPlace.insert(place);
      }
    }
    CheckAttributes(*this, element, rows.try_emplace(element.name, element.name).first->second);
    if (element.parent == 0 && IsOneOf(element.name, kOnce) && ++seen[element.name] > 1) {
      findings.Warn(element.line, "element-twice", Tag(element.name) + " stands there more than once");
    }
  }
}

} // namespace kest
