#include "description/extension.h"
#include "platform/machine/os.h"
#include "support/kest_fixture.h"

#include <fstream>

namespace kest::test {
namespace {

class EnableTest : public KestFixture {
protected:
  static ExtensionBuilder tool() {
    return package("Tool")
        .file("tool.htm", kToCommands, "tool")
        .file("readme", "$tidemark/Configuration/Shared/tool/deep", "r", "win-extension=\"txt\"")
        .file("tool.js", "$tidemark/Configuration/Shared/tool", "code")
        .changesTheList();
  }
};

TEST_F(EnableTest, DisableAndEnableGoRoundWithoutATrace) {
  const CString kep = pack(tool());
  const MachineSnapshot before = m_pc.Snapshot();
  CKestExtension* record = tryInstall(kep);
  ASSERT_NE(record, nullptr);
  const CString path = record->GetPath();
  ASSERT_EQ(report().leftovers.size(), 1u);
  EXPECT_EQ(report().leftovers[0].path, kConfiguration + "Extensions.tbk");
  // an edited file has a date of its own, and so has a package
  const auto settled = [this] {
    for (const std::string& file : {kDisabled + "tool.kep", kDisabled + "tool.kei", kDescriptions + "tool.kei"}) {
      static_cast<void>(CKestOS::SetFileDateTime(file, CKestDateTime(1000000000)));
    }
    EXPECT_TRUE(CKestOS::SetFileDateTime(kConfiguration + "Extensions.txt", CKestDateTime(1000000000)));
    return m_pc.Snapshot();
  };
  settled();
  const std::string list = m_pc.Read(kConfiguration + "Extensions.txt");

  ASSERT_EQ(disable(record), 0);
  EXPECT_FALSE(record->IsEnabled());
  EXPECT_EQ(record->GetPath(), kDisabled + "tool.kei");
  EXPECT_FALSE(m_pc.Exists(kConfiguration + "Shared"));
  EXPECT_TRUE(m_pc.Exists(kDisabled + "tool.kep"));
  EXPECT_NE(m_pc.Read(kConfiguration + "Extensions.txt"), list);
  const MachineSnapshot disabled = settled();

  ASSERT_EQ(enable(record), 0);
  EXPECT_EQ(record->GetPath(), path);
  EXPECT_EQ(find("Tool"), record) << "the catalogue keeps its record";
  EXPECT_FALSE(m_pc.Exists(kDisabled + "tool.kep")) << "it was used";
  EXPECT_EQ(m_pc.Read(kConfiguration + "Shared\\tool\\deep\\readme.txt"), "r");
  EXPECT_EQ(m_pc.Read(kConfiguration + "Extensions.txt"), list);
  const MachineSnapshot enabled = settled();

  ASSERT_EQ(disable(record), 0);
  EXPECT_EQ(difference(disabled, settled()), "");
  ASSERT_EQ(enable(record), 0);
  EXPECT_EQ(difference(enabled, settled()), "");
  // an older package in the place: the file put back by hand is what counts, whatever its date
  m_pc.Write(kDisabled + "tool.kep", m_pc.Read(kep), 4000000000);
  m_pc.Write(kCommands + "tool.htm", "changed by the user", 1000);
  ASSERT_EQ(disable(record), 0);
  ASSERT_EQ(enable(record), 0);
  EXPECT_EQ(m_pc.Read(kCommands + "tool.htm"), "changed by the user");
  EXPECT_EQ(uninstall(record), 0);
  const std::string untouched = "HTM,HTML:HTML Documents\r\nTXT:Text Files\r\n";
  EXPECT_EQ(m_pc.Read(kConfiguration + "Extensions.txt"), untouched);
  m_pc.Write(kConfiguration + "Extensions.txt", untouched); // an edited file has a date of its own
  expectUntouched(before);
}

TEST_F(EnableTest, WhatStoodThereBeforeComesBackWithTheLastOfItsReplacements) {
  const std::string path = kCommands + "tool.htm";
  m_pc.Write(path, "the product's own");
  ASSERT_TRUE(CKestOS::GetMachine().SetFileReadOnly(path, true));
  const MachineSnapshot before = m_pc.Snapshot();
  const auto is = [&](const char* content) { return m_pc.Read(path) == content; };
  const auto expectAsBefore = [&](const char* when) {
    std::filesystem::remove_all(m_pc.HostPath("C:\\Work")); // the packages
    m_pc.Write(kConfiguration + "Extensions.txt", "HTM,HTML:HTML Documents\r\nTXT:Text Files\r\n");
    EXPECT_EQ(difference(before, m_pc.Snapshot()), "") << when;
  };
  m_host.accept().answer(Message::kExistingEqual, kAll);
  ASSERT_NE(tryInstall(pack(tool())), nullptr);
  EXPECT_TRUE(is("tool"));
  ASSERT_EQ(disable(find("Tool")), 0);
  EXPECT_TRUE(is("the product's own"));
  ASSERT_EQ(enable(find("Tool")), 0);
  EXPECT_TRUE(is("tool"));
  ASSERT_EQ(manager().UndoOperation(0), 0);
  EXPECT_TRUE(is("the product's own"));
  ASSERT_EQ(manager().UndoOperation(0), 0);
  EXPECT_TRUE(is("tool"));
  restart();
  m_host.accept().answer(Message::kNewerVersion, kYes);
  ASSERT_NE(tryInstall(pack(tool().version("2.0"))), nullptr) << "over the version that is there";
  EXPECT_TRUE(is("tool"));
  // a second one in the place, which nobody marked as shared
  m_host.accept().answer(Message::kExistingEqual, kYes);
  ASSERT_NE(tryInstall(pack(package("Other").file("tool.htm", kToCommands, "other"))), nullptr);
  EXPECT_TRUE(manager().VerifyExtension(nova(), find("Other")).recorded);
  ASSERT_EQ(uninstall(find("Tool")), 0);
  EXPECT_FALSE(m_pc.Exists(path)) << "there is one more that wants it";
  restart();
  ASSERT_EQ(uninstall(find("Other")), 0);
  expectAsBefore("whoever removed the extension's file");
  // one that is not enabled again
  m_host.accept().answer(Message::kExistingEqual, kAll);
  ASSERT_NE(tryInstall(pack(tool())), nullptr);
  ASSERT_EQ(disable(find("Tool")), 0);
  ASSERT_EQ(uninstall(find("Tool")), 0);
  expectAsBefore("the copy went as well");
  // the copy is not what was noted
  m_host.accept().answer(Message::kExistingEqual, kAll);
  ASSERT_NE(tryInstall(pack(tool())), nullptr);
  EXPECT_TRUE(manager().PreviewUninstall(nova(), find("Tool")).files[0].returns);
  for (const auto& entry : std::filesystem::directory_iterator(m_pc.HostPath("C:\\ProgramData\\Kest\\installed"))) {
    if (entry.path().extension() == ".original") {
      std::filesystem::remove(entry.path());
      std::ofstream(entry.path()) << "something else";
    }
  }
  m_host.clear();
  EXPECT_TRUE(manager().PreviewUninstall(nova(), find("Tool")).files[0].lostOriginal);
  ASSERT_EQ(uninstall(find("Tool")), 0);
  EXPECT_FALSE(m_pc.Exists(path));
  ASSERT_EQ(report().problems.size(), 1u);
  EXPECT_EQ(report().problems[0].path, path);
  EXPECT_FALSE(report().problems[0].fatal);
}

TEST_F(EnableTest, ANameTakenAmongTheDisabledIsLeftToItsOwnerUnderANewName) {
  CKestExtension* first = installed(package("First").descriptionNamed("same.kei").file("f.htm", "$tidemark"));
  ASSERT_EQ(disable(first), 0);
  CKestExtension* second = installed(package("Second").descriptionNamed("same.kei").file("s.htm", "$tidemark"));
  ASSERT_EQ(disable(second), 0);
  EXPECT_EQ(second->GetPath(), kDisabled + "same.kei");
  EXPECT_NE(first->GetPath(), second->GetPath());
  EXPECT_EQ(enable(first), 0);
  EXPECT_TRUE(m_pc.Exists(std::string(kNova) + "f.htm"));
  EXPECT_EQ(uninstall(first), 0);
  EXPECT_EQ(enable(second), 0);
}

TEST_F(EnableTest, AMissingFileKeepsAnExtensionFromBeingDisabled) {
  installed(tool());
  std::filesystem::remove(m_pc.HostPath(kConfiguration + "Shared\\tool\\tool.js"));
  restart();
  const MachineSnapshot before = m_pc.Snapshot();
  EXPECT_NE(disable(find("Tool")), 0);
  EXPECT_EQ(m_host.noticeNumbers(), std::vector<int>{4024});
  expectUntouched(before);
}

TEST_F(EnableTest, TheUserIsToldWhatARunningProductNeeds) {
  CKestExtension* record = installed(tool().requiresRestart());
  runNova();
  ASSERT_EQ(disable(record), 0);
  ASSERT_EQ(enable(record), 0);
  EXPECT_EQ(m_host.noticeNumbers(), (std::vector<int>{4124, 4123}));
}

} // namespace
} // namespace kest::test
