#pragma once

#include "config/config_change.h"

namespace kest {

/// Edits "FTPExtensionMap.txt": a line per extension, the extension, a tab, ASCII or BINARY.
class KEST_API CKestFTPExtensionMapChange : public CKestConfigChange {
public:
  void SetExtension(std::string_view extension) { m_extension = extension; }
  void GetExtension(CString& extension) const { extension = m_extension; }
  [[nodiscard]] const CString& GetExtension() const { return m_extension; }

private:
  CString m_extension;
};

/// Puts the extension's line in its place by name, replacing one that is there. The undo removes it.
class KEST_API CKestFTPExtensionMapChangeInsert
    : public Named<CKestFTPExtensionMapChangeInsert, CKestFTPExtensionMapChange> {
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
  ErrorCode MakeChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  ErrorCode UndoChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  [[nodiscard]] CString DescribeInWords() const override;

private:
  int m_type = kBinary;
  CString m_macCreator = "????";
  CString m_macFileType = "????";
};

/// Removes the extension's line. No undo.
class KEST_API CKestFTPExtensionMapChangeRemove
    : public Named<CKestFTPExtensionMapChangeRemove, CKestFTPExtensionMapChange> {
public:
  static constexpr std::string_view kTag = "ftp-extension-remove";
  void BuildXml(int level, CString& text) const override;
  ErrorCode MakeChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  ErrorCode UndoChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  [[nodiscard]] CString DescribeInWords() const override;
};

} // namespace kest
