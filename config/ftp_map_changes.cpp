#include "config/ftp_map_changes.h"

#include "config/text_level.h"
#include "config/text_lines.h"

namespace kest {
namespace {

CString Value(CString text) {
  DecodeReferences(text);
  return text;
}

/// Calls `visit(line, field)` for each line that holds a tab, `field` being what stands before it, until it returns
/// false.
template <class Visit> void WalkLines(const CString& content, Visit visit) {
  const std::string_view all = content;
  for (TextLine line{0, 0, 0}; line.next < all.size();) {
    line = LineFrom(all, line.next);
    const std::string_view text = all.substr(line.start, line.end - line.start);
    const std::size_t tab = text.find('\t');
    if (tab != std::string_view::npos && !visit(line, text.substr(0, tab))) {
      return;
    }
  }
}

void RemoveLine(CString& content, const CString& extension) {
  TextLine found{0, 0, 0};
  WalkLines(content, [&](const TextLine& line, std::string_view field) {
    if (!text::EqualNoCase(field, extension)) {
      return true;
    }
    found = line;
    return false;
  });
  content.erase(found.start, found.next - found.start);
}

void InsertLine(CString& content, const CString& extension, std::string_view kind) {
  EndLastLine(content);
  std::size_t place = 0;
  WalkLines(content, [&](const TextLine& line, std::string_view field) {
    if (text::CompareNoCase(field, extension) > 0) {
      return false;
    }
    place = line.next;
    return true;
  });
  content.insert(place, CString(extension).append("\t").append(kind).append(kLineEnd));
}

CKestConfigChange::ErrorCode RemoveExtension(CKestTextConfigFile& file, const CString& written) {
  const CString extension = Value(written);
  if (extension.empty()) {
    return CKestConfigChange::kFtpRemoveWithoutExtension;
  }
  RemoveLine(file.EditContent(), extension);
  return CKestConfigChange::kSuccess;
}

} // namespace

void CKestFTPExtensionMapChangeInsert::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag).append(" extension=\"");
  text.append(GetExtension()).append("\" mac-creator=\"").append(m_macCreator);
  text.append("\" mac-file-type=\"").append(m_macFileType).append("\" type=\"");
  text.append(m_type == kAscii ? "ASCII" : "BINARY").append("\" />\r\n");
}

CKestConfigChange::ErrorCode CKestFTPExtensionMapChangeInsert::PutIn(CKestTextConfigFile& file) const {
  const CString extension = Value(GetExtension());
  if (extension.empty()) {
    return kFtpInsertWithoutExtension;
  }
  RemoveLine(file.EditContent(), extension);
  InsertLine(file.EditContent(), extension, m_type == kAscii ? "ASCII" : "BINARY");
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestFTPExtensionMapChangeInsert::TakeOut(CKestTextConfigFile& file) const {
  return RemoveExtension(file, GetExtension());
}

CString CKestFTPExtensionMapChangeInsert::DescribeInWords() const {
  return "FTP extension \"" + GetExtension() + "\" as " + (m_type == kAscii ? "ASCII" : "BINARY");
}

void CKestFTPExtensionMapChangeRemove::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag).append(" extension=\"");
  text.append(GetExtension()).append("\" />\r\n");
}

CKestConfigChange::ErrorCode CKestFTPExtensionMapChangeRemove::TakeOut(CKestTextConfigFile& file) const {
  return RemoveExtension(file, GetExtension());
}

CString CKestFTPExtensionMapChangeRemove::DescribeInWords() const {
  return "remove FTP extension \"" + GetExtension() + "\"";
}

} // namespace kest
