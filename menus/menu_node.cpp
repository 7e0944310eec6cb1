#include "menus/menu_node.h"

#include "menus/menus_index.h"

namespace kest {
namespace {

CKestExtensionMenuSeparator* AsSeparator(CKestXmlObject* object) {
  // the tag tells most others apart at less cost
  return object->HasTag(CKestExtensionMenuSeparator::kTag, true) ? dynamic_cast<CKestExtensionMenuSeparator*>(object)
                                                                 : nullptr;
}

} // namespace

MenusNode::MenusNode(const MenusNode& other)
    : CKestXmlObject(other), m_flag(other.m_flag), m_dynamic(other.m_dynamic), m_fields(other.m_fields),
      m_kind(other.m_kind), m_pairFree(other.m_pairFree) {
  AdoptAll();
}

MenusNode& MenusNode::operator=(const MenusNode& other) {
  if (this == &other) {
    return *this;
  }
  MenusIndex* index = GetIndex();
  MenusNode* holder = GetHolder();
  if (index) {
    index->Remove(this);
  }
  CKestXmlObject::operator=(other);
  m_flag = other.m_flag;
  m_dynamic = other.m_dynamic;
  m_fields = other.m_fields;
  m_pairFree = other.m_pairFree;
  AdoptAll();
  if (index) {
    index->Add(this, holder);
  }
  return *this;
}

CKestMenusXmlFile* MenusNode::GetFile() const {
  const MenusNode* node = this;
  while (!node->m_topLevel) {
    if (!node->m_holder) {
      return nullptr;
    }
    node = static_cast<const MenusNode*>(node->m_holder);
  }
  return static_cast<CKestMenusXmlFile*>(node->m_holder);
}

MenusIndex* MenusNode::GetIndex() const { return m_indexed ? GetFile()->m_index.get() : nullptr; }

void MenusNode::SetField(Field field, std::string_view value) {
  MenusIndex* index = field == Field::kId ? GetIndex() : nullptr;
  if (index) {
    index->Unlink(this);
  }
  m_fields.Set(static_cast<std::uint8_t>(field), value);
  if (index) {
    index->Link(this);
  }
}

void MenusNode::SetFields(std::span<const Entry> entries) {
  MenusIndex* index = GetIndex();
  if (index) {
    index->Unlink(this);
  }
  m_fields.Assign(entries);
  if (index) {
    index->Link(this);
  }
}

void MenusNode::MergeFields(const MenusNode& other, std::span<const Field> fields) {
  std::vector<Entry> entries;
  for (const Field field : fields) {
    entries.push_back({static_cast<std::uint8_t>(field), other.GetField(field)});
  }
  SetFields(entries);
}

bool MenusNode::HoldsOnlyComments() const {
  for (const auto& child : GetChildren()) {
    if (!dynamic_cast<const CKestXmlComment*>(child.get())) {
      return false;
    }
  }
  return true;
}

CKestXmlObject* MenusNode::Insert(std::size_t at, std::unique_ptr<CKestXmlObject> child) {
  CKestXmlObject* object = child.get();
  Children& children = EditChildren();
  children.insert(children.begin() + static_cast<std::ptrdiff_t>(at), std::move(child));
  if (auto* node = AsNode(object)) {
    node->m_holder = this;
    node->m_topLevel = false;
    if (node->m_kind == Kind::kSeparator) {
      if (at > 0) {
        NotePair(at - 1);
      }
      NotePair(at);
    }
  }
  if (MenusIndex* index = GetIndex()) {
    index->Add(object, this);
  }
  return object;
}

void MenusNode::NotePair(std::size_t first) {
  const Children& children = GetChildren();
  if (first + 1 < children.size() && AsSeparator(children[first].get()) && AsSeparator(children[first + 1].get())) {
    m_pairFree = false;
  }
}

std::unique_ptr<CKestXmlObject> MenusNode::Detach(std::size_t at) {
  Children& children = EditChildren();
  std::unique_ptr<CKestXmlObject> child = std::move(children[at]);
  children.erase(children.begin() + static_cast<std::ptrdiff_t>(at));
  if (at > 0) {
    NotePair(at - 1);
  }
  if (MenusIndex* index = GetIndex()) {
    index->Remove(child.get());
  }
  if (auto* node = AsNode(child.get())) {
    node->m_holder = nullptr;
  }
  return child;
}

CKestXmlObject* MenusNode::AppendChild(std::unique_ptr<CKestXmlObject> child) {
  return Insert(GetChildren().size(), std::move(child));
}

CKestXmlObject* MenusNode::InsertFirst(std::unique_ptr<CKestXmlObject> child) { return Insert(0, std::move(child)); }

CKestXmlObject* MenusNode::InsertBefore(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child) {
  const int at = IndexOf(anchor);
  return Insert(at < 0 ? GetChildren().size() : static_cast<std::size_t>(at), std::move(child));
}

CKestXmlObject* MenusNode::InsertAfter(const CKestXmlObject* anchor, std::unique_ptr<CKestXmlObject> child) {
  const int at = IndexOf(anchor);
  return Insert(at < 0 ? GetChildren().size() : static_cast<std::size_t>(at) + 1, std::move(child));
}

std::unique_ptr<CKestXmlObject> MenusNode::RemoveChild(const CKestXmlObject* child) {
  const int at = IndexOf(child);
  return at < 0 ? nullptr : Detach(static_cast<std::size_t>(at));
}

void MenusNode::AdoptAll() {
  for (const auto& child : GetChildren()) {
    if (auto* node = AsNode(child.get())) {
      node->m_holder = this;
      node->m_topLevel = false;
    }
  }
}

void MenusNode::JoinSeparators() {
  if (m_pairFree) {
    return;
  }
  MenusIndex* index = GetIndex();
  Children kept;
  CKestExtensionMenuSeparator* last = nullptr; // the separator at the end of `kept`
  for (auto& child : EditChildren()) {
    CKestExtensionMenuSeparator* separator = AsSeparator(child.get());
    if (!separator || !last) {
      last = separator;
      kept.push_back(std::move(child));
      continue;
    }
    if (last->GetReferenceCount() == 0 || separator->GetReferenceCount() == 0) {
      last->AddReference(CKestExtensionMenuSeparator::kStandard);
    }
    for (const CString& reference : separator->GetReferences()) {
      last->AddReference(reference);
    }
    if (index) {
      index->Remove(separator);
    }
    child.reset();
  }
  EditChildren() = std::move(kept);
  m_pairFree = true;
}

} // namespace kest
