#pragma once

#include "menus/menus_file.h"
#include "platform/xml/xml_parser.h"

namespace kest {

/// Fills a menu-format file. Elements that the format does not know are transparent at the top and dropped with all
/// that they hold inside a bar, menu or list.
class KEST_API CKestMenusXMLParser : public CKestXMLParser {
public:
  /// `file` is borrowed for the parser's life.
  explicit CKestMenusXMLParser(CKestMenusXmlFile* file) : m_file(file) {}

  [[nodiscard]] bool MayRewrite(std::string_view text) const override;
  int OnPreProcessLine(CString& line) override;
  void OnElementStart(const char* name, CKestXMLAttributes& attributes) override;
  void OnElementEnd(const char* name) override;
  void OnComment(const char* text) override;
  void OnDefault(const char* text, int length) override;

private:
  struct Element;
  static const Element* FindElement(std::string_view name);
  void ReadAttributes(const Element& element, MenusNode& node, CKestXMLAttributes& attributes);
  void Place(std::unique_ptr<CKestXmlObject> object);

  CKestMenusXmlFile* m_file;
  std::vector<MenusNode*> m_stack;
  std::size_t m_skipped = 0;               ///< open elements of a subtree that is dropped
  CString m_pending;                       ///< markup that arrives in pieces
  std::vector<FieldPack::Entry> m_entries; ///< of the element being read
  CString m_values;                        ///< what m_entries points into
};

} // namespace kest
