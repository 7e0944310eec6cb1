#include "menus/menu_changes.h"
#include "menus/menus_writer.h"
#include "menus/payload.h"

#include <array>

namespace kest {
namespace {

using Kind = MenusNode::Kind;

/// Locations that some releases of the products lack, and what stands in for each.
constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kSubstitutes{{
    {"TMMenu_Window_Templates", "TMMenu_Window_Timelines"},
    {"TMMenu_File_SaveAllFrames", "TMMenu_File_SaveAll"},
    {"TMMenu_MainSite_File_CheckLinks_Site", "TMMenu_MainSite_File_CheckLinksSelection"},
    {"TMMenu_Insert_Frames_Split", "TMMenu_Modify_Frameset_SplitDown"},
    {"TMMenu_Insert_LiveObjects_MasterDetail", "TMMenu_Insert_ServerObjects_MasterDetail"},
    {"TMMenu_Modify_Templates_UnmarkEditable", "TMMenu_Modify_Templates_RemoveTemplateContent"},
    {"TMMenu_File_NewFromTemplate", "TMMenu_MainSite_File_NewFile"},
    {"TMMenu_Help_ResourceCenter", "TMMenu_TM_Help_ResourceCenter"},
}};

CKestExtensionMenuBar* FirstBar(const CKestMenusXmlFile& file) {
  for (const auto& child : file.GetChildren()) {
    auto* bar = dynamic_cast<CKestExtensionMenuBar*>(child.get());
    if (bar && bar->IsSearched()) {
      return bar;
    }
  }
  return nullptr;
}

template <class T> std::unique_ptr<CKestXmlObject> CopyAttributes(const T& payload) {
  return std::make_unique<T>(&payload);
}

/// Belongs to the separator of the payload by a reference; the id itself is not copied.
std::unique_ptr<CKestXmlObject> CopySeparator(const CKestExtensionMenuSeparator& payload) {
  auto copy = std::make_unique<CKestExtensionMenuSeparator>();
  copy->SetPlatform(payload.GetPlatform());
  copy->SetApplication(payload.GetApplication());
  for (const CString& reference : payload.GetReferences()) {
    copy->AddReference(reference);
  }
  if (!payload.GetID().empty()) {
    copy->AddReference(payload.GetID());
  }
  return copy;
}

template <class T> bool MergeInto(MenusNode* existing, const T& payload) {
  if (existing) {
    static_cast<T*>(existing)->Merge(&payload);
  }
  return existing != nullptr;
}

} // namespace

std::string_view CKestMenuChangeInsert::SubstituteOf(std::string_view id) {
  for (const auto& [missing, substitute] : kSubstitutes) {
    if (text::EqualNoCase(id, missing)) {
      return substitute;
    }
  }
  return {};
}

void CKestMenuChangeInsert::SetLocation(int action, std::string_view id) {
  m_action = action;
  m_locationId = id;
}

void CKestMenuChangeInsert::BuildXml(int level, CString& text) const {
  text.append(static_cast<std::size_t>(level), '\t').append("<").append(kTag);
  BuildAttribute(ActionName(m_action), m_locationId, text);
  text += m_skipSeparator ? " skipSeparator=\"true\">\r\n" : ">\r\n";
  MenusWriter(text, MenusWriter::Dialect::kDescription).WriteChildren(*this, level + 1);
  text.append(static_cast<std::size_t>(level), '\t').append("</").append(kTag).append(">\r\n");
}

CString CKestMenuChangeInsert::DescribeInWords() const {
  static constexpr std::string_view kPlaces[] = {" in ", " before ", " after ", " at the start of ", " at the end of "};
  CString place;
  if (!m_locationId.empty()) {
    place.append(kPlaces[static_cast<std::size_t>(m_action)]).append("\"").append(m_locationId).append("\"");
  }
  CString words;
  for (const auto& child : GetChildren()) {
    words.append(words.empty() ? "" : "\n").append(PayloadWords(*child)).append(place);
  }
  return words;
}

// ---- locating

CKestConfigChange::ErrorCode CKestMenuChangeInsert::MakeChange(const CKestConfigChanges* changes, CKestXmlFile* file,
                                                               const CKestXmlFile* /*referenceFile*/) {
  auto* menus = dynamic_cast<CKestMenusXmlFile*>(file);
  return menus ? MakeChange(changes, menus, m_locationId, m_action) : kMenuNotChanged;
}

CKestConfigChange::ErrorCode CKestMenuChangeInsert::MakeChange(const CKestConfigChanges* changes,
                                                               CKestMenusXmlFile* file, CString id, int action) const {
  if (id.empty()) {
    return InsertMenuBarAfter(file, nullptr);
  }
  ErrorCode result = kMenuNotChanged;
  if (PlaceAt(file, id, action, result)) {
    return result;
  }
  if (changes && changes->AppendIfLocationNotFound()) {
    CKestExtensionMenuBar* bar = FirstBar(*file);
    return bar ? AppendToMenuBar(file, bar) : kMenuNotChanged;
  }
  if (const std::string_view substitute = SubstituteOf(id); !substitute.empty()) {
    if (PlaceAt(file, substitute, action, result)) {
      return result;
    }
    // one substitution is all
    if (!SubstituteOf(substitute).empty()) {
      return kMenuNotChanged;
    }
  }
  return PlaceInLastResort(changes, file);
}

bool CKestMenuChangeInsert::PlaceAt(CKestMenusXmlFile* file, std::string_view id, int action, ErrorCode& result) const {
  result = kMenuNotChanged;
  CKestExtensionMenuBar* bar = file->FindMenuBar(id);
  if (bar) {
    if (action == kInsertBefore) {
      result = InsertMenuBarBefore(file, bar);
    } else if (action == kInsertAfter) {
      result = InsertMenuBarAfter(file, bar);
    } else if (action == kPrependTo) {
      result = PrependToMenuBar(file, bar);
    } else if (action == kAppendTo) {
      result = AppendToMenuBar(file, bar);
    }
    return true;
  }
  CKestExtensionMenu* holder = nullptr;
  if (CKestExtensionMenu* menu = file->FindMenu(id, &bar, &holder)) {
    if (action == kPrependTo) {
      result = PrependToMenu(file, menu);
    } else if (action == kAppendTo) {
      result = AppendToMenu(file, menu);
    } else {
      result = PlaceBeside(file, bar, holder, menu, action);
    }
    return true;
  }
  CKestXmlObject* object = file->FindMenuItem(id, &bar, &holder, CKestMenusXmlFile::Scope::kEverywhere);
  if (!object) {
    object = file->FindFormat(id, &bar, &holder, CKestMenusXmlFile::Scope::kEverywhere);
  }
  if (!object) {
    return false;
  }
  result = PlaceBeside(file, bar, holder, object, action);
  return true;
}

CKestConfigChange::ErrorCode CKestMenuChangeInsert::PlaceBeside(CKestMenusXmlFile* file, CKestExtensionMenuBar* bar,
                                                                CKestExtensionMenu* menu, CKestXmlObject* object,
                                                                int action) const {
  if (action == kInsertBefore) {
    return InsertBeforeObject(file, bar, menu, object);
  }
  return action == kInsertAfter ? InsertAfterObject(file, bar, menu, object) : kMenuNotChanged;
}

CKestConfigChange::ErrorCode CKestMenuChangeInsert::PlaceInLastResort(const CKestConfigChanges* changes,
                                                                      CKestMenusXmlFile* file) const {
  CString id;
  if (!changes || !changes->GetLastResortId(id)) {
    return kMenuNotChanged;
  }
  CKestExtensionMenu* menu = file->FindMenu(id, nullptr, nullptr);
  if (!menu) {
    menu = dynamic_cast<CKestExtensionMenu*>(changes->CreateLastResortObject(file));
  }
  if (!menu) {
    return kMenuNotChanged;
  }
  AppendToMenu(file, menu);
  return kPlacedInLastResortMenu;
}

// ---- what the file has already

bool CKestMenuChangeInsert::HandleExistingMenuBarCase(CKestMenusXmlFile* file, const CKestExtensionMenuBar& payload) {
  return MergeInto(file->FindMenuBar(payload.GetID()), payload);
}

bool CKestMenuChangeInsert::HandleExistingMenuCase(CKestMenusXmlFile* file, const Target& target,
                                                   const CKestExtensionMenu& payload) {
  return MergeInto(file->FindDirectChild(target.holder, Kind::kMenu, payload.GetID()), payload);
}

bool CKestMenuChangeInsert::HandleExistingMenuItemCase(CKestMenusXmlFile* file, const Target& target,
                                                       const CKestExtensionMenuItem& payload) {
  return MergeInto(target.asBar ? file->FindBelow(target.holder, Kind::kItem, payload.GetID())
                                : file->FindDirectChild(target.holder, Kind::kItem, payload.GetID()),
                   payload);
}

bool CKestMenuChangeInsert::HandleExistingFormatCase(CKestMenusXmlFile* file, const Target& target,
                                                     const CKestExtensionServerFormat& payload) {
  return MergeInto(target.asBar ? file->FindBelow(target.holder, Kind::kFormat, payload.GetID())
                                : file->FindDirectChild(target.holder, Kind::kFormat, payload.GetID()),
                   payload);
}

CKestMenuChangeInsert::Copy CKestMenuChangeInsert::CopyFor(CKestMenusXmlFile* file, const Target& target,
                                                           const CKestXmlObject& payload, bool menusOnly) {
  if (const auto* comment = dynamic_cast<const CKestXmlComment*>(&payload)) {
    return CopyComment(*comment);
  }
  const auto* node = dynamic_cast<const MenusNode*>(&payload);
  if (!node || (menusOnly && node->GetKind() != Kind::kMenu)) {
    return nullptr;
  }
  switch (node->GetKind()) {
  case Kind::kMenu: {
    const auto& menu = static_cast<const CKestExtensionMenu&>(*node);
    return HandleExistingMenuCase(file, target, menu) ? nullptr : CopyAttributes(menu);
  }
  case Kind::kItem: {
    const auto& item = static_cast<const CKestExtensionMenuItem&>(*node);
    return HandleExistingMenuItemCase(file, target, item) ? nullptr : CopyAttributes(item);
  }
  case Kind::kFormat: {
    const auto& format = static_cast<const CKestExtensionServerFormat&>(*node);
    return HandleExistingFormatCase(file, target, format) ? nullptr : CopyAttributes(format);
  }
  case Kind::kSeparator:
    return CopySeparator(static_cast<const CKestExtensionMenuSeparator&>(*node));
  default:
    return nullptr;
  }
}

CKestMenuChangeInsert::Copy CKestMenuChangeInsert::CopyForTop(CKestMenusXmlFile* file, const CKestXmlObject& payload) {
  if (const auto* comment = dynamic_cast<const CKestXmlComment*>(&payload)) {
    return CopyComment(*comment);
  }
  const auto* bar = dynamic_cast<const CKestExtensionMenuBar*>(&payload);
  return !bar || HandleExistingMenuBarCase(file, *bar) ? nullptr : CopyAttributes(*bar);
}

// ---- placing

CKestConfigChange::ErrorCode CKestMenuChangeInsert::PrependToMenuBar(CKestMenusXmlFile* file,
                                                                     CKestExtensionMenuBar* bar) const {
  for (auto child = GetChildren().rbegin(); child != GetChildren().rend(); ++child) {
    if (Copy copy = CopyFor(file, {bar, true}, **child, false)) {
      bar->InsertFirst(std::move(copy));
    }
  }
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestMenuChangeInsert::AppendToMenuBar(CKestMenusXmlFile* file,
                                                                    CKestExtensionMenuBar* bar) const {
  for (const auto& child : GetChildren()) {
    if (Copy copy = CopyFor(file, {bar, true}, *child, false)) {
      bar->AppendChild(std::move(copy));
    }
  }
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestMenuChangeInsert::InsertMenuBarBefore(CKestMenusXmlFile* file,
                                                                        CKestExtensionMenuBar* bar) const {
  for (const auto& child : GetChildren()) {
    if (Copy copy = CopyForTop(file, *child)) {
      file->InsertBefore(bar, std::move(copy));
    }
  }
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestMenuChangeInsert::InsertMenuBarAfter(CKestMenusXmlFile* file,
                                                                       CKestExtensionMenuBar* bar) const {
  for (auto child = GetChildren().rbegin(); child != GetChildren().rend(); ++child) {
    Copy copy = CopyForTop(file, **child);
    if (copy && bar) {
      file->InsertAfter(bar, std::move(copy));
    } else if (copy) {
      file->AppendChild(std::move(copy));
    }
  }
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestMenuChangeInsert::PrependToMenu(CKestMenusXmlFile* file,
                                                                  CKestExtensionMenu* menu) const {
  for (auto child = GetChildren().rbegin(); child != GetChildren().rend(); ++child) {
    if (Copy copy = CopyFor(file, {menu, false}, **child, false)) {
      menu->InsertFirst(std::move(copy));
    }
  }
  menu->RemoveExtraSeparators();
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestMenuChangeInsert::AppendToMenu(CKestMenusXmlFile* file,
                                                                 CKestExtensionMenu* menu) const {
  for (const auto& child : GetChildren()) {
    if (Copy copy = CopyFor(file, {menu, false}, *child, false)) {
      menu->AppendChild(std::move(copy));
    }
  }
  menu->RemoveExtraSeparators();
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestMenuChangeInsert::InsertBeforeObject(CKestMenusXmlFile* file,
                                                                       CKestExtensionMenuBar* bar,
                                                                       CKestExtensionMenu* menu,
                                                                       CKestXmlObject* object) const {
  CKestExtensionMenu* holder = menu ? menu : bar;
  if (!holder || !object) {
    return kSuccess;
  }
  for (const auto& child : GetChildren()) {
    if (Copy copy = CopyFor(file, {holder, !menu}, *child, !menu)) {
      holder->InsertBefore(object, std::move(copy));
    }
  }
  if (menu) {
    menu->RemoveExtraSeparators();
  }
  return kSuccess;
}

CKestConfigChange::ErrorCode CKestMenuChangeInsert::InsertAfterObject(CKestMenusXmlFile* file,
                                                                      CKestExtensionMenuBar* bar,
                                                                      CKestExtensionMenu* menu,
                                                                      CKestXmlObject* object) const {
  CKestExtensionMenu* holder = menu ? menu : bar;
  if (!holder || !object) {
    return kSuccess;
  }
  if (m_skipSeparator && menu) {
    const auto next = static_cast<std::size_t>(menu->IndexOf(object) + 1);
    if (next < menu->GetChildren().size() &&
        dynamic_cast<const CKestExtensionMenuSeparator*>(menu->GetChildren()[next].get())) {
      object = menu->GetChildren()[next].get();
    }
  }
  for (auto child = GetChildren().rbegin(); child != GetChildren().rend(); ++child) {
    if (Copy copy = CopyFor(file, {holder, !menu}, **child, !menu)) {
      holder->InsertAfter(object, std::move(copy));
    }
  }
  if (menu) {
    menu->RemoveExtraSeparators();
  }
  return kSuccess;
}

} // namespace kest
