#include "menus/shortcut_changes.h"

#include "menus/menus_writer.h"
#include "menus/payload.h"

namespace kest {
namespace {

using Kind = MenusNode::Kind;

void RemoveListIfEmpty(CKestMenusXmlFile* file, CKestExtensionShortcutList* list) {
  if (list && list->HoldsOnlyComments()) {
    (void)file->RemoveChild(list);
  }
}

void UndoPayload(CKestMenusXmlFile* file, const CKestXmlObject& payload) {
  CKestExtensionShortcutList* list = nullptr;
  if (const auto* comment = dynamic_cast<const CKestXmlComment*>(&payload)) {
    const CKestXmlComment* found = file->FindComment(CommentText(*comment), &list);
    if (list) {
      (void)list->RemoveChild(found);
    } else if (found) {
      (void)file->RemoveChild(found);
    }
    RemoveListIfEmpty(file, list);
  } else if (const auto* payloadList = dynamic_cast<const CKestExtensionShortcutList*>(&payload)) {
    (void)file->Remove(file->FindShortcutList(payloadList->GetID()));
  } else if (const auto* shortcut = dynamic_cast<const CKestExtensionShortcut*>(&payload)) {
    (void)file->Remove(file->FindShortcut(shortcut->GetID(), &list));
    RemoveListIfEmpty(file, list);
  }
}

} // namespace

void CKestShortcutChangeInsert::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag);
  BuildAttribute("listid", m_listId, text);
  text += ">\r\n";
  MenusWriter(text, MenusWriter::Dialect::kDescription).WriteChildren(*this, level + 1);
  text.append(static_cast<std::size_t>(level), '\t').append("</").append(kTag).append(">\r\n");
}

CString CKestShortcutChangeInsert::DescribeInWords() const {
  const CString place = m_listId.empty() ? CString{} : " in list \"" + m_listId + "\"";
  CString words;
  for (const auto& child : GetChildren()) {
    words.append(words.empty() ? "" : "\n").append(PayloadWords(*child)).append(place);
  }
  return words;
}

CKestConfigChange::ErrorCode CKestShortcutChangeInsert::MakeChange(const CKestConfigChanges* /*changes*/,
                                                                   CKestXmlFile* file,
                                                                   const CKestXmlFile* /*referenceFile*/) {
  auto* menus = dynamic_cast<CKestMenusXmlFile*>(file);
  if (!menus) {
    return kMenuNotChanged;
  }
  if (m_listId.empty()) {
    return AppendShortcutList(menus);
  }
  CKestExtensionShortcutList* list = menus->FindShortcutList(m_listId);
  return list ? AppendToShortcutList(menus, list) : kShortcutListMissing;
}

CKestConfigChange::ErrorCode CKestShortcutChangeInsert::AppendShortcutList(CKestMenusXmlFile* file) const {
  for (auto child = GetChildren().rbegin(); child != GetChildren().rend(); ++child) {
    if (const auto* comment = dynamic_cast<const CKestXmlComment*>(child->get())) {
      file->AppendChild(CopyComment(*comment));
    }
    const auto* list = dynamic_cast<const CKestExtensionShortcutList*>(child->get());
    if (list && !HandleExistingShortcutList(file, list)) {
      file->AppendChild(std::make_unique<CKestExtensionShortcutList>(list));
    }
  }
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestShortcutChangeInsert::AppendToShortcutList(CKestMenusXmlFile* file,
                                                                             CKestExtensionShortcutList* list) const {
  for (const auto& child : GetChildren()) {
    if (const auto* comment = dynamic_cast<const CKestXmlComment*>(child.get())) {
      list->AppendChild(CopyComment(*comment));
    }
    const auto* shortcut = dynamic_cast<const CKestExtensionShortcut*>(child.get());
    if (shortcut && !HandleExistingShortcut(file, list, shortcut)) {
      list->AppendChild(std::make_unique<CKestExtensionShortcut>(shortcut));
    }
  }
  return kSuccess;
}

bool CKestShortcutChangeInsert::HandleExistingShortcutList(CKestMenusXmlFile* file,
                                                           const CKestExtensionShortcutList* payload) {
  CKestExtensionShortcutList* existing = file->FindShortcutList(payload->GetID());
  if (existing) {
    existing->Merge(payload);
  }
  return existing != nullptr;
}

bool CKestShortcutChangeInsert::HandleExistingShortcut(CKestMenusXmlFile* file, CKestExtensionShortcutList* list,
                                                       const CKestExtensionShortcut* payload) {
  MenusNode* existing = file->FindDirectChild(list, Kind::kShortcut, payload->GetID());
  if (existing) {
    static_cast<CKestExtensionShortcut*>(existing)->Merge(payload);
  }
  return existing != nullptr;
}

CKestConfigChange::ErrorCode CKestShortcutChangeInsert::UndoChange(const CKestConfigChanges* /*changes*/,
                                                                   CKestXmlFile* file,
                                                                   const CKestXmlFile* /*referenceFile*/) {
  if (auto* menus = dynamic_cast<CKestMenusXmlFile*>(file)) {
    for (const auto& child : GetChildren()) {
      UndoPayload(menus, *child);
    }
  }
  return kSuccess;
}

void CKestShortcutChangeRemove::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag);
  BuildAttribute("id", m_id, text);
  text += " />\r\n";
}

CKestConfigChange::ErrorCode CKestShortcutChangeRemove::MakeChange(const CKestConfigChanges* /*changes*/,
                                                                   CKestXmlFile* file,
                                                                   const CKestXmlFile* /*referenceFile*/) {
  auto* menus = dynamic_cast<CKestMenusXmlFile*>(file);
  if (!menus) {
    return kSuccess;
  }
  MenusNode* found = menus->FindShortcutList(m_id);
  if (!found) {
    found = menus->FindShortcut(m_id, nullptr);
  }
  (void)menus->Remove(found);
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestShortcutChangeRemove::UndoChange(const CKestConfigChanges* /*changes*/,
                                                                   CKestXmlFile* /*file*/,
                                                                   const CKestXmlFile* /*referenceFile*/) {
  return kSuccess;
}

CString CKestShortcutChangeRemove::DescribeInWords() const { return "remove shortcut \"" + m_id + "\""; }

} // namespace kest
