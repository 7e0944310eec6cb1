#include "description/extension.h"
#include "platform/os.h"
#include "support/kest_fixture.h"

namespace kest::test {
namespace {

class InstallTest : public KestFixture {
protected:
  /// Not quiet.
  CKestExtension* install(const CString& path, CKestExtension** replaced = nullptr, bool acceptEqual = false) {
    m_into = nova();
    return manager().InstallExtension(&m_into, path.c_str(), replaced, false, true, true, m_restart, false, acceptEqual,
                                      true);
  }
  static ExtensionBuilder wordCount() {
    return package("Word Count")
        .file("wc.htm", kToCommands, "count")
        .file("sub/wc.js", "$tidemark/Configuration/Shared/wc/deep", "code");
  }

  const CKestProduct* m_into = nullptr;
  int m_restart = -1;
};

TEST_F(InstallTest, FilesLandTheDescriptionIsStoredAndTheCatalogueKnows) {
  const CString kep = pack(wordCount());
  m_host.accept();
  CKestExtension* record = install(kep);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(m_host.noticeNumbers(), std::vector<int>{4025});
  EXPECT_EQ(m_restart, 0);
  EXPECT_EQ(m_into, nova());
  EXPECT_EQ(m_pc.Read(kCommands + "wc.htm"), "count");
  EXPECT_EQ(m_pc.GetDate(kCommands + "wc.htm"), TempMachine::kDate);
  EXPECT_EQ(m_pc.Read(kConfiguration + "Shared\\wc\\deep\\wc.js"), "code");
  EXPECT_EQ(find("Word Count"), record);
  EXPECT_EQ(record->GetPath(), kDescriptions + "word_count.kei");
  EXPECT_EQ(m_pc.GetDate(kDescriptions + "word_count.kei"), m_pc.GetDate(kep)) << "the package's own date";
  CKestExtension again;
  EXPECT_EQ(again.Load(record->GetPath().c_str(), nullptr), 0);
  EXPECT_EQ(again.GetFiles().GetCount(), 2u);
  EXPECT_TRUE(isTempEmpty());
  EXPECT_EQ(report().extension, "Word Count");
  EXPECT_EQ(report().created.size(), 6u) << "three folders, two files, the description";
}

TEST_F(InstallTest, ProgressOpensAtATwentiethAndNeverGoesBack) {
  m_host.accept();
  ASSERT_NE(install(pack(wordCount())), nullptr); // three names with the description
  EXPECT_EQ(m_host.range(), 8);
  EXPECT_FALSE(m_host.isProgressOpen());
  EXPECT_TRUE(std::is_sorted(m_host.positions().begin() + 1, m_host.positions().end()));
  EXPECT_EQ(m_host.positions().back(), 4) << "two files checked, two placed";
}

TEST_F(InstallTest, ABareDescriptionInstallsWithTheFilesBesideItAndKeepsThem) {
  const CString kei = lay(wordCount());
  m_host.accept();
  ASSERT_NE(install(kei), nullptr);
  EXPECT_EQ(m_pc.Read(kCommands + "wc.htm"), "count");
  EXPECT_TRUE(m_pc.Exists("C:\\Work\\Word Count\\wc.htm"));
  EXPECT_TRUE(m_pc.Exists("C:\\Work\\Word Count\\word_count.kei"));
}

struct BadInput {
  const char* claim;
  std::function<ExtensionBuilder()> build;
  int message;
  OperationReport::Failure failure;
};

TEST_F(InstallTest, BadInputIsRefusedWithItsMessageAndChangesNothing) {
  const BadInput rows[] = {
      {"unsupported product", [] { return package("X").product("Quarry", "2"); }, 4070, Failure::kUnsupportedProduct},
      {"one product missing", [] { return package("X").product("Tidemark", "4").product("Prism", "4"); }, 4070,
       Failure::kUnsupportedProduct},
      {"no token", [] { return package("X").file("a.htm", "Configuration/Commands"); }, 4038, Failure::kBadDescription},
      {"no name", [] { return package("").descriptionNamed("x.kei"); }, 4032, Failure::kBadDescription},
      {"hidden way up",
       [] { return package("X").file("a.htm", "$up/x").token("name=\"up\" definition=\"C:\\a\\..\\b\""); }, 4066,
       Failure::kBadDescription},
      {"no description", [] { return package("X").changes("</broken>"); }, 4031, Failure::kBadDescription},
  };
  for (const BadInput& row : rows) {
    SCOPED_TRACE(row.claim);
    m_host.clear();
    m_host.otherwise(kYes);
    const ExtensionBuilder extension = row.build();
    const CString kei = lay(extension);
    const MachineSnapshot before = m_pc.Snapshot();
    EXPECT_EQ(install(kei), nullptr);
    ASSERT_EQ(m_host.noticeNumbers(), std::vector<int>{row.message});
    EXPECT_EQ(report().failure, row.failure);
    expectUntouched(before);
    EXPECT_TRUE(catalogue().empty());
  }
}

TEST_F(InstallTest, UnreadablePackagesAreRefused) {
  const std::string good = m_pc.Read(pack(wordCount()));
  m_pc.Write("C:\\Work\\cut.kep", good.substr(0, good.size() / 2));
  m_pc.Write("C:\\Work\\empty.kep", "");
  for (const char* path : {"C:\\Work\\cut.kep", "C:\\Work\\empty.kep"}) {
    const MachineSnapshot before = m_pc.Snapshot();
    EXPECT_EQ(install(path), nullptr);
    EXPECT_EQ(report().failure, Failure::kBadPackage) << path;
    expectUntouched(before);
  }
  EXPECT_EQ(m_host.notices().size(), 2u);
  m_host.clear();
  EXPECT_EQ(install("C:\\Work\\missing.kep"), nullptr);
  EXPECT_EQ(m_host.noticeNumbers(), std::vector<int>{4030});
  EXPECT_EQ(report().failure, Failure::kNotFound);
}

TEST_F(InstallTest, DecliningTheAgreementChangesNothing) {
  const CString kep = pack(wordCount());
  const MachineSnapshot before = m_pc.Snapshot();
  m_host.accept(false);
  EXPECT_EQ(install(kep), nullptr);
  EXPECT_TRUE(m_host.notices().empty());
  EXPECT_EQ(report().failure, Failure::kDeclined);
  expectUntouched(before);
}

TEST_F(InstallTest, AnEqualOneIsReportedWhenAcceptedAndAskedAboutOtherwise) {
  CKestExtension* first = installed(wordCount());
  const CString kep = pack(wordCount());
  const MachineSnapshot before = m_pc.Snapshot();
  CKestExtension* replaced = nullptr;
  m_host.accept();
  EXPECT_EQ(install(kep, &replaced, true), nullptr);
  EXPECT_EQ(replaced, first);
  expectUntouched(before);
  m_host.accept().answer(Message::kEqualVersion, kNo);
  EXPECT_EQ(install(kep, &replaced), nullptr);
  EXPECT_EQ(replaced, nullptr);
  EXPECT_EQ(find("Word Count"), first);
  expectUntouched(before);
}

TEST_F(InstallTest, AReplacedExtensionMayBeReadUntilTheNextOperation) {
  installed(wordCount().file("old.htm", kToCommands, "old"));
  CKestExtension* replaced = nullptr;
  m_host.accept().answer(Message::kNewerVersion, kYes);
  CKestExtension* record = install(pack(wordCount().version("2.0")), &replaced);
  ASSERT_NE(record, nullptr);
  ASSERT_NE(replaced, nullptr);
  EXPECT_EQ(replaced->GetVersion().ToText(), "1.0");
  EXPECT_FALSE(m_pc.Exists(kCommands + "old.htm"));
  EXPECT_EQ(catalogue(), std::vector<std::string>{"Word Count 2.0 enabled " + kDescriptions + "word_count.kei"});
  EXPECT_EQ(report().replaced, "Word Count");
  EXPECT_EQ(report().deleted, std::vector<CString>{kCommands + "old.htm"});
  EXPECT_TRUE(report().created.empty()) << "the rest was there before";
}

TEST_F(InstallTest, AnotherExtensionWithTheSameDescriptionNameIsDisabled) {
  CKestExtension* other = installed(package("Other").descriptionNamed("same.kei").file("other.htm", kToCommands));
  m_host.accept().answer(Message::kDescriptionNameTaken, kYes);
  CKestExtension* replaced = nullptr;
  ASSERT_NE(install(pack(wordCount().descriptionNamed("same.kei")), &replaced), nullptr);
  EXPECT_EQ(replaced, other);
  EXPECT_FALSE(other->IsEnabled());
  EXPECT_EQ(other->GetPath(), kDisabled + "same.kei");
  EXPECT_TRUE(m_pc.Exists(kDisabled + "same.kep"));
  EXPECT_FALSE(m_pc.Exists(kCommands + "other.htm"));
  EXPECT_EQ(catalogue().size(), 2u);
}

TEST_F(InstallTest, ExistingFilesAreAskedAboutByTheirDates) {
  m_pc.Write(kCommands + "wc.htm", "mine", TempMachine::kDate + 60);
  m_pc.Write(kCommands + "b.htm", "mine", TempMachine::kDate - 60);
  m_pc.Write(kCommands + "c.htm", "mine");
  m_pc.SetReadOnly(kCommands + "c.htm", true);
  m_host.accept()
      .answer(Message::kExistingNewer, kNo)
      .answer(Message::kExistingOlder, kYes)
      .answer(Message::kExistingEqual, kAll);
  ASSERT_NE(install(pack(wordCount()
                             .file("b.htm", kToCommands, "new b")
                             .file("c.htm", kToCommands, "new c")
                             .file("own.htm", kToCommands, "new own"))),
            nullptr);
  EXPECT_EQ(m_pc.Read(kCommands + "wc.htm"), "mine");
  EXPECT_EQ(m_pc.Read(kCommands + "b.htm"), "new b");
  EXPECT_EQ(m_pc.Read(kCommands + "c.htm"), "new c");
  EXPECT_EQ(m_pc.Read(kCommands + "Own.htm"), "new own") << "all the rest, in the spelling that it had";
  ASSERT_EQ(report().kept.size(), 1u);
  EXPECT_EQ(report().kept[0].why, OperationReport::Why::kUserAnswer);
}

TEST_F(InstallTest, CancellingTheOverwriteQuestionPutsReadOnlyMarksBack) {
  m_pc.Write(kCommands + "wc.htm", "mine");
  m_pc.SetReadOnly(kCommands + "wc.htm", true);
  m_pc.Write(kCommands + "z.htm", "mine");
  const CString kep = pack(wordCount().file("z.htm", kToCommands));
  const MachineSnapshot before = m_pc.Snapshot();
  m_host.accept().answer(Message::kExistingEqual, kYes).answer(Message::kExistingEqual, kCancel);
  EXPECT_EQ(install(kep), nullptr);
  expectUntouched(before);
}

TEST_F(InstallTest, SystemFilesWaitForTheNextLogOnAndFontsAreRegistered) {
  m_host.accept();
  ASSERT_NE(install(pack(package("Parts")
                             .file("part.dll", "$system", "new", "systemfile=\"true\"")
                             .file("fancy.ttf", "$fonts", "glyphs"))),
            nullptr);
  EXPECT_EQ(m_restart, CKestExtensionManager::kRestartMachine);
  EXPECT_EQ(m_host.noticeNumbers(), std::vector<int>{4093});
  EXPECT_FALSE(m_pc.Exists("C:\\windows\\system32\\part.dll"));
  std::vector<RegistryValue> values;
  ASSERT_TRUE(CKestOS::EnumRegistryValues(RegistryRoot::kCurrentUser,
                                          "software\\microsoft\\windows\\currentversion\\runonce", values));
  ASSERT_EQ(values.size(), 1u);
  EXPECT_NE(values[0].data.find("part.dll"), CString::npos);
  EXPECT_EQ(m_pc.Read("C:\\windows\\Fonts\\fancy.ttf"), "glyphs");
  EXPECT_EQ(m_pc.Get().GetFontResources().size(), 1u);
}

TEST_F(InstallTest, FoldersOfTokensAreAskedForAndAGivenUpQuestionMayCancel) {
  const ExtensionBuilder extension =
      package("Snippets")
          .token("name=\"snip\" prompt=\"Where are your snippets?\" default=\"$tidemark/Snippets\"")
          .file("s.txt", "$snip/mine", "s");
  const CString kep = pack(extension);
  const MachineSnapshot before = m_pc.Snapshot();
  m_host.accept().noFolder().answer(Message::kCancelInstall, kNo);
  EXPECT_EQ(install(kep), nullptr);
  expectUntouched(before);
  m_host.accept().noFolder().answer(Message::kCancelInstall, kYes).folder("C:\\Sites");
  CKestExtension* record = install(kep);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(m_pc.Read("C:\\Sites\\mine\\s.txt"), "s");
  start(); // the stored definition serves the uninstall of a later run
  ASSERT_NE(find("Snippets"), nullptr);
  EXPECT_EQ(manager().GetInstalledFiles(nova(), find("Snippets")), std::vector<CString>{"C:\\Sites\\mine\\s.txt"});
}

TEST_F(InstallTest, ARunningProductReloadsOrIsToBeRestarted) {
  runNova();
  m_host.accept();
  ASSERT_NE(install(pack(package("Plain").file("p.htm", kToCommands))), nullptr);
  EXPECT_EQ(m_pc.Get().GetStartedPrograms().size(), 1u);
  EXPECT_EQ(m_host.noticeNumbers(), std::vector<int>{4025});
  m_host.clear();
  m_host.accept();
  ASSERT_NE(install(pack(package("Deep").requiresRestart().file("d.htm", kToCommands))), nullptr);
  EXPECT_EQ(m_host.noticeNumbers(), std::vector<int>{4026});
  EXPECT_EQ(m_restart, CKestExtensionManager::kRestartProduct);
  EXPECT_EQ(m_pc.Get().GetStartedPrograms().size(), 1u);
}

TEST_F(InstallTest, ChangesOfConfigurationFilesComeWithTheInstallAndGoWithItsFailure) {
  const std::string list = kConfiguration + "Extensions.txt";
  const std::string old = m_pc.Read(list);
  const std::string good = "<extensions-changes><extension-insert extension=\"SHTML\" description=\"HTML Documents\" />"
                           "</extensions-changes>\n";
  const MachineSnapshot before = m_pc.Snapshot();
  const CString bad = pack(wordCount().changes(
      good + "<extensions-changes><extension-insert extension=\"\" description=\"x\" /></extensions-changes>\n"));
  m_host.accept().otherwise(kCancel);
  EXPECT_EQ(install(bad), nullptr);
  EXPECT_EQ(m_pc.Read(list), old);
  EXPECT_NE(report().problems.front().message, 0) << "the report names what the product told the user";
  EXPECT_FALSE(m_pc.Exists(kCommands + "wc.htm"));
  m_host.clear();
  m_host.accept();
  CKestExtension* record = install(pack(wordCount().changes(good)));
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(m_pc.Read(list), "HTM,HTML,SHTML:HTML Documents\r\nTXT:Text Files\r\n");
  ASSERT_EQ(report().leftovers.size(), 1u);
  EXPECT_EQ(report().leftovers[0].path, kConfiguration + "Extensions.tbk");
  EXPECT_EQ(uninstall(record), 0);
  EXPECT_EQ(m_pc.Read(list), old);
}

TEST_F(InstallTest, AMachineThatAnotherProcessChangesIsLeftAlone) {
  const CString kep = pack(wordCount());
  const MachineSnapshot before = m_pc.Snapshot();
  MachineFolder second(m_pc.GetRoot().string());
  ASSERT_TRUE(second.LockWriter(0).held);
  EXPECT_EQ(tryInstall(kep), nullptr);
  EXPECT_EQ(report().failure, Failure::kLocked);
  EXPECT_NE(report().problems.front().reason, "");
  expectUntouched(before);
  second.UnlockWriter();
  EXPECT_NE(tryInstall(kep), nullptr);
}

} // namespace
} // namespace kest::test
