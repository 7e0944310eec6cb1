#pragma once

#include "platform/xml/xml_parser.h"

#include <expat.h>

#include <vector>

namespace kest {

/// One parse: brings the bytes of a document to expat and its events to the parser object.
///
/// expat is told that the document is ISO-8859-1, whatever it declares, and each character that it reports is mapped
/// back to its byte. References that expat would not decode go through it as one character of the private-use area.
class CKestXMLParser::Session {
public:
  explicit Session(CKestXMLParser& owner);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// The parser's result for the whole document.
  int Run(std::string_view content, bool lines, bool severalRoots);
  [[nodiscard]] int GetLine() const;

private:
  // the way in
  bool CutMarks(std::string_view& content);
  void CutDeclaration(std::string_view& content);
  void FeedLines(std::string_view content);
  void Deliver(std::string_view piece, bool final);
  bool Start(std::string_view piece, bool final);
  void Feed(std::initializer_list<std::string_view> parts, bool final);
  void Fail(int code, int line, std::string_view reason);
  [[nodiscard]] bool HasFailed() const { return m_code != 0; }

  // the way out
  static void OnStart(void* self, const XML_Char* name, const XML_Char** attributes);
  static void OnEnd(void* self, const XML_Char* name);
  static void OnText(void* self, const XML_Char* text, int length);
  static void OnCDataStart(void* self);
  static void OnCDataEnd(void* self);
  static void OnCommentText(void* self, const XML_Char* text);
  static void OnOther(void* self, const XML_Char* text, int length);
  static void OnEntity(void* self, const XML_Char*, int, const XML_Char*, int, const XML_Char*, const XML_Char*,
                       const XML_Char*, const XML_Char*);
  void StartElement(const char* name, const char** attributes);
  bool CheckAttributes(const char* const* attributes);
  const char* const* MapAttributes(const char* const* attributes, std::size_t count);
  void FlushText();
  void TellOther(std::string_view text);
  void AppendCDataPiece(std::string_view piece);
  CString RestoreMarkup(std::string_view text) const;
  void Stop(std::string_view reason);

  CKestXMLParser& m_owner;
  XML_Parser m_expat = nullptr;
  int m_code = 0;
  bool m_severalRoots = false;
  bool m_rootOpen = false; ///< the root that nobody hears of
  bool m_mapped = false;   ///< what expat reports may differ from the bytes of the file
  bool m_hasKeptReferences = false;
  bool m_inCData = false;
  bool m_checkAttributeSize = false;
  bool m_keepExpat = true;
  bool m_isWhole = false; ///< no exception went through expat
  std::size_t m_depth = 0;
  std::size_t m_elements = 0;
  int m_lineOffset = 0; ///< lines that went with the declaration
  CString m_text;       ///< character data up to the next markup
  CString m_unfinished; ///< markup that comes in parts
  CString m_rewritten;
  CString m_names; ///< storage of m_pairs
  std::vector<const char*> m_pairs;
};

} // namespace kest
