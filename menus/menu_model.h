#pragma once

#include "menus/menu_node.h"

#include <typeinfo>
#include <vector>

namespace kest {

/// Accessor pair of one text field.
#define KEST_MENU_FIELD(Name, field)                                                                                   \
  void Get##Name(CString& value) const { CopyField(field, value); }                                                    \
  [[nodiscard]] std::string_view Get##Name() const { return GetField(field); }                                         \
  void Set##Name(std::string_view value) { SetField(field, value); }

/// A menu. The searches walk its children depth-first, in order; the first match wins. `parent` may be null; otherwise
/// it is set to the menu that directly holds the match, or to null without one. Everything found is borrowed.
class KEST_API CKestExtensionMenu : public MenusNode {
public:
  static constexpr std::string_view kTag = "menu";
  CKestExtensionMenu() : CKestExtensionMenu(Kind::kMenu) {}
  /// Copies attributes, never children. Null: an empty object.
  explicit CKestExtensionMenu(const CKestExtensionMenu* other);
  void Merge(const CKestExtensionMenu* other);

  KEST_MENU_FIELD(Name, Field::kName)
  KEST_MENU_FIELD(ID, Field::kId)
  KEST_MENU_FIELD(Platform, Field::kPlatform)
  KEST_MENU_FIELD(Application, Field::kApp)
  [[nodiscard]] bool IsVisible() const { return m_flag; }
  void SetVisible(bool visible) { m_flag = visible; }

  [[nodiscard]] class CKestExtensionMenu* FindMenu(std::string_view id, CKestExtensionMenu** parent) const;
  [[nodiscard]] class CKestExtensionMenuItem* FindMenuItem(std::string_view id, CKestExtensionMenu** parent) const;
  [[nodiscard]] class CKestExtensionServerFormat* FindFormat(std::string_view id, CKestExtensionMenu** parent) const;
  [[nodiscard]] class CKestExtensionMenuSeparator* FindSeparator(std::string_view reference,
                                                                 CKestExtensionMenu** parent) const;
  using CKestXmlObject::FindComment;
  [[nodiscard]] CKestXmlComment* FindComment(std::string_view text, CKestExtensionMenu** parent) const;

  /// Removes a leading separator and every trailing one, and makes one of each two neighbours: "standard" marks one
  /// that belongs to the host too.
  void RemoveExtraSeparators();

  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override { tag = kTag; }
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override;
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override;

protected:
  explicit CKestExtensionMenu(Kind kind) : MenusNode(kind) {}
};

/// A menu bar; one read from a "formats" element keeps that tag.
class KEST_API CKestExtensionMenuBar : public CKestExtensionMenu {
public:
  CKestExtensionMenuBar() : CKestExtensionMenu(Kind::kBar) {}
  explicit CKestExtensionMenuBar(const CKestExtensionMenuBar* other);
  void Merge(const CKestExtensionMenuBar* other);
  void SetTag(std::string_view tag) { SetField(Field::kTag, tag); }
  /// Whether the searches see it: the tag is "menubar" or "formats" in exactly this case.
  [[nodiscard]] bool IsSearched() const;
  /// `parent` is null for a menu that is a direct child of the bar.
  [[nodiscard]] CKestExtensionMenu* FindMenu(std::string_view id, CKestExtensionMenu** parent) const;

  using CKestXmlObject::GetTag;
  void GetTag(CString& tag) const override;
  [[nodiscard]] bool HasTag(std::string_view tag, bool caseSensitive = false) const override;
  void BuildXml(int level, CString& text) const override;
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Clone() const override;
};

class KEST_API CKestExtensionMenuItem : public Named<CKestExtensionMenuItem, MenusNode> {
public:
  static constexpr std::string_view kTag = "menuitem";
  CKestExtensionMenuItem() : Named(Kind::kItem) {}
  explicit CKestExtensionMenuItem(const CKestExtensionMenuItem* other);
  void Merge(const CKestExtensionMenuItem* other);

  KEST_MENU_FIELD(Name, Field::kName)
  KEST_MENU_FIELD(ID, Field::kId)
  KEST_MENU_FIELD(Key, Field::kKey)
  KEST_MENU_FIELD(Platform, Field::kPlatform)
  KEST_MENU_FIELD(Command, Field::kCommand)
  KEST_MENU_FIELD(Enabled, Field::kEnabled)
  KEST_MENU_FIELD(Checked, Field::kChecked)
  KEST_MENU_FIELD(File, Field::kFile)
  KEST_MENU_FIELD(Dynamic, Field::kDynamic)
  KEST_MENU_FIELD(Arguments, Field::kArguments)
  KEST_MENU_FIELD(Application, Field::kApp)
  [[nodiscard]] bool IsDOMRequired() const { return m_flag; }
  void SetDOMRequired(bool required) { m_flag = required; }
  /// As a menu-format file has it: a dynamic item carries the bare word.
  void BuildXml(int level, CString& text) const override;
};

/// A separator; its references name the inserted objects that it belongs to, without duplicates.
class KEST_API CKestExtensionMenuSeparator : public Named<CKestExtensionMenuSeparator, MenusNode> {
public:
  static constexpr std::string_view kTag = "separator";
  static constexpr std::string_view kStandard = "standard"; ///< the reference of a separator that is the host's too
  CKestExtensionMenuSeparator() : Named(Kind::kSeparator) {}
  explicit CKestExtensionMenuSeparator(const CKestExtensionMenuSeparator* other);
  void Merge(const CKestExtensionMenuSeparator* other);

  KEST_MENU_FIELD(ID, Field::kId)
  KEST_MENU_FIELD(Platform, Field::kPlatform)
  KEST_MENU_FIELD(Application, Field::kApp)
  void AddReference(std::string_view reference);
  void RemoveReference(std::string_view reference);
  [[nodiscard]] bool HasReference(std::string_view reference) const;
  [[nodiscard]] int GetReferenceCount() const { return static_cast<int>(m_references.size()); }
  [[nodiscard]] const std::vector<CString>& GetReferences() const { return m_references; }
  /// The caller's; the references must not change during the walk.
  [[nodiscard]] CKestTypedIterator<CString>* CreateReferenceIterator() const;
  void BuildXml(int level, CString& text) const override;

private:
  std::vector<CString> m_references;
};

/// A server format. Attributes that the class does not know stand in the object's attributes.
class KEST_API CKestExtensionServerFormat : public Named<CKestExtensionServerFormat, MenusNode> {
public:
  static constexpr std::string_view kTag = "format";
  CKestExtensionServerFormat() : Named(Kind::kFormat) {}
  explicit CKestExtensionServerFormat(const CKestExtensionServerFormat* other);
  void Merge(const CKestExtensionServerFormat* other);

  KEST_MENU_FIELD(Title, Field::kTitle)
  KEST_MENU_FIELD(ID, Field::kId)
  KEST_MENU_FIELD(Platform, Field::kPlatform)
  KEST_MENU_FIELD(File, Field::kFile)
  KEST_MENU_FIELD(Expression, Field::kExpression)
  [[nodiscard]] bool IsVisible() const { return m_flag; }
  void SetVisible(bool visible) { m_flag = visible; }
  void BuildXml(int level, CString& text) const override;
};

/// The object as a node, or null. Most are items, which costs less to see than a cast does.
[[nodiscard]] inline MenusNode* AsNode(CKestXmlObject* object) {
  return &typeid(*object) == &typeid(CKestExtensionMenuItem) ? static_cast<MenusNode*>(object)
                                                             : dynamic_cast<MenusNode*>(object);
}
[[nodiscard]] inline const MenusNode* AsNode(const CKestXmlObject* object) {
  return AsNode(const_cast<CKestXmlObject*>(object));
}

} // namespace kest
