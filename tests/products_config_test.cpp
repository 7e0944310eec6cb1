#include "journal/journal.h"
#include "products/tidemark.h"
#include "support/description_text.h"
#include "support/failing_machine.h"
#include "support/product_fixture.h"
#include "support/scripted_host.h"

#include <gmock/gmock.h>

namespace kest::test {
namespace {

using Op = CKestProduct::OperationType;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kSharedBin = "C:\\ProgramData\\Kestrel\\Tidemark Nova\\";

std::string ChangesXml(const std::string& inner) {
  return "<configuration-changes>\n" + inner + "\n</configuration-changes>";
}
const std::string kMenuItem =
    "<menu-insert appendTo=\"TMMenu_File\"><menuitem name=\"Count\" id=\"X_Count\" /></menu-insert>";
const std::string kLostMenuItem = "<menu-insert appendTo=\"No_Menu\"><menuitem id=\"X_Lost\" /></menu-insert>";
const std::string kShortcut =
    "<shortcut-insert listId=\"TMMainWindow\"><shortcut key=\"Cmd+9\" id=\"X_Key\" /></shortcut-insert>";
const std::string kLostShortcut =
    "<shortcut-insert listId=\"NoList\"><shortcut key=\"Cmd+9\" id=\"X_Key\" /></shortcut-insert>";
const std::string kList =
    "<extensions-changes><extension-insert extension=\"WBK\" description=\"Notes\" /></extensions-changes>";
const std::string kListWithoutDescription =
    "<extensions-changes><extension-insert extension=\"WBK\" /></extensions-changes>";
const std::string kNewToolbars = "<toolbar-changes file=\"notes.xml\"><toolbar-insert><toolbar id=\"X_Bar\" />"
                                 "</toolbar-insert></toolbar-changes>";

class ConfigTest : public ProductTest {
protected:
  ConfigTest() {
    putNova();
    CKestProduct::ClearBackedUpFileList();
    static_cast<void>(m_pc.Get().SetMultiUser(false));
  }
  ~ConfigTest() override { CKestProduct::ClearBackedUpFileList(); }

  /// The sample files in a folder that holds a configuration folder.
  void putFiles(const std::string& folder, const std::vector<std::string>& names = {"Menus.xml", "Extensions.txt"}) {
    for (const std::string& name : names) {
      m_pc.Write(folder + path(name), ConfigSample(name));
    }
  }
  static std::string path(const std::string& name) {
    return name == "Menus.xml" ? "Configuration\\Menus\\Menus.xml" : "Configuration\\" + name;
  }
  /// Three users, of whom Tester changes the configuration for all.
  void makeAllUsers() {
    ASSERT_TRUE(m_pc.Get().SetMultiUser(true));
    ASSERT_TRUE(m_pc.Get().SetUsers({{"Tester", 2}, {"Ann", 1}, {"Bob", 1}}, "Tester"));
    for (const char* user : {"Tester", "Ann", "Bob"}) {
      m_pc.MakeFolder(std::string("C:\\users\\") + user + "\\AppData\\Roaming");
    }
  }
  static std::string binOf(const std::string& user) {
    return "C:\\users\\" + user + "\\AppData\\Roaming\\Kestrel\\Tidemark Nova\\";
  }
  /// The product as it finds itself now.
  CKestTidemark6& product() {
    m_product.Initialize();
    return m_product;
  }
  int process(const CKestExtension& extension, Op operation) {
    return product().ProcessConfigChanges(&m_journal, &m_host, &extension, operation);
  }
  /// As one operation that is kept when it succeeds.
  int runOperation(const CKestExtension& extension, Op operation) {
    CKestProduct::ClearBackedUpFileList();
    JournalScope scope(m_journal);
    const int result = process(extension, operation);
    EXPECT_TRUE(result != 0 || scope.Commit());
    return result;
  }
  [[nodiscard]] std::string problems() const {
    std::string text;
    for (const ConfigProblem& problem : m_product.GetConfigProblems()) {
      text += std::to_string(problem.code) + (problem.critical ? "!" : "") + (problem.declined ? "?" : "") + " " +
              CKestPath(problem.path).GetFileName() + (problem.change.empty() ? "" : " with words") + ";";
    }
    return text;
  }

  ScriptedHost m_host;
  CKestInstallJournal m_journal;
  CKestTidemark6 m_product;
};

TEST_F(ConfigTest, TwoSetsOnOneFileTakeOneBackupAndUndoGivesEverythingBack) {
  putFiles(kNovaFolder);
  const std::string menus = kNovaFolder + path("Menus.xml");
  m_pc.SetReadOnly(menus, true);
  const CKestExtension extension = RecordOf(ChangesXml(kMenuItem) + ChangesXml(kShortcut + kList + kNewToolbars));
  const MachineSnapshot before = m_pc.Snapshot();
  {
    JournalScope scope(m_journal);
    ASSERT_EQ(process(extension, Op::Install), 0);
    EXPECT_THAT(m_pc.Read(menus), AllOf(HasSubstr("X_Count"), HasSubstr("X_Key")));
    EXPECT_EQ(m_pc.Read(std::string(kNovaFolder) + "Configuration\\Menus\\Menus.xbk"), ConfigSample("Menus.xml"))
        << "the second set must not back up what the first has changed";
    EXPECT_EQ(CKestProduct::GetBackedUpFiles().GetCount(), 2u);
    EXPECT_TRUE(scope.RollBack());
  }
  EXPECT_EQ(DescribeDifference(before, m_pc.Snapshot()), "");
}

TEST_F(ConfigTest, PathOutsideTheConfigurationIsRefusedBeforeAnythingIsTouched) {
  putFiles(kNovaFolder);
  const MachineSnapshot before = m_pc.Snapshot();
  const CKestExtension extension =
      RecordOf(ChangesXml("<toolbar-changes file=\"..\\..\\x.xml\"><toolbar-insert><toolbar id=\"X\" />"
                          "</toolbar-insert></toolbar-changes>"));
  EXPECT_EQ(runOperation(extension, Op::Install), -1);
  EXPECT_EQ(problems(), "12! x.xml;");
  EXPECT_EQ(DescribeDifference(before, m_pc.Snapshot()), "");
}

TEST_F(ConfigTest, SeveralErrorsAreToldOnceUnderOneHeading) {
  putFiles(kNovaFolder);
  const CKestExtension extension = RecordOf(ChangesXml(kLostShortcut + kLostShortcut + kListWithoutDescription));
  EXPECT_EQ(runOperation(extension, Op::Install), -1);
  ASSERT_THAT(m_host.noticeNumbers(), ElementsAre(4096));
  const CString lost = LoadMessage(Message::kShortcutListMissing);
  const CString missing =
      FormatMessage(Message::kAttributeMissing, {CString("extension-insert"), CString("description")});
  EXPECT_EQ(m_host.notices()[0].text, LoadMessage(Message::kSeveralProblems) + " " +
                                          LoadMessage(Message::kNotInstalled) + "\n" + lost + "\n" + missing);
  EXPECT_EQ(problems(), "4 Menus.xml with words;4 Menus.xml with words;25! Extensions.txt with words;");
}

TEST_F(ConfigTest, HeaderFollowsOperationAndOutcome) {
  putFiles(kNovaFolder);
  const CKestExtension harmless = RecordOf(ChangesXml(kLostMenuItem));
  const CKestExtension fatal = RecordOf(ChangesXml(kListWithoutDescription));
  const CKestExtension fatalUndo =
      RecordOf(ChangesXml("<source-format-changes><element-insert name=\"x\" /></source-format-changes>"));
  m_pc.Write(std::string(kNovaFolder) + "Configuration\\SourceFormat.txt", "no sections here");
  struct Row {
    const CKestExtension& extension;
    Op operation;
    int result;
    int number;
    Message header;
  };
  for (const Row& row : {Row{harmless, Op::Install, 0, 4163, Message::kInstalledWithProblems},
                         Row{harmless, Op::Enable, 0, 4163, Message::kEnabledWithProblems},
                         Row{fatal, Op::Install, -1, 4102, Message::kNotInstalled},
                         Row{fatal, Op::Enable, -1, 4102, Message::kEnableFailed},
                         Row{fatalUndo, Op::Uninstall, -1, 4108, Message::kUninstallFailed},
                         Row{fatalUndo, Op::Disable, -1, 4108, Message::kDisableFailed}}) {
    m_host.clear();
    EXPECT_EQ(runOperation(row.extension, row.operation), row.result);
    ASSERT_THAT(m_host.noticeNumbers(), ElementsAre(row.number)) << static_cast<int>(row.header);
    const std::string& text = m_host.notices()[0].text;
    EXPECT_TRUE(text.ends_with(" " + LoadMessage(row.header))) << text;
  }
}

TEST_F(ConfigTest, MissingFileStopsAnInstallAndIsPassedOverByAnUninstall) {
  putFiles(kNovaFolder, {"Extensions.txt"});
  const CKestExtension extension = RecordOf(ChangesXml(kMenuItem + kList));
  EXPECT_EQ(runOperation(extension, Op::Install), -1);
  EXPECT_THAT(m_host.noticeNumbers(), ElementsAre(4099));
  EXPECT_EQ(m_pc.Read(kNovaFolder + path("Extensions.txt")), ConfigSample("Extensions.txt"));
  m_pc.Write(kNovaFolder + path("Extensions.txt"), ConfigSample("Extensions.txt") + "WBK:Notes\r\n");
  EXPECT_EQ(runOperation(extension, Op::Uninstall), 0);
  EXPECT_EQ(m_pc.Read(kNovaFolder + path("Extensions.txt")), ConfigSample("Extensions.txt"));
}

TEST_F(ConfigTest, OneOfSeveralUsersGetsFreshCopiesFromTheSharedFolderOrTheProduct) {
  makeAllUsers();
  ASSERT_TRUE(m_pc.Get().SetCurrentUser("Ann"));
  putFiles(kNovaFolder);
  m_pc.Write(kSharedBin + path("Extensions.txt"), "SHARED:Shared Files\r\n");
  const MachineSnapshot before = m_pc.Snapshot();
  {
    JournalScope scope(m_journal);
    ASSERT_EQ(process(RecordOf(ChangesXml(kMenuItem + kList)), Op::Install), 0);
    EXPECT_THAT(m_pc.Read(binOf("Ann") + path("Menus.xml")), HasSubstr("X_Count"));
    EXPECT_EQ(m_pc.Read(binOf("Ann") + path("Extensions.txt")), "SHARED:Shared Files\r\nWBK:Notes\r\n");
  }
  EXPECT_EQ(DescribeDifference(before, m_pc.Snapshot()), "") << "copies and folders go again";
}

TEST_F(ConfigTest, UserWhoLacksTheFileGetsACopyOfTheChangedSharedOne) {
  makeAllUsers();
  putFiles(kNovaFolder);
  putFiles(kSharedBin);
  putFiles(binOf("Ann"));
  const std::string anns = "ANN:Ann's Files\r\n";
  m_pc.Write(binOf("Ann") + path("Extensions.txt"), anns);
  m_pc.SetReadOnly(binOf("Ann") + path("Extensions.txt"), true);
  const CKestExtension extension = RecordOf(ChangesXml(kMenuItem + kList));
  ASSERT_EQ(runOperation(extension, Op::Install), 0);
  const std::string shared = m_pc.Read(kSharedBin + path("Menus.xml"));
  EXPECT_THAT(shared, HasSubstr("X_Count"));
  for (const char* user : {"Tester", "Bob"}) {
    EXPECT_EQ(m_pc.Read(binOf(user) + path("Menus.xml")), shared) << user;
  }
  EXPECT_EQ(m_pc.Read(binOf("Ann") + path("Extensions.txt")), anns + "WBK:Notes\r\n");
  EXPECT_EQ(m_pc.Read(binOf("Ann") + "Configuration\\Extensions.tbk"), anns);
  EXPECT_EQ(m_pc.Read(kNovaFolder + path("Menus.xml")), ConfigSample("Menus.xml")) << "the product's own stay";

  ASSERT_TRUE(CKestOS::DeleteFile(binOf("Bob") + path("Menus.xml")));
  ASSERT_EQ(runOperation(extension, Op::Uninstall), 0) << "a user without the file is passed over";
  EXPECT_FALSE(m_pc.Exists(binOf("Bob") + path("Menus.xml")));
  EXPECT_THAT(m_pc.Read(binOf("Tester") + path("Menus.xml")), Not(HasSubstr("X_Count")));
}

TEST_F(ConfigTest, EveryFailingCallIsToldAndGivesEverythingBack) {
  makeAllUsers();
  putFiles(kNovaFolder);
  putFiles(kSharedBin);
  putFiles(binOf("Ann"));
  m_pc.SetReadOnly(kSharedBin + path("Menus.xml"), true);
  const CKestExtension extension = RecordOf(ChangesXml(kMenuItem + kList + kNewToolbars));
  const MachineSnapshot before = m_pc.Snapshot();
  FailingMachine machine(m_pc.Get());
  CKestOS::SetMachine(&machine);
  m_product.Initialize();
  m_host.always(Message::kFileInUse, kCancel);
  CKestInstallJournal::SetDurable(false); // nothing dies here, and syncs would take most of the time
  MachineSnapshot wanted;
  int fellBack = 0;
  const auto tryOnce = [&](int n, bool persistent) {
    CKestProduct::ClearBackedUpFileList();
    JournalScope scope(m_journal);
    machine.arm(n, persistent);
    const int result = m_product.ProcessConfigChanges(&m_journal, &m_host, &extension, Op::Install);
    const bool fired = machine.fired();
    machine.disarm();
    MachineSnapshot after = m_pc.Snapshot();
    const auto backedUp = [&](const auto& entry) {
      return entry.first.ends_with("bk") && !wanted.entries.contains(entry.first);
    };
    // a copy that did not come from the shared folder is edited, and so backed up
    fellBack += n > 0 && result == 0 && std::any_of(after.entries.begin(), after.entries.end(), backedUp);
    std::erase_if(after.entries, [&](const auto& entry) {
      return entry.first.find("/kest-") != std::string::npos || (n > 0 && backedUp(entry));
    });
    for (auto& [name, entry] : after.entries) {
      entry.date = 0; // a save's date is the clock's
    }
    EXPECT_TRUE(result == 0 || !m_product.GetConfigProblems().empty()) << machine.name();
    if (n == 0) {
      wanted = after;
    } else if (result == 0) {
      EXPECT_EQ(DescribeDifference(wanted, after), "") << "a false success, call " << n << ": " << machine.name();
    }
    EXPECT_TRUE(scope.RollBack());
    return fired;
  };
  tryOnce(0, false);
  for (const bool persistent : {false, true}) {
    int n = 1;
    for (; tryOnce(n, persistent); n += persistent ? 3 : 1) {
      ASSERT_EQ(DescribeDifference(before, m_pc.Snapshot()), "") << "call " << n << ": " << machine.name();
    }
    EXPECT_GT(n, 100);
  }
  EXPECT_GT(fellBack, 0) << "a shared copy that cannot be had is not the last one";
  CKestInstallJournal::SetDurable(true);
  CKestOS::SetMachine(&m_pc.Get());
}

TEST_F(ConfigTest, MissingHelpFileIsTold) {
  const CKestExtension extension = RecordOf("<help-changes><helpbook-changes><helpbook-insert><book-id id=\"X_Book\" "
                                            "/></helpbook-insert></helpbook-changes></help-changes>");
  EXPECT_EQ(product().ProcessHelpChanges(&m_journal, &m_host, &extension, Op::Disable), -1);
  ASSERT_THAT(m_host.noticeNumbers(), ElementsAre(4098));
  EXPECT_TRUE(m_product.GetConfigProblems().at(0).help);
}

} // namespace
} // namespace kest::test
