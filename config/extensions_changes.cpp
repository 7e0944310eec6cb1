#include "config/extensions_changes.h"

#include "config/text_level.h"
#include "config/text_lines.h"

namespace kest {
namespace {

CString Value(CString text) {
  DecodeReferences(text);
  return text;
}

/// Where the description of the line's group begins: behind its first colon. Beyond the line for a line without one.
std::size_t DescriptionStart(std::string_view content, const TextLine& line) {
  const std::size_t colon = content.substr(line.start, line.end - line.start).find(':');
  return colon == std::string_view::npos ? line.next + 1 : line.start + colon + 1;
}

bool HasDescription(std::string_view content, const TextLine& line, std::string_view description) {
  const std::size_t start = DescriptionStart(content, line);
  return start <= line.end && text::EqualNoCase(content.substr(start, line.end - start), description);
}

/// Whether the text from `at` to `after` is one or several whole extensions of the line.
bool IsEntry(std::string_view content, const TextLine& line, std::size_t at, std::size_t after) {
  const std::size_t description = DescriptionStart(content, line);
  if (description > line.end || after >= description) {
    return false;
  }
  return (at == line.start || content[at - 1] == ',') && (content[after] == ',' || content[after] == ':');
}

/// Removes every occurrence of the list from groups with the description (from all when it is empty).
CKestConfigChange::ErrorCode RemoveList(CString& content, const CString& list, const CString& description) {
  if (list.empty()) {
    return CKestConfigChange::kExtensionsRemoveWithoutList;
  }
  for (int found = text::FindNoCase(content, list); found >= 0;) {
    const auto at = static_cast<std::size_t>(found);
    const std::size_t after = at + list.size();
    TextLine line = LineAround(content, at);
    std::size_t from = at + 1;
    if (IsEntry(content, line, at, after) && (description.empty() || HasDescription(content, line, description))) {
      EndLastLine(content);
      line = LineAround(content, at);
      if (content[after] == ',') {
        content.erase(at, list.size() + 1);
      } else if (at > line.start) {
        content.erase(at - 1, list.size() + 1);
      } else {
        content.erase(line.start, line.next - line.start);
      }
      from = line.start; // what closes up may hold the list again
    }
    found = text::FindNoCase(content, list, from);
  }
  return CKestConfigChange::kSuccess;
}

/// Position of the colon of the first group with the description, or npos.
std::size_t FindGroupColon(const CString& content, const CString& description) {
  const CString wanted = ":" + description;
  for (int found = text::FindNoCase(content, wanted); found >= 0;) {
    const auto at = static_cast<std::size_t>(found);
    const TextLine line = LineAround(content, at);
    if (DescriptionStart(content, line) == at + 1 && at + wanted.size() == line.end) {
      return at;
    }
    found = text::FindNoCase(content, wanted, at + 1);
  }
  return CString::npos;
}

} // namespace

void CKestExtensionsChangeInsert::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag).append(" extension=\"");
  text.append(GetExtension()).append("\" description=\"").append(GetDescription()).append("\" />\r\n");
}

CKestConfigChange::ErrorCode CKestExtensionsChangeInsert::PutIn(CKestTextConfigFile& file) const {
  const CString list = Value(GetExtension());
  const CString description = Value(GetDescription());
  if (list.empty()) {
    return kExtensionsInsertWithoutList;
  }
  if (description.empty()) {
    return kExtensionsInsertWithoutDescription;
  }
  CString& content = file.EditContent();
  (void)RemoveList(content, list, description);
  EndLastLine(content);
  const std::size_t colon = FindGroupColon(content, description);
  if (colon == CString::npos) {
    content.append(list).append(":").append(description).append(kLineEnd);
  } else {
    content.insert(colon, "," + list);
  }
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestExtensionsChangeInsert::TakeOut(CKestTextConfigFile& file) const {
  return RemoveList(file.EditContent(), Value(GetExtension()), Value(GetDescription()));
}

CString CKestExtensionsChangeInsert::DescribeInWords() const {
  return "extensions \"" + GetExtension() + "\" of \"" + GetDescription() + "\"";
}

void CKestExtensionsChangeRemove::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag).append(" extension=\"");
  text.append(GetExtension()).append("\"");
  if (!GetDescription().empty()) {
    text.append(" description=\"").append(GetDescription()).append("\"");
  }
  text += " />\r\n";
}

CString CKestExtensionsChangeRemove::DescribeInWords() const {
  const CString words = "remove extensions \"" + GetExtension() + "\"";
  return GetDescription().empty() ? words : words + " of \"" + GetDescription() + "\"";
}

} // namespace kest
