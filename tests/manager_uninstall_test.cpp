#include "description/extension.h"
#include "support/kest_fixture.h"

#include <tuple>

namespace kest::test {
namespace {

using UninstallTest = KestFixture;
using Why = OperationReport::Why;

TEST_F(UninstallTest, SharedFontAndSystemFilesStayAndThePreviewSaysWhy) {
  const char* shared = "shared=\"true\"";
  CKestExtension* one = installed(package("One")
                                      .file("common.js", "$tidemark/Configuration/Shared", "c", shared)
                                      .file("mine.js", "$tidemark/Configuration/Shared", "m", shared)
                                      .file("fancy.ttf", "$fonts")
                                      .file("sys.htm", "$tidemark/Configuration", "s", "systemfile=\"true\""));
  m_host.answer(Message::kExistingEqual, kYes);
  CKestExtension* two = installed(package("Two").file("common.js", "$tidemark/Configuration/Shared", "c", shared));
  const MachineSnapshot before = m_pc.Snapshot();
  const UninstallPreview preview = manager().PreviewUninstall(nova(), one);
  expectUntouched(before);
  std::map<std::string, std::pair<bool, Why>> expected = {
      {kConfiguration + "Shared\\common.js", {true, Why::kShared}},
      {kConfiguration + "Shared\\mine.js", {false, Why::kShared}},
      {"C:\\windows\\Fonts\\fancy.ttf", {true, Why::kFont}},
      {kConfiguration + "sys.htm", {true, Why::kSystemFile}},
  };
  ASSERT_EQ(preview.files.size(), expected.size());
  EXPECT_EQ(uninstall(one), 0);
  for (const auto& entry : preview.files) {
    EXPECT_EQ(entry.stays, expected[entry.path].first) << entry.path;
    EXPECT_EQ(entry.why, expected[entry.path].second) << entry.path;
    EXPECT_EQ(entry.holder, entry.stays && entry.why == Why::kShared ? "Two" : "");
    EXPECT_EQ(m_pc.Exists(entry.path), entry.stays) << entry.path;
  }
  EXPECT_EQ(report().kept.size(), 3u);
  EXPECT_EQ(uninstall(two), 0);
  EXPECT_FALSE(m_pc.Exists(kConfiguration + "Shared\\common.js")) << "nobody uses it any more";
}

TEST_F(UninstallTest, ThePreviewKnowsWhatTheProductConverts) {
  CKestExtension* record =
      installed(package("Old").product("Vantage", "4").file("a.htm", "$tidemark/Configuration/ServerBehaviors/ASP"));
  start();
  record = find("Old");
  const UninstallPreview preview = manager().PreviewUninstall(nova(), record);
  EXPECT_EQ(preview.files.size(), 3u);
  EXPECT_EQ(manager().GetInstalledFiles(nova(), record).size(), 3u);
  ASSERT_EQ(uninstall(record), 0);
  for (const auto& entry : preview.files) {
    EXPECT_FALSE(m_pc.Exists(entry.path)) << entry.path;
  }
  EXPECT_FALSE(m_pc.Exists(kConfiguration + "ServerBehaviors"));
}

TEST_F(UninstallTest, TransientFoldersGoWithTheFolderUnlessAnythingElseLiesThere) {
  const std::tuple<const char*, std::vector<std::string>, bool> rows[] = {
      {"notes of both levels", {"_notes\\a.kno", "_notes\\deeper\\b.KNO"}, true},
      {"a foreign file among the notes", {"_notes\\a.kno", "_notes\\z.txt"}, false},
      {"a foreign folder", {"_notes\\a.kno", "other\\a.kno"}, false},
  };
  for (const auto& [claim, extra, goes] : rows) {
    SCOPED_TRACE(claim);
    const std::string folder = kConfiguration + "Shared\\wc\\";
    installed(package("Notes").file("a.js", "$tidemark/Configuration/Shared/wc"));
    for (const std::string& path : extra) {
      m_pc.Write(folder + path, "note");
    }
    restart();
    EXPECT_EQ(uninstall(find("Notes")), 0);
    EXPECT_FALSE(m_pc.Exists(folder + "a.js"));
    EXPECT_EQ(m_pc.Exists(kConfiguration + "Shared"), !goes);
    std::filesystem::remove_all(m_pc.HostPath(kConfiguration + "Shared"));
    restart();
  }
}

TEST_F(UninstallTest, AFileThatTheRunningProductHoldsCancelsOrIsWaitedFor) {
  CKestExtension* record = installed(package("Script").file("x.dll", "$tidemark/Configuration/JSExtensions"));
  runNova();
  const MachineSnapshot before = m_pc.Snapshot();
  m_host.answer(Message::kFileInUseBy, kRetry).answer(Message::kFileInUseBy, kCancel);
  EXPECT_EQ(uninstall(record), -1);
  EXPECT_EQ(report().failure, Failure::kInUse);
  EXPECT_EQ(m_host.questions()[0].arguments,
            (std::vector<std::string>{kConfiguration + "JSExtensions\\x.dll", "Tidemark Nova", "Tidemark Nova"}));
  expectUntouched(before);
  m_host.answer(Message::kFileInUseBy, kRetry, [this] { runNova(false); });
  EXPECT_EQ(uninstall(record), 0);
  // what is gone already is held by nobody
  runNova(false);
  record = installed(package("Other").file("y.dll", "$tidemark/Configuration/JSExtensions"));
  std::filesystem::remove(m_pc.HostPath(kConfiguration + "JSExtensions\\y.dll"));
  runNova();
  EXPECT_EQ(uninstall(record), 0);
}

TEST_F(UninstallTest, TheClosingMessageAndFlagFollowTheRunningProduct) {
  const auto closing = [this](bool running) {
    CKestExtension* record = installed(package("Plain").file("p.htm", kToCommands));
    runNova(running);
    m_host.clear();
    int restart = 7;
    EXPECT_EQ(manager().UninstallExtension(nova(), record, true, false, true, true, true, restart, true), 0);
    std::unique_ptr<CKestExtension>{record}.reset();
    EXPECT_EQ(restart, running ? 1 : 0);
    return m_host.noticeNumbers();
  };
  EXPECT_EQ(closing(false), std::vector<int>{4035});
  EXPECT_EQ(closing(true), std::vector<int>{4034});
  EXPECT_FALSE(m_host.isProgressOpen() || m_host.isWaiting());
}

TEST_F(UninstallTest, ADisabledOneLosesItsCopiesAloneAndTouchesNoOthersFiles) {
  CKestExtension* old = installed(package("Tool").descriptionNamed("one.kei").file("tool.htm", kToCommands, "old"));
  ASSERT_EQ(disable(old), 0);
  installed(package("Tool").version("2.0").descriptionNamed("two.kei").file("tool.htm", kToCommands, "new"));
  EXPECT_EQ(uninstall(old), 0);
  EXPECT_EQ(m_pc.Read(kCommands + "tool.htm"), "new");
  EXPECT_FALSE(m_pc.Exists(kDisabled + "one.kei"));
  EXPECT_FALSE(m_pc.Exists(kDisabled + "one.kep"));
}

TEST_F(UninstallTest, TheCopiesOfAnotherExtensionWithTheSameFileNameStay) {
  CKestExtension* other = installed(package("Other").descriptionNamed("same.kei").file("o.htm", kToCommands));
  ASSERT_EQ(disable(other), 0);
  CKestExtension* record = installed(package("Mine").descriptionNamed("same.kei").file("m.htm", kToCommands));
  EXPECT_EQ(uninstall(record), 0);
  EXPECT_EQ(enable(other), 0);
  EXPECT_TRUE(m_pc.Exists(kCommands + "o.htm"));
}

TEST_F(UninstallTest, AnUninstallThatLeavesItsStepsToNobodyFinishesThem) {
  CKestExtension* record = installed(package("Plain").file("p.htm", kToCommands));
  int restart = 0;
  EXPECT_EQ(manager().UninstallExtension(nova(), record, false, true, false, true, true, restart, false), 0);
  std::unique_ptr<CKestExtension>{record}.reset();
  m_manager.reset(); // would take back what nobody finished
  EXPECT_FALSE(m_pc.Exists(kCommands + "p.htm"));
}

} // namespace
} // namespace kest::test
