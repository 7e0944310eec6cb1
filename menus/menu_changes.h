#pragma once

#include "config/config_change.h"
#include "menus/menus_file.h"

namespace kest {

class KEST_API CKestMenuChange : public CKestConfigChange {};

/// Inserts bars, menus, items, formats, separators and comments (its children, flat: only their attributes count) at a
/// location. An object that the target has already takes the attributes instead. The undo takes them out again, with
/// what that leaves empty.
class KEST_API CKestMenuChangeInsert : public Named<CKestMenuChangeInsert, CKestMenuChange> {
public:
  static constexpr std::string_view kTag = "menu-insert";

  void GetID(CString& id) const { id = m_locationId; }
  [[nodiscard]] const CString& GetID() const { return m_locationId; }
  [[nodiscard]] int GetAction() const { return m_action; }
  [[nodiscard]] bool SkipSeparator() const { return m_skipSeparator; }
  void SetSkipSeparator(bool skip) { m_skipSeparator = skip; }
  void SetInsertBefore(std::string_view id) { SetLocation(kInsertBefore, id); }
  void SetInsertAfter(std::string_view id) { SetLocation(kInsertAfter, id); }
  void SetPrependTo(std::string_view id) { SetLocation(kPrependTo, id); }
  void SetAppendTo(std::string_view id) { SetLocation(kAppendTo, id); }
  /// What stands in for a location that some releases of the products lack; empty when nothing does.
  [[nodiscard]] static std::string_view SubstituteOf(std::string_view id);

  void BuildXml(int level, CString& text) const override;
  /// kMenuNotChanged when it is no menus file or the location is missing and nothing else takes the content;
  /// kPlacedInLastResortMenu when the last-resort menu took it.
  ErrorCode MakeChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  /// Always success.
  ErrorCode UndoChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  [[nodiscard]] CString DescribeInWords() const override;

private:
  /// What takes the copies. As a bar it looks for existing items and formats at any depth, as a menu among its own
  /// children.
  struct Target {
    CKestExtensionMenu* holder;
    bool asBar;
  };
  using Copy = std::unique_ptr<CKestXmlObject>;
  void SetLocation(int action, std::string_view id);
  ErrorCode MakeChange(const CKestConfigChanges* changes, CKestMenusXmlFile* file, CString id, int action) const;
  /// True when the id names something in the file; `result` then says what came of the placement.
  bool PlaceAt(CKestMenusXmlFile* file, std::string_view id, int action, ErrorCode& result) const;
  ErrorCode PlaceBeside(CKestMenusXmlFile* file, CKestExtensionMenuBar* bar, CKestExtensionMenu* menu,
                        CKestXmlObject* object, int action) const;
  ErrorCode PlaceInLastResort(const CKestConfigChanges* changes, CKestMenusXmlFile* file) const;

  ErrorCode PrependToMenuBar(CKestMenusXmlFile* file, CKestExtensionMenuBar* bar) const;
  ErrorCode AppendToMenuBar(CKestMenusXmlFile* file, CKestExtensionMenuBar* bar) const;
  ErrorCode InsertMenuBarBefore(CKestMenusXmlFile* file, CKestExtensionMenuBar* bar) const;
  /// Null bar: each copy is appended to the file.
  ErrorCode InsertMenuBarAfter(CKestMenusXmlFile* file, CKestExtensionMenuBar* bar) const;
  ErrorCode PrependToMenu(CKestMenusXmlFile* file, CKestExtensionMenu* menu) const;
  ErrorCode AppendToMenu(CKestMenusXmlFile* file, CKestExtensionMenu* menu) const;
  ErrorCode InsertBeforeObject(CKestMenusXmlFile* file, CKestExtensionMenuBar* bar, CKestExtensionMenu* menu,
                               CKestXmlObject* object) const;
  ErrorCode InsertAfterObject(CKestMenusXmlFile* file, CKestExtensionMenuBar* bar, CKestExtensionMenu* menu,
                              CKestXmlObject* object) const;

  static bool HandleExistingMenuBarCase(CKestMenusXmlFile* file, const CKestExtensionMenuBar& payload);
  static bool HandleExistingMenuCase(CKestMenusXmlFile* file, const Target& target, const CKestExtensionMenu& payload);
  static bool HandleExistingMenuItemCase(CKestMenusXmlFile* file, const Target& target,
                                         const CKestExtensionMenuItem& payload);
  static bool HandleExistingFormatCase(CKestMenusXmlFile* file, const Target& target,
                                       const CKestExtensionServerFormat& payload);
  /// What is to be inserted into the target for a payload object; null when the target had it, or does not take it.
  /// `menusOnly`: menus and comments alone.
  static Copy CopyFor(CKestMenusXmlFile* file, const Target& target, const CKestXmlObject& payload, bool menusOnly);
  /// The same for the top level, which takes bars and comments.
  static Copy CopyForTop(CKestMenusXmlFile* file, const CKestXmlObject& payload);

  CString m_locationId;
  int m_action = kAppendTo;
  bool m_skipSeparator = false;
};

/// Removes a bar, menu, item or format with everything it holds. Nothing found is no error. No undo.
class KEST_API CKestMenuChangeRemove : public Named<CKestMenuChangeRemove, CKestMenuChange> {
public:
  static constexpr std::string_view kTag = "menu-remove";
  void SetMenuID(std::string_view id) { m_menuId = id; }
  void GetMenuID(CString& id) const { id = m_menuId; }
  [[nodiscard]] const CString& GetMenuID() const { return m_menuId; }
  void BuildXml(int level, CString& text) const override;
  ErrorCode MakeChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  ErrorCode UndoChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                       const CKestXmlFile* referenceFile) override;
  [[nodiscard]] CString DescribeInWords() const override;

private:
  CString m_menuId;
};

/// Takes the menu out of the file when it holds nothing but comments, and then what that leaves empty, upwards.
void CheckForEmpty(CKestMenusXmlFile* file, CKestExtensionMenu* menu);

} // namespace kest
