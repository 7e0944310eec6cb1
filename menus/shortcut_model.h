#pragma once

#include "menus/menu_model.h"

namespace kest {

class KEST_API CKestExtensionShortcut : public Named<CKestExtensionShortcut, MenusNode> {
public:
  static constexpr std::string_view kTag = "shortcut";
  CKestExtensionShortcut() : Named(Kind::kShortcut) {}
  /// Copies attributes. Null: an empty object.
  explicit CKestExtensionShortcut(const CKestExtensionShortcut* other);
  void Merge(const CKestExtensionShortcut* other);

  KEST_MENU_FIELD(Key, Field::kKey)
  KEST_MENU_FIELD(File, Field::kFile)
  KEST_MENU_FIELD(Arguments, Field::kArguments)
  KEST_MENU_FIELD(ID, Field::kId)
  KEST_MENU_FIELD(Platform, Field::kPlatform)
  KEST_MENU_FIELD(Command, Field::kCommand)
  KEST_MENU_FIELD(Application, Field::kApp)
  KEST_MENU_FIELD(Name, Field::kName)
  KEST_MENU_FIELD(Enabled, Field::kEnabled)
  KEST_MENU_FIELD(Checked, Field::kChecked)
  [[nodiscard]] bool IsDOMRequired() const { return m_flag; }
  void SetDOMRequired(bool required) { m_flag = required; }
  [[nodiscard]] bool IsDynamic() const { return m_dynamic; }
  void SetDynamic(bool dynamic) { m_dynamic = dynamic; }
  void BuildXml(int level, CString& text) const override;
};

/// A list of shortcuts and comments.
class KEST_API CKestExtensionShortcutList : public Named<CKestExtensionShortcutList, MenusNode> {
public:
  static constexpr std::string_view kTag = "shortcutlist";
  CKestExtensionShortcutList() : Named(Kind::kShortcutList) {}
  /// Copies attributes, never the shortcuts. Null: an empty object.
  explicit CKestExtensionShortcutList(const CKestExtensionShortcutList* other);
  void Merge(const CKestExtensionShortcutList* other);

  KEST_MENU_FIELD(ID, Field::kId)
  KEST_MENU_FIELD(Platform, Field::kPlatform)
  KEST_MENU_FIELD(Application, Field::kApp)
  /// First direct child with the id, in any case; null for an empty id. Borrowed.
  [[nodiscard]] CKestExtensionShortcut* FindShortcut(std::string_view id) const;
  void BuildXml(int level, CString& text) const override;
};

} // namespace kest
