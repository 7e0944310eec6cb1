#include "menus/menus_writer.h"

#include "menus/payload.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace kest {
namespace {

using Field = MenusNode::Field;
using Kind = MenusNode::Kind;

/// The reader takes elements nested this deep and values this long for certain, whatever its repairs make of them.
constexpr int kDeepest = 190;
constexpr std::size_t kLongest = 128u << 10;
constexpr std::size_t kLongestDoctype = 500;

bool Contains(std::string_view value, char c) {
  return !value.empty() && std::memchr(value.data(), c, value.size()) != nullptr;
}

/// Bytes that readers refuse wherever they stand.
constexpr bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r'; }

/// Bytes that may not stand in a value between double quotes.
constexpr std::array<bool, 256> kForeign = [] {
  std::array<bool, 256> foreign{};
  for (int i = 0; i < 256; ++i) {
    const char c = static_cast<char>(i);
    foreign[static_cast<std::size_t>(i)] = IsControl(c) || c == '"' || c == '<';
  }
  return foreign;
}();

/// Whether a value written between double quotes ends where it should.
bool IsPlain(std::string_view value) {
  return value.size() <= kLongest &&
         std::none_of(value.begin(), value.end(), [](char c) { return kForeign[static_cast<unsigned char>(c)]; });
}

bool HoldsControl(std::string_view text) { return std::any_of(text.begin(), text.end(), IsControl); }

bool IsPlainName(std::string_view name) {
  for (const char c : name) {
    if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_')) {
      return false;
    }
  }
  return !name.empty();
}

} // namespace

void MenusWriter::Write(const CKestXmlObject& object, int level) {
  if (level > kDeepest) {
    m_readable = false;
  }
  const auto* node = AsNode(&object);
  if (!node) {
    if (const auto* comment = dynamic_cast<const CKestXmlComment*>(&object);
        comment && comment->GetForm() == CKestXmlComment::Form::kMarkup) {
      Tabs(level);
      WriteComment(*comment);
    } else if (const auto* misc = dynamic_cast<const CKestXmlMisc*>(&object)) {
      WriteMisc(*misc, level);
    } else {
      m_readable = false;
      object.BuildXml(level, m_text);
    }
    return;
  }
  if (node->GetKind() == Kind::kBar || node->GetKind() == Kind::kShortcutList) {
    m_text += "\r\n";
  }
  Tabs(level);
  switch (node->GetKind()) {
  case Kind::kBar:
    return WriteBar(*node, level);
  case Kind::kMenu:
    return WriteMenu(*node, level);
  case Kind::kItem:
    return WriteItem(*node);
  case Kind::kFormat:
    return WriteFormat(static_cast<const CKestExtensionServerFormat&>(*node));
  case Kind::kSeparator:
    return WriteSeparator(static_cast<const CKestExtensionMenuSeparator&>(*node));
  case Kind::kShortcutList:
    return WriteList(*node, level);
  case Kind::kShortcut:
    return WriteShortcut(static_cast<const CKestExtensionShortcut&>(*node));
  }
}

void MenusWriter::WriteChildren(const CKestXmlObject& parent, int level) {
  for (const auto& child : parent.GetChildren()) {
    Write(*child, level);
  }
}

void MenusWriter::Attribute(std::string_view name, std::string_view value) {
  m_readable = m_readable && IsPlain(value);
  m_text += ' ';
  m_text += name;
  m_text += "=\"";
  m_text += value;
  m_text += '"';
}

void MenusWriter::Name(const MenusNode& node) {
  const std::string_view name = node.GetField(Field::kName);
  if (Contains(name, '&')) {
    Attribute("name", MenuName(name));
  } else {
    Optional("name", name);
  }
}

void MenusWriter::WriteBar(const MenusNode& bar, int level) {
  const CString tag = bar.CKestXmlObject::GetTag();
  m_readable = m_readable && (text::EqualNoCase(tag, "menubar") || text::EqualNoCase(tag, "formats"));
  m_text += "<" + tag;
  Optional("name", bar, Field::kName);
  Optional("id", bar, Field::kId);
  Optional("platform", bar, Field::kPlatform);
  Optional("app", bar, Field::kApp);
  m_text += ">\r\n";
  WriteChildren(bar, level + 1);
  Tabs(level);
  m_text += "</" + tag + ">\r\n";
}

void MenusWriter::WriteMenu(const MenusNode& menu, int level) {
  m_text += "<menu";
  Name(menu);
  Attribute("id", menu.GetField(Field::kId));
  Optional("platform", menu, Field::kPlatform);
  if (!static_cast<const CKestExtensionMenu&>(menu).IsVisible()) {
    m_text += " visibility=\"hidden\"";
  }
  Optional("app", menu, Field::kApp);
  m_text += ">\r\n";
  WriteChildren(menu, level + 1);
  Tabs(level);
  m_text += "</menu>\r\n";
}

void MenusWriter::WriteItem(const MenusNode& item) {
  m_text += "<menuitem";
  const std::string_view dynamic = item.GetField(Field::kDynamic);
  if (!dynamic.empty()) {
    if (m_dialect == Dialect::kDescription) {
      Attribute("dynamic", dynamic);
    } else {
      m_text += " dynamic";
    }
  }
  Name(item);
  Optional("key", item, Field::kKey);
  Optional("enabled", item, Field::kEnabled);
  Optional("command", item, Field::kCommand);
  Optional("checked", item, Field::kChecked);
  Optional("file", item, Field::kFile);
  Optional("arguments", item, Field::kArguments);
  Optional("platform", item, Field::kPlatform);
  Optional("app", item, Field::kApp);
  if (!static_cast<const CKestExtensionMenuItem&>(item).IsDOMRequired()) {
    m_text += " domRequired=\"false\"";
  }
  Optional("id", item, Field::kId);
  m_text += " />\r\n";
}

void MenusWriter::WriteSeparator(const CKestExtensionMenuSeparator& separator) {
  m_text += "<separator";
  Optional("id", separator, Field::kId);
  Optional("platform", separator, Field::kPlatform);
  Optional("app", separator, Field::kApp);
  CString references;
  for (const CString& reference : separator.GetReferences()) {
    if (!reference.empty()) {
      references.append(references.empty() ? "" : ",").append(reference);
    }
  }
  Optional("references", references);
  m_text += " />\r\n";
}

void MenusWriter::WriteFormat(const CKestExtensionServerFormat& format) {
  m_text += "<format";
  Attribute("title", format.GetField(Field::kTitle));
  Optional("file", format, Field::kFile);
  if (!format.IsVisible()) {
    m_text += " visibility=\"hidden\"";
  }
  Optional("platform", format, Field::kPlatform);
  Optional("expression", format, Field::kExpression);
  for (const auto& [name, value] : format.GetAttributes()) {
    m_readable = m_readable && IsPlainName(name);
    Attribute(name, value);
  }
  Optional("id", format, Field::kId);
  m_text += " />\r\n";
}

void MenusWriter::WriteList(const MenusNode& list, int level) {
  m_text += "<shortcutlist";
  Attribute("id", list.GetField(Field::kId));
  Optional("platform", list, Field::kPlatform);
  Optional("app", list, Field::kApp);
  m_text += ">\r\n";
  WriteChildren(list, level + 1);
  Tabs(level);
  m_text += "</shortcutlist>\r\n";
}

void MenusWriter::WriteShortcut(const CKestExtensionShortcut& shortcut) {
  m_text += "<shortcut";
  Optional("key", shortcut, Field::kKey);
  Optional("platform", shortcut, Field::kPlatform);
  if (!shortcut.IsDOMRequired()) {
    m_text += " domRequired=\"false\"";
  }
  if (shortcut.IsDynamic()) {
    m_text += " dynamic=\"true\"";
  }
  Optional("app", shortcut, Field::kApp);
  Optional("file", shortcut, Field::kFile);
  Optional("arguments", shortcut, Field::kArguments);
  Optional("command", shortcut, Field::kCommand);
  Optional("enabled", shortcut, Field::kEnabled);
  Optional("name", shortcut, Field::kName);
  Optional("checked", shortcut, Field::kChecked);
  Attribute("id", shortcut.GetField(Field::kId));
  m_text += " />\r\n";
}

void MenusWriter::WriteComment(const CKestXmlComment& comment) {
  m_readable = m_readable && !HoldsControl(comment.GetText());
  CString text = CKestXmlComment::MarkupText(comment.GetText());
  // the parser reports every line end as LF
  text::ReplaceAll(text, "\r\n", "\n");
  text::ReplaceAll(text, "\n", "\r\n");
  m_text += "<!-- ";
  m_text += text;
  m_text += " -->\r\n";
}

void MenusWriter::WriteMisc(const CKestXmlMisc& misc, int level) {
  // a document type with declarations of its own, or a long one, is reported, and so written, in parts
  const std::string_view text = misc.GetText();
  m_readable = m_readable && level == 0 && !Contains(text, '[') && !HoldsControl(text) &&
               (text.size() <= kLongestDoctype || text.starts_with("<?"));
  misc.BuildXml(level, m_text);
}

} // namespace kest
