#pragma once

#include "platform/xml/xml_object.h"
#include "platform/xml/xml_parser.h"

namespace kest {

/// An XML configuration file of any vocabulary. Its objects hold values (references decoded). XML comments are not
/// kept.
class KEST_API CKestGenericXmlFile : public CKestXmlFile {
public:
  /// The parser's result; the path is kept in either case.
  int Load(const char* path, CKestTypedList<CKestString>* errors) override;
  /// The same from bytes in memory.
  [[nodiscard]] int LoadContent(std::string_view content);
  /// 0, or -1 with the old file as it was: it could not be written, or what would be written cannot be read.
  int Save(const char* path) override;
  /// The text that Save writes.
  void BuildContent(CString& content) const;
  [[nodiscard]] const CString& GetPath() const { return m_path; }
  void GetPath(CString& path) const { path = m_path; }
  /// Whether every byte of the file is a character: its declaration names such an encoding.
  [[nodiscard]] bool IsSingleByte() const { return m_singleByte; }

private:
  int TakeResult(const CKestXMLParser& parser, int result);

  CString m_path;
  bool m_singleByte = false;
  bool m_byteOrderMark = false; ///< written again in front
};

/// Fills a generic file: every element becomes an object, `comment` elements become comments.
class KEST_API CKestGenericXMLParser : public CKestXMLParser {
public:
  /// `file` is borrowed for the parser's life.
  explicit CKestGenericXMLParser(CKestXmlFile* file);

  int OnPreProcessLine(CString& line) override;
  void OnElementStart(const char* name, CKestXMLAttributes& attributes) override;
  void OnElementEnd(const char* name) override;
  void OnCData(const char* text, int length) override;
  void OnCDataSectionStart() override;
  void OnCDataSectionEnd() override;
  void OnComment(const char* text) override;
  void OnDefault(const char* text, int length) override;

private:
  [[nodiscard]] CKestXmlObject* Top() const { return m_stack.back(); }
  std::vector<CKestXmlObject*> m_stack; ///< its bottom is the file
  bool m_inComment = false;
  bool m_inCData = false;
  CString m_pending; ///< markup that arrives in pieces
};

} // namespace kest
