#include "menus/menus_index.h"

#include <algorithm>
#include <unordered_set>

namespace kest {
namespace {

/// More objects with one key than this are not compared pair by pair.
constexpr std::size_t kMostCompared = 16;

std::vector<const CKestXmlObject*> PathTo(const MenusIndex::Place& place) {
  std::vector<const CKestXmlObject*> path{place.object};
  for (const MenusNode* holder = place.holder; holder; holder = holder->GetHolder()) {
    path.push_back(holder);
  }
  std::reverse(path.begin(), path.end());
  return path;
}

const CKestXmlObject* FirstOf(const CKestXmlObject& parent, const std::unordered_set<const CKestXmlObject*>& objects,
                              std::size_t& steps) {
  for (const auto& child : parent.GetChildren()) {
    ++steps;
    if (objects.contains(child.get())) {
      return child.get();
    }
    if (const CKestXmlObject* found = FirstOf(*child, objects, steps)) {
      return found;
    }
  }
  return nullptr;
}

} // namespace

MenusIndex::MenusIndex(CKestMenusXmlFile& file) : m_file(file) {
  m_buckets.resize(1024);
  m_mask = static_cast<std::uint32_t>(m_buckets.size() - 1);
  for (const auto& child : file.GetChildren()) {
    Add(child.get(), nullptr);
  }
}

std::uint32_t MenusIndex::Hash(MenusNode::Kind kind, std::string_view id) {
  std::uint64_t hash = 0xcbf29ce484222325ull + static_cast<std::uint64_t>(kind);
  for (const char c : id) {
    hash = (hash ^ static_cast<unsigned char>(text::ToLower(c))) * 0x100000001b3ull;
  }
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

void MenusIndex::Link(MenusNode* node) {
  const std::string_view id = node->GetField(MenusNode::Field::kId);
  if (id.empty()) {
    return;
  }
  if (++m_count > m_buckets.size()) {
    Grow();
  }
  node->m_hash = Hash(node->m_kind, id);
  MenusNode*& first = m_buckets[node->m_hash & m_mask];
  node->m_next = first;
  first = node;
}

void MenusIndex::Unlink(MenusNode* node) {
  if (node->GetField(MenusNode::Field::kId).empty()) {
    return;
  }
  MenusNode** link = &m_buckets[node->m_hash & m_mask];
  while (*link && *link != node) {
    ++m_steps;
    link = &(*link)->m_next;
  }
  if (*link) {
    *link = node->m_next;
    node->m_next = nullptr;
    --m_count;
  }
}

void MenusIndex::Grow() {
  std::vector<MenusNode*> old(m_buckets.size() * 4);
  old.swap(m_buckets);
  m_mask = static_cast<std::uint32_t>(m_buckets.size() - 1);
  for (MenusNode* node : old) {
    while (node) {
      MenusNode* next = node->m_next;
      MenusNode*& first = m_buckets[node->m_hash & m_mask];
      node->m_next = first;
      first = node;
      node = next;
    }
  }
}

void MenusIndex::Add(CKestXmlObject* object, MenusNode* holder) {
  if (m_hasTexts) {
    AddTexts(object, holder);
  }
  auto* node = AsNode(object);
  if (!node) {
    return;
  }
  node->m_indexed = true;
  Link(node);
  for (const auto& child : node->GetChildren()) {
    Add(child.get(), node);
  }
}

void MenusIndex::Remove(CKestXmlObject* object) {
  if (m_hasTexts) {
    if (const auto* comment = dynamic_cast<const CKestXmlComment*>(object)) {
      RemoveText(m_comments, comment->GetText(), comment);
    }
    if (const auto* separator = dynamic_cast<const CKestExtensionMenuSeparator*>(object)) {
      for (const CString& reference : separator->GetReferences()) {
        RemoveText(m_separators, reference, separator);
      }
    }
  }
  auto* node = AsNode(object);
  if (!node) {
    return;
  }
  Unlink(node);
  node->m_indexed = false;
  for (const auto& child : node->GetChildren()) {
    Remove(child.get());
  }
}

void MenusIndex::AddTexts(CKestXmlObject* object, MenusNode* holder) {
  if (const auto* comment = dynamic_cast<const CKestXmlComment*>(object)) {
    m_comments[comment->GetText()].push_back({object, holder});
  }
  if (const auto* separator = dynamic_cast<const CKestExtensionMenuSeparator*>(object)) {
    for (const CString& reference : separator->GetReferences()) {
      m_separators[reference].push_back({object, holder});
    }
  }
}

void MenusIndex::BuildTexts() {
  if (m_hasTexts) {
    return;
  }
  m_hasTexts = true;
  const auto addBelow = [this](const auto& self, const CKestXmlObject& parent, MenusNode* holder) -> void {
    for (const auto& child : parent.GetChildren()) {
      ++m_steps;
      AddTexts(child.get(), holder);
      if (auto* node = AsNode(child.get())) {
        self(self, *node, node);
      }
    }
  };
  addBelow(addBelow, m_file, nullptr);
}

void MenusIndex::RemoveText(Texts& texts, std::string_view text, const CKestXmlObject* object) {
  const auto entry = texts.find(CString(text));
  if (entry == texts.end()) {
    return;
  }
  m_steps += entry->second.size();
  std::erase_if(entry->second, [object](const Place& place) { return place.object == object; });
  if (entry->second.empty()) {
    texts.erase(entry);
  }
}

void MenusIndex::LinkReference(CKestExtensionMenuSeparator* separator, std::string_view reference) {
  if (m_hasTexts) {
    m_separators[CString(reference)].push_back({separator, separator->GetHolder()});
  }
}

void MenusIndex::UnlinkReference(CKestExtensionMenuSeparator* separator, std::string_view reference) {
  if (m_hasTexts) {
    RemoveText(m_separators, reference, separator);
  }
}

MenusIndex::Place MenusIndex::First(const std::vector<Place>& places) {
  if (places.empty()) {
    return {};
  }
  if (places.size() > kMostCompared) {
    std::unordered_set<const CKestXmlObject*> objects;
    for (const Place& place : places) {
      objects.insert(place.object);
    }
    const CKestXmlObject* first = FirstOf(m_file, objects, m_steps);
    return *std::find_if(places.begin(), places.end(), [first](const Place& place) { return place.object == first; });
  }
  Place first = places.front();
  for (const Place& place : places) {
    if (place.object != first.object && Precedes(place, first)) {
      first = place;
    }
  }
  return first;
}

bool MenusIndex::Precedes(const Place& a, const Place& b) {
  const auto pathA = PathTo(a);
  const auto pathB = PathTo(b);
  const auto [inA, inB] = std::mismatch(pathA.begin(), pathA.end(), pathB.begin(), pathB.end());
  if (inA == pathA.end() || inB == pathB.end()) {
    return inA == pathA.end(); // one holds the other
  }
  const CKestXmlObject& holder = inA == pathA.begin() ? static_cast<const CKestXmlObject&>(m_file) : **std::prev(inA);
  return holder.IndexOf(*inA) < holder.IndexOf(*inB);
}

} // namespace kest
