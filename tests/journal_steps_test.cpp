#include "journal_script.h"

#include "journal/step_record.h"
#include "support/fake_windows_machine.h"

namespace kest::test {
namespace {

class JournalSteps : public TempMachineTest {
protected:
  void SetUp() override {
    m_pc.Write("C:\\src\\new.txt", "new", 100);
    m_pc.Write("C:\\app\\Old.txt", "old", 200);
    m_before = StateOf(m_pc);
  }
  void TearDown() override { CKestOS::RemoveTempFolder(); }

  [[nodiscard]] std::string Difference() {
    CKestOS::RemoveTempFolder();
    return m_before.Difference(StateOf(m_pc));
  }

  MachineState m_before;
};

TEST_F(JournalSteps, AnUndoOfAStepThatFailedTouchesNothing) {
  m_pc.MakeFolder("C:\\app\\folder");
  m_pc.Write("C:\\app\\taken", "taken");
  m_before = StateOf(m_pc);
  const std::shared_ptr<CKestExtensionInstallStep> steps[] = {
      std::make_shared<CInstallCopyFile>("C:\\src\\none", "C:\\app\\Old.txt", false, false),
      std::make_shared<CInstallCopyFile>("C:\\src\\new.txt", "C:\\app\\folder", false, false),
      std::make_shared<CInstallCopyFile>("C:\\src\\new.txt", "C:\\no\\file", false, false),
      std::make_shared<CInstallDeleteFile>("C:\\app\\none.txt"),
      std::make_shared<CInstallDeleteFile>("C:\\app\\folder"),
      std::make_shared<CInstallBackupFile>("C:\\app\\none.xml", "C:\\app\\none.xbk"),
      std::make_shared<CInstallBackupFile>("C:\\app\\Old.txt", "C:\\app\\folder"),
      std::make_shared<CInstallCreateFolder>("C:\\app\\Old.txt"),
      std::make_shared<CInstallDeleteFolder>("C:\\app"),
      std::make_shared<CInstallDeleteFolder>("C:\\none"),
      std::make_shared<CInstallMoveFile>("C:\\app\\Old.txt", "C:\\app\\taken"),
      std::make_shared<CInstallMoveFile>("C:\\app\\none", "C:\\app\\x"),
      std::make_shared<CInstallAddFontResource>("C:\\src\\none", "C:\\windows\\Fonts\\n.ttf"),
  };
  for (const auto& step : steps) {
    EXPECT_EQ(step->Do(), -1) << step->GetTarget();
    static_cast<void>(step->Undo());
    step->Release();
  }
  EXPECT_EQ(steps[3]->Undo(), -1); // nothing was kept, and no empty file may appear
  EXPECT_FALSE(steps[3]->IsUndoOpen());
  EXPECT_EQ(Difference(), "");
}

TEST_F(JournalSteps, AFileThatAProgramHoldsAndNobodyReplacedIsPutBackAlready) {
  FakeWindowsMachine windows(m_pc.Get());
  CKestOS::SetMachine(&windows);
  for (const Sharing sharing : {Sharing::kNothing, Sharing::kReadAndWrite, Sharing::kAll}) {
    CInstallBackupFile step("C:\\app\\Old.txt", "C:\\app\\Old.xbk");
    ASSERT_EQ(step.Do(), 0);
    windows.Hold("C:\\app\\Old.txt", sharing);
    EXPECT_FALSE(windows.ReplaceFile("C:\\src\\new.txt", "C:\\app\\Old.txt"));
    EXPECT_EQ(step.Undo(), 0) << "nothing is left undone";
    EXPECT_EQ(step.Undo(), 0) << "also when a start goes on with it";
    step.Release();
    windows.LetGo();
  }
  CKestOS::RemoveTempFolder();
  CKestOS::SetMachine(&m_pc.Get());
  EXPECT_EQ(Difference(), "");
}

TEST_F(JournalSteps, ADeferredCopyWritesOneRunOnceValueAndTakesBackThatOne) {
  ASSERT_TRUE(m_pc.Get().WriteRegistryString(RegistryRoot::kCurrentUser, kRunOnce, "other", "keep.exe"));
  m_before = StateOf(m_pc);
  CInstallCopyFile step("C:\\src\\new.txt", "C:\\app\\Old.txt", true, false);
  EXPECT_EQ(step.Do(), 0);
  EXPECT_EQ(step.Do(), 0);
  EXPECT_EQ(m_pc.Read("C:\\app\\Old.txt"), "old");
  std::vector<RegistryValue> values;
  ASSERT_TRUE(IsYes(m_pc.Get().EnumRegistryValues(RegistryRoot::kCurrentUser, kRunOnce, values)));
  ASSERT_EQ(values.size(), 2u);
  const RegistryValue& value = values[0].name == "other" ? values[1] : values[0];
  const CString pending = "C:\\app\\" + value.name;
  EXPECT_EQ(m_pc.Read(pending), "new");
  EXPECT_EQ(m_pc.GetDate(pending), 100);
  EXPECT_TRUE(value.name.starts_with("rpl"));
  EXPECT_TRUE(value.data.ends_with("replace.exe \"C:\\app\\Old.txt\" \"" + pending + "\"")) << value.data;
  EXPECT_EQ(step.Undo(), 0);
  EXPECT_EQ(Difference(), "");
}

TEST_F(JournalSteps, ADeletedFileDoesNotComeBackOverSomebodyElses) {
  CInstallDeleteFile step("C:\\app\\Old.txt");
  EXPECT_EQ(step.Do(), 0);
  m_pc.Write("C:\\app\\Old.txt", "a user's");
  EXPECT_EQ(step.Undo(), -1);
  EXPECT_TRUE(step.IsUndoOpen());
  EXPECT_EQ(m_pc.Read("C:\\app\\Old.txt"), "a user's");
  EXPECT_EQ(m_pc.Read(step.GetKept()), "old");
}

TEST_F(JournalSteps, FoldersThatWereThereStay) {
  m_pc.MakeFolder("C:\\app\\There");
  m_before = StateOf(m_pc);
  CInstallCreateFolder there("C:\\app\\there\\");
  EXPECT_EQ(there.Do(), 0);
  EXPECT_EQ(there.Undo(), 0);
  CInstallCreateFolder made("C:\\app\\made");
  EXPECT_EQ(made.Do(), 0);
  EXPECT_TRUE(m_pc.Exists("C:\\app\\made"));
  EXPECT_EQ(made.Undo(), 0);
  EXPECT_EQ(made.Undo(), 0);
  // the folder itself comes back, with its rights, since making one may need room that the disk no longer has
  std::filesystem::permissions(m_pc.HostPath("C:\\app\\There"), std::filesystem::perms(0710));
  CInstallDeleteFolder removed("C:\\app\\THERE");
  EXPECT_EQ(removed.Do(), 0);
  EXPECT_FALSE(m_pc.Exists("C:\\app\\There"));
  EXPECT_EQ(removed.Undo(), 0);
  EXPECT_EQ(std::filesystem::status(m_pc.HostPath("C:\\app\\There")).permissions(), std::filesystem::perms(0710));
  EXPECT_EQ(Difference(), "");
}

// Somebody puts a file into a folder of ours before it is moved, or between the look and the move.
TEST_F(JournalSteps, AWholeFolderTakesNothingOfOthersWithIt) {
  const std::vector<CString> names = {"a.txt", "b.txt"};
  const auto lay = [&](const CString& folder) {
    for (const CString& name : names) {
      m_pc.Write(folder + "\\" + name, "ours");
    }
  };
  for (const bool late : {false, true}) {
    SCOPED_TRACE(late);
    FailingMachine machine(m_pc.Get());
    CKestOS::SetMachine(&machine);
    const auto putUsersFile = [&](const CString& folder) {
      const auto put = [&, folder] { m_pc.Write(folder + "\\user.txt", "the user's"); };
      machine.instead(put);
      late ? machine.armForChanges(1) : put();
    };
    lay("C:\\app\\gone");
    CInstallDeleteWholeFolder gone("C:\\app\\gone", names);
    ASSERT_EQ(gone.Prepare(), 0);
    putUsersFile("C:\\app\\gone");
    EXPECT_EQ(gone.Do(), -1);
    machine.disarm();
    EXPECT_EQ(m_pc.Read("C:\\app\\gone\\user.txt"), "the user's");
    EXPECT_EQ(m_pc.Read("C:\\app\\gone\\a.txt"), "ours");

    CString temp;
    ASSERT_TRUE(CKestOS::GetTempPath(temp));
    lay(temp + "unpacked");
    CInstallPlaceFolder placed(temp + "unpacked", "C:\\app\\placed", names);
    EXPECT_EQ(placed.Do(), 0);
    EXPECT_EQ(m_pc.Read("C:\\app\\placed\\b.txt"), "ours");
    putUsersFile("C:\\app\\placed");
    EXPECT_EQ(placed.Undo(), 0);
    machine.disarm();
    EXPECT_EQ(placed.Undo(), 0);
    EXPECT_EQ(m_pc.Read("C:\\app\\placed\\user.txt"), "the user's");
    EXPECT_FALSE(m_pc.Exists("C:\\app\\placed\\a.txt"));
    CKestOS::RemoveTempFolder();
    CKestOS::SetMachine(&m_pc.Get());
    for (const char* folder : {"C:\\app\\gone", "C:\\app\\placed"}) {
      EXPECT_TRUE(m_pc.Get().RemoveTree(folder));
    }
  }
  EXPECT_EQ(Difference(), "");
}

TEST_F(JournalSteps, AWholeFolderComesBackIntoOneMadeAnewAndTakesNoOthersPlace) {
  m_pc.Write("C:\\app\\Whole\\a.txt", "ours");
  CInstallDeleteWholeFolder gone("C:\\app\\WHOLE", {"a.txt"});
  EXPECT_EQ(gone.Do(), 0);
  EXPECT_FALSE(m_pc.Exists("C:\\app\\Whole"));
  m_pc.Write("C:\\app\\Whole\\user.txt", "the user's");
  EXPECT_EQ(gone.Undo(), 0);
  EXPECT_EQ(gone.Undo(), -1);
  EXPECT_EQ(m_pc.Read("C:\\app\\Whole\\a.txt"), "ours");
  EXPECT_EQ(m_pc.Read("C:\\app\\Whole\\user.txt"), "the user's");

  CString temp;
  ASSERT_TRUE(CKestOS::GetTempPath(temp));
  m_pc.Write(temp + "unpacked\\a.txt", "new");
  CInstallPlaceFolder placed(temp + "unpacked", "C:\\app\\whole", {"a.txt"});
  EXPECT_EQ(placed.Do(), -1);
  EXPECT_EQ(placed.Undo(), 0);
  EXPECT_EQ(m_pc.Read("C:\\app\\Whole\\a.txt"), "ours");
}

TEST_F(JournalSteps, AnAddedFontTakesItsListEntriesWithItAndOneThatIsThereIsNotTouched) {
  Machine& machine = m_pc.Get();
  ASSERT_TRUE(m_pc.Get().SetOperatingSystemVersion(5));
  ASSERT_TRUE(machine.WriteRegistryString(RegistryRoot::kCurrentUser, kFontList, "stale", "C:\\windows\\Fonts\\f.ttf"));
  m_pc.Write("C:\\windows\\Fonts\\there.ttf", "there");
  m_before = StateOf(m_pc);
  CInstallAddFontResource font("C:\\src\\new.txt", "C:\\windows\\Fonts\\f.ttf");
  CInstallAddFontResource there("C:\\src\\new.txt", "C:\\windows\\Fonts\\there.ttf");
  EXPECT_EQ(font.Do(), 0);
  EXPECT_EQ(there.Do(), 0);
  EXPECT_EQ(m_pc.Get().GetFontResources().size(), 1u);
  ASSERT_TRUE(machine.WriteRegistryString(RegistryRoot::kCurrentUser, kFontList, "F", "c:\\WINDOWS\\fonts\\F.ttf"));
  EXPECT_EQ(there.Undo(), 0);
  EXPECT_EQ(font.Undo(), 0);
  EXPECT_TRUE(m_pc.Get().GetFontResources().empty());
  EXPECT_EQ(Difference(), "");
}

TEST(StepRecordText, AnyByteComesBack) {
  CString bytes;
  for (int c = 0; c < 256; ++c) {
    bytes += static_cast<char>(c);
  }
  StepRecord record;
  record.SetKind("copy");
  record.Add("all", bytes);
  record.Add("empty", "");
  record.Add("all", "second");
  const CString text = record.ToText();
  EXPECT_EQ(text.find('\n'), CString::npos);
  StepRecord read;
  ASSERT_TRUE(StepRecord::FromText(text, read));
  EXPECT_EQ(read.GetKind(), "copy");
  EXPECT_EQ(read.GetAll("all"), (std::vector<CString>{bytes, "second"}));
  EXPECT_EQ(read.ToText(), text);
  for (const char* bad : {"", "a=b", "kind\tx", "kind\t=x", "kind\tx=%4", "kind\tx=%zz", "kind\tx=%"}) {
    EXPECT_FALSE(StepRecord::FromText(bad, read)) << bad;
  }
}

} // namespace
} // namespace kest::test
