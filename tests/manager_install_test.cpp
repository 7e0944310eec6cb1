#include "description/description_index.h"
#include "description/extension.h"
#include "platform/machine/os.h"
#include "support/kest_fixture.h"

#include <chrono>
#include <thread>
#include <tuple>

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
  m_pc.Write(kConfiguration + "wc.js\\x", ""); // a folder of a file's name, above where the file goes
  const MachineSnapshot before = m_pc.Snapshot();
  m_host.accept(false);
  EXPECT_EQ(install(kep), nullptr);
  EXPECT_EQ(report().failure, Failure::kDeclined);
  expectUntouched(before);
  EXPECT_TRUE(m_host.notices().empty());
  m_host.clear();
  m_host.accept();
  CKestExtension* record = install(kep);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(m_host.noticeNumbers(), std::vector<int>{4025});
  EXPECT_EQ(m_restart, 0);
  // progress opens at a twentieth and never goes back: two files checked, two placed, with the description three names
  EXPECT_EQ(m_host.range(), 8);
  EXPECT_FALSE(m_host.isProgressOpen());
  EXPECT_TRUE(std::is_sorted(m_host.positions().begin() + 1, m_host.positions().end()));
  EXPECT_EQ(m_host.positions().back(), 4);
  EXPECT_EQ(m_into, nova());
  EXPECT_EQ(m_pc.Read(kCommands + "wc.htm"), "count");
  EXPECT_EQ(m_pc.GetDate(kCommands + "wc.htm"), TempMachine::kDate);
  EXPECT_EQ(m_pc.Read(kConfiguration + "Shared\\wc\\deep\\wc.js"), "code");
  EXPECT_EQ(find("Word Count"), record);
  EXPECT_EQ(record->GetPath(), kDescriptions + "word_count.kei");
  EXPECT_EQ(m_pc.GetDate(kDescriptions + "word_count.kei"), m_pc.GetDate(kep)) << "the package's own date";
  EXPECT_TRUE(isTempEmpty());
  EXPECT_EQ(report().created.size(), 6u) << "three folders, two files, the description";
}

TEST_F(InstallTest, ABareDescriptionInstallsWithTheFilesBesideItAndKeepsThem) {
  const CString kei = lay(wordCount());
  m_host.accept();
  ASSERT_NE(install(kei), nullptr);
  EXPECT_EQ(m_pc.Read(kCommands + "wc.htm"), "count");
  EXPECT_TRUE(m_pc.Exists("C:\\Work\\Word Count\\wc.htm"));
  EXPECT_TRUE(m_pc.Exists("C:\\Work\\Word Count\\word_count.kei"));
}

TEST_F(InstallTest, AReaderThatLooksForWhatWasInterruptedIsWaitedFor) {
  const CString kep = pack(wordCount());
  MachineFolder reader(m_pc.GetRoot().string());
  ASSERT_TRUE(reader.LockWriter(0).held);
  std::thread moment([&reader] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    reader.UnlockWriter();
  });
  EXPECT_NE(tryInstall(kep), nullptr);
  moment.join();
}

TEST_F(InstallTest, BadInputIsRefusedWithItsMessageAndChangesNothing) {
  const std::tuple<const char*, ExtensionBuilder, int, Failure> rows[] = {
      {"unsupported product", package("X").product("Quarry", "2"), 4070, Failure::kUnsupportedProduct},
      {"one product missing", package("X").product("Tidemark", "4").product("Prism", "4"), 4070,
       Failure::kUnsupportedProduct},
      {"no token", package("X").file("a.htm", "Configuration/Commands"), 4038, Failure::kBadDescription},
      {"no name", package("").descriptionNamed("x.kei"), 4032, Failure::kBadDescription},
      {"hidden way up", package("X").file("a.htm", "$up/x").token("name=\"up\" definition=\"C:\\a\\..\\b\""), 4066,
       Failure::kBadDescription},
      {"a device's name", package("X").file("a.htm", "$tidemark/nul"), 0, Failure::kBadDescription},
      {"no description", package("X").changes("</broken>"), 4031, Failure::kBadDescription},
      {"another's description", package("X").file("other.kei", "$tidemark/Configuration/Extensions"), 0,
       Failure::kBadDescription},
      {"the index", package("X").file(DescriptionIndex::kFileName, "$tidemark/Configuration/EXTENSIONS"), 0,
       Failure::kBadDescription},
      {"what is set aside", package("X").file("a.kep", "$tidemark/Configuration/Extensions/disabled"), 0,
       Failure::kBadDescription},
      {"the temporary folder",
       package("X").file("a", "$t/kest-1-a").token("name=\"t\" definition=\"C:\\windows\\temp\""), 0,
       Failure::kBadDescription},
      {"the history", package("X").file("a", "$t").token("name=\"t\" definition=\"c:/programdata/KEST/trash\""), 0,
       Failure::kBadDescription},
  };
  for (const auto& [claim, extension, message, failure] : rows) {
    SCOPED_TRACE(claim);
    m_host.clear();
    m_host.otherwise(kYes);
    const CString kei = lay(extension);
    const MachineSnapshot before = m_pc.Snapshot();
    EXPECT_EQ(install(kei), nullptr);
    ASSERT_EQ(m_host.noticeNumbers(), std::vector<int>{message});
    EXPECT_EQ(report().failure, failure);
    expectUntouched(before);
  }
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

TEST_F(InstallTest, SystemFilesOfOnePackageWaitUnderNamesOfTheirOwn) {
  m_host.accept();
  ASSERT_NE(install(pack(package("Parts")
                             .file("one.dll", "$system", "1", "systemfile=\"true\"")
                             .file("two.dll", "$system", "2", "systemfile=\"true\"")
                             .file("three.dll", "$system/drivers", "3", "systemfile=\"true\""))),
            nullptr);
  std::vector<RegistryValue> values;
  ASSERT_TRUE(CKestOS::EnumRegistryValues(RegistryRoot::kCurrentUser,
                                          "software\\microsoft\\windows\\currentversion\\runonce", values));
  ASSERT_EQ(values.size(), 3u) << "one for each, whatever its folder";
  const std::filesystem::path waits =
      std::filesystem::directory_iterator(m_pc.HostPath("C:\\windows\\system32\\drivers"))->path();
  std::filesystem::rename(waits, waits.string() + ".lost");
  restart();
  EXPECT_NE(disable(find("Parts")), 0);
  EXPECT_EQ(report().failure, Failure::kInUse) << "the machine has to be restarted first";
  std::filesystem::rename(waits.string() + ".lost", waits);
  restart();
  EXPECT_EQ(disable(find("Parts")), 0) << "what waits is packed from where it waits";
  for (const char* file : {"one.dll", "two.dll", "drivers\\three.dll"}) {
    EXPECT_TRUE(std::any_of(values.begin(), values.end(), [&](const RegistryValue& value) {
      return value.data.find(std::string("system32\\") + file) != CString::npos;
    })) << file;
  }
}

TEST_F(InstallTest, FoldersOfTokensAreAskedForAndAGivenUpQuestionMayCancel) {
  const CString kep = pack(package("Snippets")
                               .token("name=\"snip\" prompt=\"Where to?\" default=\"$tidemark/Snippets\"")
                               .file("s.txt", "$snip/mine", "s"));
  const MachineSnapshot before = m_pc.Snapshot();
  m_host.accept().noFolder().answer(Message::kCancelInstall, kNo);
  EXPECT_EQ(install(kep), nullptr);
  expectUntouched(before);
  m_host.accept().noFolder().answer(Message::kCancelInstall, kYes).folder("C:\\Sites");
  ASSERT_NE(install(kep), nullptr);
  EXPECT_EQ(m_pc.Read("C:\\Sites\\mine\\s.txt"), "s");
  start(); // the stored definition serves the uninstall of a later run
  EXPECT_EQ(manager().GetInstalledFiles(nova(), find("Snippets")), std::vector<CString>{"C:\\Sites\\mine\\s.txt"});
}

TEST_F(InstallTest, ATokenWithoutAPromptLeadsOutOfTheProductsOnlyWhenTheUserSaysSo) {
  m_host.accept();
  ASSERT_NE(
      install(pack(package("Inside").token("name=\"in\" definition=\"$tidemark/Own\"").file("i.txt", "$in", "i"))),
      nullptr);
  const CString kep = pack(package("Outside")
                               .token("name=\"out\" definition=\"C:\\windows\\own\"")
                               .token("name=\"below\" definition=\"$out/below\"")
                               .file("o.txt", "$below", "o"));
  const MachineSnapshot before = m_pc.Snapshot();
  m_host.accept().noFolder().answer(Message::kCancelInstall, kNo);
  EXPECT_EQ(install(kep), nullptr);
  expectUntouched(before);
  m_host.accept().folder("C:\\Sites");
  ASSERT_NE(install(kep), nullptr) << "what lies below the answer needs none";
  EXPECT_EQ(m_pc.Read("C:\\Sites\\below\\o.txt"), "o");
}

// Each leads to the next; whoever looks each one up among all of them would look for hours.
TEST_F(InstallTest, TokensThatLeadToTokensCostNoMoreThanTheirNumber) {
  for (const int count : {1999, 2001}) {
    ExtensionBuilder extension = package("Chain " + std::to_string(count));
    std::string tokens;
    for (int i = 0; i < count; ++i) {
      tokens += "<token name=\"t" + std::to_string(i) + "\" definition=\"$t" + std::to_string(i + 1) + "\\x\" />\n";
    }
    extension.token("name=\"a\" definition=\"$a\" />" + tokens.substr(0, tokens.rfind(" />")));
    m_host.accept();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(install(lay(extension)) != nullptr, count < 2000) << count;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20)) << count;
  }
}

TEST_F(InstallTest, ARunningProductReloadsOrIsToBeRestarted) {
  runNova();
  m_host.accept();
  ASSERT_NE(install(pack(package("Plain"))), nullptr);
  EXPECT_EQ(m_pc.Get().GetStartedPrograms().size(), 1u);
  m_host.accept();
  ASSERT_NE(install(pack(package("Deep").requiresRestart())), nullptr);
  EXPECT_EQ(m_host.noticeNumbers(), (std::vector<int>{4025, 4026}));
  EXPECT_EQ(m_restart, CKestExtensionManager::kRestartProduct);
  EXPECT_EQ(m_pc.Get().GetStartedPrograms().size(), 1u);
}

TEST_F(InstallTest, OptionsWithNamesDoWhatTheLongListDoes) {
  const CString kep = pack(wordCount());
  m_host.accept();
  const InstallResult first =
      manager().Install(kep, {.product = nova(), .onlyThatProduct = true, .showProgress = false});
  ASSERT_TRUE(first);
  EXPECT_EQ(first.product, nova());
  EXPECT_EQ(first.extension, find("Word Count"));
  EXPECT_EQ(first.replaced, nullptr);
  EXPECT_TRUE(m_host.positions().empty()) << "no progress was asked for";
  EXPECT_FALSE(m_host.notices().empty());
  m_host.clear();
  const InstallResult equal = manager().Install(kep, {.quiet = true, .keepEqual = true});
  EXPECT_EQ(equal.replaced, find("Word Count"));
  EXPECT_TRUE(m_host.questions().empty() && m_host.notices().empty());
  // the wanted product alone
  const CString forNova = pack(package("Later").product("Tidemark", "6").file("later.htm", kToCommands));
  const MachineSnapshot before = m_pc.Snapshot();
  EXPECT_FALSE(manager().Install(forNova, {.product = four(), .onlyThatProduct = true, .quiet = true}));
  EXPECT_EQ(report().failure, Failure::kUnsupportedProduct);
  expectUntouched(before);
}

} // namespace
} // namespace kest::test
