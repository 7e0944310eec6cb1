#include "menus/payload.h"

#include "config/text_level.h"
#include "platform/xml/xml_references.h"

#include <algorithm>

namespace kest {
namespace {

bool IsReference(std::string_view text) {
  const std::size_t end = text.find_first_of("; \"&<>", 1);
  return end != std::string_view::npos && end > 1 && text[end] == ';';
}

/// A label as a user sees it: without the mark of the access key.
CString Label(std::string_view name) {
  CString out;
  bool isFirst = false; // of two "&", which stand for one
  for (const char c : MenuName(name)) {
    isFirst = c == '&' && !isFirst;
    if (c != '_' && (c != '&' || isFirst)) {
      out += c;
    }
  }
  DecodeReferences(out);
  std::replace(out.begin(), out.end(), kKeptReference, '&');
  return out;
}

} // namespace

CString MenuName(std::string_view name) {
  CString out(name);
  for (std::size_t i = 0; i < out.size(); ++i) {
    if (out[i] != '&') {
      continue;
    }
    if (i + 1 < out.size() && out[i + 1] == '&') {
      ++i;
    } else if (!IsReference(std::string_view(out).substr(i))) {
      out[i] = '_';
    }
  }
  return out;
}

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
