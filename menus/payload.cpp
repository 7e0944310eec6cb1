#include "menus/payload.h"

#include "config/text_level.h"

namespace kest {
namespace {

/// A label as a user sees it: without the mark of the access key.
CString Label(std::string_view name) {
  CString label(name);
  DecodeReferences(label);
  CString out;
  for (std::size_t i = 0; i < label.size(); ++i) {
    if (label[i] == '&' && i + 1 < label.size()) {
      ++i;
    } else if (label[i] == '_') {
      continue;
    }
    out += label[i];
  }
  return out;
}

} // namespace

CString CommentText(const CKestXmlComment& payload) {
  CString text = CKestXmlComment::MarkupText(text::Trimmed(payload.GetText()));
  text::Trim(text);
  return text;
}

std::unique_ptr<CKestXmlObject> CopyComment(const CKestXmlComment& payload) {
  return std::make_unique<CKestXmlComment>(CommentText(payload), CKestXmlComment::Form::kMarkup);
}

CString PayloadWords(const CKestXmlObject& payload) {
  const auto* node = dynamic_cast<const MenusNode*>(&payload);
  if (!node) {
    return payload.GetTag();
  }
  static constexpr std::string_view kWords[] = {"menu bar",  "menu",          "item",    "format",
                                                "separator", "shortcut list", "shortcut"};
  CString words(kWords[static_cast<std::size_t>(node->GetKind())]);
  CString name = Label(
      node->GetField(node->GetKind() == MenusNode::Kind::kFormat ? MenusNode::Field::kTitle : MenusNode::Field::kName));
  if (name.empty()) {
    name = node->GetField(MenusNode::Field::kId);
  }
  if (node->GetKind() == MenusNode::Kind::kSeparator) {
    return words;
  }
  const std::string_view key = node->GetField(MenusNode::Field::kKey);
  if (node->GetKind() == MenusNode::Kind::kShortcut && !key.empty()) {
    return words.append(" ").append(key);
  }
  return name.empty() ? words : words.append(" \"").append(name).append("\"");
}

void BuildAttribute(std::string_view name, std::string_view value, CString& text) {
  text.append(" ").append(name).append("=\"").append(value).append("\"");
}

} // namespace kest
