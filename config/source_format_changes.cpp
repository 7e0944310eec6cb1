#include "config/source_format_changes.h"

#include "config/text_level.h"
#include "config/text_lines.h"

namespace kest {
namespace {

constexpr auto kNone = std::string_view::npos;

void Option(std::string_view name, std::string_view value, CString& line) {
  if (!value.empty()) {
    line.append(" ").append(name).append("=\"").append(value).append("\"");
  }
}

/// An option of an entry: the text that the author means, but as written where that would end the entry or the option.
void EntryOption(std::string_view name, const CString& value, CString& line) {
  CString meant = value;
  DecodeReferences(meant);
  Option(name, meant.find_first_of("\">\r\n\1") == CString::npos ? meant : value, line);
}

void TriState(std::string_view name, TriStateBool value, CString& text) {
  if (value != TriStateBool::kNotGiven) {
    Option(name, value == TriStateBool::kTrue ? "true" : "false", text);
  }
}

void BuildNamed(int level, std::string_view tag, std::string_view name, CString& text) {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(tag);
  text.append(" name=\"").append(name).append("\"");
}

/// The ">" that ends the entry at `at`: it stands before the next line that begins an entry.
std::size_t FindEntryEnd(std::string_view section, std::size_t at) {
  const std::size_t close = section.find('>', at);
  for (std::size_t line = section.find(kLineEnd, at); line < close && close != kNone;
       line = section.find(kLineEnd, line + kLineEnd.size())) {
    const std::size_t first = section.find_first_not_of(" \t", line + kLineEnd.size());
    if (first < close && section[first] == '<') {
      return kNone;
    }
  }
  return close;
}

/// Where a new entry goes that follows the one whose ">" lies before `after`.
std::size_t PlaceAfter(std::string_view section, std::size_t after) {
  const std::size_t lineEnd = section.find(kLineEnd, after);
  const std::size_t next = section.find('<', after);
  if (lineEnd != kNone && (next == kNone || lineEnd < next)) {
    return lineEnd + kLineEnd.size();
  }
  return next == kNone ? section.size() : next;
}

/// Where the entry of `name` (lower case) goes among the section's, which stand in order of their names.
std::size_t FindPlace(std::string_view section, std::string_view name) {
  std::size_t place = 0;
  std::size_t at = section.find('<');
  while (at != kNone) {
    const std::string_view entry = section.substr(at + 1);
    const bool comment = entry.starts_with("!--");
    std::size_t close = comment ? entry.find("-->") : kNone;
    if (close == kNone) {
      const std::size_t end = FindEntryEnd(section, at);
      close = end == kNone ? kNone : end - at - 1;
    } else {
      close += 2;
    }
    if (close == kNone) {
      break;
    }
    const std::size_t after = at + 1 + close + 1;
    if (!comment) {
      if (entry.substr(0, entry.find_first_of(" >")) > name) {
        break;
      }
      place = PlaceAfter(section, after);
    }
    at = section.find('<', after);
  }
  return place;
}

/// What follows an entry's ">" up to and with the end of its line, when nothing else stands there.
std::size_t LineEndAfter(std::string_view section, std::size_t after) {
  const std::size_t end = section.find_first_not_of(" \t", after);
  return end != kNone && section.substr(end).starts_with(kLineEnd) ? end + kLineEnd.size() : after;
}

} // namespace

const CKestSourceFormatChange::Section CKestSourceFormatChange::kElements{"<?elements>", "<?attributes>",
                                                                          kElementsSectionMissing};
const CKestSourceFormatChange::Section CKestSourceFormatChange::kAttributes{"<?attributes>", "<?end>",
                                                                            kAttributesSectionMissing};

void CKestSourceFormatChange::CreateTag(CString& line, bool /*withLineEnd*/) const { line.clear(); }

void CKestSourceFormatChange::GetTagName(CString& name) const {
  name = m_name;
  DecodeReferences(name);
}

bool CKestSourceFormatChange::SectionIndicies(const CKestTextConfigFile& file, std::string_view startMarker,
                                              std::string_view endMarker, int& start, int& end, CString& text) {
  const CString lower = text::Lower(file.GetContent());
  const std::size_t marker = lower.find(startMarker);
  if (marker == CString::npos) {
    return false;
  }
  const std::size_t after = marker + startMarker.size();
  const std::size_t lineEnd = lower.find(kLineEnd, after);
  const std::size_t entry = lower.find('<', after);
  const std::size_t first = lineEnd < entry ? lineEnd + kLineEnd.size() : entry;
  const std::size_t last = first == CString::npos ? CString::npos : lower.find(endMarker, first);
  if (last == CString::npos) {
    return false;
  }
  start = static_cast<int>(first);
  end = static_cast<int>(last) - 1;
  text = lower.substr(first, last - first);
  return true;
}

CKestConfigChange::ErrorCode CKestSourceFormatChange::InsertTag(CKestTextConfigFile& file, std::string_view startMarker,
                                                                std::string_view endMarker) const {
  const ErrorCode removed = RemoveTag(file, startMarker, endMarker);
  if (removed != kSuccess) {
    return removed;
  }
  int start = 0;
  int end = 0;
  CString section;
  if (!SectionIndicies(file, startMarker, endMarker, start, end, section)) {
    return kSectionMissing;
  }
  CString name;
  GetTagName(name);
  CString line;
  CreateTag(line, true);
  file.EditContent().insert(static_cast<std::size_t>(start) + FindPlace(section, text::Lower(name)), line);
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestSourceFormatChange::RemoveTag(CKestTextConfigFile& file, std::string_view startMarker,
                                                                std::string_view endMarker) const {
  CString name;
  GetTagName(name);
  if (name.empty()) {
    return kNameMissing;
  }
  int start = 0;
  int end = 0;
  CString section;
  if (!SectionIndicies(file, startMarker, endMarker, start, end, section)) {
    return kSectionMissing;
  }
  const CString opening = "<" + text::Lower(name);
  std::size_t at = section.find(opening + " ");
  if (at == CString::npos) {
    at = section.find(opening + ">");
  }
  if (at == CString::npos) {
    return kSuccess;
  }
  const std::size_t close = FindEntryEnd(section, at);
  if (close == CString::npos) {
    return kEntryUnclosed;
  }
  const std::size_t after = LineEndAfter(section, close + 1);
  file.EditContent().erase(static_cast<std::size_t>(start) + at, after - at);
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestSourceFormatChange::Edit(CKestTextConfigFile& file, const Section& section,
                                                           bool insert, ErrorCode nameMissing) const {
  const ErrorCode result = insert ? InsertTag(file, section.startMarker, section.endMarker)
                                  : RemoveTag(file, section.startMarker, section.endMarker);
  if (result == kNameMissing) {
    return nameMissing;
  }
  return result == kSectionMissing ? section.missing : result;
}

// ---- elements

void CKestSourceFormatChangeElementInsert::CreateTag(CString& line, bool withLineEnd) const {
  CString name;
  GetTagName(name);
  line = "<" + name;
  EntryOption("break", m_break, line);
  if (m_indent == TriStateBool::kTrue) {
    line += " indent";
  }
  if (m_indentGroup > 0) {
    Option("igroup", std::to_string(m_indentGroup), line);
  }
  EntryOption("namecase", m_nameCase, line);
  if (m_noFormat == TriStateBool::kTrue) {
    line += " noformat";
  }
  line.append(">").append(withLineEnd ? kLineEnd : "");
}

void CKestSourceFormatChangeElementInsert::BuildXml(int level, CString& text) const {
  BuildNamed(level, kTag, GetName(), text);
  Option("break", m_break, text);
  TriState("indent", m_indent, text);
  Option("indentGroup", std::to_string(m_indentGroup), text);
  Option("namecase", m_nameCase, text);
  TriState("noformat", m_noFormat, text);
  text += " />\r\n";
}

CKestConfigChange::ErrorCode CKestSourceFormatChangeElementInsert::PutIn(CKestTextConfigFile& file) const {
  return Edit(file, kElements, true, kElementInsertWithoutName);
}

CKestConfigChange::ErrorCode CKestSourceFormatChangeElementInsert::TakeOut(CKestTextConfigFile& file) const {
  return Edit(file, kElements, false, kElementInsertWithoutName);
}

CString CKestSourceFormatChangeElementInsert::DescribeInWords() const {
  return "source format of element \"" + GetName() + "\"";
}

void CKestSourceFormatChangeElementRemove::BuildXml(int level, CString& text) const {
  BuildNamed(level, kTag, GetName(), text);
  text += " />\r\n";
}

CKestConfigChange::ErrorCode CKestSourceFormatChangeElementRemove::TakeOut(CKestTextConfigFile& file) const {
  return Edit(file, kElements, false, kElementRemoveWithoutName);
}

CString CKestSourceFormatChangeElementRemove::DescribeInWords() const {
  return "remove source format of element \"" + GetName() + "\"";
}

// ---- attributes

void CKestSourceFormatChangeAttributeInsert::CreateTag(CString& line, bool withLineEnd) const {
  CString name;
  GetTagName(name);
  line = "<" + name;
  EntryOption("namecase", m_nameCase, line);
  if (m_sameCase == TriStateBool::kTrue) {
    line += " samecase";
  }
  line.append(">").append(withLineEnd ? kLineEnd : "");
}

void CKestSourceFormatChangeAttributeInsert::BuildXml(int level, CString& text) const {
  BuildNamed(level, kTag, GetName(), text);
  Option("namecase", m_nameCase, text);
  TriState("samecase", m_sameCase, text);
  text += " />\r\n";
}

CKestConfigChange::ErrorCode CKestSourceFormatChangeAttributeInsert::PutIn(CKestTextConfigFile& file) const {
  return Edit(file, kAttributes, true, kAttributeInsertWithoutName);
}

CKestConfigChange::ErrorCode CKestSourceFormatChangeAttributeInsert::TakeOut(CKestTextConfigFile& file) const {
  return Edit(file, kAttributes, false, kAttributeInsertWithoutName);
}

CString CKestSourceFormatChangeAttributeInsert::DescribeInWords() const {
  return "source format of attribute \"" + GetName() + "\"";
}

void CKestSourceFormatChangeAttributeRemove::BuildXml(int level, CString& text) const {
  BuildNamed(level, kTag, GetName(), text);
  text += " />\r\n";
}

CKestConfigChange::ErrorCode CKestSourceFormatChangeAttributeRemove::TakeOut(CKestTextConfigFile& file) const {
  return Edit(file, kAttributes, false, kAttributeRemoveWithoutName);
}

CString CKestSourceFormatChangeAttributeRemove::DescribeInWords() const {
  return "remove source format of attribute \"" + GetName() + "\"";
}

} // namespace kest
