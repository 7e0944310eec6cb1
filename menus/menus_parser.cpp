#include "menus/menus_parser.h"

#include "config/pending_markup.h"
#include "menus/line_repairs.h"

#include <array>

namespace kest {
namespace {

using Field = MenusNode::Field;
using Kind = MenusNode::Kind;

/// What an attribute's value goes into: a text field, or one of these.
enum Special : std::uint8_t { kVisibility = 100, kDomRequired, kDynamicFlag, kReferences };

struct Attribute {
  std::string_view name;
  std::uint8_t target;
  constexpr Attribute(std::string_view n, Field field) : name(n), target(static_cast<std::uint8_t>(field)) {}
  constexpr Attribute(std::string_view n, Special special) : name(n), target(special) {}
};

constexpr Attribute kBarAttributes[] = {
    {"name", Field::kName}, {"id", Field::kId}, {"platform", Field::kPlatform}, {"app", Field::kApp}};
constexpr Attribute kMenuAttributes[] = {{"name", Field::kName},
                                         {"id", Field::kId},
                                         {"platform", Field::kPlatform},
                                         {"app", Field::kApp},
                                         {"visibility", kVisibility}};
constexpr Attribute kItemAttributes[] = {{"name", Field::kName},
                                         {"id", Field::kId},
                                         {"key", Field::kKey},
                                         {"command", Field::kCommand},
                                         {"enabled", Field::kEnabled},
                                         {"file", Field::kFile},
                                         {"checked", Field::kChecked},
                                         {"dynamic", Field::kDynamic},
                                         {"arguments", Field::kArguments},
                                         {"app", Field::kApp},
                                         {"domRequired", kDomRequired},
                                         {"platform", Field::kPlatform}};
constexpr Attribute kFormatAttributes[] = {
    {"title", Field::kTitle},       {"id", Field::kId},     {"expression", Field::kExpression},
    {"platform", Field::kPlatform}, {"file", Field::kFile}, {"visibility", kVisibility}};
constexpr Attribute kSeparatorAttributes[] = {
    {"id", Field::kId}, {"platform", Field::kPlatform}, {"app", Field::kApp}, {"references", kReferences}};
constexpr Attribute kListAttributes[] = {{"id", Field::kId}, {"platform", Field::kPlatform}, {"app", Field::kApp}};
constexpr Attribute kShortcutAttributes[] = {
    {"key", Field::kKey},   {"command", Field::kCommand},     {"id", Field::kId},
    {"file", Field::kFile}, {"arguments", Field::kArguments}, {"platform", Field::kPlatform},
    {"app", Field::kApp},   {"domRequired", kDomRequired},    {"enabled", Field::kEnabled},
    {"name", Field::kName}, {"checked", Field::kChecked},     {"dynamic", kDynamicFlag}};

template <class T> std::unique_ptr<MenusNode> Make() { return std::make_unique<T>(); }

} // namespace

struct CKestMenusXMLParser::Element {
  std::string_view name;
  Kind kind;
  bool topLevel; ///< stands at the top level whatever holds it
  bool holds;    ///< holds what follows until its end tag
  std::span<const Attribute> attributes;
  std::unique_ptr<MenusNode> (*make)();
};

const CKestMenusXMLParser::Element* CKestMenusXMLParser::FindElement(std::string_view name) {
  static constexpr std::array<Element, 8> kElements{{
      {"menuitem", Kind::kItem, false, false, kItemAttributes, Make<CKestExtensionMenuItem>},
      {"shortcut", Kind::kShortcut, false, false, kShortcutAttributes, Make<CKestExtensionShortcut>},
      {"menu", Kind::kMenu, false, true, kMenuAttributes, Make<CKestExtensionMenu>},
      {"separator", Kind::kSeparator, false, false, kSeparatorAttributes, Make<CKestExtensionMenuSeparator>},
      {"format", Kind::kFormat, false, false, kFormatAttributes, Make<CKestExtensionServerFormat>},
      {"menubar", Kind::kBar, true, true, kBarAttributes, Make<CKestExtensionMenuBar>},
      {"formats", Kind::kBar, true, true, kBarAttributes, Make<CKestExtensionMenuBar>},
      {"shortcutlist", Kind::kShortcutList, true, true, kListAttributes, Make<CKestExtensionShortcutList>},
  }};
  for (const Element& element : kElements) {
    if (element.name.size() == name.size() && text::EqualNoCase(element.name, name)) {
      return &element;
    }
  }
  return nullptr;
}

bool CKestMenusXMLParser::MayRewrite(std::string_view text) const { return MayNeedRepair(text); }

int CKestMenusXMLParser::OnPreProcessLine(CString& line) {
  RepairMenuLine(line);
  return 0;
}

void CKestMenusXMLParser::OnElementStart(const char* name, CKestXMLAttributes& attributes) {
  if (m_skipped > 0) {
    ++m_skipped;
    return;
  }
  const Element* element = FindElement(name);
  if (!element) {
    // a root of the file's own is transparent
    m_skipped = m_stack.empty() ? 0 : 1;
    return;
  }
  const bool inList = !m_stack.empty() && m_stack.back()->GetKind() == Kind::kShortcutList;
  if (!element->holds && (m_stack.empty() || (element->kind == Kind::kShortcut && !inList))) {
    return;
  }
  std::unique_ptr<MenusNode> node = element->make();
  ReadAttributes(*element, *node, attributes);
  if (element->kind == Kind::kBar) {
    static_cast<CKestExtensionMenuBar&>(*node).SetTag(name);
  }
  MenusNode* placed = node.get();
  if (element->topLevel) {
    m_file->AppendChild(std::move(node));
  } else {
    Place(std::move(node));
  }
  if (element->holds) {
    m_stack.push_back(placed);
  }
}

void CKestMenusXMLParser::OnElementEnd(const char* name) {
  if (m_skipped > 0) {
    --m_skipped;
    return;
  }
  const Element* element = FindElement(name);
  if (element && element->holds && !m_stack.empty()) {
    m_stack.pop_back();
  }
}

void CKestMenusXMLParser::ReadAttributes(const Element& element, MenusNode& node, CKestXMLAttributes& attributes) {
  m_entries.clear();
  for (const char* name = attributes.GetFirstAttr(); name; name = attributes.GetNextAttr()) {
    const std::string_view attributeName = name;
    const std::string_view value = attributes.GetValue();
    const Attribute* known = nullptr;
    for (const Attribute& attribute : element.attributes) {
      if (attribute.name.size() == attributeName.size() && text::EqualNoCase(attribute.name, attributeName)) {
        known = &attribute;
        break;
      }
    }
    if (!known) {
      if (element.kind == Kind::kFormat) {
        node.SetAttribute(attributeName, value);
      }
      continue;
    }
    switch (known->target) {
    case kVisibility:
      node.m_flag = !text::EqualNoCase(value, "hidden");
      break;
    case kDomRequired:
      node.m_flag = text::IsTruthy(value);
      break;
    case kDynamicFlag:
      node.m_dynamic = text::IsTruthy(value);
      break;
    case kReferences:
      for (std::size_t at = 0; at < value.size();) {
        const std::size_t comma = std::min(value.find(',', at), value.size());
        if (comma > at) {
          static_cast<CKestExtensionMenuSeparator&>(node).AddReference(value.substr(at, comma - at));
        }
        at = comma + 1;
      }
      break;
    default:
      m_entries.push_back({known->target, value});
    }
  }
  node.SetFields(m_entries);
}

void CKestMenusXMLParser::Place(std::unique_ptr<CKestXmlObject> object) {
  if (m_stack.empty()) {
    m_file->AppendChild(std::move(object));
  } else {
    m_stack.back()->AppendChild(std::move(object));
  }
}

void CKestMenusXMLParser::OnComment(const char* text) {
  if (m_skipped > 0) {
    return;
  }
  CString value = text;
  RevertMenuLine(value);
  text::Trim(value);
  Place(std::make_unique<CKestXmlComment>(value, CKestXmlComment::Form::kMarkup));
}

void CKestMenusXMLParser::OnDefault(const char* text, int length) {
  if (m_skipped > 0) {
    return;
  }
  CString piece(text, static_cast<std::size_t>(length));
  RevertMenuLine(piece);
  if (auto misc = CollectMarkup(m_pending, piece)) {
    Place(std::move(misc));
  }
}

} // namespace kest
