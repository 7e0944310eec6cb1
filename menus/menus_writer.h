#pragma once

#include "menus/shortcut_model.h"

namespace kest {

/// Writes the objects of a menu-format file in the products' own form: values as they are stored, bare words. In a
/// description a dynamic item carries an attribute instead of the bare word.
class MenusWriter {
public:
  enum class Dialect { kFile, kDescription };
  explicit MenusWriter(CString& text, Dialect dialect = Dialect::kFile) : m_text(text), m_dialect(dialect) {}

  void Write(const CKestXmlObject& object, int level);
  /// The children of an object.
  void WriteChildren(const CKestXmlObject& parent, int level);
  /// False when something was written of which only a parse can tell whether it can be read again.
  [[nodiscard]] bool IsReadable() const { return m_readable; }

private:
  void WriteBar(const MenusNode& bar, int level);
  void WriteMenu(const MenusNode& menu, int level);
  void WriteItem(const MenusNode& item);
  void WriteSeparator(const CKestExtensionMenuSeparator& separator);
  void WriteFormat(const CKestExtensionServerFormat& format);
  void WriteList(const MenusNode& list, int level);
  void WriteShortcut(const CKestExtensionShortcut& shortcut);
  void WriteComment(const CKestXmlComment& comment);
  void WriteMisc(const CKestXmlMisc& misc, int level);
  void Name(const MenusNode& node);
  void Attribute(std::string_view name, std::string_view value);
  void Optional(std::string_view name, std::string_view value) {
    if (!value.empty()) {
      Attribute(name, value);
    }
  }
  void Optional(std::string_view name, const MenusNode& node, MenusNode::Field field) {
    Optional(name, node.GetField(field));
  }
  void Tabs(int level) { m_text.append(static_cast<std::size_t>(level), '\t'); }

  CString& m_text;
  Dialect m_dialect;
  bool m_readable = true;
};

} // namespace kest
