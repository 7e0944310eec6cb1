#include "platform/machine/version_resource.h"
#include "support/machine_test.h"

// What holds for every machine, on each kind of system.

namespace kest::test {

namespace fs = std::filesystem;
using Kind = MachineError::Kind;

INSTANTIATE_TEST_SUITE_P(Machines, MachineTest, testing::Values(Over::kFolder, Over::kOverlay));

TEST_P(MachineTest, OnlyPathsThatCannotMeanAnotherFileAreTaken) {
  Give(R"(C:\a\b.txt)", "x");
  for (const CString path : {"", "a", R"(a\b.txt)", R"(\a\b.txt)", "C:", R"(C:a\b.txt)", R"(C:\a\..\a\b.txt)",
                             R"(C:\.\a\b.txt)", "C:/a/b.txt", R"(C:\a/b.txt)", R"(C:\a\b.txt:stream)", R"(D:\a\b.txt)",
                             R"(\\server\a\b.txt)", R"(\\?\C:\a\b.txt)", "C:\\a\\b.txt\n", R"(C:\a\b.txt\)"}) {
    EXPECT_FALSE(IsYes(pc().FileExists(path))) << path;
    EXPECT_FALSE(pc().Open(path, OpenMode::kReplace)) << path;
    EXPECT_FALSE(pc().CopyFile(R"(C:\a\b.txt)", path)) << path;
  }
  EXPECT_FALSE(IsYes(pc().FileExists(CString("C:\\a\\b.txt\0x", 12))));
  EXPECT_FALSE(pc().CreateDirectory(R"(C:\a\..\..\evil)"));
  EXPECT_TRUE(IsYes(pc().FileExists(R"(c:\\A\\\B.TXT)")));
  EXPECT_EQ(pc().GetStoredPath(R"(c:\\A\\B.TXT)"), R"(C:\a\b.txt)");
  EXPECT_EQ(pc().GetStoredPath(R"(C:\A\New\X.txt)"), R"(C:\a\New\X.txt)");
  EXPECT_FALSE(IsYes(pc().DirectoryExists("C:\\" + CString(100000, 'a'))));
}

TEST_P(MachineTest, CopiesAndMovesKeepDateAndMark) {
  Give(R"(C:\s\a.txt)", "new", 1000000001);
  Give(R"(C:\s\old.txt)", "old");
  ASSERT_TRUE(m_pc.Get().SetFileReadOnly(R"(C:\s\a.txt)", true));
  ASSERT_TRUE(pc().CopyFile(R"(C:\s\a.txt)", R"(C:\s\OLD.txt)"));
  EXPECT_EQ(Read(R"(C:\s\old.txt)"), "new");
  EXPECT_EQ(GetDate(R"(C:\s\old.txt)"), 1000000001);
  EXPECT_TRUE(IsYes(pc().IsFileReadOnly(R"(C:\s\old.txt)")));
  // a read-only file is in nobody's way by accident
  EXPECT_EQ(FailureOf(pc().DeleteFile(R"(C:\s\old.txt)"), Kind::kAccess, R"(C:\s\old.txt)"), "");
  EXPECT_EQ(FailureOf(Put(R"(C:\s\old.txt)", OpenMode::kReplace, "x"), Kind::kAccess, R"(C:\s\old.txt)"), "");
  Give(R"(C:\s\b.txt)", "b", 1000000002);
  EXPECT_EQ(FailureOf(pc().CopyFile(R"(C:\s\b.txt)", R"(C:\s\old.txt)"), Kind::kAccess, R"(C:\s\old.txt)"), "");
  EXPECT_EQ(FailureOf(pc().MoveFile(R"(C:\s\b.txt)", R"(C:\s\OLD.TXT)"), Kind::kExists, R"(C:\s\OLD.TXT)"), "");
  EXPECT_EQ(FailureOf(pc().CopyFile(R"(C:\s\b.txt)", R"(C:\S\B.TXT)"), Kind::kRefused, R"(C:\S\B.TXT)"), "");
  ASSERT_TRUE(pc().SetFileReadOnly(R"(C:\s\old.txt)", false));
  ASSERT_TRUE(pc().ReplaceFile(R"(C:\s\b.txt)", R"(C:\s\old.txt)"));
  EXPECT_EQ(GetDate(R"(C:\s\old.txt)"), 1000000002);
  EXPECT_FALSE(Exists(R"(C:\s\b.txt)"));
}

TEST_P(MachineTest, AFileAppearsWholeOrNotAtAll) {
  Give(R"(C:\f\Old.txt)", "old");
  const auto before = FactsOf(pc(), "C:\\f");
  {
    const auto dropped = pc().Open(R"(C:\f\old.txt)", OpenMode::kReplace);
    ASSERT_TRUE(dropped && dropped->Write("half", 4));
  }
  EXPECT_EQ(FactsOf(pc(), "C:\\f"), before);
  const auto file = pc().Open(R"(C:\f\OLD.TXT)", OpenMode::kReplace);
  ASSERT_TRUE(file && file->Write("1234567", 7) && file->WriteAt(2, "xx", 2) && file->Write("8", 1));
  ASSERT_TRUE(file->SetDate(CKestDateTime(1000000005)) && file->Sync());
  char buffer[4];
  EXPECT_EQ(file->ReadAt(1, buffer, 4), 4);
  EXPECT_EQ(std::string(buffer, 4), "2xx5");
  EXPECT_EQ(Read(R"(C:\f\Old.txt)"), "old");
  ASSERT_TRUE(file->Close());
  EXPECT_EQ(Read(R"(C:\f\Old.txt)"), "12xx5678");
  EXPECT_EQ(GetDate(R"(C:\f\Old.txt)"), 1000000005);
  ASSERT_TRUE(Put(R"(C:\f\log)", OpenMode::kAppend, "a"));
  ASSERT_TRUE(Put(R"(C:\f\LOG)", OpenMode::kAppend, "b"));
  EXPECT_EQ(Read(R"(C:\f\log)"), "ab");
}

TEST_P(MachineTest, ASecondNameThatIsPutBackOverItsOwnFileGoes) {
  Give(R"(C:\l\a.txt)", "first");
  ASSERT_TRUE(pc().LinkFile(R"(C:\l\a.txt)", R"(C:\windows\temp\backup)"));
  ASSERT_TRUE(pc().ReplaceFile(R"(C:\windows\temp\backup)", R"(C:\l\A.txt)"));
  EXPECT_FALSE(Exists(R"(C:\windows\temp\backup)"));
  EXPECT_EQ(Read(R"(C:\l\a.txt)"), "first");
}

TEST_P(MachineTest, FoldersAreMadeWithParentsAndRemovedOnlyEmpty) {
  ASSERT_TRUE(pc().CreateDirectory(R"(C:\Apps\A\B\)"));
  EXPECT_TRUE(pc().CreateDirectory(R"(C:\APPS\a\b\C)"));
  EXPECT_TRUE(Exists(R"(C:\Apps\A\B\C)"));
  Give(R"(C:\Apps\A\file)", "x");
  EXPECT_EQ(FailureOf(pc().CreateDirectory(R"(C:\Apps\A\FILE)"), Kind::kExists, R"(C:\Apps\A\FILE)"), "");
  EXPECT_EQ(FailureOf(pc().RemoveDirectory(R"(C:\Apps\A)"), Kind::kNotEmpty, R"(C:\Apps\A)"), "");
  EXPECT_TRUE(pc().RemoveDirectory(R"(C:\apps\a\b\c\)"));
  EXPECT_EQ(FailureOf(pc().MoveEmptyFolder(R"(C:\Apps\A)", R"(C:\aside)"), Kind::kNotEmpty, R"(C:\Apps\A)"), "");
  EXPECT_EQ(FailureOf(pc().MoveEmptyFolder(R"(C:\Apps\A\b)", R"(C:\APPS)"), Kind::kExists, R"(C:\APPS)"), "");
  EXPECT_TRUE(pc().MoveEmptyFolder(R"(C:\Apps\a\b)", R"(C:\Aside)"));
  EXPECT_FALSE(IsYes(pc().DirectoryExists(R"(C:\Apps\A\B)")));
  ASSERT_TRUE(pc().CreatePrivateDirectory(R"(C:\Apps\A\private)"));
  EXPECT_FALSE(pc().CreatePrivateDirectory(R"(C:\Apps\A\PRIVATE)"));
  EXPECT_EQ(pc().LookAtPrivateFolder(R"(C:\Apps\A\private)"), PrivateFolder::kYes);
  bool hasLink = false;
#ifndef _WIN32
  if (IsFolder()) {
    hasLink = true;
    EXPECT_EQ(fs::status(m_pc.HostPath(R"(C:\Apps\A\private)")).permissions() & fs::perms::all, fs::perms::owner_all);
    fs::create_symlink("file", m_pc.HostPath(R"(C:\Apps\A\link)"));
  }
#endif
  if (!hasLink) {
    Give(R"(C:\Apps\A\link)", "");
  }
  std::vector<FolderEntry> entries;
  ASSERT_TRUE(IsYes(pc().ListFolder(R"(C:\apps\A)", entries)));
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_TRUE(entries[0].name == "file" && !entries[0].isFolder && !entries[0].isLink);
  EXPECT_TRUE(entries[1].name == "link" && !entries[1].isFolder && entries[1].isLink == hasLink);
  EXPECT_TRUE(entries[2].name == "private" && entries[2].isFolder);
  EXPECT_FALSE(IsYes(pc().ListFolder(R"(C:\nowhere)", entries)));
}

TEST_P(MachineTest, VersionsDatesAndSpaceAreReadFromTheDisk) {
  Give(R"(C:\x\App.exe)", MakeVersionedExecutable(CKestVersionNumber(6, 0, 2004)));
  Give(R"(C:\x\none.exe)", "MZ");
  CKestVersionNumber version;
  ASSERT_TRUE(IsYes(pc().GetFileVersion(R"(C:\X\APP.EXE)", version)));
  EXPECT_EQ(version.Compare(CKestVersionNumber(6, 0, 2004)), 0);
  EXPECT_FALSE(IsYes(pc().GetFileVersion(R"(C:\x\none.exe)", version)));
  for (const std::int64_t seconds : {-1LL, 0LL, 1LL, 4102444801LL}) {
    CKestDateTime date;
    ASSERT_TRUE(pc().SetFileDateTime(R"(C:\x\app.exe)", CKestDateTime(seconds)));
    ASSERT_TRUE(IsYes(pc().GetFileDateTime(R"(C:\x\app.exe)", date)));
    EXPECT_EQ(date.GetSeconds(), seconds);
  }
  std::uint64_t size = 0;
  EXPECT_TRUE(pc().GetFreeSpace(R"(C:\x\not\there\yet)", size));
  EXPECT_GT(size, 1024U);
}

TEST_P(MachineTest, SyncTakesFilesFoldersAndWhatIsGoneInAnyNumber) {
  std::vector<CString> paths = {R"(C:\s)", R"(C:\s\gone)", R"(C:\gone\deeper\still)"};
  for (int i = 0; i < 300; ++i) {
    paths.push_back(R"(C:\s\f)" + std::to_string(i));
    Give(paths.back(), "x");
  }
  EXPECT_TRUE(pc().SyncPaths({paths[0], paths[1], paths[2], paths[3]})) << pc().GetLastError().reason;
  EXPECT_TRUE(pc().SyncPaths(paths)) << pc().GetLastError().reason;
  paths.push_back("relative");
  EXPECT_FALSE(pc().SyncPaths(paths));
}

} // namespace kest::test
