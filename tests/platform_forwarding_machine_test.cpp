#include "platform/forwarding_machine.h"
#include "support/temp_machine.h"

#include <gtest/gtest.h>

namespace kest {
namespace {

/// Lets so many calls through, then refuses all; or counts.
class Counting : public ForwardingMachine {
public:
  using ForwardingMachine::ForwardingMachine;
  int allowed = 1000000;
  std::vector<std::string> calls;

protected:
  bool Allow(const Call& call) override {
    calls.push_back(std::string(call.changes ? "!" : "") + call.name + (call.path ? " " + *call.path : ""));
    return --allowed >= 0;
  }
};

class ForwardingMachineTest : public test::TempMachineTest {
protected:
  Counting m_counting{m_pc.Get()};
};

TEST_F(ForwardingMachineTest, EveryCallOfAFileAsks) {
  m_pc.Write(R"(C:\a.txt)", "old");
  const auto write = [this] {
    const auto file = m_counting.Open(R"(C:\a.txt)", OpenMode::kReplace);
    return file && file->Write("ab", 2) && file->WriteAt(0, "x", 1) && file->SetDate(CKestDateTime(1000000000)) &&
           file->Sync() && file->Close();
  };
  // whichever call is the one refused, the old file is intact and the refusal is what is told
  const auto before = m_pc.Snapshot();
  for (int n = 0; n < 6; ++n) {
    m_counting.allowed = n;
    EXPECT_FALSE(write()) << n;
    EXPECT_EQ(m_counting.GetLastError().path, R"(C:\a.txt)");
    EXPECT_EQ(test::DescribeDifference(before, m_pc.Snapshot()), "") << n;
  }
  m_counting.allowed = 6;
  m_counting.calls.clear();
  EXPECT_TRUE(write());
  EXPECT_EQ(m_pc.Read(R"(C:\a.txt)"), "xb");
  EXPECT_EQ(m_counting.calls,
            (std::vector<std::string>{R"(!Open C:\a.txt)", R"(!Write C:\a.txt)", R"(!WriteAt C:\a.txt)",
                                      R"(!SetDate C:\a.txt)", R"(!Sync C:\a.txt)", R"(!Close C:\a.txt)"}));
  m_counting.allowed = 1;
  const auto file = m_counting.Open(R"(C:\a.txt)", OpenMode::kRead);
  char byte = 0;
  ASSERT_TRUE(file);
  EXPECT_EQ(file->Read(&byte, 1), -1);
}

TEST_F(ForwardingMachineTest, AWriteThatWasRefusedSpoilsTheFile) {
  m_pc.Write(R"(C:\a.txt)", "old");
  const auto file = m_counting.Open(R"(C:\a.txt)", OpenMode::kReplace);
  ASSERT_TRUE(file && file->Write("first", 5));
  m_counting.allowed = 0;
  EXPECT_FALSE(file->Write("second", 6));
  m_counting.allowed = 100;
  EXPECT_TRUE(file->Write("third", 5));
  EXPECT_FALSE(file->Close());
  EXPECT_EQ(m_pc.Read(R"(C:\a.txt)"), "old");
}

TEST_F(ForwardingMachineTest, RefusedCallsChangeNothingAndAnswerNo) {
  m_pc.Write(R"(C:\a\f.txt)", "x");
  m_pc.Get().ClearLastError();
  m_counting.allowed = 0;
  Machine& machine = m_counting;
  const CString from = R"(C:\a\f.txt)";
  const CString to = R"(C:\a\g.txt)";
  const CString folder = R"(C:\a)";
  CString text = "kept";
  std::vector<CString> texts;
  std::vector<FolderEntry> entries;
  std::vector<RegistryValue> values;
  CKestDateTime date(7);
  CKestVersionNumber version;
  std::uint64_t number = 7;
  int type = 7;
  const auto before = m_pc.Snapshot();
  const bool answers[] = {machine.FileExists(from),
                          machine.GetFileSize(from, number),
                          machine.CopyFile(from, to),
                          machine.DeleteFile(from),
                          machine.MoveFile(from, to),
                          machine.ReplaceFile(from, to),
                          machine.LinkFile(from, to),
                          machine.MoveFileToTrash(from),
                          machine.MoveFolderToTrash(folder, "x"),
                          machine.IsFileReadOnly(from),
                          machine.SetFileReadOnly(from, true),
                          machine.CanUpdateFile(from),
                          machine.GetFileDateTime(from, date),
                          machine.SetFileDateTime(from, date),
                          machine.GetFileVersion(from, version),
                          !machine.GetStoredPath(from).empty(),
                          machine.DirectoryExists(folder),
                          machine.CreateDirectory(R"(C:\b)"),
                          machine.CreatePrivateDirectory(R"(C:\b)"),
                          machine.RemoveDirectory(folder),
                          machine.MoveEmptyFolder(folder, to),
                          machine.MoveFolder(folder, to),
                          machine.RemoveTree(folder),
                          machine.ListFolder(folder, entries),
                          machine.SameVolume(from, to),
                          machine.GetFreeSpace(from, number),
                          machine.SyncPaths({from}),
                          machine.LockWriter(0).held,
                          machine.GetSystemFolder(text),
                          machine.GetFontsFolder(text),
                          machine.GetTempRoot(text),
                          machine.GetCurrentProcessPath(text),
                          machine.IsSupportedMultiUserSystem(),
                          machine.GetCurrentUserType(type),
                          machine.GetSharedAppDataPath(text),
                          machine.GetCurrentUserAppDataPath(text),
                          machine.GetAppDataPathFor("Tester", text),
                          machine.GetAllUserAppDataPaths(texts),
                          machine.ExtractUserName(R"(C:\users\Tester\AppData\Roaming)", text),
                          machine.GetOperatingSystemVersion() != 0,
                          machine.RegistryKeyExists(RegistryRoot::kCurrentUser, ""),
                          machine.ReadRegistryString(RegistryRoot::kCurrentUser, "a", "b", text),
                          machine.WriteRegistryString(RegistryRoot::kCurrentUser, "a", "b", "c"),
                          machine.DeleteRegistryValue(RegistryRoot::kCurrentUser, "a", "b"),
                          machine.EnumRegistryValues(RegistryRoot::kCurrentUser, "", values),
                          machine.AddFontResource(from),
                          machine.RemoveFontResource(from),
                          machine.Open(from, OpenMode::kRead) != nullptr};
  for (std::size_t i = 0; i < std::size(answers); ++i) {
    EXPECT_FALSE(answers[i]) << m_counting.calls[i];
  }
  machine.WinExec("x");
  machine.EnumProcs([](const CString&) {
    ADD_FAILURE();
    return true;
  });
  EXPECT_EQ(test::DescribeDifference(before, m_pc.Snapshot()), "");
  EXPECT_EQ(m_counting.calls.size(), std::size(answers) + 2); // each asked once
  EXPECT_TRUE(m_pc.Get().GetStartedPrograms().empty());
  EXPECT_EQ(text, "kept");
  EXPECT_EQ(date.GetSeconds() + type + static_cast<int>(number), 21);
  // waits must end even when nothing is allowed any more
  const std::int64_t start = machine.MonotonicMilliseconds();
  machine.AllowBackgroundProcessing();
  EXPECT_GT(machine.MonotonicMilliseconds(), start);
}

TEST_F(ForwardingMachineTest, TheLastErrorIsThatOfTheLastFailure) {
  m_counting.allowed = 0;
  EXPECT_FALSE(m_counting.DeleteFile(R"(C:\refused)"));
  EXPECT_EQ(m_counting.GetLastError().path, R"(C:\refused)");
  m_counting.allowed = 100;
  EXPECT_TRUE(m_counting.CreateDirectory(R"(C:\b)"));
  EXPECT_EQ(m_counting.GetLastError().path, R"(C:\refused)"); // success leaves it
  EXPECT_FALSE(m_counting.DeleteFile(R"(C:\missing)"));
  EXPECT_EQ(m_counting.GetLastError().path, R"(C:\missing)");
  m_counting.ClearLastError();
  EXPECT_EQ(m_counting.GetLastError().kind, MachineError::Kind::kNone);
}

} // namespace
} // namespace kest
