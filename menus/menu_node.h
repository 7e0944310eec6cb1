#pragma once

#include "config/named.h"
#include "menus/field_pack.h"

namespace kest {

class CKestMenusXmlFile;
class MenusIndex;

/// What the objects of a menu-format file have in common: their text fields, and the way up to what holds them. Values
/// are the file's own text, entities still written.
///
/// The file's searches use an index that the edits below keep up; an object that is part of a file must be edited
/// through them, never through a pointer to CKestXmlObject.
class KEST_API MenusNode : public CKestXmlObject {
public:
  enum class Kind : std::uint8_t { kBar, kMenu, kItem, kFormat, kSeparator, kShortcutList, kShortcut };
  enum class Field : std::uint8_t {
    kName,
    kId,
    kKey,
    kPlatform,
    kCommand,
    kEnabled,
    kChecked,
    kFile,
    kDynamic,
    kArguments,
    kApp,
    kTitle,
    kExpression,
    kTag
  };
  using Entry = FieldPack::Entry;

  [[nodiscard]] Kind GetKind() const { return m_kind; }
  /// What directly holds the object: a node, or null at a file's top level and for an object that nothing holds.
  [[nodiscard]] MenusNode* GetHolder() const { return m_topLevel ? nullptr : static_cast<MenusNode*>(m_holder); }
  /// The file that the object is part of, or null.
  [[nodiscard]] CKestMenusXmlFile* GetFile() const;
  [[nodiscard]] std::string_view GetField(Field field) const { return m_fields.Get(static_cast<std::uint8_t>(field)); }
  void SetField(Field field, std::string_view value);
  /// Every field at once.
  void SetFields(std::span<const Entry> entries);
  /// Whether it holds nothing but comments.
  [[nodiscard]] bool HoldsOnlyComments() const;

  // ---- children, as CKestXmlObject has them
  CKestXmlObject* AppendChild(std::unique_ptr<CKestXmlObject> child);
  CKestXmlObject* InsertFirst(std::unique_ptr<CKestXmlObject> child);
  CKestXmlObject* InsertBefore(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child);
  CKestXmlObject* InsertAfter(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child);
  [[nodiscard]] std::unique_ptr<CKestXmlObject> RemoveChild(const CKestXmlObject* child);

protected:
  explicit MenusNode(Kind kind) : m_kind(kind) {}
  /// Copies what the class's object is, never where it stands.
  MenusNode(const MenusNode& other);
  MenusNode& operator=(const MenusNode& other);
  /// Copies the named fields of `other`.
  void MergeFields(const MenusNode& other, std::span<const Field> fields);
  void CopyField(Field field, CString& out) const { out = GetField(field); }
  /// The index of the file that the object is part of, once a search has made it; else null.
  [[nodiscard]] MenusIndex* GetIndex() const;
  /// Whether no two neighbours among the children are separators.
  [[nodiscard]] bool IsPairFree() const { return m_pairFree; }
  /// Removes the child at a position from the children and from the index.
  std::unique_ptr<CKestXmlObject> Detach(std::size_t at);
  /// Makes one of each two neighbours that are separators.
  void JoinSeparators();

  bool m_flag = true;     ///< visible, or DOM required
  bool m_dynamic = false; ///< of a shortcut

private:
  friend class CKestMenusXmlFile;
  friend class CKestMenusXMLParser;
  friend class MenusIndex;
  CKestXmlObject* Insert(std::size_t at, std::unique_ptr<CKestXmlObject> child);
  void AdoptAll();
  void NotePair(std::size_t first);

  CKestXmlObject* m_holder = nullptr; ///< a node, or the file when m_topLevel
  MenusNode* m_next = nullptr;        ///< next object in its chain of the index
  FieldPack m_fields;
  std::uint32_t m_hash = 0;
  const Kind m_kind;
  bool m_topLevel = false;
  bool m_indexed = false;
  bool m_pairFree = true;
};

} // namespace kest
