#include "journal_script.h"

#include "journal/private_folders.h"

#include <gmock/gmock.h>

#include <chrono>
#include <thread>

namespace kest::test {
namespace {

class JournalScopeTest : public TempMachineTest {
protected:
  void SetUp() override {
    m_pc.Write("C:\\src\\a.txt", "new a", 100);
    m_pc.Write("C:\\src\\b.txt", "new b", 200);
    m_pc.Write("C:\\app\\a.txt", "old a", 300);
    m_before = StateOf(m_pc);
  }

  int Copy(const char* name) {
    return m_journal.Run(
        std::make_unique<CInstallCopyFile>(CString("C:\\src\\") + name, CString("C:\\app\\") + name, false, false));
  }
  [[nodiscard]] std::string Difference() { return m_before.Difference(StateOf(m_pc)); }

  CKestInstallJournal m_journal;
  MachineState m_before;
};

TEST_F(JournalScopeTest, AnInnerFailureLeavesTheStepsOfTheOuterOperation) {
  JournalScope outer(m_journal);
  EXPECT_EQ(Copy("a.txt"), 0);
  EXPECT_TRUE(outer.HasSteps());
  {
    JournalScope inner(m_journal);
    EXPECT_FALSE(inner.IsOutermost());
    EXPECT_EQ(Copy("b.txt"), 0);
  }
  EXPECT_FALSE(m_pc.Exists("C:\\app\\b.txt"));
  EXPECT_EQ(m_pc.Read("C:\\app\\a.txt"), "new a");
  EXPECT_TRUE(outer.Commit());
  EXPECT_EQ(m_pc.Read("C:\\app\\a.txt"), "new a");
}

TEST_F(JournalScopeTest, AFinalInnerOperationStaysWhenTheProcessDiesLater) {
  m_pc.Write("C:\\app\\copy.txt", "somebody's copy");
  CKestOS::SetMachine(nullptr);
  for (int n = 1;; ++n) {
    const bool survived = SurvivesInChild(m_pc, n, [] {
      CKestInstallJournal journal;
      JournalScope outer(journal);
      static_cast<void>(
          journal.Run(std::make_unique<CInstallCopyFile>("C:\\src\\a.txt", "C:\\app\\a.txt", false, false)));
      JournalScope inner(journal, JournalScope::Kind::kFinal);
      static_cast<void>(journal.Run(std::make_unique<CInstallDeleteFile>("C:\\app\\copy.txt")));
      if (inner.Commit()) {
        kill(getpid(), SIGKILL);
      }
    });
    EXPECT_FALSE(survived);
    m_pc.Reopen();
    EXPECT_LE(RecoverInterruptedOperations().entries.size(), 1u);
    EXPECT_EQ(m_pc.Read("C:\\app\\a.txt"), "old a");
    if (!m_pc.Exists("C:\\app\\copy.txt")) {
      EXPECT_GT(n, 5);
      break;
    }
    ASSERT_LT(n, 200);
  }
}

// What a start could not undo waits for the next one, and another operation may have been killed by then.
TEST_F(JournalScopeTest, OfTwoDeadOperationsTheLaterIsUndoneFirst) {
  CKestOS::SetMachine(nullptr);
  for (const char* source : {"C:\\src\\a.txt", "C:\\src\\b.txt"}) {
    EXPECT_FALSE(SurvivesInChild(m_pc, 1000, [source] {
      CKestInstallJournal journal;
      JournalScope scope(journal);
      static_cast<void>(journal.Run(std::make_unique<CInstallCopyFile>(source, "C:\\app\\a.txt", false, false)));
      kill(getpid(), SIGKILL);
    }));
    std::this_thread::sleep_for(std::chrono::milliseconds(1100)); // they are told apart by the second
  }
  m_pc.Reopen();
  EXPECT_EQ(m_pc.Read("C:\\app\\a.txt"), "new b");
  EXPECT_EQ(RecoverInterruptedOperations().entries.size(), 2U);
  EXPECT_EQ(Difference(), "");
}

// Enabling an extension again while an operation is undone is an operation of its own, in the middle of the undo.
TEST_F(JournalScopeTest, AnOperationStartedByAnUndoIsNotUndoneItself) {
  {
    JournalScope outer(m_journal);
    EXPECT_EQ(m_journal.Run(std::make_unique<CInstallRestoreState>([this] {
      JournalScope inner(m_journal);
      EXPECT_EQ(Copy("b.txt"), 0);
      EXPECT_TRUE(inner.Commit());
    })),
              0);
    EXPECT_EQ(Copy("a.txt"), 0);
  }
  EXPECT_EQ(m_pc.Read("C:\\app\\a.txt"), "old a");
  EXPECT_EQ(m_pc.Read("C:\\app\\b.txt"), "new b");
  EXPECT_TRUE(m_journal.IsEmpty());
}

TEST_F(JournalScopeTest, AFailedStepCanBeTriedAgainAndKeepsItsFirstBackup) {
  JournalScope scope(m_journal);
  m_pc.MakeFolder("C:\\app\\b.txt");
  EXPECT_EQ(Copy("b.txt"), -1); // a folder is in the way
  EXPECT_EQ(m_journal.RetryLast(), -1);
  std::filesystem::remove(m_pc.HostPath("C:\\app\\b.txt"));
  EXPECT_EQ(m_journal.RetryLast(), 0);
  EXPECT_EQ(m_journal.GetCount(), 1u);
  EXPECT_TRUE(scope.Commit());
  EXPECT_EQ(m_pc.Read("C:\\app\\b.txt"), "new b");
}

TEST_F(JournalScopeTest, WithoutTheWriterLockNothingIsChanged) {
  MachineFolder other(m_pc.GetRoot().string());
  const WriterLock lock = other.LockWriter(0);
  ASSERT_TRUE(lock.held);
  {
    JournalScope scope(m_journal);
    EXPECT_EQ(Copy("a.txt"), -1);
    EXPECT_EQ(Copy("b.txt"), -1);
  }
  EXPECT_TRUE(RecoverInterruptedOperations().entries.empty());
  other.UnlockWriter();
  EXPECT_EQ(Difference(), "");
}

TEST_F(JournalScopeTest, AFailedUndoKeepsWhatItNeedsForTheNextStart) {
  FailingMachine machine(m_pc.Get());
  CKestOS::SetMachine(&machine);
  {
    JournalScope scope(m_journal);
    EXPECT_EQ(Copy("a.txt"), 0);
    EXPECT_EQ(Copy("b.txt"), 0);
    machine.arm(1, true);
    EXPECT_FALSE(scope.RollBack());
    machine.disarm();
  }
  ASSERT_EQ(m_journal.GetLeftovers().size(), 2u);
  EXPECT_EQ(m_journal.GetLeftovers()[1].path, "C:\\app\\a.txt");
  const CString backup = m_journal.GetLeftovers()[1].backup;
  EXPECT_EQ(m_pc.Read(backup), "old a");
  {
    JournalScope next(m_journal); // another operation meanwhile leaves it alone
    EXPECT_EQ(m_journal.Run(std::make_unique<CInstallCreateFolder>("C:\\other")), 0);
    EXPECT_TRUE(next.Commit());
  }
  EXPECT_EQ(m_pc.Read(backup), "old a");
  const RecoveryReport report = RecoverInterruptedOperations();
  ASSERT_EQ(report.entries.size(), 1u);
  EXPECT_THAT(report.entries[0].restored, ::testing::ElementsAre("C:\\app\\b.txt", "C:\\app\\a.txt"));
  std::filesystem::remove(m_pc.HostPath("C:\\other"));
  EXPECT_EQ(Difference(), "");
  CKestOS::SetMachine(&m_pc.Get());
}

/// Renames nothing any more.
class MachineWithoutRenames : public ForwardingMachine {
public:
  using ForwardingMachine::ForwardingMachine;
  bool Allow(const Call& call) override {
    const std::string_view name = call.name;
    return !isArmed || (!name.starts_with("Move") && !name.starts_with("Replace"));
  }
  bool isArmed = false;
};

// The steps before it would take the folder and the file that it left for those which they themselves have to bring
// back.
TEST_F(JournalScopeTest, AStepThatCannotBeUndoneHoldsThoseBackThatCameBeforeItInItsPlace) {
  m_pc.Write("C:\\app\\folder\\f.txt", "f", 300);
  ASSERT_TRUE(m_pc.Get().SetFileReadOnly("C:\\app\\a.txt", true));
  m_before = StateOf(m_pc);
  MachineWithoutRenames machine(m_pc.Get());
  CKestOS::SetMachine(&machine);
  {
    JournalScope scope(m_journal);
    EXPECT_EQ(AppendMakeWritable(&m_journal, "C:\\app\\a.txt"), 0);
    EXPECT_EQ(Copy("a.txt"), 0);
    EXPECT_EQ(m_journal.Run(std::make_unique<CInstallDeleteFile>("C:\\app\\folder\\f.txt")), 0);
    EXPECT_EQ(m_journal.Run(std::make_unique<CInstallDeleteFolder>("C:\\app\\folder")), 0);
    EXPECT_EQ(m_journal.Run(std::make_unique<CInstallCreateFolder>("C:\\app\\folder")), 0);
    EXPECT_EQ(
        m_journal.Run(std::make_unique<CInstallCopyFile>("C:\\src\\b.txt", "C:\\app\\folder\\b.txt", false, false)), 0);
    machine.isArmed = true;
    EXPECT_FALSE(scope.RollBack());
    machine.isArmed = false;
  }
  EXPECT_EQ(m_journal.GetLeftovers().size(), 6u);
  const RecoveryReport report = RecoverInterruptedOperations();
  ASSERT_EQ(report.entries.size(), 1u);
  EXPECT_TRUE(report.entries[0].leftovers.empty());
  EXPECT_EQ(Difference(), "");
  CKestOS::SetMachine(&m_pc.Get());
}

TEST_F(JournalScopeTest, DeletedFilesOfAnOperationAreOneEntryOfTheTrash) {
  m_pc.Write("C:\\app\\one\\same.txt", "1");
  m_pc.Write("C:\\app\\two\\same.txt", "2");
  {
    JournalScope scope(m_journal, JournalScope::Kind::kOrdinary, "uninstall Twins");
    EXPECT_EQ(m_journal.Run(std::make_unique<CInstallDeleteFile>("C:\\app\\one\\same.txt")), 0);
    EXPECT_EQ(m_journal.Run(std::make_unique<CInstallDeleteFile>("C:\\app\\two\\same.txt")), 0);
    EXPECT_TRUE(scope.Commit());
  }
  std::set<std::string> contents;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(m_pc.GetRoot() / "trash")) {
    if (entry.is_regular_file() && entry.file_size() == 1) {
      EXPECT_NE(entry.path().string().find("uninstall Twins"), std::string::npos);
      contents.insert(entry.path().filename().string());
    }
  }
  EXPECT_EQ(contents.size(), 2u);
}

} // namespace
} // namespace kest::test
