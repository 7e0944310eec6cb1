#include "reliability/engine_run.h"
#include "reliability/pc_under_test.h"
#include "support/file_holder.h"
#include "support/process.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kest::test {
namespace {

namespace fs = std::filesystem;

/// Something of the user's lies where the program wants to write.
class InTheWay : public ::testing::Test {
protected:
  InTheWay() {
    m_pc.makeSample();
    EngineRun engine(m_pc.root());
    engine.start();
    for (const char* version : {"1.0", "2.0"}) {
      (void)PackOnMachine(engine, MakeToolExtension(version, kFiles), version);
    }
  }

  [[nodiscard]] fs::path place(const std::string& path) const { return m_pc.root() / "drive_c" / path; }
  [[nodiscard]] fs::path configured(const std::string& path) const {
    return place("Program Files/Kestrel/Tidemark 6/Configuration/" + path);
  }
  void write(const fs::path& path, const std::string& content) const {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
  }
  [[nodiscard]] ProcessResult run(std::vector<std::string> words) const {
    words.insert(words.begin(), {KEST_PROGRAM, "-m", m_pc.root().string()});
    return RunProcess(words);
  }
  [[nodiscard]] ProcessResult install(const char* version) const {
    return run({"install", place("Work/Tool-" + std::string(version) + ".kep").string(), "-y", "--accept-agreement",
                "--on-existing", "overwrite"});
  }
  /// The operation has to fail, name what is in the way, and leave everything as it is.
  template <class Run> void expectRefused(const char* what, const std::string& named, const Run& operation) {
    m_pc.age();
    const PcState before = m_pc.state();
    const ProcessResult result = operation();
    EXPECT_NE(result.exit, 0) << what << result.out;
    EXPECT_NE(result.err.find(named), std::string::npos) << what << " is not named: " << result.err;
    const std::string changed = before.difference(m_pc.state());
    EXPECT_EQ(changed, "") << what << "\n" << result.err;
    std::printf("in the way: %s: exit %d, %s\n", what, result.exit, changed.empty() ? "same" : "CHANGED");
  }

  static constexpr int kFiles = 30;
  PcUnderTest m_pc;
};

TEST_F(InTheWay, AFolderWhereAFileShouldBeAndAFileForAFolder) {
  write(configured("Shared/Tool"), "the user's");
  expectRefused("a file, install", "Tool", [this] { return install("1.0"); });
  fs::remove(configured("Shared/Tool"));
  fs::rename(configured("Menus/Menus.xml"), configured("aside.xml"));
  write(configured("Menus/Menus.xml/user.txt"), "the user's");
  expectRefused("a folder for the menus, install", "Menus.xml", [this] { return install("1.0"); });
  fs::remove_all(configured("Menus/Menus.xml"));
  fs::rename(configured("aside.xml"), configured("Menus/Menus.xml"));
  write(configured("Commands/tool0.htm/user.txt"), "the user's");
  expectRefused("a folder, install", "tool0.htm", [this] { return install("1.0"); });
  fs::remove_all(configured("Commands/tool0.htm"));
  ASSERT_EQ(install("1.0").exit, 0);
  fs::remove(configured("Commands/tool0.htm"));
  write(configured("Commands/tool0.htm/user.txt"), "the user's");
  expectRefused("a folder, replace", "tool0.htm", [this] { return install("2.0"); });
  (void)run({"uninstall", "Tool", "-y"});
  EXPECT_TRUE(fs::exists(configured("Commands/tool0.htm/user.txt")));
}

TEST_F(InTheWay, AStateFileThatIsNoPlainFileIsNeitherWaitedForNorFollowed) {
  ASSERT_EQ(install("1.0").exit, 0);
  const fs::path own = place("ProgramData/Kest");
  const fs::path outside = m_pc.scratch() / "outside.txt";
  write(outside, "not the machine's");
  m_pc.save("prepared");
  const fs::path trash = fs::directory_iterator(own / "trash")->path() / "record";
  const fs::path installed = fs::directory_iterator(own / "installed")->path();
  for (const fs::path& file : {m_pc.root() / "machine.ini", m_pc.root() / "system.reg", own / "history.log",
                               own / "settings.txt", trash, installed, configured("Extensions/tool.kei")}) {
    for (const char* kind : {"pipe", "/dev/zero", outside.c_str(), "folder"}) {
      m_pc.restore("prepared");
      fs::remove(file);
      if (*kind == '/') {
        fs::create_symlink(kind, file);
      } else {
        ASSERT_EQ(*kind == 'p' ? mkfifo(file.c_str(), 0644) : mkdir(file.c_str(), 0755), 0) << file;
      }
      for (const std::vector<std::string>& words :
           {std::vector<std::string>{"list"}, {"verify"}, {"undo", "-y"}, {"uninstall", "Tool", "-y"}}) {
        const ProcessResult result = run(words);
        EXPECT_EQ(result.signal, 0) << file << " " << kind << " " << words[0];
        EXPECT_TRUE(result.exit == 0 || result.err.find("  why  ") != std::string::npos ||
                    result.err.find("was not undone") != std::string::npos)
            << file << " " << kind << " " << words[0] << result.err;
      }
      std::ifstream in(outside);
      EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "not the machine's") << file;
    }
  }
}

TEST_F(InTheWay, AFileInUse) {
  write(configured("Commands/tool0.htm"), "in use");
  {
    const FileHolder busy(configured("Commands/tool0.htm"));
    expectRefused("a busy file, install", "tool0.htm", [this] { return install("1.0"); });
  }
  {
    const FileHolder busy(configured("Toolbars/toolbars.xml"));
    expectRefused("a busy configuration file, install", "toolbars.xml", [this] { return install("1.0"); });
  }
  ASSERT_EQ(install("1.0").exit, 0);
  ASSERT_EQ(run({"machine", "logon"}).exit, 0); // a disable packs the system file, which has to be in place
  const FileHolder busy(configured("Commands/tool0.htm"));
  expectRefused("a busy file, replace", "tool0.htm", [this] { return install("2.0"); });
  expectRefused("a busy file, uninstall", "tool0.htm", [this] { return run({"uninstall", "Tool", "-y"}); });
  expectRefused("a busy file, disable", "tool0.htm", [this] { return run({"disable", "Tool", "-y"}); });
}

// A folder of the machine is exchanged with a link to somewhere else, again and again while the program runs.
TEST_F(InTheWay, AFolderExchangedWithALinkLeadsNowhere) {
  const fs::path outside = m_pc.scratch() / "outside";
  fs::create_directories(outside / "deep0");
  write(outside / "tool0.htm", "not the machine's");
  write(configured("Shared/Tool/user.txt"), "the user's");
  m_pc.save("prepared");
  const MachineSnapshot before = TakeSnapshot(outside);
  int completed = 0;
  int exchanges = 0;
  const int rounds = PointsOf(40, 8);
  for (int round = 0; round < rounds; ++round) {
    m_pc.restore("prepared");
    const fs::path folder = configured(round % 2 == 0 ? "Shared/Tool" : "Commands");
    const fs::path link = folder.string() + ".other";
    fs::create_symlink(outside, link);
    std::atomic<bool> isOver = false;
    std::thread exchanger([&] {
      for (unsigned turn = 0; !isOver; ++turn) {
        exchanges += renameat2(AT_FDCWD, folder.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE) == 0 ? 1 : 0;
        usleep(200 + static_cast<unsigned>(round) * 37 % 900);
      }
    });
    completed += install("1.0").exit == 0 ? 1 : 0;
    isOver = true;
    exchanger.join();
    ASSERT_EQ(DescribeDifference(before, TakeSnapshot(outside)), "") << "round " << round;
  }
  std::printf("exchanged folder: %d rounds, %d exchanges, %d installs completed, nothing outside\n", rounds, exchanges,
              completed);
  EXPECT_GT(exchanges, rounds);
}

} // namespace
} // namespace kest::test
