#pragma once

#include "menus/menu_changes.h"
#include "menus/shortcut_changes.h"

#include <fstream>
#include <sstream>
#include <string>

namespace kest::test {

/// A sample below tests/data/config, byte for byte.
inline std::string ConfigSample(const std::string& name) {
  std::ifstream in(std::string(KEST_SOURCE_DIR) + "/tests/data/config/" + name, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

/// The structure of an object in one line: bars, menus and lists as id(children), items, formats and shortcuts as their
/// ids, separators as "-" or "-[references]", comments as "!text".
inline std::string Outline(const CKestXmlObject& object) {
  if (const auto* comment = dynamic_cast<const CKestXmlComment*>(&object))
    return "!" + comment->GetText();
  if (const auto* separator = dynamic_cast<const CKestExtensionMenuSeparator*>(&object)) {
    std::string references;
    for (const CString& reference : separator->GetReferences())
      references += (references.empty() ? "" : "+") + reference;
    return references.empty() ? "-" : "-[" + references + "]";
  }
  const auto* node = dynamic_cast<const MenusNode*>(&object);
  std::string out = node ? std::string(node->GetField(MenusNode::Field::kId)) : std::string();
  const bool holds =
      !node || dynamic_cast<const CKestExtensionMenu*>(node) || dynamic_cast<const CKestExtensionShortcutList*>(node);
  if (!holds)
    return out;
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
    const auto add = [&](auto object) {
      object->SetID(id);
      change.AppendChild(std::move(object));
    };
    if (kind == "item")
      add(std::make_unique<CKestExtensionMenuItem>());
    else if (kind == "menu")
      add(std::make_unique<CKestExtensionMenu>());
    else if (kind == "bar")
      add(std::make_unique<CKestExtensionMenuBar>());
    else if (kind == "format")
      add(std::make_unique<CKestExtensionServerFormat>());
    else if (kind == "separator")
      add(std::make_unique<CKestExtensionMenuSeparator>());
    else if (kind == "list")
      add(std::make_unique<CKestExtensionShortcutList>());
    else if (kind == "shortcut")
      add(std::make_unique<CKestExtensionShortcut>());
    else if (kind == "comment")
      change.AppendChild(std::make_unique<CKestXmlComment>(id));
  }
}

} // namespace kest::test
