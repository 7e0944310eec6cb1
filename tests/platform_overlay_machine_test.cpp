#include "platform/machine/overlay_machine.h"
#include "support/machine_facts.h"
#include "support/temp_machine.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>

namespace kest {
namespace {

namespace fs = std::filesystem;

/// The same calls, chosen at random, to a machine folder and to an overlay of another one that began as the same.
class TwoMachines {
public:
  TwoMachines(Machine& real, Machine& overlay, unsigned seed) : m_machines{&real, &overlay}, m_random(seed) {}

  /// What both answered; empty when that was the same.
  [[nodiscard]] std::string Step() {
    const int kind = Pick(15);
    const CString a = Path();
    const CString b = Path();
    const CString content(static_cast<std::size_t>(Pick(3) * 1500), static_cast<char>('a' + Pick(20)));
    const CKestDateTime date(1000000000 + Pick(100000));
    const bool flag = Pick(3) == 0;
    std::string answers[2];
    for (int i = 0; i < 2; ++i) {
      Machine& machine = *m_machines[i];
      machine.ClearLastError();
      const bool isDone = Do(machine, kind, a, b, content, date, flag);
      answers[i] = isDone ? "done" : "failed " + std::to_string(static_cast<int>(machine.GetLastError().kind));
      CKestDateTime now;
      if (IsYes(machine.FileExists(a)) && IsYes(machine.GetFileDateTime(a, now)) && now.GetSeconds() > 1500000000) {
        (void)machine.SetFileDateTime(a, date);
      }
      answers[i] += machine.GetStoredPath(a) + (IsYes(machine.FileExists(b)) ? " file" : "") +
                    (IsYes(machine.DirectoryExists(b)) ? " folder" : "") +
                    (IsYes(machine.IsFileReadOnly(b)) ? " marked" : "") + (machine.CanUpdateFile(a) ? " free" : "") +
                    (machine.SameVolume(a, b) ? "" : " apart");
    }
    return answers[0] == answers[1]
               ? ""
               : "call " + std::to_string(kind) + " " + a + " " + b + ": " + answers[0] + " / " + answers[1];
  }

private:
  int Pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }
  CString Path() {
    static constexpr const char* kNames[] = {"a", "A", "b", "f.txt", "F.TXT", "g", "Old", "old.txt"};
    CString path = "C:";
    for (int depth = 1 + Pick(3); depth > 0; --depth) {
      path += CString("\\") + kNames[Pick(8)];
    }
    return path;
  }
  static bool Do(Machine& machine, int kind, const CString& a, const CString& b, const CString& content,
                 const CKestDateTime& date, bool flag) {
    switch (kind) {
    case 0:
      return machine.CreateDirectory(a);
    case 1:
      return machine.CreatePrivateDirectory(a);
    case 2:
      return machine.RemoveDirectory(a);
    case 3:
      return flag && machine.RemoveTree(a);
    case 4:
      return machine.MoveFolder(a, b);
    case 5:
      return machine.MoveEmptyFolder(a, b);
    case 6:
      return machine.CopyFile(a, b);
    case 7:
      return machine.MoveFile(a, b);
    case 8:
      return machine.ReplaceFile(a, b);
    case 9:
      return machine.LinkFile(a, b);
    case 10:
      return machine.DeleteFile(a);
    case 11:
      return flag ? machine.MoveFileToTrash(a) : machine.SetFileReadOnly(a, date.GetSeconds() % 2 == 0);
    default:
      break;
    }
    const OpenMode mode = kind == 12 ? OpenMode::kCreateNew : kind == 13 ? OpenMode::kAppend : OpenMode::kReplace;
    const auto file = machine.Open(a, mode);
    const bool isWritten = file && file->Write(content.data(), content.size()) && file->Write("end", 3) &&
                           (mode == OpenMode::kAppend || content.empty() || file->WriteAt(content.size() - 1, "XY", 2));
    return isWritten && file->SetDate(date) && (flag || file->Close());
  }

  Machine* m_machines[2];
  std::mt19937 m_random;
};

TEST(OverlayMachine, AnswersWhateverIsDoneAsTheMachineItselfWould) {
  for (unsigned seed = 1; seed <= 25; ++seed) {
    test::TempMachine real;
    test::TempMachine below;
    for (test::TempMachine* pc : {&real, &below}) {
      for (const char* path : {R"(C:\a\f.txt)", R"(C:\a\b\g)", R"(C:\Old\old.txt)", R"(C:\Old\deep\er\x)"}) {
        pc->Write(path, CString(path) + CString(5000, 'x'));
      }
      pc->SetReadOnly(R"(C:\a\f.txt)", seed % 2 == 0);
    }
    const auto before = test::TracesOf(below.GetRoot());
    OverlayMachine overlay(below.Get(), {seed % 3 == 0 ? 2000ull : 1ull << 20, {}});
    TwoMachines both(real.Get(), overlay, seed);
    for (int i = 0; i < 150; ++i) {
      ASSERT_EQ(both.Step(), "") << "seed " << seed << " step " << i;
    }
    EXPECT_EQ(test::FactsOf(real.Get(), "C:\\"), test::FactsOf(overlay, "C:\\")) << "seed " << seed;
    EXPECT_EQ(test::TracesOf(below.GetRoot()), before);
    std::vector<OverlayMachine::Change> changes;
    ASSERT_TRUE(overlay.GetChanges(changes));
    const auto was = test::FactsOf(below.Get(), "C:\\");
    auto now = was; // what changed, and nothing else, makes the one of the other
    const auto is = test::FactsOf(overlay, "C:\\");
    for (const OverlayMachine::Change& change : changes) {
      now.erase(change.path);
      if (change.what != OverlayMachine::Change::What::kGone) {
        now[change.path] = is.at(change.path);
      }
    }
    EXPECT_EQ(now, is) << "seed " << seed;
  }
}

TEST(OverlayMachine, RegistryFontsAndProgramsAreRemembered) {
  test::TempMachine pc;
  const CString key = R"(Software\Kestrel\Thing)";
  ASSERT_TRUE(pc.Get().WriteRegistryString(RegistryRoot::kLocalMachine, key, "kept", "1"));
  ASSERT_TRUE(pc.Get().WriteRegistryString(RegistryRoot::kLocalMachine, key, "gone", "2"));
  pc.Write(R"(C:\windows\Fonts\f.ttf)", "font");
  const auto before = test::TracesOf(pc.GetRoot());
  OverlayMachine overlay(pc.Get());
  CString data;
  std::vector<RegistryValue> values;
  EXPECT_TRUE(overlay.DeleteRegistryValue(RegistryRoot::kLocalMachine, R"(\software\\KESTREL\thing)", "GONE"));
  EXPECT_TRUE(overlay.DeleteRegistryValue(RegistryRoot::kLocalMachine, key, "never"));
  EXPECT_TRUE(overlay.WriteRegistryString(RegistryRoot::kLocalMachine, key, "new", "3"));
  EXPECT_FALSE(IsYes(overlay.ReadRegistryString(RegistryRoot::kLocalMachine, key, "gone", data)));
  EXPECT_EQ(overlay.GetLastError().kind, MachineError::Kind::kNotFound);
  EXPECT_TRUE(IsYes(overlay.ReadRegistryString(RegistryRoot::kLocalMachine, key, "NEW", data)));
  EXPECT_EQ(data, "3");
  ASSERT_TRUE(IsYes(overlay.EnumRegistryValues(RegistryRoot::kLocalMachine, key, values)));
  ASSERT_EQ(values.size(), 2U);
  EXPECT_EQ(values[0].name + values[1].name, "keptnew");
  EXPECT_FALSE(IsYes(overlay.RegistryKeyExists(RegistryRoot::kCurrentUser, "Software\\Mine")));
  EXPECT_TRUE(overlay.WriteRegistryString(RegistryRoot::kCurrentUser, "Software\\Mine\\Below", "a", "b"));
  EXPECT_TRUE(IsYes(overlay.RegistryKeyExists(RegistryRoot::kCurrentUser, "SOFTWARE\\mine")));
  EXPECT_EQ(overlay.GetRegistryChanges().size(), 3U);
  EXPECT_FALSE(overlay.AddFontResource(R"(C:\windows\Fonts\none.ttf)"));
  EXPECT_TRUE(overlay.AddFontResource(R"(C:\windows\Fonts\f.ttf)"));
  EXPECT_TRUE(overlay.RemoveFontResource(R"(C:\windows\fonts\F.TTF)"));
  overlay.WinExec("setup.exe /now");
  EXPECT_EQ(overlay.GetStartedPrograms(), std::vector<CString>{"setup.exe /now"});
  EXPECT_TRUE(pc.Get().GetStartedPrograms().empty());
  EXPECT_TRUE(overlay.LockWriter(0).held);
  MachineFolder other(pc.GetRoot().string());
  EXPECT_TRUE(other.LockWriter(0).held);
  other.UnlockWriter();
  EXPECT_EQ(test::TracesOf(pc.GetRoot()), before);
}

} // namespace
} // namespace kest
