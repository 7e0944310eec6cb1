#include "config/generic_xml_file.h"
#include "description/extension.h"
#include "menus/menus_file.h"
#include "platform/machine/os.h"
#include "support/config_on_machine.h"
#include "support/failing_machine.h"
#include "support/kest_fixture.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>

namespace kest::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// What an uninstall leaves of a change.
enum class After {
  kAsBefore, ///< the file is what it was
  kStays,    ///< what the change took away stays away
  kGone,     ///< it overwrote an object of the product's, and takes it along
};

struct ChangeRow {
  const char* name;
  const char* file; ///< below the product's folder
  const char* change;
  const char* inFile; ///< stands in the file as long as the extension is installed; of a removal: before alone
  After after = After::kAsBefore;
  bool always = false; ///< it holds comments or separators, which are never taken for what is there already
};

void PrintTo(const ChangeRow& row, std::ostream* out) { *out << row.name; }

constexpr const char* kMenus = "Configuration\\Menus\\Menus.xml";
constexpr const char* kToolbars = "Configuration\\Toolbars\\toolbars.xml";
constexpr const char* kInsertBar = "Configuration\\Objects\\insertbar.xml";
constexpr const char* kDocumentTypes = "Configuration\\DocumentTypes\\KRDocumentTypes.xml";
constexpr const char* kTagLibraries = "Configuration\\TagLibraries\\TagLibraries.vtm";
constexpr const char* kSourceFormat = "Configuration\\SourceFormat.txt";
constexpr const char* kFtpMap = "Configuration\\FTPExtensionMap.txt";
constexpr const char* kExtensionsList = "Configuration\\Extensions.txt";
constexpr const char* kHelp = "Help\\help.xml";

// clang-format off
constexpr ChangeRow kChanges[] = {
{"MenuItem", kMenus, R"(<menu-insert insertAfter="TMMenu_Commands_SortTable"><menuitem name="A" id="X_Item" /><separator id="X_Gap" /></menu-insert>)", "X_Item", After::kAsBefore, true},
{"MenuWithItem", kMenus, R"(<menu-insert prependTo="TMMenu_File"><comment>mine</comment><menu name="M" id="X_Menu" /></menu-insert><menu-insert appendTo="X_Menu"><menuitem name="A" id="X_Deep" /></menu-insert>)", "X_Deep", After::kAsBefore, true},
{"MenuBar", kMenus, R"(<menu-insert appendTo=""><menubar name="B" id="X_Bar" /></menu-insert>)", "X_Bar"},
{"Format", kMenus, R"(<menu-insert appendTo="TMFormats"><format title="F" id="X_Format" digits="2" /></menu-insert>)", "X_Format"},
{"MenuItemOverTheProducts", kMenus, R"(<menu-insert appendTo="TMMenu_File"><menuitem name="Mine" id="TMMenu_File_SaveAll" /></menu-insert>)", "TMMenu_File_SaveAll", After::kGone},
{"MenuRemove", kMenus, R"(<menu-remove id="TMMenu_File_Export" />)", "TMMenu_File_Export", After::kStays},
{"Shortcut", kMenus, R"(<shortcut-insert listId="TMMainWindow"><comment>keys</comment><shortcut key="Cmd+9" id="X_Key" /></shortcut-insert>)", "X_Key", After::kAsBefore, true},
{"ShortcutList", kMenus, R"(<shortcut-insert listId=""><shortcutlist id="X_Keys" platform="win" /></shortcut-insert>)", "X_Keys"},
{"ShortcutRemove", kMenus, R"(<shortcut-remove id="TMShortcut_Preview" />)", "TMShortcut_Preview", After::kStays},
{"Toolbar", kToolbars, R"(<toolbar-changes><toolbar-insert><toolbar id="X_Bar" label="X"><button id="X_Own" /></toolbar></toolbar-insert></toolbar-changes>)", "X_Bar"},
{"ToolbarButton", kToolbars, R"(<toolbar-changes><toolbar-item-insert insertAfter="TM_Button_New"><button id="X_1" /><button id="X_2" /></toolbar-item-insert></toolbar-changes>)", "X_2"},
{"ToolbarButtonOverTheProducts", kToolbars, R"(<toolbar-changes><toolbar-item-insert appendTo="TM_Toolbar_Site"><button id="TM_Button_Save" /></toolbar-item-insert></toolbar-changes>)", "TM_Button_Save", After::kGone},
{"ToolbarRemove", kToolbars, R"(<toolbar-changes><toolbar-remove id="TM_Toolbar_Site" /></toolbar-changes>)", "TM_Toolbar_Site", After::kStays},
{"ToolbarItemRemove", kToolbars, R"(<toolbar-changes><toolbar-item-remove id="TM_Button_Save" /></toolbar-changes>)", "TM_Button_Save", After::kStays},
{"Category", kInsertBar, R"(<insertbar-changes><insertbar-insert insertBefore="TM_Insertbar_Forms"><category id="X_Cat"><button id="X_1" /></category></insertbar-insert></insertbar-changes>)", "X_Cat"},
{"InsertBarButton", kInsertBar, R"(<insertbar-changes><insertbar-item-insert insertBefore="no_such" category="TM_Insertbar_Forms"><button id="X_1" /></insertbar-item-insert></insertbar-changes>)", "X_1"},
{"CategoryRemove", kInsertBar, R"(<insertbar-changes><insertbar-remove id="TM_Insertbar_Forms" /></insertbar-changes>)", "TM_Insertbar_Forms", After::kStays},
{"InsertBarItemRemove", kInsertBar, R"(<insertbar-changes><insertbar-item-remove id="TM_Insert_Link" /></insertbar-changes>)", "TM_Insert_Link", After::kStays},
{"DocumentType", kDocumentTypes, R"(<documenttype-changes><documenttype-insert><documenttype id="X" internaltype="Text"><title>A &amp; B</title></documenttype></documenttype-insert></documenttype-changes>)", "id=\"X\""},
{"DocumentTypeOverTheProducts", kDocumentTypes, R"(<documenttype-changes><documenttype-insert><documenttype id="ASP-JS" /></documenttype-insert></documenttype-changes>)", "ASP-JS", After::kGone},
{"DocumentTypeRemove", kDocumentTypes, R"(<documenttype-changes><documenttype-remove id="HTML" /></documenttype-changes>)", "id=\"HTML\"", After::kStays},
{"TagLibrary", kTagLibraries, R"(<taglibrary-changes><taglibrary-insert><taglibrary id="X"><tagref name="b" /></taglibrary></taglibrary-insert></taglibrary-changes>)", "id=\"X\""},
{"TagLibraryRemove", kTagLibraries, R"(<taglibrary-changes><taglibrary-remove id="HTML" /></taglibrary-changes>)", "id=\"HTML\"", After::kStays},
{"HelpBook", kHelp, R"(<helpbook-changes><helpbook-insert><book-id id="X" win-mapping="x.chm" /></helpbook-insert></helpbook-changes>)", "x.chm"},
{"HelpBookRemove", kHelp, R"(<helpbook-changes><helpbook-remove id="Using" /></helpbook-changes>)", "id=\"Using\"", After::kStays},
{"Element", kSourceFormat, R"(<source-format-changes><element-insert name="b" break="1,0,0,1" indent="true" /></source-format-changes>)", "<b break=\"1,0,0,1\" indent>\r\n"},
{"ElementOverTheProducts", kSourceFormat, R"(<source-format-changes><element-insert name="br" indentGroup="2" /></source-format-changes>)", "<br ", After::kGone},
{"ElementRemove", kSourceFormat, R"(<source-format-changes><element-remove name="table" /></source-format-changes>)", "<table ", After::kStays},
{"Attribute", kSourceFormat, R"(<source-format-changes><attribute-insert name="onX" namecase="onX" /></source-format-changes>)", "<onX namecase=\"onX\">\r\n"},
{"AttributeRemove", kSourceFormat, R"(<source-format-changes><attribute-remove name="style" /></source-format-changes>)", "<style ", After::kStays},
{"FtpExtension", kFtpMap, R"(<FTP-extension-map-changes><FTP-extension-insert extension="JPG" type="binary" /></FTP-extension-map-changes>)", "JPG\tBINARY\r\n"},
{"FtpExtensionOverTheProducts", kFtpMap, R"(<FTP-extension-map-changes><FTP-extension-insert extension="CSS" type="binary" /></FTP-extension-map-changes>)", "CSS\t", After::kGone},
{"FtpExtensionRemove", kFtpMap, R"(<FTP-extension-map-changes><FTP-extension-remove extension="GIF" /></FTP-extension-map-changes>)", "GIF\t", After::kStays},
{"Extension", kExtensionsList, R"(<extensions-changes><extension-insert extension="WBK,WBX" description="HTML Documents" /></extensions-changes>)", "HTML,WBK,WBX:HTML Documents"},
{"ExtensionOfANewGroup", kExtensionsList, R"(<extensions-changes><extension-insert extension="WBK" description="Notes" /></extensions-changes>)", "WBK:Notes\r\n"},
{"ExtensionRemove", kExtensionsList, R"(<extensions-changes><extension-remove extension="JS" /></extensions-changes>)", "JS:JavaScript", After::kStays},
{"ServerBehavior", kConfigFiles[9].second, R"(<server-behavior-changes servermodelfolder="ASP_Js"><menu-insert appendTo="TMMenu_File"><menuitem name="A" id="X_Item" /></menu-insert></server-behavior-changes>)", "X_Item"},
{"ServerFormat", kConfigFiles[10].second, R"(<server-format-changes servermodelfolder="ASP_Js"><menu-insert appendTo="TMFormats"><format title="F" id="X_Format" /></menu-insert></server-format-changes>)", "X_Format"},
{"ServerFormatDefinition", kConfigFiles[11].second, R"(<server-format-definition-changes servermodelfolder="ASP_Js"><menu-insert appendTo="TMFormats"><format title="F" id="X_Format" /></menu-insert></server-format-definition-changes>)", "X_Format"},
{"DataSource", kConfigFiles[12].second, R"(<data-source-changes servermodelfolder="ASP_Js"><menu-insert appendTo="TMMenu_File"><menuitem name="A" id="X_Item" /></menu-insert></data-source-changes>)", "X_Item"},
};
// clang-format on

class ChangesFixture : public KestFixture {
protected:
  ChangesFixture() {
    PutConfigFiles(m_pc, kNova);
    m_host.otherwise(kYes);
  }
  /// What the file is once it was loaded and saved: its text is the same but for the repairs of what is no XML.
  [[nodiscard]] std::string saved(const std::string& path) {
    const CString copy = "C:\\Work\\" + CKestPath(path).GetFileName();
    m_pc.Write(copy, m_pc.Read(path));
    restart();
    if (path.ends_with(".txt")) {
      return m_pc.Read(path);
    }
    CKestMenusXmlFile menus;
    CKestGenericXmlFile generic;
    const bool isMenus = m_pc.Read(path) == ConfigSample("Menus.xml");
    CKestXmlFile& file = isMenus ? static_cast<CKestXmlFile&>(menus) : generic;
    EXPECT_EQ(file.Load(copy.c_str(), nullptr), 0) << path;
    EXPECT_EQ(file.Save(copy.c_str()), 0) << path;
    return m_pc.Read(copy);
  }
};

class EveryKindOfChange : public ChangesFixture, public ::testing::WithParamInterface<ChangeRow> {};

TEST_P(EveryKindOfChange, IsAppliedOnceAndTakenBack) {
  const ChangeRow& row = GetParam();
  const std::string path = std::string(kNova) + row.file;
  const std::string before = saved(path);
  const bool removes = row.after == After::kStays;
  EXPECT_EQ(before.find(row.inFile) != std::string::npos, row.after != After::kAsBefore) << before;

  CKestExtension* record = installed(package("One").changes(row.change));
  const std::string once = m_pc.Read(path);
  EXPECT_NE(once, before);
  EXPECT_EQ(once.find(row.inFile) == std::string::npos, removes) << once;
  EXPECT_TRUE(report().problems.empty());

  if (!removes && !row.always) {
    installed(package("Two").changes(row.change));
    EXPECT_EQ(m_pc.Read(path), once) << "what is there already is overwritten";
    record = find("One");
  }
  EXPECT_EQ(uninstall(record), 0);
  const std::string after = m_pc.Read(path);
  switch (row.after) {
  case After::kAsBefore:
    EXPECT_EQ(after, before);
    break;
  case After::kStays:
    EXPECT_EQ(after, once);
    break;
  case After::kGone:
    EXPECT_EQ(after.find(row.inFile), std::string::npos) << after;
    EXPECT_LT(after.size(), before.size());
    break;
  }
}

INSTANTIATE_TEST_SUITE_P(Changes, EveryKindOfChange, ::testing::ValuesIn(kChanges),
                         [](const auto& row) { return std::string(row.param.name); });

class ManagerChanges : public ChangesFixture {};

TEST_F(ManagerChanges, TheReportIsWhatCameAndWent) {
  const CString kep =
      pack(package("Whole")
               .file("tool.htm", kToCommands)
               .file("deep/a.js", "$tidemark/Configuration/Shared/x/y")
               .changes("<toolbar-changes file=\"notes.xml\"><toolbar-insert><toolbar id=\"X_Bar\" /></toolbar-insert>"
                        "</toolbar-changes>")
               .changesTheList());
  const auto record = [this] { return find("Whole"); };
  const std::tuple<const char*, bool, std::function<bool()>> rows[] = {
      {"install", true, [&] { return tryInstall(kep) != nullptr; }},
      {"disable", true, [&] { return disable(record()) == 0; }},
      {"enable", true, [&] { return enable(record()) == 0; }},
      {"undo", true, [&] { return manager().UndoOperation(0) == 0; }},
      {"uninstall", false, [&] { return uninstall(record()) == 0; }},
      {"undo of that", false, [&] { return manager().UndoOperation(0) == 0; }},
  };
  for (const auto& [what, editsTheList, work] : rows) {
    const MachineSnapshot before = m_pc.Snapshot();
    ASSERT_TRUE(work()) << what;
    std::set<std::string> told;
    for (const auto& [list, word] : {std::pair{&report().created, "new "}, {&report().deleted, "gone "}}) {
      for (const CString& path : *list) {
        if (!path.ends_with("bk")) {
          told.insert(word + std::filesystem::relative(m_pc.HostPath(path), m_pc.GetRoot()).string());
        }
      }
    }
    std::set<std::string> seen;
    std::istringstream lines(difference(before, m_pc.Snapshot()));
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("new ") || line.starts_with("gone ")) {
        seen.insert(line);
      }
    }
    EXPECT_EQ(told, seen) << what;
    const auto& changed = report().changed;
    EXPECT_EQ(std::count(changed.begin(), changed.end(), kConfiguration + "Extensions.txt"), editsTheList) << what;
  }
}

TEST_F(ManagerChanges, TheHostIsCalledInOneOrder) {
  const ExtensionBuilder built = package("Order")
                                     .file("a.htm", kToCommands)
                                     .file("b.htm", kToCommands, "b", "systemfile=\"true\"")
                                     .file("c.htm", kToCommands)
                                     .changesTheList();
  const CString kep = pack(built);
  CKestExtension* record = nullptr;
  int flags = 0;
  const auto install = [&] {
    const CKestProduct* into = nova();
    CKestExtension* replaced = nullptr;
    record = manager().InstallExtension(&into, kep.c_str(), &replaced, false, true, true, flags, true, false, true);
  };
  const auto remove = [&] {
    const int result = manager().UninstallExtension(nova(), record, true, false, true, true, true, flags, true);
    delete (result == 0 ? record : nullptr);
  };
  const std::tuple<const char*, std::function<void()>, const char*> rows[] = {
      {"a cancelled check pass",
       [&] {
         m_pc.Write(kCommands + "a.htm", "mine");
         m_host.accept().answer(Message::kExistingEqual, kCancel);
         install();
         std::filesystem::remove(m_pc.HostPath(kCommands + "a.htm"));
         m_pc.Reopen();
       },
       "progress 0 4016 wait ready 4083 end"},
      {"an install",
       [&] {
         m_host.accept();
         install();
       },
       "progress 0 4016 wait 6 wait ready ready end 4025 end"},
      {"an uninstall of which one file is gone",
       [&] {
         std::filesystem::remove(m_pc.HostPath(kCommands + "c.htm"));
         m_pc.Reopen();
         remove();
       },
       "wait progress 4 ready wait ready end 4035 end"},
  };
  for (const auto& [claim, work, calls] : rows) {
    m_host.clear();
    work();
    EXPECT_EQ(m_host.calls(), calls) << claim;
  }
}

TEST_F(ManagerChanges, AFileOfTheExtensionsOwnIsMadeAndKeptWithoutItsToolbars) {
  const std::string path = kConfiguration + "Toolbars\\own.xml";
  CKestExtension* record = installed(package("One").changes(
      R"(<toolbar-changes file="own.xml"><toolbar-insert><toolbar id="X_Bar" /></toolbar-insert></toolbar-changes>)"));
  EXPECT_THAT(m_pc.Read(path), HasSubstr("X_Bar"));
  EXPECT_EQ(uninstall(record), 0);
  EXPECT_THAT(m_pc.Read(path), Not(HasSubstr("X_Bar")));
}

TEST_F(ManagerChanges, AFileInUseIsWaitedForAndACancelUndoesEverything) {
  const CString kep = pack(package("Ten").file("t.htm", "$tidemark/Configuration/New").changes(kChangesOfTenFiles));
  m_host.clear();
  HoldingMachine holding(m_pc.Get());
  CKestOS::SetMachine(&holding);
  start();
  const MachineSnapshot before = m_pc.Snapshot();
  holding.held = std::string(kNova) + kHelp; // the last file of all
  m_host.answer(Message::kFileInUse, kRetry).answer(Message::kFileInUse, kCancel);
  EXPECT_EQ(tryInstall(kep), nullptr);
  expectUntouched(before);
  EXPECT_EQ(report().failure, Failure::kInUse);
  EXPECT_EQ(report().problems.front().path, holding.held);
  EXPECT_GT(m_host.waits(), 0);
  EXPECT_FALSE(m_host.isWaiting());

  m_host.answer(Message::kFileInUse, kRetry).answer(Message::kFileInUse, kRetry, [&] { holding.held.clear(); });
  EXPECT_NE(tryInstall(kep), nullptr);
  EXPECT_THAT(m_pc.Read(std::string(kNova) + kHelp), HasSubstr("Ten"));
  m_manager.reset();
  CKestOS::SetMachine(&m_pc.Get());
}

TEST_F(ManagerChanges, AFileThatMayNotBeReplacedIsNotWaitedForAndNothingIsLeft) {
  struct : HoldingMachine {
    using HoldingMachine::HoldingMachine;
    MachineError GetLastError() override { return {MachineError::Kind::kAccess, held, "no permission"}; }
  } pinned(m_pc.Get());
  const CString kep = pack(package("Ten").file("t.htm", "$tidemark/Configuration/New").changes(kChangesOfTenFiles));
  m_host.clear();
  CKestOS::SetMachine(&pinned);
  start();
  const MachineSnapshot before = m_pc.Snapshot();
  pinned.held = std::string(kNova) + kMenus;
  EXPECT_EQ(tryInstall(kep), nullptr);
  expectUntouched(before);
  EXPECT_EQ(report().failure, Failure::kNoPermission);
  EXPECT_EQ(report().undoneSteps, 0) << "it is asked first";
  m_manager.reset();
  CKestOS::SetMachine(&m_pc.Get());
}

} // namespace
} // namespace kest::test
