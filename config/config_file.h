#pragma once

#include "platform/xml/xml_object.h"

namespace kest {

/// A configuration file that is no XML.
class KEST_API CKestConfigFile : public CKestXmlFile {
public:
  using CKestXmlFile::CKestXmlFile;
};

/// A plain text file, held as one string of bytes: no line-end conversion, nothing special about NUL.
class KEST_API CKestTextConfigFile : public CKestConfigFile {
public:
  /// 0 with content and path set, or -1 with both empty.
  int Load(const char* path, CKestTypedList<CKestString>* errors) override;
  /// 0, or -1 with the old file as it was.
  int Save(const char* path) override;
  void GetContent(CString& content) const { content = m_content; }
  [[nodiscard]] const CString& GetContent() const { return m_content; }
  /// For edits in place.
  [[nodiscard]] CString& EditContent() { return m_content; }
  void SetContent(CString content) { m_content = std::move(content); }
  void AppendContent(std::string_view content) { m_content += content; }
  void Purge();
  [[nodiscard]] bool HasContent() const { return !m_content.empty(); }
  [[nodiscard]] bool HasPath() const { return !m_path.empty(); }
  [[nodiscard]] const CString& GetPath() const { return m_path; }

private:
  CString m_content;
  CString m_path;
};

} // namespace kest
