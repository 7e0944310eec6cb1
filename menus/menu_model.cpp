#include "menus/menu_model.h"

#include "menus/menus_index.h"
#include "menus/menus_writer.h"

#include <algorithm>

namespace kest {
namespace {

using Field = MenusNode::Field;

constexpr Field kMenuFields[] = {Field::kName, Field::kId, Field::kPlatform, Field::kApp};
constexpr Field kBarFields[] = {Field::kTag, Field::kName, Field::kId, Field::kPlatform, Field::kApp};
constexpr Field kItemFields[] = {Field::kName,    Field::kId,        Field::kKey,     Field::kPlatform,
                                 Field::kCommand, Field::kEnabled,   Field::kChecked, Field::kFile,
                                 Field::kDynamic, Field::kArguments, Field::kApp};
constexpr Field kSeparatorFields[] = {Field::kId, Field::kPlatform, Field::kApp};
constexpr Field kFormatFields[] = {Field::kTitle, Field::kId, Field::kPlatform, Field::kFile, Field::kExpression};

/// First object of the class below a menu for which `matches` says true; `parent` becomes the menu that holds it.
template <class Wanted, class Matches>
Wanted* FirstBelow(const CKestExtensionMenu* menu, CKestExtensionMenu** parent, Matches matches) {
  for (const auto& child : menu->GetChildren()) {
    if (auto* wanted = dynamic_cast<Wanted*>(child.get()); wanted && matches(*wanted)) {
      if (parent) {
        *parent = const_cast<CKestExtensionMenu*>(menu); // the holder of an object that is handed out for editing
      }
      return wanted;
    }
    if (const auto* inner = dynamic_cast<const CKestExtensionMenu*>(child.get())) {
      if (Wanted* found = FirstBelow<Wanted>(inner, parent, matches)) {
        return found;
      }
    }
  }
  return nullptr;
}

template <class Wanted>
Wanted* FirstWithId(const CKestExtensionMenu* menu, std::string_view id, CKestExtensionMenu** parent) {
  if (parent) {
    *parent = nullptr;
  }
  if (id.empty()) {
    return nullptr;
  }
  return FirstBelow<Wanted>(menu, parent, [id](const Wanted& object) { return text::EqualNoCase(object.GetID(), id); });
}

} // namespace

// ---- menu

CKestExtensionMenu::CKestExtensionMenu(const CKestExtensionMenu* other) : CKestExtensionMenu() { Merge(other); }

void CKestExtensionMenu::Merge(const CKestExtensionMenu* other) {
  if (!other || other == this) {
    return;
  }
  MergeFields(*other, kMenuFields);
  m_flag = other->m_flag;
}

CKestExtensionMenu* CKestExtensionMenu::FindMenu(std::string_view id, CKestExtensionMenu** parent) const {
  return FirstWithId<CKestExtensionMenu>(this, id, parent);
}
CKestExtensionMenuItem* CKestExtensionMenu::FindMenuItem(std::string_view id, CKestExtensionMenu** parent) const {
  return FirstWithId<CKestExtensionMenuItem>(this, id, parent);
}
CKestExtensionServerFormat* CKestExtensionMenu::FindFormat(std::string_view id, CKestExtensionMenu** parent) const {
  return FirstWithId<CKestExtensionServerFormat>(this, id, parent);
}

CKestExtensionMenuSeparator* CKestExtensionMenu::FindSeparator(std::string_view reference,
                                                               CKestExtensionMenu** parent) const {
  if (parent) {
    *parent = nullptr;
  }
  return FirstBelow<CKestExtensionMenuSeparator>(
      this, parent, [&](const CKestExtensionMenuSeparator& object) { return object.HasReference(reference); });
}

CKestXmlComment* CKestExtensionMenu::FindComment(std::string_view text, CKestExtensionMenu** parent) const {
  if (parent) {
    *parent = nullptr;
  }
  return FirstBelow<CKestXmlComment>(this, parent,
                                     [&](const CKestXmlComment& object) { return object.GetText() == text; });
}

void CKestExtensionMenu::RemoveExtraSeparators() {
  const auto isSeparator = [this](std::size_t at) {
    return dynamic_cast<const CKestExtensionMenuSeparator*>(GetChildren()[at].get()) != nullptr;
  };
  if (HasChildren() && isSeparator(0)) {
    Detach(0);
  }
  while (GetChildren().size() > 1 && isSeparator(GetChildren().size() - 1)) {
    Detach(GetChildren().size() - 1);
  }
  JoinSeparators();
}

bool CKestExtensionMenu::HasTag(std::string_view tag, bool caseSensitive) const {
  return caseSensitive ? tag == kTag : text::EqualNoCase(tag, kTag);
}
void CKestExtensionMenu::BuildXml(int level, CString& text) const { MenusWriter(text).Write(*this, level); }
std::unique_ptr<CKestXmlObject> CKestExtensionMenu::Clone() const {
  return std::make_unique<CKestExtensionMenu>(*this);
}

// ---- bar

CKestExtensionMenuBar::CKestExtensionMenuBar(const CKestExtensionMenuBar* other) : CKestExtensionMenuBar() {
  Merge(other);
}

void CKestExtensionMenuBar::Merge(const CKestExtensionMenuBar* other) {
  if (other && other != this) {
    MergeFields(*other, kBarFields);
  }
}

bool CKestExtensionMenuBar::IsSearched() const {
  const std::string_view tag = GetField(Field::kTag);
  return tag.empty() || tag == "menubar" || tag == "formats";
}

CKestExtensionMenu* CKestExtensionMenuBar::FindMenu(std::string_view id, CKestExtensionMenu** parent) const {
  CKestExtensionMenu* holder = nullptr;
  CKestExtensionMenu* found = CKestExtensionMenu::FindMenu(id, &holder);
  if (parent) {
    *parent = holder == this ? nullptr : holder;
  }
  return found;
}

void CKestExtensionMenuBar::GetTag(CString& tag) const {
  tag = GetField(Field::kTag);
  if (tag.empty()) {
    tag = "menubar";
  }
}

bool CKestExtensionMenuBar::HasTag(std::string_view tag, bool caseSensitive) const {
  const CString own = GetTag();
  return caseSensitive ? tag == own : text::EqualNoCase(tag, own);
}
void CKestExtensionMenuBar::BuildXml(int level, CString& text) const { MenusWriter(text).Write(*this, level); }
std::unique_ptr<CKestXmlObject> CKestExtensionMenuBar::Clone() const {
  return std::make_unique<CKestExtensionMenuBar>(*this);
}

// ---- item

CKestExtensionMenuItem::CKestExtensionMenuItem(const CKestExtensionMenuItem* other) : CKestExtensionMenuItem() {
  Merge(other);
}

void CKestExtensionMenuItem::Merge(const CKestExtensionMenuItem* other) {
  if (!other || other == this) {
    return;
  }
  MergeFields(*other, kItemFields);
  m_flag = other->m_flag;
}

void CKestExtensionMenuItem::BuildXml(int level, CString& text) const { MenusWriter(text).Write(*this, level); }

// ---- separator

CKestExtensionMenuSeparator::CKestExtensionMenuSeparator(const CKestExtensionMenuSeparator* other)
    : CKestExtensionMenuSeparator() {
  Merge(other);
}

void CKestExtensionMenuSeparator::Merge(const CKestExtensionMenuSeparator* other) {
  if (!other || other == this) {
    return;
  }
  MergeFields(*other, kSeparatorFields);
  while (!m_references.empty()) {
    RemoveReference(CString(m_references.back()));
  }
  for (const CString& reference : other->m_references) {
    AddReference(reference);
  }
}

void CKestExtensionMenuSeparator::AddReference(std::string_view reference) {
  if (HasReference(reference)) {
    return;
  }
  m_references.emplace_back(reference);
  if (MenusIndex* index = GetIndex()) {
    index->LinkReference(this, reference);
  }
}

void CKestExtensionMenuSeparator::RemoveReference(std::string_view reference) {
  const CString removed(reference); // it may be the list's own
  if (std::erase(m_references, removed) == 0) {
    return;
  }
  if (MenusIndex* index = GetIndex()) {
    index->UnlinkReference(this, removed);
  }
}

bool CKestExtensionMenuSeparator::HasReference(std::string_view reference) const {
  return std::find(m_references.begin(), m_references.end(), reference) != m_references.end();
}

CKestTypedIterator<CString>* CKestExtensionMenuSeparator::CreateReferenceIterator() const {
  return new CKestTypedIterator<CString>(m_references, false);
}

void CKestExtensionMenuSeparator::BuildXml(int level, CString& text) const { MenusWriter(text).Write(*this, level); }

// ---- format

CKestExtensionServerFormat::CKestExtensionServerFormat(const CKestExtensionServerFormat* other)
    : CKestExtensionServerFormat() {
  Merge(other);
}

void CKestExtensionServerFormat::Merge(const CKestExtensionServerFormat* other) {
  if (!other || other == this) {
    return;
  }
  MergeFields(*other, kFormatFields);
  m_flag = other->m_flag;
  for (const auto& [name, value] : other->GetAttributes()) {
    SetAttribute(name, value);
  }
}

void CKestExtensionServerFormat::BuildXml(int level, CString& text) const { MenusWriter(text).Write(*this, level); }

} // namespace kest
