#pragma once

#include "menus/menus_file.h"

#include <unordered_map>

namespace kest {

/// Finds the objects of one file by id, separators by reference and comments by text, without a walk. Every edit of the
/// file keeps it up. Where several objects share a key the first in file order is told by their places.
class MenusIndex {
public:
  explicit MenusIndex(CKestMenusXmlFile& file);
  MenusIndex(const MenusIndex&) = delete;
  MenusIndex& operator=(const MenusIndex&) = delete;

  /// An object, and the node that directly holds it (null at the top level).
  struct Place {
    CKestXmlObject* object = nullptr;
    MenusNode* holder = nullptr;
    explicit operator bool() const { return object != nullptr; } ///< whether anything was found
  };

  /// Takes up, or forgets, an object with everything below it. `holder` directly holds it.
  void Add(CKestXmlObject* object, MenusNode* holder);
  void Remove(CKestXmlObject* object);
  /// A node's id is about to change, or has changed.
  void Unlink(MenusNode* node);
  void Link(MenusNode* node);
  void LinkReference(CKestExtensionMenuSeparator* separator, std::string_view reference);
  void UnlinkReference(CKestExtensionMenuSeparator* separator, std::string_view reference);

  /// The first node of the kind with the id for which `accepts` says true, or null.
  template <class Accepts> MenusNode* Find(MenusNode::Kind kind, std::string_view id, Accepts accepts) {
    if (id.empty()) {
      return nullptr;
    }
    std::vector<Place> found;
    const std::uint32_t hash = Hash(kind, id);
    for (MenusNode* node = m_buckets[hash & m_mask]; node; node = node->m_next) {
      ++m_steps;
      if (node->m_hash == hash && node->m_kind == kind &&
          text::EqualNoCase(node->GetField(MenusNode::Field::kId), id) && accepts(*node)) {
        found.push_back({node, node->GetHolder()});
      }
    }
    return static_cast<MenusNode*>(First(found).object);
  }
  /// The first separator with the reference, or comment with the text, for which `accepts` says true.
  template <class Accepts> Place FindSeparator(std::string_view reference, Accepts accepts) {
    return FindText(m_separators, reference, accepts);
  }
  template <class Accepts> Place FindComment(std::string_view text, Accepts accepts) {
    return FindText(m_comments, text, accepts);
  }
  [[nodiscard]] std::size_t GetSteps() const { return m_steps; }
  void AddSteps(std::size_t steps) { m_steps += steps; }

private:
  using Texts = std::unordered_map<CString, std::vector<Place>>;
  static std::uint32_t Hash(MenusNode::Kind kind, std::string_view id);
  void Grow();
  void BuildTexts();
  void AddTexts(CKestXmlObject* object, MenusNode* holder);
  void RemoveText(Texts& texts, std::string_view text, const CKestXmlObject* object);
  /// The first in file order; empty for none.
  Place First(const std::vector<Place>& places);
  [[nodiscard]] bool Precedes(const Place& a, const Place& b);

  template <class Accepts> Place FindText(Texts& texts, std::string_view text, Accepts accepts) {
    BuildTexts();
    std::vector<Place> found;
    if (const auto entry = texts.find(CString(text)); entry != texts.end()) {
      for (const Place& place : entry->second) {
        ++m_steps;
        if (accepts(place)) {
          found.push_back(place);
        }
      }
    }
    return First(found);
  }

  CKestMenusXmlFile& m_file;
  std::vector<MenusNode*> m_buckets; ///< chains through MenusNode::m_next
  std::uint32_t m_mask = 0;
  std::size_t m_count = 0;
  bool m_hasTexts = false; ///< made by the first search that needs them
  Texts m_separators;
  Texts m_comments;
  std::size_t m_steps = 0;
};

} // namespace kest
