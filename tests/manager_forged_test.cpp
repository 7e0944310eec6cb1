#include "platform/machine/os.h"
#include "platform/text/sealed_line.h"
#include "support/kest_fixture.h"

#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

namespace kest::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFolder = "C:\\windows\\temp\\kest-1-abcdef";
constexpr const char* kPrivate = "C:\\windows\\temp\\kest-1-abcdef\\kest-1-abcdef\\";
const uid_t kNobody = 65534;

/// Journals that somebody put there, on a machine of the user's own with Tidemark on it.
class ForgedJournals : public KestFixture {
protected:
  ForgedJournals() {
    for (const char* path : {"C:\\boot.ini", "C:\\windows\\win.ini", "C:\\users\\Tester\\notes.txt",
                             "C:\\ProgramData\\Kest\\history.log", "C:\\windows\\temp\\other.txt"}) {
      m_pc.Write(path, "theirs");
    }
    m_pc.Write(kInside, "theirs");
    std::ofstream(m_pc.GetOutside() / "file.txt") << "theirs";
    fs::create_directories(m_pc.GetRoot() / "dosdevices");
    fs::create_symlink(m_pc.GetOutside(), m_pc.GetRoot() / "dosdevices/d:");
    fs::create_symlink("/", m_pc.GetRoot() / "dosdevices/z:");
    m_pc.Get().NoteOwn({});
  }

  /// The lines of an operation that died, with what it would put back; "{t}" means the target, "{p}" the private
  /// folder.
  void plant(CString lines, const CString& target, bool marked = true) {
    fs::remove_all(m_pc.HostPath(kFolder));
    if (marked) {
      ASSERT_TRUE(m_pc.Get().CreatePrivateDirectory(kFolder));
    } else {
      fs::create_directory(m_pc.HostPath(kFolder));
      fs::permissions(m_pc.HostPath(kFolder), fs::perms::owner_all);
    }
    m_pc.Write(CString(kPrivate) + "evil", "forged");
    m_pc.Write(CString(kPrivate) + "kept\\evil", "forged");
    text::ReplaceAll(lines, "{t}", target);
    text::ReplaceAll(lines, "{p}", kPrivate);
    CString journal = sealed_line::Seal("kest-journal\t1\t1\t5\tinstall Word Count");
    for (std::size_t at = 0, end = 0; at < lines.size(); at = end + 1) {
      end = std::min(lines.find('\n', at), lines.size());
      journal += sealed_line::Seal(lines.substr(at, end - at));
    }
    m_pc.Write(CString(kPrivate) + "journal-1.tmp", journal);
  }
  const RecoveryReport& startAnew() {
    m_pc.Reopen();
    start();
    return manager().GetRecoveryReport();
  }
  void expectNotFollowed(const CString& what) {
    const MachineSnapshot before = m_pc.Snapshot();
    const RecoveryReport& report = startAnew();
    EXPECT_EQ(DescribeDifference(before, m_pc.Snapshot()), "") << what;
    EXPECT_EQ(ReadHostFile(m_pc.GetOutside() / "file.txt"), "theirs") << what;
    ASSERT_EQ(report.entries.size(), 1u) << what;
    EXPECT_FALSE(report.entries.front().leftovers.empty()) << what;
    EXPECT_TRUE(report.entries.front().restored.empty()) << what;
  }

  static inline const CString kInside = CString(kCommands) + "theirs.htm";
  static constexpr const char* kCopy = "S\t0\t0\tcopy\tto={t}\tstage={p}none\tkept={p}evil";
};

TEST_F(ForgedJournals, AStepAboutAPlaceThatNoOperationReachesIsNeverRun) {
  const char* const kinds[] = {
      kCopy,
      "S\t0\t0\tcopy\tto={t}\tstage={p}none",
      "S\t0\t0\tcopy\tto={t}\tstage={p}none\tpending={t}",
      "S\t0\t0\tdelete\tpath={t}\tkept={p}evil",
      "S\t0\t0\tbackup\tfile={t}\tcopy=C:\\Program Files\\Kestrel\\Tidemark 6\\x.bk\tstage={p}none\tkept={p}evil",
      "S\t0\t0\tnew-file\tpath={t}\taside={p}x",
      "S\t0\t0\tmake-writable\tpath={t}",
      "S\t0\t0\tmove\tfrom=C:\\Program Files\\Kestrel\\Tidemark 6\\x.txt\tto={t}",
      "S\t0\t0\tmove\tfrom={t}\tto={p}evil",
      "S\t0\t0\tdelete-folder\tfolder={t}\\new\taside=",
      "S\t0\t0\tfont\tto={t}\tstage={p}none",
      "S\t0\t0\tplace-folder\tto={t}\tstage={p}none\taside={p}x\tname=file.txt",
      "S\t0\t0\tdelete-whole-folder\tpath={t}\tkept={p}kept\tname=evil",
      // a step that is all right does not hide another
      "S\t0\t0\tdelete\tpath=C:\\Program Files\\Kestrel\\Tidemark 6\\new.htm\tkept={p}evil\n"
      "S\t1\t0\tdelete\tpath={t}\tkept={p}kept\\evil",
  };
  const CString targets[] = {"C:\\boot.ini",
                             "C:\\windows\\win.ini",
                             "C:\\users\\Tester\\notes.txt",
                             "C:\\ProgramData\\Kest\\history.log",
                             "C:\\windows\\temp\\other.txt",
                             "D:\\file.txt",
                             "Z:" + m_pc.GetOutside().string() + "\\file.txt"};
  for (const char* kind : kinds) {
    for (CString target : targets) {
      text::ReplaceAll(target, "/", "\\");
      plant(kind, target);
      expectNotFollowed(CString(kind) + " at " + target);
    }
  }
}

TEST_F(ForgedJournals, AFolderThatIsNotTheUsersAloneIsNotBelieved) {
  for (const mode_t mode : {0755U, 0770U, 0701U, 01777U, 0750U}) {
    plant(kCopy, kInside);
    ASSERT_EQ(chmod(m_pc.HostPath(kFolder).c_str(), mode), 0);
    expectNotFollowed(std::to_string(mode));
  }
  // so Windows programs leave it in a prefix: but what lies in it nobody else can have written
  const fs::path prefix = m_pc.GetRoot() / ".update-timestamp";
  std::ofstream(prefix) << "1";
  for (const char* path : {"", R"(\kest-1-abcdef)", R"(\kest-1-abcdef\journal-1.tmp)"}) {
    plant(kCopy, kInside);
    ASSERT_EQ(chmod(m_pc.HostPath(kFolder).c_str(), 0750), 0);
    ASSERT_EQ(chmod(m_pc.HostPath(CString(kFolder) + path).c_str(), 0770), 0);
    expectNotFollowed(path);
  }
  fs::remove(prefix);
  plant(kCopy, kInside);
  ASSERT_TRUE(fs::create_directory(m_pc.GetRoot() / "drive_c/kest-1-abcdef"));
  m_pc.Write(CString(kPrivate) + "journal-1.tmp", sealed_line::Seal("kest-journal\t1\t1\t5\tinstall Word Count") +
                                                      sealed_line::Seal("F\tC:\\kest-1-abcdef"));
  expectNotFollowed("a private folder elsewhere");
  if (chown(m_pc.HostPath(kFolder).c_str(), kNobody, kNobody) != 0) {
    GTEST_SKIP() << "only root can give a folder away";
  }
  expectNotFollowed("somebody else's");
}

TEST_F(ForgedJournals, TrueOnesOfThisAndOfTheLastVersionAreFollowed) {
  for (const bool marked : {true, false}) {
    for (const CString& target : {kInside, CString("C:\\windows\\system32\\part.dll"), CString("C:\\Sites\\a.htm")}) {
      m_pc.Write(target, "theirs");
      if (target.starts_with("C:\\Sites")) {
        m_pc.Get().NoteOwn({"C:\\Sites"}); // as the folder of a token was before it was changed
      }
      plant(kCopy, target, marked);
      const RecoveryReport& report = startAnew();
      ASSERT_EQ(report.entries.size(), 1u) << target;
      EXPECT_TRUE(report.entries.front().leftovers.empty()) << report.entries.front().refused;
      EXPECT_EQ(m_pc.Read(target), "forged");
      EXPECT_FALSE(m_pc.Exists(kFolder));
    }
  }
}

TEST_F(ForgedJournals, AMachineThatTheUserNeverChangedIsTakenBackOnlyWhenToldSo) {
  fs::rename(m_pc.GetRoot() / "drive_c", m_pc.GetRoot() / "was"); // as if it came from elsewhere
  fs::copy(m_pc.GetRoot() / "was", m_pc.GetRoot() / "drive_c", fs::copy_options::recursive);
  fs::remove_all(m_pc.GetRoot() / "was");
  m_pc.Reopen();
  plant(kCopy, kInside);
  const MachineSnapshot before = m_pc.Snapshot();
  const RecoveryReport& report = startAnew();
  EXPECT_TRUE(report.isForeign);
  ASSERT_EQ(report.entries.size(), 1u);
  EXPECT_EQ(report.entries.front().restored, std::vector<CString>{kInside});
  EXPECT_EQ(DescribeDifference(before, m_pc.Snapshot()), "");
  EXPECT_TRUE(manager().RecoverTrusting().entries.front().leftovers.empty());
  EXPECT_EQ(m_pc.Read(kInside), "forged");
  EXPECT_TRUE(startAnew().entries.empty());
}

TEST_F(ForgedJournals, AFolderOfSomebodysThatIsNamedLikeOursStays) {
  for (const fs::perms mode : {fs::perms::owner_all, fs::perms::owner_all | fs::perms::group_read}) {
    m_pc.Write("C:\\windows\\temp\\kest-9-backup\\kest-9-backup\\journal-of-mine.txt", "");
    m_pc.Write("C:\\windows\\temp\\kest-9-backup\\letter.txt", "mine");
    fs::permissions(m_pc.HostPath("C:\\windows\\temp\\kest-9-backup"), mode);
    (void)startAnew();
    EXPECT_EQ(m_pc.Read("C:\\windows\\temp\\kest-9-backup\\letter.txt"), "mine");
  }
}

TEST_F(ForgedJournals, AnUndoTakesNothingFromARecordThatNamesOtherPlaces) {
  ASSERT_NE(installed(package("Word Count").file("wc.htm", kToCommands)), nullptr);
  const CString folder = manager().GetHistory().entries.back().kept;
  const std::string good = m_pc.Read(folder + "\\record");
  m_pc.Write(folder + "\\evil", "forged");
  for (const char* effect :
       {"effect\tpath=C:\\boot.ini\texisted=1\texists=0\tkept=evil", "effect\tpath=D:\\new.txt\texisted=1\tkept=evil",
        "effect\tpath=C:\\windows\\temp\\x\\y\texisted=1\tkept=evil",
        "effect\tpath=C:\\Program Files\\Kestrel\\Tidemark 6\\new.htm\texisted=1\tkept=C:\\boot.ini"}) {
    const std::string line = good.substr(0, good.find('\n') + 1);
    m_pc.Write(folder + "\\record", line + sealed_line::Seal(effect) + sealed_line::Seal("end\teffects=1"));
    std::vector<OperationEffect> effects;
    ASSERT_TRUE(history::ReadEffects(folder, effects)) << effect;
    const MachineSnapshot before = m_pc.Snapshot();
    EXPECT_EQ(manager().UndoOperation(0), -1) << effect;
    EXPECT_EQ(DescribeDifference(before, m_pc.Snapshot()), "") << effect;
    EXPECT_FALSE(fs::exists(m_pc.GetOutside() / "new.txt"));
  }
}

} // namespace
} // namespace kest::test
