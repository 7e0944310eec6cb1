#include "support/program_fixture.h"

#include <map>
#include <sstream>

namespace kest::host {
namespace {

namespace fs = std::filesystem;
using test::ProcessOptions;
using test::ProcessResult;
using test::ProgramTest;

constexpr const char* kPrograms = "drive_c/Program Files/Kestrel/Tidemark 6";
constexpr const char* kRunOnce = R"(HKCU\Software\Microsoft\Windows\CurrentVersion\RunOnce)";

/// A prefix that Wine's own tools made, with Tidemark Nova in it.
class WinePrefix : public ProgramTest {
protected:
  void SetUp() override {
    if (!fs::exists("/usr/bin/wine") || !fs::exists("/usr/bin/wineserver")) {
      GTEST_SKIP() << "Wine is not installed (Debian: apt install wine wine64): nothing was tried on a real prefix";
    }
    fs::create_directories(prefix());
    ASSERT_EQ(wine("wine wineboot -i"), 0);
    makeMachine({"--product", "Tidemark Nova"});
    fs::create_directories((prefix() / kPrograms).parent_path());
    fs::copy(m_folder / "pc" / kPrograms, prefix() / kPrograms, fs::copy_options::recursive);
    ASSERT_EQ(wine(R"(wine reg add 'HKLM\Software\Kestrel\Tidemark\6\Installation' /v InstallPath )"
                   R"(/d 'C:\Program Files\Kestrel\Tidemark 6\' /f /reg:32)"),
              0);
    letGo();
  }
  void TearDown() override {
    if (fs::exists(prefix())) {
      (void)wine("wineserver -k");
    }
  }
  [[nodiscard]] fs::path prefix() const { return m_folder / "wine"; }

  /// Runs a shell line in the prefix. What Wine leaves running must not hold the pipes of the test.
  [[nodiscard]] int wine(const std::string& line) const {
    ProcessOptions options;
    options.environment = {{"WINEPREFIX", prefix()}, {"WINEDEBUG", "-all"}, {"WINEDLLOVERRIDES", "mscoree,mshtml="}};
    options.seconds = 120;
    const std::string quiet = "{ " + line + "; } > /dev/null 2> /dev/null < /dev/null";
    return RunProcess({"/bin/sh", "-c", quiet}, options).exit;
  }
  /// Until the prefix's server has written its files and is gone.
  void letGo() const { EXPECT_EQ(wine("wineserver -k; wineserver -w"), 0); }
  [[nodiscard]] ProcessResult onPrefix(Words words) const {
    words.insert(words.begin(), {"-m", prefix().string()});
    return kest(words);
  }
  /// Every file with its size and date, but for those whose paths begin so.
  [[nodiscard]] std::map<std::string, std::string> filesBut(const std::string& ignored) const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(prefix())) {
      const std::string path = fs::relative(entry.path(), prefix()).string();
      if (entry.is_regular_file() && !entry.is_symlink() && !path.starts_with(ignored)) {
        files[path] = std::to_string(entry.file_size()) + " " +
                      std::to_string(entry.last_write_time().time_since_epoch().count());
      }
    }
    return files;
  }
  [[nodiscard]] std::vector<std::string> linesOf(const char* file) const {
    std::istringstream stream(read(prefix() / file));
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
      lines.push_back(line);
    }
    return lines;
  }
};

TEST_F(WinePrefix, IsReadAndOnlyWhatChangesIsWritten) {
  // what Wine's tool wrote is read, and reading leaves no trace
  const auto untouched = filesBut(kPrograms);
  const ProcessResult products = onPrefix({"machine", "show"});
  EXPECT_EQ(products.exit, 0) << products.err;
  EXPECT_NE(products.out.find("Product    Tidemark Nova"), std::string::npos) << products.out;
  EXPECT_NE(products.out.find("Drive      C:"), std::string::npos) << products.out;
  EXPECT_EQ(filesBut(kPrograms), untouched);

  // an extension that replaces a system file leaves a value for the next log-on
  write("wine/drive_c/windows/system32/kestpart.dll", "old");
  write("src/kestpart.dll", "new");
  Extension extension;
  extension.more = "\t<files><file source=\"kestpart.dll\" destination=\"$system\" systemfile=\"true\" /></files>\r\n";
  const std::string description = describe(extension);
  const Words installation = {"install", description, "-y", "--accept-agreement"};

  // not while the prefix's server has its registry open
  ASSERT_EQ(wine("wineserver -p"), 0);
  const auto served = filesBut("trash");
  Words patient = installation;
  patient.insert(patient.end(), {"--wait", "1"});
  const ProcessResult refused = onPrefix(patient);
  EXPECT_EQ(refused.exit, 7) << refused.err;
  for (const char* told : {"kestpart.dll stayed in use", "have its registry open", "  changed  nothing",
                           "  next     end the running programs of the machine"}) {
    EXPECT_NE(refused.err.find(told), std::string::npos) << told << "\n" << refused.err;
  }
  EXPECT_EQ(filesBut("trash"), served);
  letGo();

  const std::vector<std::string> before = linesOf("user.reg");
  const std::string system = read(prefix() / "system.reg");
  const ProcessResult installed = onPrefix(installation);
  EXPECT_EQ(installed.exit, 0) << installed.err;
  EXPECT_NE(installed.err.find("Restart the computer"), std::string::npos) << installed.err;
  EXPECT_EQ(read(prefix() / "system.reg"), system);
  std::size_t kept = 0;
  std::size_t added = 0;
  for (const std::string& line : linesOf("user.reg")) {
    (kept < before.size() && line == before[kept] ? kept : added) += 1;
  }
  EXPECT_EQ(kept, before.size()) << "a line of the prefix's own was changed";
  EXPECT_LE(added, 5U) << "a key with its value, no more";
  EXPECT_FALSE(fs::exists(prefix() / "machine.ini"));

  // and Wine's tool reads it back
  const fs::path answer = m_folder / "answer";
  ASSERT_EQ(wine("wine reg query '" + std::string(kRunOnce) + "' > '" + answer.string() + "'"), 0);
  EXPECT_NE(read(answer).find("kestpart.dll"), std::string::npos) << read(answer);
}

} // namespace
} // namespace kest::host
