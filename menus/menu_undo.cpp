#include "menus/menu_changes.h"
#include "menus/payload.h"

namespace kest {
namespace {

using Kind = MenusNode::Kind;
constexpr auto kEverywhere = CKestMenusXmlFile::Scope::kEverywhere;

bool IsBar(const MenusNode* node) { return node && node->GetKind() == Kind::kBar; }

void RemoveBarIfEmpty(CKestMenusXmlFile* file, CKestExtensionMenuBar* bar) {
  if (bar && bar->HoldsOnlyComments()) {
    (void)file->RemoveChild(bar);
  }
}

void TidyHolder(CKestMenusXmlFile* file, CKestExtensionMenu* holder) {
  if (!holder) {
    return;
  }
  holder->RemoveExtraSeparators();
  CheckForEmpty(file, holder);
}

void UndoMenu(CKestMenusXmlFile* file, std::string_view id) {
  if (CKestExtensionMenu* menu = file->FindMenu(id, nullptr, nullptr)) {
    CheckForEmpty(file, menu);
  }
}

void UndoSeparator(CKestMenusXmlFile* file, std::string_view id) {
  CKestExtensionMenu* menu = nullptr;
  CKestExtensionMenuSeparator* separator = file->FindSeparator(id, nullptr, &menu, kEverywhere);
  if (!separator) {
    return;
  }
  separator->RemoveReference(id);
  if (separator->GetReferenceCount() == 1 && separator->HasReference(CKestExtensionMenuSeparator::kStandard)) {
    separator->RemoveReference(CKestExtensionMenuSeparator::kStandard);
  } else if (separator->GetReferenceCount() == 0) {
    (void)file->Remove(separator);
    CheckForEmpty(file, menu);
  }
}

void UndoComment(CKestMenusXmlFile* file, const CKestXmlComment& payload) {
  CKestExtensionMenuBar* bar = nullptr;
  CKestExtensionMenu* menu = nullptr;
  const CKestXmlComment* comment = file->FindComment(CommentText(payload), &bar, &menu, kEverywhere);
  if (!comment) {
    return;
  }
  if (!menu) {
    (void)file->RemoveChild(comment);
    return;
  }
  (void)menu->RemoveChild(comment);
  if (IsBar(menu)) {
    RemoveBarIfEmpty(file, bar);
  } else {
    TidyHolder(file, menu);
  }
}

void UndoNode(CKestMenusXmlFile* file, const MenusNode& payload) {
  const std::string_view id = payload.GetField(MenusNode::Field::kId);
  CKestExtensionMenu* holder = nullptr;
  MenusNode* found = nullptr;
  switch (payload.GetKind()) {
  case Kind::kBar:
    return RemoveBarIfEmpty(file, file->FindMenuBar(id));
  case Kind::kMenu:
    return UndoMenu(file, id);
  case Kind::kSeparator:
    return UndoSeparator(file, id);
  case Kind::kItem:
    found = file->FindMenuItem(id, nullptr, &holder, kEverywhere);
    break;
  case Kind::kFormat:
    found = file->FindFormat(id, nullptr, &holder, kEverywhere);
    break;
  default:
    return;
  }
  if (found) {
    (void)file->Remove(found);
    TidyHolder(file, holder);
  }
}

} // namespace

void CheckForEmpty(CKestMenusXmlFile* file, CKestExtensionMenu* menu) {
  while (menu && !IsBar(menu) && menu->HoldsOnlyComments()) {
    MenusNode* holder = menu->GetHolder();
    (void)file->Remove(menu);
    if (IsBar(holder)) {
      return RemoveBarIfEmpty(file, static_cast<CKestExtensionMenuBar*>(holder));
    }
    menu = dynamic_cast<CKestExtensionMenu*>(holder);
    if (menu) {
      menu->RemoveExtraSeparators();
    }
  }
}

CKestConfigChange::ErrorCode CKestMenuChangeInsert::UndoChange(const CKestConfigChanges* /*changes*/,
                                                               CKestXmlFile* file,
                                                               const CKestXmlFile* /*referenceFile*/) {
  auto* menus = dynamic_cast<CKestMenusXmlFile*>(file);
  if (!menus) {
    return kSuccess;
  }
  for (const auto& child : GetChildren()) {
    if (const auto* comment = dynamic_cast<const CKestXmlComment*>(child.get())) {
      UndoComment(menus, *comment);
    } else if (const auto* node = dynamic_cast<const MenusNode*>(child.get())) {
      UndoNode(menus, *node);
    }
  }
  return kSuccess;
}

// ---- removal

void CKestMenuChangeRemove::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag);
  BuildAttribute("id", m_menuId, text);
  text += " />\r\n";
}

CKestConfigChange::ErrorCode CKestMenuChangeRemove::MakeChange(const CKestConfigChanges* /*changes*/,
                                                               CKestXmlFile* file,
                                                               const CKestXmlFile* /*referenceFile*/) {
  auto* menus = dynamic_cast<CKestMenusXmlFile*>(file);
  if (!menus) {
    return kSuccess;
  }
  if (CKestExtensionMenuBar* bar = menus->FindMenuBar(m_menuId)) {
    (void)menus->RemoveChild(bar);
    return kSuccess;
  }
  CKestExtensionMenu* holder = nullptr; // to be tidied
  MenusNode* found = menus->FindMenu(m_menuId, nullptr, &holder);
  if (!found) {
    found = menus->FindMenuItem(m_menuId, nullptr, &holder, kEverywhere);
  }
  if (!found) {
    found = menus->FindFormat(m_menuId, nullptr, &holder, kEverywhere);
  }
  (void)menus->Remove(found);
  if (found && holder) {
    holder->RemoveExtraSeparators();
  }
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestMenuChangeRemove::UndoChange(const CKestConfigChanges* /*changes*/,
                                                               CKestXmlFile* /*file*/,
                                                               const CKestXmlFile* /*referenceFile*/) {
  return kSuccess;
}

CString CKestMenuChangeRemove::DescribeInWords() const { return "remove menu \"" + m_menuId + "\""; }

} // namespace kest
