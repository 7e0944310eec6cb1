// How a record becomes the text of a description.

#include "config/config_change.h"
#include "config/help_change.h"
#include "config/text_level.h"
#include "description/extension.h"
#include "menus/menu_sets.h"
#include "platform/machine/file.h"

namespace kest {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

void WriteAttribute(std::string_view name, std::string_view value, CString& text) {
  text += ' ';
  text += name;
  text += "=\"";
  text += value;
  text += '"';
}

CString Tabs(int level) { return CString(static_cast<std::size_t>(level < 0 ? 0 : level), '\t'); }

// The children, and the text before them, of an element whose own kind of children write the description's text as it
// is. Any other child, and the text, go through the general writer, whose escapes are taken back.
template <class IsOwn> void BuildInner(const CKestXmlObject& element, int level, IsOwn isOwn, CString& text) {
  for (const auto& child : element.GetChildren()) {
    CString piece;
    child->BuildXml(level, piece);
    if (!isOwn(*child)) {
      RevertEscapes(piece);
    }
    text += piece;
  }
}

// The text of an element alone, through the general writer, whose escapes are taken back.
void BuildText(const CKestXmlObject& element, CString& text) {
  CKestXmlObject alone;
  alone.SetValue(element.GetValue());
  alone.SetInCData(element.IsInCData());
  CString piece;
  alone.BuildXml(0, piece);
  const std::size_t start = piece.find('>') + 1;
  piece = piece.substr(start, piece.rfind('<') - start);
  RevertEscapes(piece);
  text += piece;
}

template <class IsOwn> void BuildElement(const CKestXmlObject& element, int level, IsOwn isOwn, CString& text) {
  const CString indent = Tabs(level);
  const bool hasText = !element.GetValue().empty();
  text += indent + "<" + element.GetTag();
  if (!element.HasChildren() && !hasText) {
    text += " />\r\n";
    return;
  }
  text += '>';
  if (hasText) {
    BuildText(element, text);
  }
  if (element.HasChildren()) {
    text += kLineEnd;
    BuildInner(element, level + 1, isOwn, text);
    text += indent;
  }
  text += "</" + element.GetTag() + ">\r\n";
}

template <class Record> void BuildContainer(const CKestTypedContainer<Record>& container, int level, CString& text) {
  BuildElement(
      container, level, [](const CKestXmlObject& child) { return typeid(child) == typeid(Record); }, text);
}

bool IsHelpChange(const CKestXmlObject& child) { return dynamic_cast<const CKestHelpChange*>(&child) != nullptr; }

// The sets below one element. The element itself stands for the first set when that is of the class that reading the
// element makes. `inner` appends the children of that set, `whole` a set with its element.
template <class ElementSet, class Sets, class Inner, class Whole>
void BuildSets(const Sets& sets, int level, const CString& indent, std::string_view tag, CString& text, Inner inner,
               Whole whole) {
  text.append(kLineEnd).append(indent).append("<").append(tag).append(">").append(kLineEnd);
  bool first = true;
  for (const auto& set : sets) {
    if (first && dynamic_cast<const ElementSet*>(set.get()) != nullptr) {
      inner(*set, level + 2);
    } else if (set != nullptr) {
      whole(*set, level + 2);
    }
    first = false;
  }
  text.append(indent).append("</").append(tag).append(">");
}

} // namespace

void CKestExtension::BuildXml(int level, CString& text) const {
  const CString indent = Tabs(level);
  const CString inner = Tabs(level + 1);
  BuildHead(indent, inner, text);
  text += kLineEnd;
  BuildContainer(GetProducts(), level + 1, text);
  OutputText(GetDesc(), "description", inner, text);
  OutputText(GetUIAccess(), "ui-access", inner, text);
  if (HasTokens()) {
    text += kLineEnd;
    BuildContainer(GetTokens(), level + 1, text);
  }
  if (HasFiles()) {
    text += kLineEnd;
    BuildContainer(GetFiles(), level + 1, text);
  }
  if (HasConfigChanges()) {
    BuildConfigChanges(level, inner, text);
  }
  if (HasHelpChanges()) {
    BuildHelpChanges(level, inner, text);
  }
  text += kLineEnd;
  text += indent;
  text += "</kestrel-extension>";
  text += kLineEnd;
}

void CKestExtension::BuildHead(const CString& indent, const CString& inner, CString& text) const {
  const auto attributeLine = [&](std::string_view name, std::string_view value) {
    text += kLineEnd;
    text += inner;
    WriteAttribute(name, value, text);
  };
  text += indent;
  if (IsShiftJIS()) {
    text += "<?xml version=\"1.0\" encoding=\"iso-x-sjis\" ?>\r\n\r\n";
    text += indent;
  }
  text += "<kestrel-extension";
  attributeLine("name", m_name);
  attributeLine("version", m_version.ToText());
  if (!m_id.empty()) {
    attributeLine("id", m_id);
  }
  attributeLine("type", m_typeLabel);
  if (m_requiresRestart) {
    attributeLine("requires-restart", "true");
  }
  text += '>';
  text += kLineEnd;
  if (!m_author.empty()) {
    text += kLineEnd;
    text += inner;
    text += "<author";
    WriteAttribute("name", m_author, text);
    text += " />";
    text += kLineEnd;
  }
}

void CKestExtension::BuildConfigChanges(int level, const CString& inner, CString& text) const {
  const auto append = [&](CString& piece) {
    RevertBadXml(piece);
    text += piece;
  };
  BuildSets<CKestMasterConfigChanges>(
      GetConfigChanges(), level, inner, "configuration-changes", text,
      [&](const CKestConfigChanges& set, int at) {
        CString piece;
        set.BuildInnerXml(at, piece);
        append(piece);
      },
      [&](const CKestConfigChanges& set, int at) {
        CString piece;
        set.BuildXml(at, piece);
        append(piece);
      });
}

void CKestExtension::BuildHelpChanges(int level, const CString& inner, CString& text) const {
  BuildSets<CKestStandardHelpChanges>(
      GetHelpChanges(), level, inner, "help-changes", text,
      [&](const CKestHelpChanges& set, int at) { BuildInner(set, at, IsHelpChange, text); },
      [&](const CKestHelpChanges& set, int at) { BuildElement(set, at, IsHelpChange, text); });
}

int CKestExtension::Save(const char* path) {
  if (!ReadRest()) {
    return -1;
  }
  const CString target = path == nullptr ? m_path : CString(path);
  CString text;
  BuildXml(0, text);
  // what could not be read again must not replace what can
  CKestExtension check;
  if (check.LoadText(text, nullptr) != kLoaded) {
    return -1;
  }
  m_stamp.reset();
  return CKestFile::WriteAll(target, text) ? 0 : -1;
}

} // namespace kest
