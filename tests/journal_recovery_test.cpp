#include "journal_script.h"

#include "journal/journal_file.h"
#include "journal/private_folders.h"
#include "platform/text/sealed_line.h"

#include <fstream>
#include <numeric>
#include <sstream>

namespace kest::test {
namespace {

void Operate() {
  CKestInstallJournal journal;
  static_cast<void>(RunScript(journal));
}

void Recover() { static_cast<void>(RecoverInterruptedOperations()); }

/// A machine with something for each kind of step.
class FilledMachine : public TempMachine {
public:
  FilledMachine() { FillMachine(*this); }
  /// The script, or what is to be done instead, in a process that is killed at its n-th changing call. True when it
  /// came to its end.
  bool Survives(int killAt, const std::function<void()>& work = Operate) {
    CKestOS::SetMachine(nullptr);
    const bool survived = SurvivesInChild(*this, killAt, work);
    Reopen();
    return survived;
  }
  /// As the next start of the process would do it: without its private folder.
  void EndFailures() {
    CKestOS::SetMachine(nullptr);
    CKestOS::SetMachine(&Get());
  }
};

void WriteJournal(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

struct Reference {
  MachineState before;
  MachineState after;
};

const Reference& GetReference() {
  static const Reference reference = [] {
    FilledMachine pc;
    Reference made;
    made.before = StateOf(pc);
    CKestInstallJournal journal;
    EXPECT_TRUE(RunScript(journal));
    made.after = StateOf(pc);
    EXPECT_NE(made.before, made.after);
    for (const auto& [path, entry] : made.after.entries) {
      EXPECT_EQ(path.find("kest-"), std::string::npos) << path;
    }
    return made;
  }();
  return reference;
}

std::string Mixed(TempMachine& pc) {
  const MachineState state = StateOf(pc);
  if (state == GetReference().before || state == GetReference().after) {
    return {};
  }
  return "against before:\n" + GetReference().before.Difference(state) + "against after:\n" +
         GetReference().after.Difference(state);
}

std::filesystem::path FindJournal(const TempMachine& pc) {
  for (const auto& entry : std::filesystem::recursive_directory_iterator(pc.HostPath("C:\\windows\\temp"))) {
    if (entry.path().filename().string().starts_with(private_folders::kJournalPrefix)) {
      return entry.path();
    }
  }
  return {};
}

class FailingCalls : public ::testing::TestWithParam<bool> {};

TEST_P(FailingCalls, EveryCallThatFailsLeavesTheMachineAsBeforeOrDone) {
  int undone = 0;
  for (int n = 1;; ++n) {
    FilledMachine pc;
    FailingMachine machine(pc.Get());
    machine.arm(n, GetParam());
    CKestOS::SetMachine(&machine);
    bool done = false;
    bool leftovers = false;
    {
      CKestInstallJournal journal;
      done = RunScript(journal);
      leftovers = !journal.GetLeftovers().empty();
    }
    const bool fired = machine.fired();
    pc.EndFailures();
    if (!GetParam()) {
      // the way back is open, so nothing has to wait for the next start
      EXPECT_FALSE(leftovers) << "call " << n;
      ASSERT_EQ((done ? GetReference().after : GetReference().before).Difference(StateOf(pc)), "") << "call " << n;
    } else {
      Recover();
      ASSERT_EQ(Mixed(pc), "") << "call " << n;
      if (done) {
        ASSERT_EQ(GetReference().after.Difference(StateOf(pc)), "") << "told done at call " << n;
      }
    }
    if (!fired) {
      EXPECT_TRUE(done);
      break;
    }
    undone += done ? 0 : 1;
  }
  EXPECT_GT(undone, 50);
}

INSTANTIATE_TEST_SUITE_P(OnceAndFromThere, FailingCalls, ::testing::Bool());

TEST(JournalRecovery, AKillAtAnyChangingCallIsUndoneByTheNextStart) {
  int before = 0;
  int after = 0;
  for (int n = 1;; ++n) {
    FilledMachine pc;
    const bool survived = pc.Survives(n);
    const RecoveryReport report = RecoverInterruptedOperations();
    for (const RecoveryReport::Entry& entry : report.entries) {
      EXPECT_TRUE(entry.leftovers.empty()) << "kill " << n;
      EXPECT_EQ(entry.operation, "install Everything");
    }
    ASSERT_EQ(Mixed(pc), "") << "kill " << n;
    (StateOf(pc) == GetReference().before ? before : after) += 1;
    EXPECT_TRUE(RecoverInterruptedOperations().entries.empty()) << "kill " << n;
    ASSERT_EQ(Mixed(pc), "") << "second recovery after kill " << n;
    if (survived) {
      break;
    }
  }
  EXPECT_GT(before, 30);
  EXPECT_GT(after, 1);
}

TEST(JournalRecovery, ARecoveryMayItselfBeKilledAtAnyCall) {
  for (int n = 9;; n += 19) {
    for (int m = 1;; ++m) {
      FilledMachine pc;
      if (pc.Survives(n)) {
        return;
      }
      const bool recovered = pc.Survives(m, Recover);
      Recover();
      ASSERT_EQ(Mixed(pc), "") << "kill " << n << ", recovery killed at " << m;
      if (recovered) {
        break;
      }
    }
  }
}

TEST(JournalRecovery, ARecoveryWhoseCallsFailIsFinishedByTheNext) {
  for (const bool persistent : {false, true}) {
    for (int n = 1;; n += 3) {
      FilledMachine pc;
      ASSERT_FALSE(pc.Survives(60));
      FailingMachine machine(pc.Get());
      machine.arm(n, persistent);
      CKestOS::SetMachine(&machine);
      Recover();
      const bool fired = machine.fired();
      pc.EndFailures();
      Recover();
      ASSERT_EQ(Mixed(pc), "") << "call " << n;
      if (!fired) {
        break;
      }
    }
  }
}

// The journal of an operation killed when all was done but the mark, with the machine beside it.
class DamagedJournal : public ::testing::Test {
protected:
  void Kill() {
    m_pc = std::make_unique<FilledMachine>();
    ASSERT_FALSE(m_pc->Survives(70));
    m_journal = FindJournal(*m_pc);
    ASSERT_FALSE(m_journal.empty());
    m_text = ReadHostFile(m_journal);
  }

  std::unique_ptr<FilledMachine> m_pc;
  std::filesystem::path m_journal;
  std::string m_text;
};

TEST_F(DamagedJournal, ALostLineInTheMiddleIsReportedAndEverythingKept) {
  Kill();
  const std::size_t at = m_text.find("make-writable");
  ASSERT_NE(at, std::string::npos);
  m_text[at] = 'M';
  WriteJournal(m_journal, m_text);
  const RecoveryReport report = RecoverInterruptedOperations();
  ASSERT_EQ(report.entries.size(), 1u);
  EXPECT_EQ(report.entries[0].leftovers.size(), 1u);
  EXPECT_TRUE(std::filesystem::exists(m_journal));
  EXPECT_EQ(m_pc->Read("C:\\app\\Marked.txt"), "old marked bytes");
}

// A step's line may name any path. What an undo of it would move out of a private folder must lie in one.
TEST_F(DamagedJournal, WhatIsForeignOrLeadsOutsideThePrivateFolderIsReportedAndNotActedOn) {
  std::vector<std::string> texts = {"some text\n", sealed_line::Seal("kest-journal\t2\t1\t5\tlater")};
  for (const char* line : {
           "delete\tpath=C:\\app\\evil.txt\tkept=C:\\app\\replaced.txt",
           "delete\tpath=C:\\app\\evil.txt\tkept=C:\\windows\\temp\\x\\..\\..\\..\\app\\replaced.txt",
           "copy\tto=C:\\app\\replaced.txt\tstage=C:\\app\\none",
           "copy\tto=replaced.txt\tstage=C:\\windows\\temp\\none",
           "new-file\tpath=C:\\app\\replaced.txt\taside=C:\\app\\aside",
           "font\tto=C:\\app\\replaced.txt\tstage=C:\\app\\none",
           "backup\tfile=C:\\app\\evil.txt\tcopy=C:\\app\\b\tstage=C:\\app\\none\tkept=C:\\app\\replaced.txt",
           "move\tfrom=C:\\app\\evil.txt:stream\tto=C:\\app\\replaced.txt",
           "delete-folder\tfolder=C:\\app\\evil\taside=C:\\app\\none",
           "wipe\tpath=C:\\app\\replaced.txt",
       }) {
    texts.push_back(sealed_line::Seal("kest-journal\t1\t1\t5\tplanted") +
                    sealed_line::Seal("S\t0\t0\t" + CString(line)));
  }
  for (const std::string& text : texts) {
    Kill();
    WriteJournal(m_journal, text);
    const MachineState before = StateOf(*m_pc);
    const RecoveryReport report = RecoverInterruptedOperations();
    ASSERT_EQ(report.entries.size(), 1u) << text;
    EXPECT_EQ(report.entries[0].leftovers.size(), 1u) << text;
    EXPECT_EQ(before.Difference(StateOf(*m_pc)), "") << text;
  }
}

TEST_F(DamagedJournal, ACutOrAChangedByteCostsItsLineAtMost) {
  Kill();
  const JournalContent whole = ParseJournal(m_text);
  const std::size_t headerEnd = m_text.find('\n');
  std::size_t steps = 0;
  for (std::size_t at = 0; at < m_text.size(); ++at) {
    const JournalContent cut = ParseJournal(std::string_view(m_text).substr(0, at));
    EXPECT_FALSE(cut.damaged) << at;
    EXPECT_NE(cut.status, JournalContent::Status::kForeign) << at;
    EXPECT_GE(cut.steps.size(), steps) << at;
    steps = cut.steps.size();
    std::string text = m_text;
    text[at] = static_cast<char>(text[at] ^ 0x15);
    const JournalContent content = ParseJournal(text);
    if (at <= headerEnd) {
      EXPECT_EQ(content.status, JournalContent::Status::kForeign) << at;
      continue;
    }
    EXPECT_GE(content.steps.size() + 2, whole.steps.size()) << at;
    for (const auto& [number, record] : content.steps) {
      ASSERT_TRUE(whole.steps.contains(number) && whole.steps.at(number) == record) << "byte " << at;
    }
  }
}

// Header and first steps go out in one write, of which the disk may have got the end alone.
TEST(JournalFile, AFirstWriteThatLostItsBeginningNeverBegan) {
  const auto seal = [](const char* body) { return sealed_line::Seal(body); };
  const std::string lost(512, '\0');
  const std::string first = "rest of a line\n" + seal("S\t1\t0\tmake-writable\tpath=C:\\a.txt");
  EXPECT_EQ(ParseJournal(lost + first).status, JournalContent::Status::kEmpty);
  for (const char* later : {"S\t2\t2\tmake-writable\tpath=C:\\b.txt", "D", "U\t1", "R\t1\t1", "X"}) {
    EXPECT_EQ(ParseJournal(lost + first + seal(later)).status, JournalContent::Status::kForeign) << later;
  }
  EXPECT_EQ(ParseJournal("x" + lost + first).status, JournalContent::Status::kForeign);
}

TEST(JournalRecovery, WhatAKilledUnpackLeftIsRemovedAndAPackageCannotPlantAJournal) {
  TempMachine pc;
  pc.Write("C:\\app\\kept.txt", "kept");
  ASSERT_TRUE(pc.Get().CreatePrivateDirectory("C:\\windows\\temp\\kest-17-abc"));
  pc.Write("C:\\windows\\temp\\kest-17-abc\\sub\\unpacked.txt", "x");
  pc.Write("C:\\windows\\temp\\kest-17-abc\\journal-1.tmp",
           sealed_line::Seal("kest-journal\t1\t1\t5\tplanted") +
               sealed_line::Seal("S\t0\t0\tnew-file\tpath=C:\\app\\kept.txt\taside=C:\\windows\\temp\\kest-17-abc\\x"));
  pc.Write("C:\\windows\\temp\\kest-notours\\file.txt", "x");
  EXPECT_TRUE(RecoverInterruptedOperations().entries.empty());
  EXPECT_EQ(pc.Read("C:\\app\\kept.txt"), "kept");
  EXPECT_FALSE(pc.Exists("C:\\windows\\temp\\kest-17-abc"));
  EXPECT_TRUE(pc.Exists("C:\\windows\\temp\\kest-notours\\file.txt"));
}

// Steps that were undone may meet an undo once more when the power took the marks.
TEST(JournalRecovery, AnUndoWhoseUnsyncedMarksWereLostIsRepeatedWithoutHarm) {
  for (int m = 1;; ++m) {
    FilledMachine pc;
    ASSERT_FALSE(pc.Survives(80));
    const bool recovered = pc.Survives(m, Recover);
    if (const std::filesystem::path path = FindJournal(pc); !path.empty()) {
      std::istringstream in(ReadHostFile(path));
      std::vector<std::string> lines;
      for (std::string line; std::getline(in, line);) {
        lines.push_back(line + "\n");
      }
      // a mark is on the disk only when a later sync took it along: of the last stretch of marks nothing may be there,
      // but for those up to the last of a step that the disk does not tell of
      const auto isSynced = [&](const std::string& mark) {
        const std::string step = "S" + mark.substr(1, mark.find('\t', 2));
        return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
          const auto is = [&](const char* kind) { return line.find(kind) != std::string::npos; };
          return line.starts_with(step) && (is("\tmove\t") || is("\tnew-file\t") || is("\tmake-writable\t"));
        });
      };
      while (!lines.empty() && lines.back().starts_with("U\t") && !isSynced(lines.back())) {
        lines.pop_back();
      }
      WriteJournal(path, std::accumulate(lines.begin(), lines.end(), std::string()));
    }
    Recover();
    ASSERT_EQ(Mixed(pc), "") << "recovery killed at " << m;
    if (recovered) {
      break;
    }
  }
}

} // namespace
} // namespace kest::test
