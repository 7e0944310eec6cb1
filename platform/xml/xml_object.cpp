#include "platform/xml/xml_object.h"

#include "platform/machine/file.h"
#include "platform/xml/xml_limits.h"

#include <algorithm>

namespace kest {

namespace {

const CString kEmpty;
const CKestXmlObject::Attributes kNoAttributes;
const CKestXmlObject::Children kNoChildren;

constexpr char kKeptReference = '\1';

enum class Where { kText, kAttribute };

// What a byte is written as in text or in an attribute; null: as it is. "]]>" is the one case that needs a look back.
const char* EscapeOf(char c, Where where) {
  switch (c) {
  case '&':
    return "&amp;";
  case '<':
    return "&lt;";
  case '"':
    return where == Where::kAttribute ? "&quot;" : nullptr;
  case kKeptReference:
    return "&";
  default:
    return nullptr;
  }
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20; }

void AppendNumericReference(char c, CString& out) {
  out += "&#";
  out += std::to_string(static_cast<int>(static_cast<unsigned char>(c)));
  out += ';';
}

void AppendAttributeValue(std::string_view value, CString& out) {
  for (const char c : value) {
    if (const char* escape = EscapeOf(c, Where::kAttribute)) {
      out += escape;
    } else if (IsControl(c)) {
      AppendNumericReference(c, out);
    } else {
      out += c;
    }
  }
}

void AppendWithLineEnds(char c, CString& out) {
  if (c == '\n' && (out.empty() || out.back() != '\r')) {
    out += '\r';
  }
  out += c;
}

// A text that ends in "+" gets a blank, because readers of descriptions take "+<" for text.
void WriteText(std::string_view value, CString& out) {
  for (std::size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    if (const char* escape = EscapeOf(c, Where::kText)) {
      out += escape;
    } else if (c == '>' && i >= 2 && value[i - 1] == ']' && value[i - 2] == ']') {
      out += "&gt;";
    } else {
      AppendWithLineEnds(c, out);
    }
  }
  if (!value.empty() && value.back() == '+') {
    out += ' ';
  }
}

void WriteCData(std::string_view value, CString& out) {
  out += "<![CDATA[";
  for (std::size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    if (c == '>' && i >= 2 && value[i - 1] == ']' && value[i - 2] == ']') {
      out += "]]><![CDATA[";
    }
    AppendWithLineEnds(c == kKeptReference ? '&' : c, out);
  }
  out += "]]>";
}

void AppendTabs(int level, CString& out) { out.append(static_cast<std::size_t>(std::max(level, 0)), '\t'); }

} // namespace

struct CKestXmlObject::Body {
  // What a plain element has and a typed record or container has not.
  struct Element {
    CString tag;
    CString value;
    Attributes attributes;
    bool inCData = false;
  };
  Children children;
  std::unique_ptr<Element> element;
  std::unique_ptr<std::vector<CKestXmlObject*>> stack;

  Element& MakeElement() {
    if (element == nullptr) {
      element = std::make_unique<Element>();
    }
    return *element;
  }
};

CKestXmlObject::CKestXmlObject() = default;

CKestXmlObject::CKestXmlObject(std::string_view tag) { SetTag(tag); }

CKestXmlObject::~CKestXmlObject() {
  if (m_body != nullptr && !m_body->children.empty()) {
    RemoveAllChildren();
  }
}

CKestXmlObject::CKestXmlObject(const CKestXmlObject& other) {
  if (other.m_body == nullptr || (other.m_body->children.empty() && other.m_body->element == nullptr)) {
    return;
  }
  Body& body = MakeBody();
  if (other.m_body->element != nullptr) {
    body.element = std::make_unique<Body::Element>(*other.m_body->element);
  }
  body.children.reserve(other.m_body->children.size());
  for (const auto& child : other.m_body->children) {
    body.children.push_back(child->Clone());
  }
}

CKestXmlObject& CKestXmlObject::operator=(const CKestXmlObject& other) {
  if (this != &other) {
    // the copy is complete before anything of the old content goes, which may hold `other`
    CKestXmlObject copy(static_cast<const CKestXmlObject&>(other));
    if (m_body != nullptr && m_body->stack != nullptr) {
      copy.MakeBody().stack = std::move(m_body->stack);
    }
    std::swap(m_body, copy.m_body);
  }
  return *this;
}

CKestXmlObject::CKestXmlObject(CKestXmlObject&&) noexcept = default;
CKestXmlObject& CKestXmlObject::operator=(CKestXmlObject&& other) noexcept {
  if (this != &other) {
    CKestXmlObject old(std::move(*this));
    m_body = std::move(other.m_body);
  }
  return *this;
}

CKestXmlObject::Body& CKestXmlObject::MakeBody() {
  if (m_body == nullptr) {
    m_body = std::make_unique<Body>();
  }
  return *m_body;
}

void CKestXmlObject::GetTag(CString& tag) const {
  tag = m_body != nullptr && m_body->element != nullptr ? m_body->element->tag : kEmpty;
}

void CKestXmlObject::SetTag(std::string_view tag) { MakeBody().MakeElement().tag = tag; }

bool CKestXmlObject::HasTag(std::string_view tag, bool caseSensitive) const {
  const std::string_view own =
      m_body != nullptr && m_body->element != nullptr ? std::string_view(m_body->element->tag) : std::string_view();
  return caseSensitive ? own == tag : text::EqualNoCase(own, tag);
}

std::unique_ptr<CKestXmlObject> CKestXmlObject::Clone() const { return std::make_unique<CKestXmlObject>(*this); }

const CString& CKestXmlObject::GetValue() const {
  return m_body != nullptr && m_body->element != nullptr ? m_body->element->value : kEmpty;
}

void CKestXmlObject::SetValue(std::string_view value) { MakeBody().MakeElement().value = value; }

void CKestXmlObject::AppendValue(std::string_view value) { MakeBody().MakeElement().value += value; }

bool CKestXmlObject::IsInCData() const {
  return m_body != nullptr && m_body->element != nullptr && m_body->element->inCData;
}

void CKestXmlObject::SetInCData(bool inCData) {
  if (inCData != IsInCData()) {
    MakeBody().MakeElement().inCData = inCData;
  }
}

void CKestXmlObject::SetAttribute(std::string_view name, std::string_view value) {
  Attributes& attributes = MakeBody().MakeElement().attributes;
  const auto found = std::find_if(attributes.begin(), attributes.end(),
                                  [&](const auto& attribute) { return text::EqualNoCase(attribute.first, name); });
  if (found != attributes.end()) {
    found->second = value;
  } else {
    attributes.emplace_back(name, value);
  }
}

void CKestXmlObject::SetAttributeAt(std::size_t index, std::string_view value) {
  if (index < GetAttributes().size()) {
    m_body->element->attributes[index].second = value;
  }
}

void CKestXmlObject::AppendAttribute(std::string_view name, std::string_view value) {
  MakeBody().MakeElement().attributes.emplace_back(name, value);
}

bool CKestXmlObject::GetAttribute(std::string_view name, CString& value) const {
  const CString* found = FindAttribute(name);
  if (found != nullptr) {
    value = *found;
  }
  return found != nullptr;
}

const CString* CKestXmlObject::FindAttribute(std::string_view name) const {
  for (const auto& attribute : GetAttributes()) {
    if (text::EqualNoCase(attribute.first, name)) {
      return &attribute.second;
    }
  }
  return nullptr;
}

const CKestXmlObject::Attributes& CKestXmlObject::GetAttributes() const {
  return m_body != nullptr && m_body->element != nullptr ? m_body->element->attributes : kNoAttributes;
}

const CKestXmlObject::Children& CKestXmlObject::GetChildren() const {
  return m_body != nullptr ? m_body->children : kNoChildren;
}

CKestXmlObject::Children& CKestXmlObject::EditChildren() { return MakeBody().children; }

bool CKestXmlObject::HasChildren() const { return !GetChildren().empty(); }

int CKestXmlObject::GetChildCount() const { return static_cast<int>(GetChildren().size()); }

CKestXmlObject* CKestXmlObject::AppendChild(std::unique_ptr<CKestXmlObject> child) {
  return MakeBody().children.emplace_back(std::move(child)).get();
}

CKestXmlObject* CKestXmlObject::InsertFirst(std::unique_ptr<CKestXmlObject> child) {
  Children& children = MakeBody().children;
  return children.insert(children.begin(), std::move(child))->get();
}

CKestXmlObject* CKestXmlObject::InsertBefore(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child) {
  const int at = IndexOf(anchor);
  Children& children = MakeBody().children;
  return children.insert(at < 0 ? children.end() : children.begin() + at, std::move(child))->get();
}

CKestXmlObject* CKestXmlObject::InsertAfter(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child) {
  const int at = IndexOf(anchor);
  Children& children = MakeBody().children;
  return children.insert(at < 0 ? children.end() : children.begin() + at + 1, std::move(child))->get();
}

std::unique_ptr<CKestXmlObject> CKestXmlObject::RemoveChild(const CKestXmlObject* child) {
  const int at = IndexOf(child);
  if (at < 0) {
    return nullptr;
  }
  std::unique_ptr<CKestXmlObject> removed = std::move(m_body->children[static_cast<std::size_t>(at)]);
  m_body->children.erase(m_body->children.begin() + at);
  return removed;
}

void CKestXmlObject::RemoveAllChildren() {
  if (m_body == nullptr) {
    return;
  }
  // one level at a time, so that a deep tree does not go through as many destructors at once
  Children doomed = std::move(m_body->children);
  m_body->children.clear();
  while (!doomed.empty()) {
    const std::unique_ptr<CKestXmlObject> next = std::move(doomed.back());
    doomed.pop_back();
    if (next != nullptr && next->m_body != nullptr) {
      Children& below = next->m_body->children;
      try {
        doomed.reserve(std::max(doomed.size() + below.size(), 2 * doomed.size()));
      } catch (const std::bad_alloc&) {
        continue; // then through the destructors after all
      }
      std::move(below.begin(), below.end(), std::back_inserter(doomed));
      below.clear();
    }
  }
}

void CKestXmlObject::ShrinkChildren() {
  if (m_body != nullptr) {
    m_body->children.shrink_to_fit();
  }
}

int CKestXmlObject::IndexOf(const CKestXmlObject* child) const {
  const Children& children = GetChildren();
  const auto found =
      std::find_if(children.begin(), children.end(), [&](const auto& candidate) { return candidate.get() == child; });
  return found == children.end() ? -1 : static_cast<int>(found - children.begin());
}

CKestXmlObject* CKestXmlObject::FindTag(std::string_view tag) const {
  std::vector<std::pair<const Children*, std::size_t>> open{{&GetChildren(), 0}};
  while (!open.empty()) {
    auto& [children, next] = open.back();
    if (next == children->size()) {
      open.pop_back();
      continue;
    }
    CKestXmlObject* child = (*children)[next++].get();
    if (child->HasTag(tag)) {
      return child;
    }
    if (child->HasChildren()) {
      open.emplace_back(&child->GetChildren(), 0);
    }
  }
  return nullptr;
}

CKestXmlComment* CKestXmlObject::FindComment(std::string_view text) const {
  for (const auto& child : GetChildren()) {
    if (auto* comment = dynamic_cast<CKestXmlComment*>(child.get()); comment != nullptr && comment->GetText() == text) {
      return comment;
    }
  }
  return nullptr;
}

int CKestXmlObject::GetDepth() const {
  int depth = 0;
  std::vector<std::pair<const Children*, std::size_t>> open{{&GetChildren(), 0}};
  while (!open.empty()) {
    depth = std::max(depth, static_cast<int>(open.size()) - 1);
    auto& [children, next] = open.back();
    if (next == children->size()) {
      open.pop_back();
      continue;
    }
    const CKestXmlObject* child = (*children)[next++].get();
    depth = std::max(depth, static_cast<int>(open.size()));
    if (child->HasChildren()) {
      open.emplace_back(&child->GetChildren(), 0);
    }
  }
  return depth;
}

void CKestXmlObject::BuildXml(int level, CString& text) const {
  const CString tag = GetTag();
  const CString& value = GetValue();
  AppendTabs(level, text);
  text += '<';
  text += tag;
  for (const auto& [name, attribute] : GetAttributes()) {
    text += ' ';
    text += name;
    text += "=\"";
    AppendAttributeValue(attribute, text);
    text += '"';
  }
  if (value.empty() && !HasChildren()) {
    text += " />\r\n";
    return;
  }
  text += '>';
  if (IsInCData() && !value.empty()) {
    WriteCData(value, text);
  } else {
    WriteText(value, text);
  }
  if (HasChildren()) {
    text += "\r\n";
    BuildInnerXml(level + 1, text);
    AppendTabs(level, text);
  }
  text += "</";
  text += tag;
  text += ">\r\n";
}

void CKestXmlObject::BuildInnerXml(int level, CString& text) const {
  if (level >= kMaxXmlLevel && HasChildren()) {
    // no reader takes such a depth; an open bracket keeps the text from being taken for the whole
    text += '<';
    return;
  }
  for (const auto& child : GetChildren()) {
    child->BuildXml(level, text);
  }
}

void CKestXmlObject::PushObject(CKestXmlObject* object) {
  Body& body = MakeBody();
  if (body.stack == nullptr) {
    body.stack = std::make_unique<std::vector<CKestXmlObject*>>();
  }
  body.stack->push_back(object);
}

CKestXmlObject* CKestXmlObject::PopObject() {
  CKestXmlObject* top = GetCurrentObject();
  if (top != nullptr) {
    m_body->stack->pop_back();
  }
  return top;
}

CKestXmlObject* CKestXmlObject::GetCurrentObject() const {
  return m_body != nullptr && m_body->stack != nullptr && !m_body->stack->empty() ? m_body->stack->back() : nullptr;
}

void CKestXmlObject::ClearObjectStack() {
  if (m_body != nullptr) {
    m_body->stack.reset();
    if (m_body->children.empty() && m_body->element == nullptr) {
      m_body.reset();
    }
  }
}

// ---- comment
// -----------------------------------------------------------------------------------------------------------

CKestXmlComment::CKestXmlComment(std::string_view text, Form form) : m_text(text), m_form(form) {}

void CKestXmlComment::GetTag(CString& tag) const { tag = "comment"; }

bool CKestXmlComment::HasTag(std::string_view tag, bool caseSensitive) const {
  return caseSensitive ? tag == "comment" : text::EqualNoCase(tag, "comment");
}

void CKestXmlComment::BuildXml(int level, CString& text) const {
  AppendTabs(level, text);
  if (m_form == Form::kMarkup) {
    text += "<!-- ";
    text += MarkupText(m_text);
    text += " -->\r\n";
  } else {
    text += "<comment>";
    WriteText(m_text, text);
    text += "</comment>\r\n";
  }
}

std::unique_ptr<CKestXmlObject> CKestXmlComment::Clone() const { return std::make_unique<CKestXmlComment>(*this); }

CString CKestXmlComment::MarkupText(std::string_view text) {
  CString result;
  result.reserve(text.size());
  for (const char c : text) {
    if (c == '-' && !result.empty() && result.back() == '-') {
      result += ' ';
    }
    result += c;
  }
  if (!result.empty() && result.back() == '-') {
    result += ' ';
  }
  return result;
}

// ---- raw text
// ----------------------------------------------------------------------------------------------------------

void CKestXmlMisc::GetTag(CString& tag) const { tag.clear(); }

bool CKestXmlMisc::HasTag(std::string_view tag, bool) const { return tag.empty(); }

void CKestXmlMisc::BuildXml(int, CString& text) const {
  text += m_text;
  text += "\r\n";
}

std::unique_ptr<CKestXmlObject> CKestXmlMisc::Clone() const { return std::make_unique<CKestXmlMisc>(*this); }

// ---- file
// --------------------------------------------------------------------------------------------------------------

int CKestXmlFile::Save(const char* path) {
  if (path == nullptr || GetDepth() > kMaxXmlLevel) {
    return -1;
  }
  CString text;
  BuildXml(0, text);
  return CKestFile::WriteAll(path, text) ? 0 : -1;
}

int CKestXmlFile::Load(const char*, CKestTypedList<CKestString>*) { return -1; }

} // namespace kest
