#include "config/toolbar_changes.h"

#include "config/generic_xml_file.h"
#include "config/ids.h"
#include "config/text_level.h"
#include "journal/install_steps.h"
#include "journal/journal.h"
#include "platform/text/path.h"
#include "products/product.h"

#include <type_traits>

namespace kest {
namespace {

CString Value(CString text) {
  DecodeReferences(text);
  return text;
}

/// The groups of one loaded file. Everything is safe to ask when the file has no container.
class Groups {
public:
  struct Item {
    CKestXmlObject* item = nullptr;
    CKestXmlObject* group = nullptr;
  };

  Groups(const GroupFamily& family, CKestXmlFile* file) : m_family(family) {
    if (const auto* generic = dynamic_cast<CKestGenericXmlFile*>(file)) {
      m_container = generic->FindTag(family.container);
      m_singleByte = generic->IsSingleByte();
    }
  }
  [[nodiscard]] bool IsSingleByte() const { return m_singleByte; } ///< of the file
  [[nodiscard]] bool IsThere() const { return m_container != nullptr; }
  [[nodiscard]] CKestXmlObject* Container() const { return m_container; }
  [[nodiscard]] bool IsGroup(const CKestXmlObject& object) const { return object.HasTag(m_family.group); }

  [[nodiscard]] CKestXmlObject* FindGroupById(std::string_view id) const {
    if (!m_container || id.empty()) {
      return nullptr;
    }
    for (const auto& child : m_container->GetChildren()) {
      if (IsGroup(*child) && HasId(*child, id)) {
        return child.get();
      }
    }
    return nullptr;
  }

  [[nodiscard]] static CKestXmlObject* FindItemById(const CKestXmlObject& group, std::string_view id) {
    if (id.empty()) {
      return nullptr;
    }
    for (const auto& child : group.GetChildren()) {
      if (HasId(*child, id)) {
        return child.get();
      }
    }
    return nullptr;
  }

  /// The first item with the id in any group.
  [[nodiscard]] Item FindItemById(std::string_view id) const {
    if (!m_container || id.empty()) {
      return {};
    }
    for (const auto& group : m_container->GetChildren()) {
      if (!IsGroup(*group)) {
        continue;
      }
      if (CKestXmlObject* item = FindItemById(*group, id)) {
        return {item, group.get()};
      }
    }
    return {};
  }

  /// All items of all groups.
  [[nodiscard]] IdIndex IndexItems(std::size_t questions) const {
    IdIndex items(questions);
    for (const auto& group : m_container->GetChildren()) {
      if (IsGroup(*group)) {
        AddItems(*group, items);
      }
    }
    return items;
  }

  static void AddItems(const CKestXmlObject& group, IdIndex& items) {
    for (const auto& item : group.GetChildren()) {
      items.Add(item.get());
    }
  }

  bool RemoveGroupById(std::string_view id) {
    const CKestXmlObject* group = FindGroupById(id);
    return group && m_container->RemoveChild(group) != nullptr;
  }

  bool RemoveItemById(std::string_view id) {
    const Item found = FindItemById(id);
    return found.item && found.group->RemoveChild(found.item) != nullptr;
  }

  /// The group that takes what has no other place; made when it is missing.
  CKestXmlObject* DefaultGroup(bool toolbars) {
    if (CKestXmlObject* group = FindGroupById(m_family.defaultGroup)) {
      return group;
    }
    auto group = std::make_unique<CKestXmlObject>(m_family.group);
    group->SetAttribute("id", m_family.defaultGroup);
    if (toolbars) {
      group->SetAttribute("label", LoadMessage(Message::kMiscellaneous));
    } else {
      group->SetAttribute("folder", "Miscellaneous");
    }
    return m_container->AppendChild(std::move(group));
  }

private:
  const GroupFamily& m_family;
  CKestXmlObject* m_container = nullptr;
  bool m_singleByte = false;
};

/// Where an item insert puts its copies.
struct ItemTarget {
  CKestXmlObject* group = nullptr;
  CKestXmlObject* anchor = nullptr;
  int action = CKestConfigChange::kAppendTo;
};

ItemTarget FindTarget(const Groups& groups, int action, std::string_view location, std::string_view groupId) {
  if (action == CKestConfigChange::kPrependTo || action == CKestConfigChange::kAppendTo) {
    return {groups.FindGroupById(location), nullptr, action};
  }
  if (action != CKestConfigChange::kInsertBefore && action != CKestConfigChange::kInsertAfter) {
    return {};
  }
  const Groups::Item anchor = groups.FindItemById(location);
  if (anchor.item) {
    return {anchor.group, anchor.item, action};
  }
  return {groups.FindGroupById(groupId), nullptr, CKestConfigChange::kAppendTo};
}

CKestXmlObject* PlaceItem(const ItemTarget& target, std::unique_ptr<CKestXmlObject> copy) {
  switch (target.action) {
  case CKestConfigChange::kInsertBefore:
    return target.group->InsertBefore(target.anchor, std::move(copy));
  case CKestConfigChange::kInsertAfter:
    return target.group->InsertAfter(target.anchor, std::move(copy));
  case CKestConfigChange::kPrependTo:
    return target.group->InsertFirst(std::move(copy));
  default:
    return target.group->AppendChild(std::move(copy));
  }
}

/// Calls `visit` for each child, from the last to the first when `backwards`.
template <class Visit> void Walk(const CKestXmlObject& parent, bool backwards, Visit visit) {
  const auto& children = parent.GetChildren();
  for (std::size_t i = 0; i < children.size(); ++i) {
    visit(*children[backwards ? children.size() - 1 - i : i]);
  }
}

void MergeGroup(CKestXmlObject& existing, const CKestXmlObject& payload, bool singleByte) {
  IdIndex items(payload.GetChildren().size());
  Groups::AddItems(existing, items);
  for (const auto& item : payload.GetChildren()) {
    const CString id = PayloadId(*item);
    if (id.empty()) {
      continue;
    }
    if (CKestXmlObject* old = items.Find(id)) {
      AssignPayload(*old, *item, singleByte);
    } else {
      items.Add(existing.AppendChild(CopyPayload(*item, singleByte)));
    }
  }
}

void OpenTag(int level, std::string_view tag, CString& text) {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(tag);
}

void CloseTag(int level, std::string_view tag, CString& text) {
  text.append(static_cast<std::size_t>(level), '\t').append("</").append(tag).append(">\r\n");
}

void Attribute(std::string_view name, std::string_view value, CString& text) {
  text.append(" ").append(name).append("=\"").append(value).append("\"");
}

/// The check of a call's object would want the product's class information, which stands in a layer above this one.
__attribute__((no_sanitize("vptr"))) CString InstallFolderOf(const CKestProduct& product) {
  CString folder;
  product.GetInstallFolder(folder);
  return folder;
}

/// What a user reads for a payload object.
CString ItemWords(const CKestXmlObject& item) {
  const CString id = PayloadId(item);
  return id.empty() ? item.GetTag() : item.GetTag() + " \"" + id + "\"";
}

CString PlaceWords(int action, std::string_view location) {
  if (location.empty()) {
    return {};
  }
  static constexpr std::string_view kWords[] = {" in ", " before ", " after ", " at the start of ", " at the end of "};
  const std::size_t at = action >= 0 && action <= CKestConfigChange::kAppendTo ? static_cast<std::size_t>(action) : 0;
  return CString(kWords[at]).append("\"").append(location).append("\"");
}

} // namespace

// ---- whole groups

template <class Base> void GroupInsert<Base>::BuildXml(int level, CString& text) const {
  OpenTag(level, kTag, text);
  const bool placed = GetAction() == Base::kInsertBefore || GetAction() == Base::kInsertAfter;
  if (std::is_same_v<Base, CKestInsertbarChange> && placed) {
    Attribute(Base::ActionName(GetAction()), GetLocationID(), text);
  }
  text += ">\r\n";
  this->BuildInnerXml(level + 1, text);
  CloseTag(level, kTag, text);
}

template <class Base>
auto GroupInsert<Base>::MakeChange(const CKestConfigChanges* /*changes*/, CKestXmlFile* file,
                                   const CKestXmlFile* /*referenceFile*/) -> ErrorCode {
  Groups groups(Base::kFamily, file);
  if (!groups.IsThere()) {
    return Base::kFamily.failure;
  }
  const int action = std::is_same_v<Base, CKestInsertbarChange> ? GetAction() : Base::kNoAction;
  const bool placed = action == Base::kInsertBefore || action == Base::kInsertAfter;
  const CKestXmlObject* anchor = placed ? groups.FindGroupById(Value(GetLocationID())) : nullptr;
  ErrorCode result = Base::kFamily.failure;
  Walk(*this, anchor && action == Base::kInsertAfter, [&](const CKestXmlObject& child) {
    if (!groups.IsGroup(child)) {
      return;
    }
    result = Base::kSuccess;
    if (CKestXmlObject* existing = groups.FindGroupById(PayloadId(child))) {
      MergeGroup(*existing, child, groups.IsSingleByte());
    } else if (!anchor) {
      groups.Container()->AppendChild(CopyPayload(child, groups.IsSingleByte()));
    } else if (action == Base::kInsertBefore) {
      groups.Container()->InsertBefore(anchor, CopyPayload(child, groups.IsSingleByte()));
    } else {
      groups.Container()->InsertAfter(anchor, CopyPayload(child, groups.IsSingleByte()));
    }
  });
  return result;
}

template <class Base>
auto GroupInsert<Base>::UndoChange(const CKestConfigChanges* /*changes*/, CKestXmlFile* file,
                                   const CKestXmlFile* /*referenceFile*/) -> ErrorCode {
  Groups groups(Base::kFamily, file);
  for (const auto& child : this->GetChildren()) {
    const CString id = PayloadId(*child);
    if (!groups.IsGroup(*child) || id.empty()) {
      continue;
    }
    for (const auto& item : child->GetChildren()) {
      groups.RemoveItemById(PayloadId(*item));
    }
    const CKestXmlObject* group = groups.FindGroupById(id);
    if (group && !group->HasChildren()) {
      groups.RemoveGroupById(id);
    }
  }
  return Base::kSuccess;
}

template <class Base> CString GroupInsert<Base>::DescribeInWords() const {
  CString words;
  for (const auto& child : this->GetChildren()) {
    if (!child->HasTag(Base::kFamily.group)) {
      continue;
    }
    words.append(words.empty() ? "" : "\n").append(Base::kFamily.groupWords);
    words.append(" \"").append(PayloadId(*child)).append("\"").append(PlaceWords(GetAction(), GetLocationID()));
  }
  return words;
}

// ---- items

template <class Base> void GroupItemInsert<Base>::BuildXml(int level, CString& text) const {
  OpenTag(level, kTag, text);
  Attribute(Base::ActionName(GetAction()), GetLocationID(), text);
  if (!m_groupId.empty()) {
    Attribute(Base::kFamily.groupAttribute, m_groupId, text);
  }
  text += ">\r\n";
  this->BuildInnerXml(level + 1, text);
  CloseTag(level, kTag, text);
}

template <class Base>
auto GroupItemInsert<Base>::MakeChange(const CKestConfigChanges* /*changes*/, CKestXmlFile* file,
                                       const CKestXmlFile* /*referenceFile*/) -> ErrorCode {
  Groups groups(Base::kFamily, file);
  if (!groups.IsThere()) {
    return Base::kFamily.failure;
  }
  ErrorCode result = Base::kSuccess;
  ItemTarget target = FindTarget(groups, GetAction(), Value(GetLocationID()), Value(m_groupId));
  if (!target.group) {
    target = {groups.DefaultGroup(std::is_same_v<Base, CKestToolbarChange>), nullptr, Base::kAppendTo};
    result = Base::kFamily.placedInDefault;
  }
  const bool backwards = target.action == Base::kInsertAfter || target.action == Base::kPrependTo;
  IdIndex items = groups.IndexItems(this->GetChildren().size());
  Walk(*this, backwards, [&](const CKestXmlObject& child) {
    if (CKestXmlObject* existing = items.Find(PayloadId(child))) {
      AssignPayload(*existing, child, groups.IsSingleByte());
    } else {
      items.Add(PlaceItem(target, CopyPayload(child, groups.IsSingleByte())));
    }
  });
  return result;
}

template <class Base>
auto GroupItemInsert<Base>::UndoChange(const CKestConfigChanges* /*changes*/, CKestXmlFile* file,
                                       const CKestXmlFile* /*referenceFile*/) -> ErrorCode {
  Groups groups(Base::kFamily, file);
  for (const auto& child : this->GetChildren()) {
    groups.RemoveItemById(PayloadId(*child));
  }
  return Base::kSuccess;
}

template <class Base>
auto GroupItemInsert<Base>::PostMakeChange(ErrorCode result, const CKestProduct* product,
                                           CKestTypedVector<CKestExtensionInstallStep*>* steps) -> ErrorCode {
  if (!std::is_same_v<Base, CKestInsertbarChange> || result != Base::kPlacedInDefaultCategory || !product || !steps) {
    return result;
  }
  auto step = std::make_unique<CInstallCreateFolder>(
      JoinPath({InstallFolderOf(*product), "Configuration", "Objects", "Miscellaneous"}));
  return AppendAndDo(steps, std::move(step)) == 0 ? result : Base::kInsertBarFailed;
}

template <class Base> CString GroupItemInsert<Base>::DescribeInWords() const {
  CString place = PlaceWords(GetAction(), GetLocationID());
  if (!m_groupId.empty()) {
    place.append(" in ").append(Base::kFamily.groupWords).append(" \"").append(m_groupId).append("\"");
  }
  if (place.empty()) {
    place = CString(" in the default ").append(Base::kFamily.groupWords);
  }
  CString words;
  for (const auto& child : this->GetChildren()) {
    words.append(words.empty() ? "" : "\n").append(ItemWords(*child)).append(place);
  }
  return words;
}

// ---- removals

template <class Base, bool Item> void GroupRemove<Base, Item>::BuildXml(int level, CString& text) const {
  OpenTag(level, kTag, text);
  Attribute("id", m_id, text);
  text += " />\r\n";
}

template <class Base, bool Item>
auto GroupRemove<Base, Item>::MakeChange(const CKestConfigChanges* /*changes*/, CKestXmlFile* file,
                                         const CKestXmlFile* /*referenceFile*/) -> ErrorCode {
  Groups groups(Base::kFamily, file);
  const CString id = Value(m_id);
  const bool removed = Item ? groups.RemoveItemById(id) : groups.RemoveGroupById(id);
  return removed ? Base::kSuccess : Base::kFamily.failure;
}

template <class Base, bool Item>
auto GroupRemove<Base, Item>::UndoChange(const CKestConfigChanges* /*changes*/, CKestXmlFile* /*file*/,
                                         const CKestXmlFile* /*referenceFile*/) -> ErrorCode {
  return Base::kSuccess;
}

template <class Base, bool Item> CString GroupRemove<Base, Item>::DescribeInWords() const {
  CString words = "remove ";
  words.append(Base::kFamily.groupWords).append(Item ? " item \"" : " \"");
  return words.append(m_id).append("\"");
}

template class GroupInsert<CKestToolbarChange>;
template class GroupItemInsert<CKestToolbarChange>;
template class GroupRemove<CKestToolbarChange, false>;
template class GroupRemove<CKestToolbarChange, true>;
template class GroupInsert<CKestInsertbarChange>;
template class GroupItemInsert<CKestInsertbarChange>;
template class GroupRemove<CKestInsertbarChange, false>;
template class GroupRemove<CKestInsertbarChange, true>;

} // namespace kest
