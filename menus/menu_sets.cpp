#include "menus/menu_sets.h"

#include "menus/menus_file.h"
#include "platform/messages/messages.h"

namespace kest {
namespace {

constexpr std::string_view kCommands = "TMMenu_Commands";
constexpr std::string_view kHelp = "TMMenu_Help";
constexpr std::string_view kMiscellaneous = "TMMenu_Commands_Misc";
constexpr std::string_view kGetMoreCommands = "TMMenu_Commands_GetMoreCommands";

std::unique_ptr<CKestExtensionMenu> MakeMenu(std::string_view id, Message name) {
  auto menu = std::make_unique<CKestExtensionMenu>();
  menu->SetID(id);
  menu->SetName(LoadMessage(name));
  return menu;
}

/// The Commands menu, made before Help when it is missing; null without Help.
CKestExtensionMenu* FindOrMakeCommands(CKestMenusXmlFile& file) {
  if (CKestExtensionMenu* commands = file.FindMenu(kCommands, nullptr, nullptr)) {
    return commands;
  }
  CKestExtensionMenuBar* bar = nullptr;
  CKestExtensionMenu* parent = nullptr;
  const CKestExtensionMenu* help = file.FindMenu(kHelp, &bar, &parent);
  if (!help || !bar) {
    return nullptr;
  }
  CKestExtensionMenu* holder = parent ? parent : bar;
  return static_cast<CKestExtensionMenu*>(holder->InsertBefore(help, MakeMenu(kCommands, Message::kCommandsMenu)));
}

} // namespace

std::unique_ptr<CKestXmlFile> CKestMasterConfigChanges::CreateConfigFile(bool /*existing*/) const {
  return std::make_unique<CKestMenusXmlFile>();
}
void CKestMasterConfigChanges::GetFolder(CString& folder) const { folder = "Menus"; }
void CKestMasterConfigChanges::GetFileName(CString& name) const { name = "Menus.xml"; }
void CKestMasterConfigChanges::GetLastResortAppendToID(CString& id) const { id = kCommands; }

bool CKestMasterConfigChanges::GetLastResortId(CString& id) const {
  id = kMiscellaneous;
  return true;
}

CKestXmlObject* CKestMasterConfigChanges::CreateLastResortObject(CKestXmlFile* file) const {
  auto* menus = dynamic_cast<CKestMenusXmlFile*>(file);
  CKestExtensionMenu* commands = menus ? FindOrMakeCommands(*menus) : nullptr;
  if (!commands) {
    return nullptr;
  }
  CKestXmlObject* more = commands->FindMenuItem(kGetMoreCommands, nullptr);
  auto separator = std::make_unique<CKestExtensionMenuSeparator>();
  // one that lies deeper leaves no place directly after it: InsertAfter then appends
  CKestXmlObject* placed =
      more ? commands->InsertAfter(more, std::move(separator)) : commands->AppendChild(std::move(separator));
  return commands->InsertAfter(placed, MakeMenu(kMiscellaneous, Message::kMiscellaneous));
}

void CKestServerConfigChanges::SetServerModelFolder(std::string_view folder) { m_serverModelFolder = folder; }

std::unique_ptr<CKestXmlFile> CKestServerConfigChanges::CreateConfigFile(bool /*existing*/) const {
  return std::make_unique<CKestMenusXmlFile>();
}

void CKestServerConfigChanges::GetPath(CString& path) const {
  CString name;
  GetFileName(name);
  GetFolder(path);
  path.append("\\").append(m_serverModelFolder).append("\\").append(name);
}

void CKestServerConfigChanges::BuildXml(int level, CString& text) const {
  BuildSetXml(level, "servermodelfolder", m_serverModelFolder, text);
}

} // namespace kest
