// Change sets: which changes belong in them, the places of inserts, ids and keys that are given twice.
#include "manager/validation_rules.h"

#include <map>

namespace kest {

namespace {

constexpr std::string_view kMenuSets = "configuration-changes|server-behavior-changes|server-format-changes|"
                                       "server-format-definition-changes|data-source-changes";

struct HomeRow {
  std::string_view changes;
  std::string_view sets;
};

constexpr HomeRow kHomes[] = {
    {"menu-insert|menu-remove|shortcut-insert|shortcut-remove", kMenuSets},
    {"toolbar-insert|toolbar-item-insert|toolbar-remove|toolbar-item-remove", "toolbar-changes"},
    {"insertbar-insert|insertbar-item-insert|insertbar-remove|insertbar-item-remove", "insertbar-changes"},
    {"documenttype-insert|documenttype-remove", "documenttype-changes"},
    {"taglibrary-insert|taglibrary-remove", "taglibrary-changes"},
    {"element-insert|element-remove|attribute-insert|attribute-remove", "source-format-changes"},
    {"ftp-extension-insert|ftp-extension-remove", "ftp-extension-map-changes"},
    {"extension-insert|extension-remove", "extensions-changes"},
    {"helpbook-insert|helpbook-remove", "helpbook-changes"},
};

constexpr std::string_view kPlaces =
    "insertbefore|insertbeforeid|insertbeforemenu|insertbeforemenuid|insertafter|insertafterid|insertaftermenu|"
    "insertaftermenuid|appendto|appendtoid|appendtomenu|appendtomenuid|prependto|prependtoid|prependtomenu|"
    "prependtomenuid";

bool IsSet(const OutlineElement& element) {
  return IsOneOf(element.name, kConfigSets) || IsOneOf(element.name, kHelpSets);
}

bool IsInsert(const OutlineElement& element) { return IsOneOf(element.name, kInserts); }

// Changes of one set belong together when they go into the same file.
CString FileOf(const OutlineElement& set) {
  CString file(set.name);
  for (const char* attribute : {"file", "server", "servermodel", "folder", "servermodelfolder"}) {
    file += "|" + text::Lower(set.Get(attribute));
  }
  return file;
}

void CheckPlace(const ValidationRules& rules, const OutlineElement& change) {
  int places = 0;
  CString place;
  for (const auto& [name, value] : change.attributes) {
    if (IsOneOf(name, kPlaces) && !text::Trimmed(value).empty()) {
      ++places;
      place = text::Lower(text::Trimmed(value));
    }
  }
  bool barsAlone = true;
  bool hasContent = false;
  for (int child = change.firstChild; child >= 0; child = rules.outline.At(child).nextSibling) {
    const OutlineElement& content = rules.outline.At(child);
    hasContent |= content.name != "comment";
    barsAlone &= IsOneOf(content.name, "menubar|shortcutlist|comment");
    if (!place.empty() && text::EqualNoCase(content.Get("id"), place)) {
      rules.findings.Warn(change.line, "place-in-itself",
                          Tag(change.name) + " is to stand at \"" + place + "\", which it inserts itself");
    }
  }
  if (!hasContent) {
    rules.findings.Warn(change.line, "empty-insert", Tag(change.name) + " inserts nothing");
  }
  if (places > 1) {
    rules.findings.Warn(change.line, "several-places", Tag(change.name) + " names more than one place: one counts");
  }
  const bool needsPlace =
      IsOneOf(change.name, "toolbar-item-insert|insertbar-item-insert") || (change.name == "menu-insert" && !barsAlone);
  const bool needsList = change.name == "shortcut-insert" && !barsAlone && change.Get("listid").empty();
  if (hasContent && ((needsPlace && places == 0) || needsList)) {
    rules.findings.Warn(change.line, "no-place",
                        Tag(change.name) + " names no " + (needsList ? "list" : "place") +
                            " for what it inserts: it goes wherever such things are put");
  }
}

void CheckHome(const ValidationRules& rules, const OutlineElement& element) {
  const std::string_view parent = rules.outline.ParentName(element);
  for (const HomeRow& row : kHomes) {
    if (IsOneOf(element.name, row.changes)) {
      // what stands where no set is at all is told by the reader
      if (!IsOneOf(parent, row.sets) && (IsOneOf(parent, kConfigSets) || IsOneOf(parent, kHelpSets))) {
        rules.findings.Error(element.line, "wrong-set",
                             Tag(element.name) + " cannot be applied in " + Tag(parent) + ": it belongs in " +
                                 Tag(row.sets.substr(0, row.sets.find('|'))));
      }
      return;
    }
  }
}

} // namespace

void ValidationRules::CheckChanges() const {
  std::map<CString, int> ids;
  std::map<CString, int> keys;
  for (const OutlineElement& element : outline.GetElements()) {
    CheckHome(*this, element);
    if (IsSet(element) && element.firstChild < 0) {
      findings.Warn(element.line, "empty-set", Tag(element.name) + " changes nothing");
    }
    if (IsInsert(element)) {
      CheckPlace(*this, element);
      continue;
    }
    const OutlineElement* insert = outline.Around(element, IsInsert);
    const OutlineElement* set = insert != nullptr ? outline.Around(*insert, IsSet) : nullptr;
    if (set == nullptr) {
      continue;
    }
    const auto again = [&](std::map<CString, int>& seen, const CString& value, const CString& scope) {
      const auto [at, isNew] = seen.try_emplace(FileOf(*set) + scope + "|" + text::Lower(value), element.line);
      return value.empty() || isNew ? 0 : at->second;
    };
    if (const int first = again(ids, element.Get("id"), "")) {
      findings.Warn(element.line, "id-twice",
                    "the id \"" + element.Get("id") + "\" stands in line " + std::to_string(first) +
                        " already: only one of the two is kept apart");
    }
    if (element.name != "shortcut") {
      continue;
    }
    if (const int first = again(keys, element.Get("key"), "|" + text::Lower(insert->Get("listid")))) {
      findings.Warn(element.line, "key-twice",
                    "the key " + element.Get("key") + " is taken by line " + std::to_string(first) + " already");
    }
  }
}

} // namespace kest
