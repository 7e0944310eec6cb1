#include "config/ftp_map_changes.h"

#include "config/config_file.h"
#include "config/text_level.h"

namespace kest {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

CString Value(CString text) {
  DecodeReferences(text);
  return text;
}

/// Calls `visit(start, end, next, field)` for each line that holds a tab, `field` being what stands before it, until it
/// returns false.
template <class Visit> void WalkLines(const CString& content, Visit visit) {
  const std::string_view all = content;
  for (std::size_t at = 0; at < all.size();) {
    const std::size_t found = all.find(kLineEnd, at);
    const std::size_t end = found == std::string_view::npos ? all.size() : found;
    const std::size_t next = std::min(all.size(), end + kLineEnd.size());
    const std::size_t tab = all.substr(at, end - at).find('\t');
    if (tab != std::string_view::npos && !visit(at, next, all.substr(at, tab)))
      return;
    at = next;
  }
}

void RemoveLine(CString& content, const CString& extension) {
  std::size_t start = CString::npos;
  std::size_t length = 0;
  WalkLines(content, [&](std::size_t at, std::size_t next, std::string_view field) {
    if (!text::EqualNoCase(field, extension))
      return true;
    start = at;
    length = next - at;
    return false;
  });
  if (start != CString::npos)
    content.erase(start, length);
}

void InsertLine(CString& content, const CString& extension, std::string_view kind) {
  if (!content.empty() && !content.ends_with(kLineEnd))
    content += kLineEnd;
  std::size_t place = 0;
  WalkLines(content, [&](std::size_t /*at*/, std::size_t next, std::string_view field) {
    if (text::CompareNoCase(field, extension) > 0)
      return false;
    place = next;
    return true;
  });
  content.insert(place, CString(extension).append("\t").append(kind).append(kLineEnd));
}

} // namespace

void CKestFTPExtensionMapChangeInsert::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag).append(" extension=\"");
  text.append(GetExtension()).append("\" mac-creator=\"").append(m_macCreator);
  text.append("\" mac-file-type=\"").append(m_macFileType).append("\" type=\"");
  text.append(m_type == kAscii ? "ASCII" : "BINARY").append("\" />\r\n");
}

CKestConfigChange::ErrorCode CKestFTPExtensionMapChangeInsert::MakeChange(const CKestConfigChanges* /*changes*/,
                                                                          CKestXmlFile* file,
                                                                          const CKestXmlFile* /*referenceFile*/) {
  auto* textFile = dynamic_cast<CKestTextConfigFile*>(file);
  if (!textFile)
    return kFtpMapNotText;
  const CString extension = Value(GetExtension());
  if (extension.empty())
    return kFtpInsertWithoutExtension;
  RemoveLine(textFile->EditContent(), extension);
  InsertLine(textFile->EditContent(), extension, m_type == kAscii ? "ASCII" : "BINARY");
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestFTPExtensionMapChangeInsert::UndoChange(const CKestConfigChanges* changes,
                                                                          CKestXmlFile* file,
                                                                          const CKestXmlFile* referenceFile) {
  CKestFTPExtensionMapChangeRemove remove;
  remove.SetExtension(GetExtension());
  return remove.MakeChange(changes, file, referenceFile);
}

CString CKestFTPExtensionMapChangeInsert::DescribeInWords() const {
  return "FTP extension \"" + GetExtension() + "\" as " + (m_type == kAscii ? "ASCII" : "BINARY");
}

void CKestFTPExtensionMapChangeRemove::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag).append(" extension=\"");
  text.append(GetExtension()).append("\" />\r\n");
}

CKestConfigChange::ErrorCode CKestFTPExtensionMapChangeRemove::MakeChange(const CKestConfigChanges* /*changes*/,
                                                                          CKestXmlFile* file,
                                                                          const CKestXmlFile* /*referenceFile*/) {
  auto* textFile = dynamic_cast<CKestTextConfigFile*>(file);
  if (!textFile)
    return kFtpMapNotText;
  const CString extension = Value(GetExtension());
  if (extension.empty())
    return kFtpRemoveWithoutExtension;
  RemoveLine(textFile->EditContent(), extension);
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestFTPExtensionMapChangeRemove::UndoChange(const CKestConfigChanges* /*changes*/,
                                                                          CKestXmlFile* /*file*/,
                                                                          const CKestXmlFile* /*referenceFile*/) {
  return kSuccess;
}

CString CKestFTPExtensionMapChangeRemove::DescribeInWords() const {
  return "remove FTP extension \"" + GetExtension() + "\"";
}

} // namespace kest
