#pragma once

#include "menus/shortcut_model.h"

namespace kest {

/// A menu-format file: menu bars, menus outside any bar, shortcut lists, comments and markup, in file order.
///
/// The searches return the first match in file order; what they find, and what they put into their outputs, is
/// borrowed. Each output may be null; otherwise it is null unless the search filled it. An empty id matches nothing.
/// Ids compare without regard to case, comment texts and references exactly. Bars are the top-level children whose tag
/// is "menubar" or "formats" in exactly this case.
class KEST_API CKestMenusXmlFile : public CKestXmlFile {
public:
  CKestMenusXmlFile();
  ~CKestMenusXmlFile() override;
  CKestMenusXmlFile(const CKestMenusXmlFile&) = delete;
  CKestMenusXmlFile& operator=(const CKestMenusXmlFile&) = delete;

  /// The parser's result; the path is kept in either case.
  int Load(const char* path, CKestTypedList<CKestString>* errors) override;
  /// The same from bytes in memory.
  [[nodiscard]] int LoadContent(std::string_view content);
  /// 0, or -1 with the old file as it was: it could not be written, or what would be written cannot be read.
  int Save(const char* path) override;
  /// The text that Save writes. False when only a parse can tell whether it can be read again.
  bool BuildContent(CString& content) const;
  [[nodiscard]] const CString& GetPath() const { return m_path; }
  void GetPath(CString& path) const { path = m_path; }

  [[nodiscard]] CKestExtensionMenuBar* FindMenuBar(std::string_view id) const;
  /// In bars and in top-level menus, which match themselves first. `bar` is set for a match inside a bar; `parent` is
  /// null for a direct child of a bar and for a top-level menu.
  CKestExtensionMenu* FindMenu(std::string_view id, CKestExtensionMenuBar** bar, CKestExtensionMenu** parent) const;
  /// Where the next four look: in bars; or there first, then in menus outside of any bar, in file order.
  enum class Scope { kBars, kEverywhere };
  /// `menu` is the menu or bar that directly holds the match, `bar` null for a match outside of any. So the next three.
  CKestExtensionMenuItem* FindMenuItem(std::string_view id, CKestExtensionMenuBar** bar, CKestExtensionMenu** menu,
                                       Scope scope = Scope::kBars) const;
  CKestExtensionServerFormat* FindFormat(std::string_view id, CKestExtensionMenuBar** bar, CKestExtensionMenu** menu,
                                         Scope scope = Scope::kBars) const;
  CKestExtensionMenuSeparator* FindSeparator(std::string_view reference, CKestExtensionMenuBar** bar,
                                             CKestExtensionMenu** menu, Scope scope = Scope::kBars) const;
  /// Top-level comments match too, without bar or menu.
  using CKestXmlObject::FindComment;
  CKestXmlComment* FindComment(std::string_view text, CKestExtensionMenuBar** bar, CKestExtensionMenu** menu,
                               Scope scope = Scope::kBars) const;
  /// Top-level comments, then those in shortcut lists.
  CKestXmlComment* FindComment(std::string_view text, CKestExtensionShortcutList** list) const;
  [[nodiscard]] CKestExtensionShortcutList* FindShortcutList(std::string_view id) const;
  CKestExtensionShortcut* FindShortcut(std::string_view id, CKestExtensionShortcutList** list) const;

  /// The first object of the kind with the id among the direct children of `holder`, or null.
  [[nodiscard]] MenusNode* FindDirectChild(const MenusNode* holder, MenusNode::Kind kind, std::string_view id) const;
  /// The same at any depth below a bar.
  [[nodiscard]] MenusNode* FindBelow(const MenusNode* bar, MenusNode::Kind kind, std::string_view id) const;

  // ---- top-level children, as CKestXmlObject has them
  CKestXmlObject* AppendChild(std::unique_ptr<CKestXmlObject> child);
  CKestXmlObject* InsertFirst(std::unique_ptr<CKestXmlObject> child);
  CKestXmlObject* InsertBefore(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child);
  CKestXmlObject* InsertAfter(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child);
  [[nodiscard]] std::unique_ptr<CKestXmlObject> RemoveChild(const CKestXmlObject* child);
  void RemoveAllChildren();
  /// Removes the object from whatever holds it in this file; null when it is not part of it.
  [[nodiscard]] std::unique_ptr<CKestXmlObject> Remove(MenusNode* node);

  /// Objects that searches have looked at since the file was made; tests watch how it grows.
  [[nodiscard]] std::size_t GetSearchSteps() const;

private:
  friend class MenusNode;
  friend class MenusIndex;
  CKestXmlObject* Insert(std::size_t at, std::unique_ptr<CKestXmlObject> child);
  MenusIndex& Index() const;

  CString m_path;
  bool m_byteOrderMark = false;                ///< written again in front
  std::size_t m_loadedSize = 0;                ///< tells how much room the text needs
  mutable std::unique_ptr<MenusIndex> m_index; ///< made by the first search
};

} // namespace kest
