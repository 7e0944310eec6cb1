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
};

TEST_F(ConflictsTest, OtherUsersCopiesAreFoundEnabledOnesFirst) {
  putCopy("Anna");
  putCopy("Anna", "Jane Doe", "Disabled\\");
  putCopy("Bob", "Somebody Else");
  putCopy("Tester");
  CKestExtension record;
  record.SetName("SHARED TOOL");
  record.SetAuthorName("jane doe");
  CKestTypedList<CKestString> found;
  manager().GetState().CheckForUserLevelConflicts(nova(), &record, found);
  EXPECT_EQ(std::vector<CString>(found.begin(), found.end()),
            (std::vector<CString>{configuration("Anna") + "Extensions\\tool.kei",
                                  configuration("Anna") + "Extensions\\Disabled\\tool.kei"}));
}

TEST_F(ConflictsTest, AnInstallForEverybodyRemovesThemForTheirOwners) {
  putCopy("Anna");
  putCopy("Bob");
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

TEST_F(ConflictsTest, DeclinedNothingChangesAgreedARemovalIsFinalWhateverBecomesOfTheInstall) {
  putCopy("Anna");
  m_pc.Write(std::string(kNova) + "t.htm", "x");
  const CString kep = pack(package("Shared Tool").file("t.htm", "$tidemark"));
  const MachineSnapshot before = m_pc.Snapshot();
  m_host.answer(Message::kRemoveUserCopies, kNo);
  EXPECT_EQ(tryInstall(kep), nullptr);
  expectUntouched(before);
  EXPECT_EQ(report().failure, Failure::kDeclined);
  m_host.answer(Message::kRemoveUserCopies, kYes).otherwise(kCancel);
  EXPECT_EQ(tryInstall(kep), nullptr);
  EXPECT_FALSE(m_pc.Exists(configuration("Anna") + "Extensions\\tool.kei"));
  EXPECT_TRUE(catalogue().empty());
}

} // namespace
} // namespace kest::test
