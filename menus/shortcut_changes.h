#pragma once

#include "config/config_change.h"
#include "menus/menus_file.h"

namespace kest {

class KEST_API CKestShortcutChange : public CKestConfigChange {};

/// Inserts shortcut lists (no list id) or shortcuts into a list; the payload is flat. What the file has already takes
/// the attributes instead. The undo removes what the payload names.
class KEST_API CKestShortcutChangeInsert : public Named<CKestShortcutChangeInsert, CKestShortcutChange> {
public:
  static constexpr std::string_view kTag = "shortcut-insert";
  void SetListID(std::string_view id) { m_listId = id; }
  void GetListID(CString& id) const { id = m_listId; }
  [[nodiscard]] const CString& GetListID() const { return m_listId; }
  void BuildXml(int level, CString& text) const override;
  /// kMenuNotChanged: no menus file. kShortcutListMissing: nothing was inserted.
  ErrorCode MakeChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  /// Always success.
  ErrorCode UndoChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  [[nodiscard]] CString DescribeInWords() const override;

private:
  ErrorCode AppendShortcutList(CKestMenusXmlFile* file) const;
  ErrorCode AppendToShortcutList(CKestMenusXmlFile* file, CKestExtensionShortcutList* list) const;
  static bool HandleExistingShortcutList(CKestMenusXmlFile* file, const CKestExtensionShortcutList* payload);
  static bool HandleExistingShortcut(CKestMenusXmlFile* file, CKestExtensionShortcutList* list,
                                     const CKestExtensionShortcut* payload);

  CString m_listId;
};

/// Removes a shortcut list with its shortcuts, or one shortcut. Nothing found is no error. No undo.
class KEST_API CKestShortcutChangeRemove : public Named<CKestShortcutChangeRemove, CKestShortcutChange> {
public:
  static constexpr std::string_view kTag = "shortcut-remove";
  void SetID(std::string_view id) { m_id = id; }
  void GetID(CString& id) const { id = m_id; }
  [[nodiscard]] const CString& GetID() const { return m_id; }
  void BuildXml(int level, CString& text) const override;
  ErrorCode MakeChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  ErrorCode UndoChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  [[nodiscard]] CString DescribeInWords() const override;

private:
  CString m_id;
};

} // namespace kest
