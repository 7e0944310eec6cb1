#include "platform/machine/file.h"
#include "platform/machine/os.h"
#include "platform/machine/timer.h"
#include "support/temp_machine.h"

#include <gtest/gtest.h>

namespace kest {
namespace {

using test::TempMachine;

class Os : public test::TempMachineTest {};

TEST_F(Os, TemporaryFolderIsPrivateLazyAndGone) {
  const auto before = m_pc.Snapshot();
  CString folder;
  ASSERT_TRUE(CKestOS::GetTempPath(folder));
  ASSERT_TRUE(folder.ends_with('\\'));
  EXPECT_EQ(std::filesystem::status(m_pc.HostPath(folder)).permissions() & std::filesystem::perms::all,
            std::filesystem::perms::owner_all);
  EXPECT_EQ(m_pc.Get().LookAtPrivateFolder(folder), PrivateFolder::kYes);
  CString again;
  ASSERT_TRUE(CKestOS::GetTempPath(again));
  EXPECT_EQ(folder, again);
  CString file;
  ASSERT_TRUE(CKestOS::GetTempFileName(folder, "kepack", file));
  EXPECT_TRUE(text::StartsWithNoCase(CKestPath(file).GetFileName(), "kep"));
  CKestOS::RemoveTempFolder();
  EXPECT_EQ(test::DescribeDifference(before, m_pc.Snapshot()), "");
  ASSERT_TRUE(CKestOS::GetTempPath(again));
  EXPECT_NE(folder, again);
  m_pc.Reopen(); // another machine in force takes it away too
  EXPECT_EQ(test::DescribeDifference(before, m_pc.Snapshot()), "");
}

TEST_F(Os, MissingSharedTemporaryFolderComesAndGoes) {
  std::filesystem::remove(m_pc.HostPath("C:\\windows\\temp"));
  const auto before = m_pc.Snapshot();
  CString folder;
  ASSERT_TRUE(CKestOS::GetTempPath(folder));
  CKestOS::RemoveTempFolder();
  EXPECT_EQ(test::DescribeDifference(before, m_pc.Snapshot()), "");
}

TEST_F(Os, DerivedNamesAreFree) {
  m_pc.Write("C:\\x\\Word Count.kep", "1");
  CString path = "C:\\x\\word count.KEP";
  ASSERT_TRUE(CKestOS::DeriveUniqueFileName(path, 27));
  EXPECT_EQ(path, "C:\\x\\word count1.KEP");
  const CString longName(40, 'n');
  path = "C:\\x\\" + longName + ".kep";
  ASSERT_TRUE(CKestOS::DeriveUniqueFileName(path, 27));
  EXPECT_EQ(path, "C:\\x\\" + longName.substr(0, 27) + ".kep");
  m_pc.Write(path, "2");
  ASSERT_TRUE(CKestOS::DeriveUniqueFileName(path, 27));
  EXPECT_EQ(path, "C:\\x\\" + longName.substr(0, 26) + "1.kep");
}

TEST_F(Os, FolderIsEmptyExceptForNamedSubfoldersAlone) {
  CKestTypedList<CKestString> names;
  names.Append("disabled");
  bool holdsAny = true;
  m_pc.MakeFolder("C:\\p");
  EXPECT_TRUE(CKestOS::IsDirectoryEmptyExceptFor("C:\\p", names, holdsAny));
  EXPECT_FALSE(holdsAny);
  m_pc.MakeFolder("C:\\p\\Disabled");
  EXPECT_TRUE(CKestOS::IsDirectoryEmptyExceptFor("C:\\p", names, holdsAny));
  EXPECT_TRUE(holdsAny);
  std::filesystem::create_directory_symlink("Disabled", m_pc.HostPath("C:\\p\\disabled"));
  EXPECT_FALSE(CKestOS::IsDirectoryEmptyExceptFor("C:\\p", names, holdsAny)) << "a link counts as a file";
}

TEST(OsWithoutMachine, CallsFail) {
  { TempMachine freed; } // and is no longer in force
  CString path = "untouched";
  EXPECT_FALSE(CKestOS::FileExists("C:\\x"));
  EXPECT_FALSE(CKestOS::CreateDirectory("C:\\x", true));
  EXPECT_FALSE(CKestOS::GetTempPath(path));
  EXPECT_EQ(path, "untouched");
  CKestTimer timer(5000); // a wait ends there as well
  timer.Start();
  for (int i = 0; i < 10 && !timer.IsDone(); ++i) {
    CKestOS::AllowBackgroundProcessing();
  }
  EXPECT_TRUE(timer.IsDone());
}

} // namespace
} // namespace kest
