#include "platform/machine/shared_lock.h"
#include "platform/machine/version_resource.h"
#include "platform/machine_folder/machine_folder.h"
#include "support/machine_test.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace kest {
namespace {

namespace fs = std::filesystem;
using Kind = MachineError::Kind;
using test::MachineTest;

class MachineFolderTest : public test::TestOf<MachineFolder> {
protected:
  MachineFolder& pc() override { return m_pc.Get(); }
  [[nodiscard]] std::string Outside(const char* name) const { return (m_pc.GetOutside() / name).string(); }
};

TEST_P(MachineTest, OfTwoNamesThatDifferInCaseTheExactOneIsMeant) {
  Give(R"(C:\twins\Readme.txt)", "upper");
  Give(R"(C:\twins\readme.txt)", "lower");
  ASSERT_TRUE(Put(R"(C:\TWINS\readme.txt)", OpenMode::kReplace, "changed"));
  EXPECT_EQ(Read(R"(C:\twins\Readme.txt)"), "upper");
  EXPECT_EQ(Read(R"(C:\twins\readme.txt)"), "changed");
  EXPECT_TRUE(IsYes(pc().FileExists(R"(C:\twins\README.TXT)")));
  EXPECT_FALSE(Put(R"(C:\twins\README.TXT)", OpenMode::kCreateNew, "third"));
  // with one of them gone, the other answers to every spelling
  ASSERT_TRUE(pc().DeleteFile(R"(C:\twins\Readme.txt)"));
  EXPECT_EQ(pc().GetStoredPath(R"(C:\twins\README.TXT)"), R"(C:\twins\readme.txt)");
  EXPECT_TRUE(Put(R"(C:\twins\README.TXT)", OpenMode::kReplace, "kept"));
  EXPECT_EQ(Read(R"(C:\twins\readme.txt)"), "kept");
  ASSERT_TRUE(pc().MoveFile(R"(C:\twins\readme.txt)", R"(C:\twins\ReadMe.txt)")); // its own name in another case
  EXPECT_TRUE(Exists(R"(C:\twins\ReadMe.txt)"));
}

TEST_P(MachineTest, SecondByteOfAShiftJisCharacterIsNoSeparator) {
  ASSERT_TRUE(m_pc.Get().SetCodePageNumber(932));
  const CString name = "\x95\x5C.txt"; // its second byte is a backslash
  ASSERT_TRUE(pc().CreateDirectory("C:\\\x83\x5C"));
  ASSERT_TRUE(Put("C:\\\x83\x5C\\" + name, OpenMode::kCreateNew, "x"));
  EXPECT_TRUE(Exists("C:\\\x83\x5C\\" + name));
  EXPECT_TRUE(IsYes(pc().FileExists("C:\\\x83\x5C\\\x95\x5C.TXT")));
  EXPECT_FALSE(IsYes(pc().FileExists("C:\\\x83\x7C\\" + name))); // another character, not the same one in lower case
}

TEST_F(MachineFolderTest, NamesAreOfTheCodePageForUsAndInUtf8ForThePrograms) {
  struct Row {
    int codePage;
    CString ours;
    CString disk;
  };
  const std::vector<Row> rows = {
      {1252, "gr\xFC\xDF.htm", "gr\u00FC\u00DF.htm"},
      {1252, "\x80 5.txt", "\u20AC 5.txt"},
      {1252, "\u0142.txt", "\u0142.txt"},             // not in the code page
      {1252, "\u00C3\u00A9.txt", "\u00C3\u00A9.txt"}, // in it its bytes would be those of another name
      {932, "\x83\x5C.txt", "\u30BD.txt"},
      {932,
       "a\u00A5"
       "b.txt",
       "a\u00A5"
       "b.txt"}, // looks like a backslash, and is none
      {65001, "\u00FC.txt", "\u00FC.txt"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.disk);
    ASSERT_TRUE(pc().SetCodePageNumber(row.codePage));
    const CString path = "C:\\n\\" + row.ours;
    const fs::path onDisk = m_pc.GetRoot() / "drive_c/n" / row.disk;
    // one of ours is where the programs look for it
    ASSERT_TRUE(pc().CreateDirectory("C:\\n") && Put(path, OpenMode::kCreateNew, "ours"));
    EXPECT_TRUE(fs::exists(onDisk));
    EXPECT_EQ(pc().ToHostPath(path), onDisk.string());
    EXPECT_TRUE(pc().CopyFile(path, "C:\\n\\copy") && pc().MoveFile(path, path + "2") &&
                pc().ReplaceFile("C:\\n\\copy", path) && pc().DeleteFile(path + "2") && pc().DeleteFile(path));
    EXPECT_TRUE(fs::is_empty(onDisk.parent_path()));
    // one of theirs is found under its name, in whatever letter case, and goes
    std::ofstream(onDisk) << "theirs";
    std::vector<FolderEntry> entries;
    ASSERT_TRUE(IsYes(pc().ListFolder("C:\\n", entries)) && entries.size() == 1);
    EXPECT_EQ(entries[0].name, row.ours);
    const CString other =
        "C:\\N\\" + row.ours.substr(0, row.ours.size() - 4) + (row.ours.ends_with("htm") ? ".HTM" : ".TXT");
    EXPECT_EQ(pc().GetStoredPath(other), path);
    EXPECT_TRUE(pc().DeleteFile(other));
    EXPECT_FALSE(fs::exists(onDisk));
    // so is one below a folder of such a name, and one that was written in bytes of the code page
    EXPECT_TRUE(pc().CreateDirectory(path + "\\in"));
    EXPECT_TRUE(fs::exists(onDisk / "in"));
    EXPECT_TRUE(pc().RemoveTree(path));
    std::ofstream(onDisk.parent_path() / row.ours) << "raw";
    EXPECT_TRUE(IsYes(pc().FileExists(path)) && pc().DeleteFile(path));
    EXPECT_TRUE(fs::is_empty(onDisk.parent_path()));
  }
}

TEST_F(MachineFolderTest, LinksLeadNowhereOutsideTheDrive) {
  std::ofstream(Outside("secret")) << "outside";
  m_pc.Write(R"(C:\in\real\f.txt)", "inside");
  fs::create_directory_symlink(m_pc.GetOutside(), m_pc.HostPath(R"(C:\out)"));
  fs::create_directory_symlink("in/real", m_pc.HostPath(R"(C:\near)"));
  fs::create_symlink(m_pc.GetOutside() / "secret", m_pc.HostPath(R"(C:\in\link.txt)"));
  EXPECT_TRUE(IsYes(pc().FileExists(R"(C:\Near\F.TXT)")));
  EXPECT_FALSE(IsYes(pc().FileExists(R"(C:\out\secret)")));
  EXPECT_FALSE(IsYes(pc().DirectoryExists(R"(C:\out)")));
  EXPECT_EQ(FailureOf(Put(R"(C:\out\new)", OpenMode::kCreateNew, "x"), Kind::kRefused, R"(C:\out\new)"), "");
  EXPECT_EQ(FailureOf(pc().CreateDirectory(R"(C:\out\new\x)"), Kind::kRefused, R"(C:\out\new\x)"), "");
  EXPECT_EQ(pc().ToHostPath(R"(C:\out\secret)"), "");
  EXPECT_FALSE(pc().Open(R"(C:\in\link.txt)", OpenMode::kRead));
  EXPECT_FALSE(pc().Open(R"(C:\in\link.txt)", OpenMode::kAppend));
  // the name is taken, though; what is put there takes the place of the link
  EXPECT_TRUE(IsYes(pc().FileExists(R"(C:\in\link.txt)")));
  ASSERT_TRUE(pc().CopyFile(R"(C:\in\real\f.txt)", R"(C:\in\link.txt)"));
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(m_pc.HostPath(R"(C:\in\link.txt)"))));
  EXPECT_EQ(m_pc.Read(R"(C:\in\link.txt)"), "inside");
  // removing a tree removes the links in it and nothing that they lead to
  fs::create_directory_symlink(m_pc.GetOutside(), m_pc.HostPath(R"(C:\in\deep)"));
  EXPECT_FALSE(pc().RemoveTree(R"(C:\out)"));
  ASSERT_TRUE(pc().RemoveTree(R"(C:\in)"));
  EXPECT_FALSE(m_pc.Exists(R"(C:\in)"));
  EXPECT_EQ(fs::file_size(m_pc.GetOutside() / "secret"), 7U);
}

TEST_F(MachineFolderTest, AFolderExchangedForALinkBetweenTwoCallsIsNoWayOut) {
  m_pc.Write(R"(C:\app\config\a.txt)", "a");
  ASSERT_TRUE(IsYes(pc().FileExists(R"(C:\app\config\a.txt)")));
  fs::rename(m_pc.HostPath(R"(C:\app)"), m_pc.HostPath(R"(C:\moved)"));
  fs::create_directory(m_pc.GetOutside() / "config");
  fs::create_directory_symlink(m_pc.GetOutside(), m_pc.HostPath(R"(C:\app)"));
  EXPECT_FALSE(Put(R"(C:\app\config\b.txt)", OpenMode::kCreateNew, "b"));
  EXPECT_FALSE(pc().DeleteFile(R"(C:\app\config\a.txt)"));
  EXPECT_FALSE(pc().CreateDirectory(R"(C:\app\config\new)"));
  EXPECT_TRUE(fs::is_empty(m_pc.GetOutside() / "config"));
  // exchanged for another real folder, the new one is meant
  fs::remove(m_pc.HostPath(R"(C:\app)"));
  m_pc.MakeFolder(R"(C:\app\config)");
  ASSERT_TRUE(Put(R"(C:\app\config\b.txt)", OpenMode::kCreateNew, "b"));
  EXPECT_TRUE(m_pc.Exists(R"(C:\app\config\b.txt)"));
  EXPECT_FALSE(m_pc.Exists(R"(C:\moved\config\b.txt)"));
}

// The machine's writer looks at a folder once in a moment; what happens within it must not lead anywhere else either.
TEST_F(MachineFolderTest, TheWriterLeavesNoFolderAndHoldsNoCheckForLong) {
  m_pc.Write(R"(C:\app\config\a.txt)", "a");
  ASSERT_TRUE(pc().LockWriter(0).held);
  ASSERT_TRUE(IsYes(pc().FileExists(R"(C:\app\config\a.txt)")));
  EXPECT_FALSE(IsYes(pc().FileExists(R"(C:\app\config\b.txt)")));
  m_pc.Write(R"(C:\app\config\B.txt)", "somebody else's");
  fs::rename(m_pc.HostPath(R"(C:\app)"), m_pc.HostPath(R"(C:\moved)"));
  fs::create_directory(m_pc.GetOutside() / "config");
  fs::create_directory_symlink(m_pc.GetOutside(), m_pc.HostPath(R"(C:\app)"));
  (void)Put(R"(C:\app\config\now.txt)", OpenMode::kCreateNew, "x");
  (void)pc().CreateDirectory(R"(C:\app\config\now)");
  EXPECT_TRUE(fs::is_empty(m_pc.GetOutside() / "config"));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(Put(R"(C:\app\config\later.txt)", OpenMode::kCreateNew, "x"));
  EXPECT_TRUE(fs::is_empty(m_pc.GetOutside() / "config"));
  EXPECT_TRUE(IsYes(pc().FileExists(R"(C:\moved\config\b.txt)")));
  // what was taken away by ourselves is gone at once
  const std::function<bool()> removals[] = {[this] { return pc().RemoveTree(R"(C:\deep)"); },
                                            [this] { return pc().RemoveDirectory(R"(C:\deep\er)"); },
                                            [this] { return pc().MoveFolderToTrash(R"(C:\deep)", "label"); }};
  for (const auto& remove : removals) {
    ASSERT_TRUE(pc().CreateDirectory(R"(C:\deep\er)"));
    ASSERT_TRUE(IsYes(pc().DirectoryExists(R"(C:\deep\er)")));
    ASSERT_TRUE(remove());
    EXPECT_FALSE(IsYes(pc().DirectoryExists(R"(C:\deep\er)")));
  }
  pc().UnlockWriter();
}

TEST_F(MachineFolderTest, MovesToAnotherVolumeKeepTheFileWhole) {
  const fs::path shm = fs::path("/dev/shm") / ("kest-test-" + std::to_string(getpid()));
  std::error_code error;
  struct stat here {};
  struct stat there {};
  ASSERT_EQ(stat(m_pc.GetRoot().c_str(), &here), 0);
  if (stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev || !fs::create_directory(shm, error)) {
    GTEST_SKIP() << "no second volume here";
  }
  fs::create_directories(m_pc.GetRoot() / "dosdevices");
  fs::create_directory_symlink(shm, m_pc.GetRoot() / "dosdevices" / "d:");
  m_pc.Reopen();
  m_pc.Write(R"(C:\a.txt)", CString(300000, 'a'), 1000000003);
  EXPECT_FALSE(pc().SameVolume(R"(C:\a.txt)", R"(D:\x\y\z)"));
  EXPECT_FALSE(pc().ReplaceFile(R"(C:\a.txt)", R"(D:\a.txt)"));
  ASSERT_TRUE(pc().MoveFile(R"(C:\a.txt)", R"(D:\A.txt)"));
  EXPECT_FALSE(m_pc.Exists(R"(C:\a.txt)"));
  EXPECT_EQ(fs::file_size(shm / "A.txt"), 300000U);
  CKestDateTime date;
  ASSERT_TRUE(IsYes(pc().GetFileDateTime(R"(d:\a.txt)", date)));
  EXPECT_EQ(date.GetSeconds(), 1000000003);
  EXPECT_TRUE(pc().SyncPaths({R"(C:\windows)", R"(D:\a.txt)", R"(D:\gone\file)", R"(E:\x)"}));
  fs::remove_all(shm);
}

TEST_P(MachineTest, WhatCanBeUpdatedIsToldByMarkLockAndProcess) {
  Give(R"(C:\u\a.txt)", "a");
  EXPECT_TRUE(pc().CanUpdateFile(R"(C:\u\A.txt)"));
  EXPECT_TRUE(pc().CanUpdateFile(R"(C:\u\new.txt)"));
  const int held = open(m_pc.HostPath(R"(C:\u\a.txt)").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(held, LOCK_EX), 0);
  EXPECT_EQ(FailureOf(pc().CanUpdateFile(R"(C:\u\a.txt)"), Kind::kInUse, R"(C:\u\a.txt)"), "");
  close(held);
  m_pc.SetReadOnly(R"(C:\u\a.txt)", true);
  EXPECT_EQ(FailureOf(pc().CanUpdateFile(R"(C:\u\a.txt)"), Kind::kAccess, R"(C:\u\a.txt)"), "");
  m_pc.SetReadOnly(R"(C:\u\a.txt)", false);
  ASSERT_TRUE(m_pc.Get().SetProcessRunning(R"(C:\U\A.TXT)", true));
  EXPECT_EQ(FailureOf(pc().CanUpdateFile(R"(C:\u\a.txt)"), Kind::kInUse, R"(C:\u\a.txt)"), "");
  fs::permissions(m_pc.HostPath(R"(C:\u)"), fs::perms::owner_read | fs::perms::owner_exec);
  AcceptDisk();
  EXPECT_EQ(FailureOf(pc().CanUpdateFile(R"(C:\u\new.txt)"), Kind::kAccess, R"(C:\u\new.txt)"), "");
  EXPECT_EQ(FailureOf(Put(R"(C:\u\new.txt)", OpenMode::kCreateNew, "x"), Kind::kAccess, R"(C:\u\new.txt)"), "");
}

TEST_F(MachineFolderTest, TheTrashTakesEverySameName) {
  for (const char* content : {"one", "two", "three"}) {
    m_pc.Write(R"(C:\t\File.txt)", content);
    ASSERT_TRUE(pc().MoveFileToTrash(R"(C:\t\FILE.txt)"));
    EXPECT_FALSE(m_pc.Exists(R"(C:\t\File.txt)"));
  }
  m_pc.Write(R"(C:\t\sub\x)", "x");
  EXPECT_FALSE(pc().MoveFolderToTrash(R"(C:\t)", "../up"));
  ASSERT_TRUE(pc().MoveFolderToTrash(R"(C:\T)", "Uninstalled things"));
  EXPECT_FALSE(m_pc.Exists(R"(C:\t)"));
  EXPECT_TRUE(fs::exists(m_pc.GetRoot() / "trash" / "Uninstalled things" / "sub" / "x"));
  EXPECT_EQ(std::distance(fs::directory_iterator(m_pc.GetRoot() / "trash"), fs::directory_iterator()), 4);
}

TEST_F(MachineFolderTest, TwentyThousandFilesInOneFolderReadItOnce) {
  m_pc.MakeFolder(R"(C:\Many)");
  const std::uint64_t before = pc().GetFolderReads();
  for (int i = 0; i < 20000; ++i) { // by turns in two spellings of the folder
    const CString path = (i % 2 == 0 ? R"(C:\many\File)" : R"(C:\MANY\File)") + std::to_string(i);
    ASSERT_TRUE(pc().Open(path, OpenMode::kCreateNew));
  }
  EXPECT_LE(pc().GetFolderReads() - before, 3U); // each folder on the way once
  for (int i = 0; i < 20000; i += 2) {
    ASSERT_TRUE(IsYes(pc().FileExists(R"(C:\Many\FILE)" + std::to_string(i))));
    ASSERT_TRUE(pc().DeleteFile(R"(C:\Many\file)" + std::to_string(i)));
    ASSERT_TRUE(pc().MoveFile(R"(C:\Many\file)" + std::to_string(i + 1), R"(C:\Many\moved)" + std::to_string(i)));
  }
  EXPECT_LE(pc().GetFolderReads() - before, 3U);
  // what another program does is seen all the same
  m_pc.Write(R"(C:\Many\Stranger)", "x");
  EXPECT_TRUE(IsYes(pc().FileExists(R"(C:\Many\STRANGER)")));
  ASSERT_TRUE(pc().Open(R"(C:\Many\mine)", OpenMode::kCreateNew));
  EXPECT_FALSE(IsYes(pc().FileExists(R"(C:\Many\FILE2)")));
  EXPECT_LE(pc().GetFolderReads() - before, 6U);
}

TEST_F(MachineFolderTest, ThousandsOfFoldersNeedNoMoreDescriptorsThanAProcessHas) {
  for (int i = 0; i < 1100; ++i) {
    ASSERT_TRUE(pc().CreateDirectory(R"(C:\folders\f)" + std::to_string(i))) << i << pc().GetLastError().reason;
    ASSERT_TRUE(IsYes(pc().DirectoryExists(R"(C:\folders\f)" + std::to_string(i))));
  }
  EXPECT_TRUE(IsYes(pc().DirectoryExists(R"(C:\folders\F7)")));
}

TEST_F(MachineFolderTest, FoldersOfTheUserAreReachedAndNothingBesideThem) {
  std::ofstream(Outside("pack.kep")) << "package";
  fs::create_directories(m_pc.GetOutside() / "open" / "sub");
  fs::create_directories(m_pc.GetOutside() / "open\\er");
  const CString open = pc().AddHostFolder(Outside("open"), false);
  ASSERT_FALSE(open.empty());
  EXPECT_TRUE(IsYes(pc().DirectoryExists(open + R"(\SUB)")));
  EXPECT_EQ(pc().ToHostPath(open + R"(\SUB)"), Outside("open/sub"));
  EXPECT_EQ(FailureOf(Put(open + R"(\x)", OpenMode::kCreateNew, "x"), Kind::kRefused, open + R"(\x)"), "");
  EXPECT_FALSE(pc().RemoveTree(open + R"(\sub)"));
  const CString above = open.substr(0, open.rfind('\\'));
  EXPECT_FALSE(IsYes(pc().FileExists(above + R"(\pack.kep)")));
  EXPECT_EQ(pc().AddHostFolder(Outside("open"), true), open); // the same folder again, now to be written
  EXPECT_TRUE(Put(open + R"(\x)", OpenMode::kCreateNew, "x"));
  const CString odd = pc().AddHostFolder(Outside("open\\er"), true); // no Windows path spells it
  EXPECT_TRUE(Put(odd + "y", OpenMode::kCreateNew, "y"));
  EXPECT_TRUE(fs::exists(m_pc.GetOutside() / "open\\er" / "y"));
  EXPECT_EQ(pc().AddHostFolder(Outside("missing"), false), "");
  EXPECT_EQ(pc().GetDrives().size(), 1U);
}

TEST_F(MachineFolderTest, OneWriterAtATime) {
  // as Wine locks it for a Windows program
  m_pc.Write(shared_lock::kFile, "");
  const int shared = open(m_pc.HostPath(shared_lock::kFile).c_str(), O_RDWR | O_CLOEXEC);
  struct flock range {};
  range.l_type = F_WRLCK;
  range.l_start = shared_lock::kAt;
  range.l_len = 1;
  ASSERT_EQ(fcntl(shared, F_OFD_SETLK, &range), 0);
  EXPECT_EQ(pc().LockWriter(0).holder, "a Windows program");
  EXPECT_EQ(pc().GetWriter(), "a Windows program");
  EXPECT_TRUE(pc().GetChangeMark().isChanging);
  range.l_type = F_UNLCK;
  ASSERT_EQ(fcntl(shared, F_OFD_SETLK, &range), 0);
  ASSERT_TRUE(pc().LockWriter(0).held);
  ASSERT_TRUE(pc().LockWriter(0).held);
  range.l_type = F_WRLCK;
  EXPECT_NE(fcntl(shared, F_OFD_SETLK, &range), 0);
  close(shared);
  pc().UnlockWriter(); // still held once
  MachineFolder second(m_pc.GetRoot().string());
  EXPECT_FALSE(second.LockWriter(30).held);
  EXPECT_EQ(second.GetLastError().kind, Kind::kInUse);
  pc().UnlockWriter();
  EXPECT_TRUE(second.LockWriter(0).held);
}

TEST_F(MachineFolderTest, TheStateOfThePcIsKeptInAFileThatPeopleEdit) {
  const fs::path ini = m_pc.GetRoot() / "machine.ini";
  const std::string byHand = "; mine\n[Extra]\nodd line\n";
  ASSERT_TRUE(pc().SetUsers({{"Anna", 2}, {"Bob", 1}}, "Bob"));
  ASSERT_TRUE(pc().SetProcessRunning(R"(C:\Program Files\x=y.exe)", true));
  std::ofstream(ini, std::ios::app) << byHand << "[users]\n  Carl=5\n";
  EXPECT_EQ(pc().GetUsers().size(), 3U); // seen without opening the machine again
  ASSERT_TRUE(pc().SetCurrentUser("carl"));
  m_pc.Reopen();
  int type = 0;
  CString text;
  EXPECT_TRUE(pc().GetCurrentUserType(type));
  EXPECT_EQ(type, 5);
  EXPECT_TRUE(pc().GetCurrentUserAppDataPath(text));
  EXPECT_EQ(text, R"(C:\users\Carl\AppData\Roaming)");
  EXPECT_EQ(pc().GetRunningProcesses(), std::vector<CString>{R"(C:\Program Files\x=y.exe)"});
  EXPECT_TRUE(pc().ExtractUserName(R"(c:\USERS\anna\appdata\roaming\Kestrel\x)", text));
  EXPECT_EQ(text, "Anna");
  EXPECT_FALSE(pc().ExtractUserName(R"(C:\users\anna\AppData\RoamingX\y)", text));
  for (const CString name : {"", "a=b", "..", "a\\b", "[x", " x", "Anna"}) {
    EXPECT_FALSE(pc().SetUsers({{"Anna", 1}, {name, 1}}, "Anna")) << name;
  }
  EXPECT_FALSE(pc().SetUsers({{"Anna", 1}}, "Bob"));
  EXPECT_NE(test::ReadHostFile(ini).find(byHand), std::string::npos);
}

TEST_F(MachineFolderTest, ProgramsOfARealPrefixCountAsRunning) {
  m_pc.Write(R"(C:\Program Files\App\App.exe)", "x");
  struct stat info {};
  ASSERT_EQ(stat(m_pc.GetRoot().c_str(), &info), 0);
  char server[128];
  std::snprintf(server, sizeof server, "/tmp/.wine-%u/server-%llx-%llx", getuid(),
                static_cast<unsigned long long>(info.st_dev), static_cast<unsigned long long>(info.st_ino));
  const bool madeParent = fs::create_directories(server);
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork(); // holds the lock that the prefix's server holds, then is a program of the prefix
  if (child == 0) {
    const int lockFile = open((std::string(server) + "/lock").c_str(), O_RDWR | O_CREAT, 0600);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    (void)!write(ready[1], fcntl(lockFile, F_SETLK, &lock) == 0 ? "y" : "n", 1);
    const std::string prefix = "WINEPREFIX=" + m_pc.GetRoot().string();
    const char* const arguments[] = {R"(c:\program files\app\APP.EXE)", "60", nullptr};
    const char* const environment[] = {prefix.c_str(), nullptr};
    fcntl(ready[1], F_SETFD, FD_CLOEXEC);
    execve("/bin/sleep", const_cast<char* const*>(arguments), const_cast<char* const*>(environment));
    _exit(1);
  }
  close(ready[1]);
  char answer = 0;
  ASSERT_EQ(read(ready[0], &answer, 1), 1);
  EXPECT_EQ(answer, 'y');
  EXPECT_EQ(read(ready[0], &answer, 1), 0); // the program is running
  close(ready[0]);
  std::vector<CString> seen;
  pc().EnumProcs([&](const CString& path) {
    seen.push_back(path);
    return true;
  });
  EXPECT_EQ(seen, std::vector<CString>{R"(C:\Program Files\App\App.exe)"});
  const CString key = R"(Software\Microsoft)";
  const auto before = m_pc.Snapshot();
  EXPECT_FALSE(pc().WriteRegistryString(RegistryRoot::kCurrentUser, key, "a", "b"));
  EXPECT_EQ(pc().GetLastError().kind, Kind::kInUse);
  EXPECT_EQ(test::DescribeDifference(before, m_pc.Snapshot()), "");
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(pc().WriteRegistryString(RegistryRoot::kCurrentUser, key, "a", "b"));
  fs::remove_all(server);
  if (madeParent) {
    std::error_code error;
    fs::remove(fs::path(server).parent_path(), error);
  }
}

TEST_F(MachineFolderTest, RegistryValuesComeAndGoWithoutATrace) {
  const CString runOnce = R"(software\microsoft\windows\currentversion\runonce)";
  const fs::path registry = m_pc.GetRoot() / "user.reg";
  const std::string before = test::ReadHostFile(registry);
  MachineFolder other(m_pc.GetRoot().string());
  for (const bool isThere : {true, false}) { // a registry that was not there is not there again
    ASSERT_EQ(fs::exists(registry), isThere);
    ASSERT_TRUE(pc().WriteRegistryString(RegistryRoot::kCurrentUser, runOnce, "rpl1.tmp", "one"));
    CString data;
    ASSERT_TRUE(IsYes(other.ReadRegistryString(
        RegistryRoot::kCurrentUser, R"(\Software\\Microsoft\Windows\CurrentVersion\RunOnce)", "RPL1.TMP", data)));
    EXPECT_EQ(data, "one");
    EXPECT_TRUE(IsYes(other.RegistryKeyExists(RegistryRoot::kCurrentUser, R"(Software\Microsoft)")));
    ASSERT_TRUE(other.WriteRegistryString(RegistryRoot::kCurrentUser, runOnce, "rpl2.tmp", "two"));
    ASSERT_TRUE(pc().DeleteRegistryValue(RegistryRoot::kCurrentUser, runOnce, "rpl1.tmp"));
    ASSERT_TRUE(IsYes(pc().ReadRegistryString(RegistryRoot::kCurrentUser, runOnce, "rpl2.tmp", data)));
    ASSERT_TRUE(pc().DeleteRegistryValue(RegistryRoot::kCurrentUser, runOnce, "rpl2.tmp"));
    EXPECT_EQ(test::ReadHostFile(registry), isThere ? before : "");
    EXPECT_EQ(fs::exists(registry), isThere);
    fs::remove(registry);
  }
}

TEST_P(MachineTest, PipesAreNoFiles) {
  m_pc.MakeFolder(R"(C:\pipes)");
  ASSERT_EQ(mkfifo(m_pc.HostPath(R"(C:\pipes\pipe)").c_str(), 0644), 0);
  AcceptDisk();
  EXPECT_FALSE(IsYes(pc().FileExists(R"(C:\pipes\pipe)")));
  EXPECT_FALSE(pc().Open(R"(C:\pipes\pipe)", OpenMode::kRead)); // and does not wait for somebody to write
  EXPECT_FALSE(pc().Open(R"(C:\pipes\pipe)", OpenMode::kAppend));
}

} // namespace
} // namespace kest
