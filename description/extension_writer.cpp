// How a record becomes the text of a description.

#include "config/config_change.h"
#include "config/help_change.h"
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

// The sets below one element. The element itself stands for the first set when that is of the class that reading the
// element makes.
template <class ElementSet, class Sets, class Append>
void BuildSets(const Sets& sets, int level, const CString& inner, std::string_view tag, CString& text, Append append) {
  text += kLineEnd;
  text += inner;
  text += '<';
  text += tag;
  text += '>';
  text += kLineEnd;
  bool first = true;
  for (const auto& set : sets) {
    CString piece;
    if (first && dynamic_cast<const ElementSet*>(set.get()) != nullptr) {
      set->BuildInnerXml(level + 1, piece);
    } else if (set != nullptr) {
      set->BuildXml(level + 2, piece);
    }
    append(piece);
    first = false;
  }
  text += inner;
  text += "</";
  text += tag;
  text += '>';
}

} // namespace

void CKestExtension::BuildXml(int level, CString& text) const {
  const CString indent = Tabs(level);
  const CString inner = Tabs(level + 1);
  BuildHead(indent, inner, text);
  text += kLineEnd;
  GetProducts().BuildXml(level + 1, text);
  OutputText(GetDesc(), "description", inner, text);
  OutputText(GetUIAccess(), "ui-access", inner, text);
  if (HasTokens()) {
    text += kLineEnd;
    GetTokens().BuildXml(level + 1, text);
  }
  if (HasFiles()) {
    text += kLineEnd;
    GetFiles().BuildXml(level + 1, text);
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
  BuildSets<CKestMasterConfigChanges>(GetConfigChanges(), level, inner, "configuration-changes", text,
                                      [&](CString& piece) {
                                        RevertBadXml(piece);
                                        text += piece;
                                      });
}

void CKestExtension::BuildHelpChanges(int level, const CString& inner, CString& text) const {
  BuildSets<CKestStandardHelpChanges>(GetHelpChanges(), level, inner, "help-changes", text,
                                      [&](const CString& piece) { text += piece; });
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
