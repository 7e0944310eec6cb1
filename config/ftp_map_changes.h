#pragma once

#include "config/text_file_change.h"

namespace kest {

/// Edits "FTPExtensionMap.txt": a line per extension, the extension, a tab, ASCII or BINARY.
class KEST_API CKestFTPExtensionMapChange : public CKestTextFileChange {
public:
  static constexpr ErrorCode kNotText = kFtpMapNotText;
  void SetExtension(std::string_view extension) { m_extension = extension; }
  void GetExtension(CString& extension) const { extension = m_extension; }
  [[nodiscard]] const CString& GetExtension() const { return m_extension; }

private:
  CString m_extension;
};

/// Puts the extension's line in its place by name, replacing one that is there. The undo removes it.
class KEST_API CKestFTPExtensionMapChangeInsert
    : public TextInsert<CKestFTPExtensionMapChangeInsert, CKestFTPExtensionMapChange> {
public:
  enum Type : int { kBinary = 0, kAscii = 1 };
  static constexpr std::string_view kTag = "ftp-extension-insert";
  void SetType(int type) { m_type = type; }
  [[nodiscard]] int GetType() const { return m_type; }
  void SetMacCreator(std::string_view creator) { m_macCreator = creator; }
  [[nodiscard]] const CString& GetMacCreator() const { return m_macCreator; }
  void SetMacFileType(std::string_view fileType) { m_macFileType = fileType; }
  [[nodiscard]] const CString& GetMacFileType() const { return m_macFileType; }
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] CString DescribeInWords() const override;

protected:
  ErrorCode PutIn(CKestTextConfigFile& file) const override;
  ErrorCode TakeOut(CKestTextConfigFile& file) const override;

private:
  int m_type = kBinary;
  CString m_macCreator = "????";
  CString m_macFileType = "????";
};

/// Removes the extension's line. No undo.
class KEST_API CKestFTPExtensionMapChangeRemove
    : public TextRemove<CKestFTPExtensionMapChangeRemove, CKestFTPExtensionMapChange> {
public:
  static constexpr std::string_view kTag = "ftp-extension-remove";
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] CString DescribeInWords() const override;

protected:
  ErrorCode TakeOut(CKestTextConfigFile& file) const override;
};

} // namespace kest
