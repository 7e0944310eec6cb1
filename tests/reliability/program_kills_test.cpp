#include "reliability/engine_run.h"
#include "reliability/pc_under_test.h"
#include "reliability/program_run.h"
#include "support/process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <random>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kest::test {
namespace {

using Clock = std::chrono::steady_clock;
constexpr int kFiles = 300;

/// What the real program does to a machine when it is killed at any time.
class ProgramKills : public ::testing::Test {
protected:
  /// Starts the program on the machine; its output goes nowhere.
  [[nodiscard]] pid_t begin(const std::vector<std::string>& words) const {
    std::vector<std::string> command = {KEST_PROGRAM, "-m", m_pc.root().string()};
    command.insert(command.end(), words.begin(), words.end());
    const std::vector<std::string> environment = EnvironmentOf({{"XDG_DATA_HOME", m_pc.scratch() / "data"}});
    const pid_t child = fork();
    if (child == 0) {
      const int nowhere = open("/dev/null", O_RDWR);
      for (const int descriptor : {0, 1, 2}) {
        dup2(nowhere, descriptor);
      }
      ExecuteIn(command, environment, "");
    }
    return child;
  }
  [[nodiscard]] static int end(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
  }
  int run(const std::vector<std::string>& words) const { return end(begin(words)); }

  PcUnderTest m_pc;
};

TEST_F(ProgramKills, AtAnyTimeLeaveOldOrNewAfterTheNextStart) {
  std::mt19937 random(20240611);
  int kills = 0;
  int old = 0;
  int done = 0;
  int torn = 0;
  for (const TriedOperation& operation : GetTriedOperations(kFiles)) {
    const std::vector<std::string> words = WordsFor(m_pc, operation.name);
    Prepare(m_pc, operation);
    const PcState before = m_pc.state();
    const auto began = Clock::now();
    ASSERT_EQ(run(words), 0) << operation.name;
    const auto length = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - began).count();
    const PcState after = m_pc.state();
    for (int turn = 0; turn < PointsOf(200, 5); ++turn) {
      m_pc.restore("prepared");
      const pid_t child = begin(words);
      std::this_thread::sleep_for(std::chrono::microseconds(random() % static_cast<unsigned long>(length)));
      kill(child, SIGKILL);
      const int exit = end(child);
      const PcState between = m_pc.state();
      ASSERT_EQ(run({"list"}), 0) << operation.name << ", turn " << turn;
      const PcState found = m_pc.state();
      const bool isOld = before.difference(found).empty();
      const bool isDone = after.difference(found).empty();
      ASSERT_TRUE(isDone || (isOld && exit != 0)) << operation.name << ", turn " << turn << ", exit " << exit << "\n"
                                                  << before.difference(found) << "against done:\n"
                                                  << after.difference(found);
      kills += exit < 0 ? 1 : 0;
      (isOld ? old : done) += 1;
      torn += !before.difference(between).empty() && !after.difference(between).empty() ? 1 : 0;
    }
  }
  std::printf("random kills: %d runs, %d killed, %d in between until the next start; %d old, %d new, 0 mixed\n",
              old + done, kills, torn, old, done);
  EXPECT_GT(torn, 0);
}

TEST_F(ProgramKills, LeaveNoLockBehind) {
  Prepare(m_pc, GetTriedOperations(kFiles)[0]);
  const int holders = PointsOf(200, 20);
  for (int turn = 0; turn < holders; ++turn) {
    const pid_t holder = fork();
    if (holder == 0) {
      // a holder that died as suddenly as can be
      EngineRun engine(m_pc.root());
      (void)engine.machine().LockWriter(0);
      kill(getpid(), SIGKILL);
    }
    ASSERT_EQ(end(holder), -SIGKILL);
    EngineRun engine(m_pc.root());
    const WriterLock lock = engine.machine().LockWriter(0);
    ASSERT_TRUE(lock.held) << "a stale lock, turn " << turn;
    engine.machine().UnlockWriter();
  }
  std::printf("%d killed lock holders, 0 stale locks\n", holders);
  EXPECT_EQ(run(WordsFor(m_pc, "install")), 0);
}

TEST_F(ProgramKills, OfTwoAtOnceTheSecondIsTurnedAway) {
  const auto operations = GetTriedOperations(kFiles);
  Prepare(m_pc, *std::find_if(operations.begin(), operations.end(),
                              [](const TriedOperation& one) { return one.name == "uninstall"; }));
  EngineRun holder(m_pc.root());
  ASSERT_TRUE(holder.machine().LockWriter(0).held);
  const PcState before = m_pc.state();
  double slowest = 0;
  const int rounds = PointsOf(100, 10);
  for (int turn = 0; turn < rounds; ++turn) {
    const auto began = Clock::now();
    const ProcessResult second = RunProcess({KEST_PROGRAM, "-m", m_pc.root().string(), "uninstall", "Tool", "-y"});
    slowest = std::max(slowest, std::chrono::duration<double>(Clock::now() - began).count());
    ASSERT_EQ(second.exit, 7) << second.out << second.err;
    ASSERT_NE(second.err.find(std::to_string(getpid())), std::string::npos) << "told who it is: " << second.err;
    const ProcessResult reader = RunProcess({KEST_PROGRAM, "-m", m_pc.root().string(), "list"});
    ASSERT_TRUE(reader.exit == 0 && reader.out.find("Tool") != std::string::npos) << reader.out << reader.err;
  }
  holder.machine().UnlockWriter();
  std::printf("two at once: all of %d turned away and told who it is, slowest %.2f s; all readers went on\n", rounds,
              slowest);
  EXPECT_EQ(before.difference(m_pc.state()), "");
  const ProcessResult waiting =
      RunProcess({KEST_PROGRAM, "-m", m_pc.root().string(), "uninstall", "Tool", "-y", "--wait", "20"});
  EXPECT_EQ(waiting.exit, 0) << waiting.err;
}

} // namespace
} // namespace kest::test
