#pragma once

#include "menus/menu_changes.h"
#include "menus/shortcut_changes.h"
#include "support/temp_machine.h"

#include <functional>
#include <map>
#include <sstream>
#include <string>

namespace kest::test {

/// The structure of an object in one line: bars, menus and lists as id(children), items, formats and shortcuts as their
/// ids, separators as "-" or "-[references]", comments as "!text".
inline std::string Outline(const CKestXmlObject& object) {
  if (const auto* comment = dynamic_cast<const CKestXmlComment*>(&object)) {
    return "!" + comment->GetText();
  }
  if (const auto* separator = dynamic_cast<const CKestExtensionMenuSeparator*>(&object)) {
    std::string references;
    for (const CString& reference : separator->GetReferences()) {
      references += (references.empty() ? "" : "+") + reference;
    }
    return references.empty() ? "-" : "-[" + references + "]";
  }
  const auto* node = dynamic_cast<const MenusNode*>(&object);
  std::string out = node ? std::string(node->GetField(MenusNode::Field::kId)) : std::string();
  const bool holds =
      !node || dynamic_cast<const CKestExtensionMenu*>(node) || dynamic_cast<const CKestExtensionShortcutList*>(node);
  if (!holds) {
    return out;
  }
  out += node ? "(" : "";
  std::string separator;
  for (const auto& child : object.GetChildren()) {
    out += separator + Outline(*child);
    separator = node ? "," : " ";
  }
  return out + (node ? ")" : "");
}

/// Makes payload objects from words such as "item x", "menu m", "bar b", "format f", "separator s", "comment c",
/// "list l", "shortcut k", separated by commas, and appends them.
inline void AddPayload(CKestXmlObject& change, const std::string& words) {
  std::istringstream in(words);
  std::string word;
  while (std::getline(in, word, ',')) {
    std::istringstream parts(word);
    std::string kind;
    std::string id;
    parts >> kind >> id;
    const auto add = [&]<class T>(std::unique_ptr<T> object) {
      object->SetID(id);
      change.AppendChild(std::move(object));
    };
    const std::map<std::string, std::function<void()>> kinds = {
        {"item", [&] { add(std::make_unique<CKestExtensionMenuItem>()); }},
        {"menu", [&] { add(std::make_unique<CKestExtensionMenu>()); }},
        {"bar", [&] { add(std::make_unique<CKestExtensionMenuBar>()); }},
        {"format", [&] { add(std::make_unique<CKestExtensionServerFormat>()); }},
        {"separator", [&] { add(std::make_unique<CKestExtensionMenuSeparator>()); }},
        {"list", [&] { add(std::make_unique<CKestExtensionShortcutList>()); }},
        {"shortcut", [&] { add(std::make_unique<CKestExtensionShortcut>()); }},
        {"comment", [&] { change.AppendChild(std::make_unique<CKestXmlComment>(id)); }},
    };
    kinds.at(kind)();
  }
}

} // namespace kest::test
