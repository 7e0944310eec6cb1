#include "description/extension.h"
#include "manager/manager_state.h"
#include "support/kest_fixture.h"

namespace kest::test {
namespace {

/// Three users with a configuration each; the one who installs is the one whose configuration everybody shares.
class ConflictsTest : public KestFixture {
protected:
  ConflictsTest() {
    for (const char* user : {"Anna", "Bob"}) {
      m_pc.MakeFolder(std::string("C:\\users\\") + user + "\\AppData\\Roaming");
    }
    EXPECT_TRUE(m_pc.Get().SetMultiUser(true));
    EXPECT_TRUE(m_pc.Get().SetUsers({{"Tester", 2}, {"Anna", 1}, {"Bob", 1}}, "Tester"));
    m_pc.Reopen();
    CKestProduct::ResetBinPaths();
    start();
  }
  [[nodiscard]] static std::string configuration(const std::string& user) {
    return "C:\\users\\" + user + "\\AppData\\Roaming\\Kestrel\\Tidemark Nova\\Configuration\\";
  }
  void putCopy(const std::string& user, const std::string& author = "Jane Doe", const std::string& below = "") {
    const ExtensionBuilder copy = package("Shared Tool").author(author).file("t.htm", kToCommands);
    m_pc.Write(configuration(user) + "Extensions\\" + below + "tool.kei", copy.text());
    m_pc.Write(configuration(user) + "Commands\\t.htm", "a copy of " + user);
    m_pc.Reopen();
  }
  [[nodiscard]] std::vector<CString> conflicts() const {
    CKestExtension record;
    record.SetName("SHARED TOOL");
    record.SetAuthorName("jane doe");
    CKestTypedList<CKestString> found;
    manager().GetState().CheckForUserLevelConflicts(nova(), &record, found);
    return {found.begin(), found.end()};
  }
};

TEST_F(ConflictsTest, OtherUsersCopiesAreFoundEnabledOnesFirst) {
  putCopy("Anna");
  putCopy("Anna", "Jane Doe", "Disabled\\");
  putCopy("Bob", "Somebody Else");
  putCopy("Tester");
  EXPECT_EQ(conflicts(), (std::vector<CString>{configuration("Anna") + "Extensions\\tool.kei",
                                               configuration("Anna") + "Extensions\\Disabled\\tool.kei"}));
  CKestTypedList<CKestString> none;
  manager().GetState().CheckForUserLevelConflicts(nullptr, nullptr, none);
  EXPECT_TRUE(none.IsEmpty());
}

TEST_F(ConflictsTest, AnInstallForEverybodyRemovesThemForTheirOwners) {
  putCopy("Anna");
  putCopy("Bob");
  ASSERT_EQ(conflicts().size(), 2u);
  const CString kep = pack(package("Shared Tool").file("t.htm", kToCommands, "for all"));
  m_host.answer(Message::kRemoveUserCopies, kYes);
  ASSERT_NE(tryInstall(kep), nullptr);
  for (const char* user : {"Anna", "Bob"}) {
    EXPECT_FALSE(m_pc.Exists(configuration(user) + "Extensions\\tool.kei")) << user;
    EXPECT_FALSE(m_pc.Exists(configuration(user) + "Commands\\t.htm")) << user;
  }
  CString folder;
  nova()->GetExtensionsFolder(folder);
  EXPECT_EQ(find("Shared Tool")->GetPath(), folder + "shared_tool.kei") << "logged in as the current user again";
}

TEST_F(ConflictsTest, DeclinedNothingChanges) {
  putCopy("Anna");
  const CString kep = pack(package("Shared Tool").file("t.htm", kToCommands));
  const MachineSnapshot before = m_pc.Snapshot();
  m_host.answer(Message::kRemoveUserCopies, kNo);
  EXPECT_EQ(tryInstall(kep), nullptr);
  expectUntouched(before);
  EXPECT_EQ(report().failure, Failure::kDeclined);
}

TEST_F(ConflictsTest, ARemovalIsFinalWhateverBecomesOfTheInstall) {
  putCopy("Anna");
  const CString kep = pack(package("Shared Tool").file("t.htm", kToCommands).file("u.htm", "$x"));
  m_pc.Write("C:\\Program Files\\Kestrel\\Tidemark 6\\t.htm", "x");
  m_host.answer(Message::kRemoveUserCopies, kYes).otherwise(kCancel);
  const CString bad = pack(package("Shared Tool").file("t.htm", "$tidemark"));
  restart();
  EXPECT_EQ(tryInstall(bad), nullptr);
  EXPECT_FALSE(m_pc.Exists(configuration("Anna") + "Extensions\\tool.kei"));
  EXPECT_TRUE(catalogue().empty());
}

TEST_F(ConflictsTest, NewerIsJudgedByDescriptionAndFilesAndNeverWithoutADescription) {
  m_host.otherwise(kYes);
  CKestExtension* record =
      installed(package("Tool").file("a.htm", "$tidemark").file("m.htm", "$tidemark", "m", "platform=\"mac\""));
  const auto newer = [&](std::int64_t seconds) {
    return manager().ExtensionHasFilesNewerThan(nova(), record->GetPath().c_str(), CKestDateTime(seconds));
  };
  const std::int64_t stored = m_pc.GetDate(record->GetPath());
  EXPECT_TRUE(newer(stored - 1)) << "the description alone is newer";
  EXPECT_FALSE(newer(stored));
  m_pc.Write(std::string(kNova) + "m.htm", "not on this platform", stored + 100);
  EXPECT_FALSE(newer(stored));
  m_pc.Write(std::string(kNova) + "a.htm", "touched", stored + 100);
  EXPECT_TRUE(newer(stored));
  EXPECT_FALSE(manager().ExtensionHasFilesNewerThan(nova(), "C:\\nowhere.kei", CKestDateTime(0)));
}

} // namespace
} // namespace kest::test
