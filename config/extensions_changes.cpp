#include "config/extensions_changes.h"

#include "config/config_file.h"
#include "config/text_level.h"

namespace kest {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

CString Value(CString text) {
  DecodeReferences(text);
  return text;
}

/// Position of the list in a line where it may be removed, or npos.
std::size_t FindEntry(std::string_view line, std::string_view lowerLine, std::string_view lowerList,
                      std::string_view description, std::size_t from) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos)
    return colon;
  if (!description.empty() && !text::EqualNoCase(line.substr(colon + 1), description))
    return std::string_view::npos;
  for (std::size_t at = lowerLine.find(lowerList, from); at != std::string_view::npos;
       at = lowerLine.find(lowerList, at + 1)) {
    const std::size_t after = at + lowerList.size();
    if (after > colon)
      return std::string_view::npos;
    if ((at == 0 || line[at - 1] == ',') && (after == colon || line[after] == ','))
      return at;
  }
  return std::string_view::npos;
}

/// Takes the list out of one line (without its end). False when nothing of the line is left.
bool RemoveFromLine(CString& line, std::string_view lowerList, std::string_view description, bool& changed) {
  std::size_t from = 0;
  while (true) {
    const std::size_t at = FindEntry(line, text::Lower(line), lowerList, description, from);
    if (at == std::string_view::npos)
      return true;
    changed = true;
    if (line[at + lowerList.size()] == ',')
      line.erase(at, lowerList.size() + 1);
    else if (at > 0)
      line.erase(at - 1, lowerList.size() + 1);
    else
      return false;
    // what closes up may hold the list again, beginning before the cut
    from = at > lowerList.size() ? at - lowerList.size() : 0;
  }
}

/// Removes every occurrence of the list from groups with the description (from all when it is empty).
CKestConfigChange::ErrorCode RemoveList(CString& content, const CString& list, const CString& description) {
  if (list.empty())
    return CKestConfigChange::kExtensionsRemoveWithoutList;
  const CString lowerList = text::Lower(list);
  CString out;
  bool changed = false;
  for (std::size_t at = 0; at < content.size();) {
    const std::size_t found = content.find(kLineEnd, at);
    const std::size_t end = found == CString::npos ? content.size() : found;
    CString line = content.substr(at, end - at);
    if (RemoveFromLine(line, lowerList, description, changed))
      out.append(line).append(kLineEnd);
    at = end + kLineEnd.size();
  }
  if (changed)
    content = std::move(out);
  return CKestConfigChange::kSuccess;
}

/// Position of the colon of the first group with the description, or npos.
std::size_t FindGroupColon(const CString& content, const CString& description) {
  for (std::size_t at = 0; at < content.size();) {
    const std::size_t found = content.find(kLineEnd, at);
    const std::size_t end = found == CString::npos ? content.size() : found;
    const std::size_t colon = content.find(':', at);
    if (colon < end && text::EqualNoCase(std::string_view(content).substr(colon + 1, end - colon - 1), description))
      return colon;
    at = end + kLineEnd.size();
  }
  return CString::npos;
}

void EndLastLine(CString& content) {
  if (!content.empty() && !content.ends_with(kLineEnd))
    content += kLineEnd;
}

} // namespace

void CKestExtensionsChangeInsert::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag).append(" extension=\"");
  text.append(GetExtension()).append("\" description=\"").append(GetDescription()).append("\" />\r\n");
}

CKestConfigChange::ErrorCode CKestExtensionsChangeInsert::MakeChange(const CKestConfigChanges* /*changes*/,
                                                                     CKestXmlFile* file,
                                                                     const CKestXmlFile* /*referenceFile*/) {
  auto* textFile = dynamic_cast<CKestTextConfigFile*>(file);
  if (!textFile)
    return kExtensionsNotText;
  const CString list = Value(GetExtension());
  const CString description = Value(GetDescription());
  if (list.empty())
    return kExtensionsInsertWithoutList;
  if (description.empty())
    return kExtensionsInsertWithoutDescription;
  CString& content = textFile->EditContent();
  (void)RemoveList(content, list, description);
  EndLastLine(content);
  const std::size_t colon = FindGroupColon(content, description);
  if (colon == CString::npos)
    content.append(list).append(":").append(description).append(kLineEnd);
  else
    content.insert(colon, "," + list);
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestExtensionsChangeInsert::UndoChange(const CKestConfigChanges* /*changes*/,
                                                                     CKestXmlFile* file,
                                                                     const CKestXmlFile* /*referenceFile*/) {
  auto* textFile = dynamic_cast<CKestTextConfigFile*>(file);
  return textFile ? RemoveList(textFile->EditContent(), Value(GetExtension()), Value(GetDescription()))
                  : kExtensionsNotText;
}

CString CKestExtensionsChangeInsert::DescribeInWords() const {
  return "extensions \"" + GetExtension() + "\" of \"" + GetDescription() + "\"";
}

void CKestExtensionsChangeRemove::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag).append(" extension=\"");
  text.append(GetExtension()).append("\"");
  if (!GetDescription().empty())
    text.append(" description=\"").append(GetDescription()).append("\"");
  text += " />\r\n";
}

CKestConfigChange::ErrorCode CKestExtensionsChangeRemove::MakeChange(const CKestConfigChanges* changes,
                                                                     CKestXmlFile* file,
                                                                     const CKestXmlFile* referenceFile) {
  return CKestExtensionsChangeInsert::UndoChange(changes, file, referenceFile);
}

CKestConfigChange::ErrorCode CKestExtensionsChangeRemove::UndoChange(const CKestConfigChanges* /*changes*/,
                                                                     CKestXmlFile* /*file*/,
                                                                     const CKestXmlFile* /*referenceFile*/) {
  return kSuccess;
}

CString CKestExtensionsChangeRemove::DescribeInWords() const {
  const CString words = "remove extensions \"" + GetExtension() + "\"";
  return GetDescription().empty() ? words : words + " of \"" + GetDescription() + "\"";
}

} // namespace kest
