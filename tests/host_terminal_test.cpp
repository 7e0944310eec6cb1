#include "support/program_fixture.h"
#include "support/temp_machine.h"

#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace kest::host {
namespace {

using test::ProgramTest;
using test::PseudoTerminal;

class OnTerminal : public ProgramTest {
protected:
  void SetUp() override {
    makeMachine();
    m_package = package({});
  }
  [[nodiscard]] std::size_t listed() const { return json({"list"}, 0)["extensions"].size(); }
  std::string m_package;
};

// Leaves the pages of the agreement and stops at its question.
void ReachAgreement(PseudoTerminal& terminal) {
  ASSERT_TRUE(terminal.WaitFor("q leaves -- ")) << terminal.GetScreen();
  terminal.TypeLine("q");
  ASSERT_TRUE(terminal.WaitFor("yes or no: ")) << terminal.GetScreen();
}

TEST_F(OnTerminal, TheAgreementIsTypedOut) {
  PseudoTerminal terminal = onTerminal({"install", m_package});
  ReachAgreement(terminal);
  terminal.TypeLine("y");
  ASSERT_TRUE(terminal.WaitFor("yes or no: ")) << "one letter is no agreement";
  terminal.TypeLine("yes");
  EXPECT_EQ(terminal.Finish(), 0) << terminal.GetScreen();
  EXPECT_EQ(listed(), 1U);
}

TEST_F(OnTerminal, EveryWayOutOfAQuestionChangesNothing) {
  using Way = void (*)(PseudoTerminal&);
  const std::pair<Way, int> ways[] = {
      {[](PseudoTerminal& t) { t.PressCtrlC(); }, 130},
      {[](PseudoTerminal& t) { t.PressCtrlD(); }, 3},
      {[](PseudoTerminal& t) { t.TypeLine("no"); }, 3},
      {[](PseudoTerminal& t) {
         for (const char* nonsense : {"perhaps", "", "7"}) {
           t.TypeLine(nonsense);
         }
       },
       3},
  };
  for (const auto& [way, exit] : ways) {
    PseudoTerminal terminal = onTerminal({"install", m_package});
    ReachAgreement(terminal);
    way(terminal);
    EXPECT_EQ(terminal.Finish(), exit) << terminal.GetScreen();
    EXPECT_EQ(listed(), 0U);
  }
}

/// Holds a file, or the whole machine, as a program does that has it open.
class Holder {
public:
  explicit Holder(const std::filesystem::path& path) : m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    EXPECT_EQ(flock(m_file, LOCK_EX | LOCK_NB), 0) << path;
  }
  ~Holder() { close(m_file); }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;

private:
  int m_file;
};

/// A machine on which every question comes up.
class EveryQuestion : public OnTerminal {
protected:
  void SetUp() override {
    OnTerminal::SetUp();
    install({});
    m_newer = packed("2.0.0", "");
    m_older = packed("0.9", "");
    Extension other;
    other.name = "Other Tools";
    m_clash = package(other);
    Extension extra;
    extra.name = "Extra";
    extra.file = "extra";
    extra.more = "<file-tokens><token name=\"home\" prompt=\"Where to?\" default=\"C:\\Sites\" /></file-tokens>\r\n"
                 "<files><file source=\"extra.htm\" destination=\"$home\" /></files>\r\n";
    m_token = package(extra);
    extra.file = "occupied";
    extra.more.clear();
    m_occupied = package(extra);
    write(std::string("pc/drive_c/") + kOccupied, "the user's own");
    m_before = test::TakeSnapshot(m_folder / "pc");
  }
  std::string packed(const char* version, const char* more) const {
    Extension extension;
    extension.version = version;
    extension.more = more;
    return package(extension);
  }
  void expectUnchanged(const std::string& what) const {
    const auto ignore = [](const std::string& path) { return path.starts_with("trash"); };
    EXPECT_EQ(DescribeDifference(m_before, test::TakeSnapshot(m_folder / "pc"), ignore), "") << what;
  }
  static constexpr const char* kOccupied = "Program Files/Kestrel/Tidemark 6/Configuration/Commands/occupied.htm";

  std::string m_newer;
  std::string m_older;
  std::string m_clash;
  std::string m_token;
  std::string m_occupied;
  test::MachineSnapshot m_before;
};

TEST_F(EveryQuestion, IsLeftByCtrlCByTheEndOfInputAndByNonsenseWithoutATrace) {
  const std::string own = (m_folder / "pc/drive_c" / kOccupied).string();
  const struct {
    Words words;
    const char* prompt;
    bool held = false;
  } questions[] = {
      {{"install", m_token}, "q leaves -- "},
      {{"install", m_newer, "--accept-agreement"}, "[Y/n]"},
      {{"install", m_package, "--accept-agreement"}, "[y/N]"},
      {{"install", m_older, "--accept-agreement"}, "[y/N]"},
      {{"install", m_clash, "--accept-agreement"}, "[y/N]"},
      {{"install", m_token, "--accept-agreement"}, "Folder for \"Where to?\" [C:\\Sites]: "},
      {{"install", m_occupied, "--accept-agreement"}, "[c]ancel  (default "},
      {{"install", m_occupied, "--accept-agreement", "--on-existing", "overwrite"}, "(default r): ", true},
      {{"uninstall", "Table Tools"}, "[y/N]"},
  };
  for (const auto& question : questions) {
    const std::string what = question.words[1] + " " + question.prompt;
    std::optional<Holder> holder;
    if (question.held) {
      holder.emplace(own);
    }
    PseudoTerminal interrupted = onTerminal(question.words);
    ASSERT_TRUE(interrupted.WaitFor(question.prompt)) << what << interrupted.GetScreen();
    interrupted.PressCtrlC();
    EXPECT_EQ(interrupted.Finish(), 130) << what << interrupted.GetScreen();
    expectUnchanged(what);
    PseudoTerminal ended = onTerminal(question.words);
    ASSERT_TRUE(ended.WaitFor(question.prompt)) << what << ended.GetScreen();
    ended.PressCtrlD();
    EXPECT_EQ(ended.Finish(), 3) << what << ended.GetScreen();
    expectUnchanged(what);
    const bool takesAnything = std::string(question.prompt).find("leaves") != std::string::npos;
    if (!takesAnything) {
      PseudoTerminal nonsense = onTerminal(question.words);
      ASSERT_TRUE(nonsense.WaitFor(question.prompt)) << what << nonsense.GetScreen();
      for (int i = 0; i < 3; ++i) {
        nonsense.TypeLine("../7");
      }
      EXPECT_EQ(nonsense.Finish(), 3) << what << nonsense.GetScreen();
      expectUnchanged(what);
    }
  }
}

TEST_F(EveryQuestion, CtrlCEndsWorkThatAsksNothing) {
  const Words busy = {"install", m_occupied, "-y", "--accept-agreement", "--on-existing", "overwrite", "--wait", "60"};
  const std::pair<Words, std::filesystem::path> rows[] = {
      {busy, m_folder / "pc/drive_c" / kOccupied}, // stops between two looks at the file
      {busy, m_folder / "pc"},                     // waits for another kest
      {{"install", m_occupied, m_newer, "-y", "--accept-agreement", "--on-existing", "overwrite", "--wait", "60"},
       m_folder / "pc"}, // the second is not tried any more
  };
  for (const auto& [words, held] : rows) {
    const Holder holder(held);
    PseudoTerminal terminal = onTerminal(words);
    ASSERT_TRUE(terminal.WaitFor("Install ")) << terminal.GetScreen();
    usleep(300000);
    terminal.PressCtrlC();
    EXPECT_EQ(terminal.Finish(20), 130) << terminal.GetScreen();
    EXPECT_EQ(terminal.GetScreen().find("Install \"Table"), std::string::npos) << terminal.GetScreen();
    expectUnchanged(held.string());
  }
}

TEST_F(EveryQuestion, TheFolderOfATokenIsTypedOrGivenByItsName) {
  EXPECT_EQ(kest({"install", m_token, "--accept-agreement", "--set", "HOME=C:\\Web\\One"}).exit, 0);
  EXPECT_TRUE(onMachine("Web/One/extra.htm"));
  EXPECT_EQ(kest({"uninstall", "Extra", "-y"}).exit, 0);
  PseudoTerminal typed = onTerminal({"install", m_token, "--accept-agreement"});
  ASSERT_TRUE(typed.WaitFor("[C:\\Sites]: ")) << typed.GetScreen();
  typed.TypeLine("C:\\Web\\Two");
  EXPECT_EQ(typed.Finish(), 0) << typed.GetScreen();
  EXPECT_TRUE(onMachine("Web/Two/extra.htm"));
}

TEST_F(OnTerminal, MessagesComeInTheLanguageOfTheUser) {
  install({});
  test::ProcessOptions options;
  options.environment = {{"LANG", "de_AT.UTF-8"}};
  EXPECT_NE(kest({"list"}, options).out.find("Befehl"), std::string::npos);
  options.environment["LC_ALL"] = "C"; // goes before LANG
  EXPECT_NE(kest({"list"}, options).out.find("Command"), std::string::npos);
  write("words/xx.txt", "# mine\n4002 \"Ordre\"\n4035 \"gone\"\n");
  options.environment = {{"KEST_LANGUAGE", "xx"}, {"KEST_MESSAGES", m_folder / "words"}};
  const test::ProcessResult mine = kest({"list"}, options);
  EXPECT_NE(mine.out.find("Ordre"), std::string::npos);
  const std::size_t warning = mine.err.find("words/xx.txt:3: ");
  EXPECT_NE(warning, std::string::npos) << mine.err;
  EXPECT_EQ(mine.err.find("warning:", warning), std::string::npos) << "said once";
}

TEST_F(OnTerminal, TheSummaryStandsBelowTheTable) {
  install({});
  PseudoTerminal terminal = onTerminal({"list"});
  EXPECT_EQ(terminal.Finish(), 0);
  EXPECT_LT(terminal.GetScreen().find("Table Tools"), terminal.GetScreen().find("1 extension"));
}

TEST_F(OnTerminal, ABareReturnTakesTheDefault) {
  install({});
  Extension newer;
  newer.version = "2.0.0";
  PseudoTerminal replace = onTerminal({"install", package(newer), "--accept-agreement", "--on-existing", "overwrite"});
  ASSERT_TRUE(replace.WaitFor("[Y/n]")) << replace.GetScreen();
  replace.TypeLine("");
  EXPECT_EQ(replace.Finish(), 0) << replace.GetScreen();
  PseudoTerminal keep = onTerminal({"uninstall", "Table Tools"});
  ASSERT_TRUE(keep.WaitFor("[y/N]")) << keep.GetScreen();
  keep.TypeLine("");
  EXPECT_EQ(keep.Finish(), 3) << keep.GetScreen();
  EXPECT_EQ(listed(), 1U);
}

TEST_F(OnTerminal, WithNoInputNothingIsAsked) {
  PseudoTerminal terminal = onTerminal({"install", m_package, "--no-input"});
  EXPECT_EQ(terminal.Finish(), 3) << terminal.GetScreen();
}

TEST_F(OnTerminal, ANarrowWindowCutsTheTableAndAPipeDoesNot) {
  Extension wide;
  wide.name = std::string(100, 'w');
  install(wide);
  std::map<std::string, std::string> variables = environment();
  variables["NO_COLOR"] = "1";
  PseudoTerminal terminal({KEST_PROGRAM, "list"}, variables, 60);
  EXPECT_EQ(terminal.Finish(), 0);
  std::istringstream lines(terminal.GetScreen());
  std::string line;
  ASSERT_TRUE(std::getline(lines, line));
  while (std::getline(lines, line) && line.find("enabled") != std::string::npos) {
    EXPECT_EQ(line.find(std::string(60, 'w')), std::string::npos) << line;
  }
  EXPECT_NE(kest({"list"}).out.find(wide.name), std::string::npos);
}

TEST_F(OnTerminal, ColoursStopWhereTheyAreNotWanted) {
  for (const auto& [name, value] : {std::pair{"NO_COLOR", "1"}, {"TERM", "dumb"}}) {
    std::map<std::string, std::string> variables = environment();
    variables[name] = value;
    PseudoTerminal plain({KEST_PROGRAM, "info", "Nothing"}, variables);
    EXPECT_EQ(plain.Finish(), 4);
    EXPECT_EQ(plain.GetScreen().find('\033'), std::string::npos) << name;
  }
  PseudoTerminal coloured = onTerminal({"info", "Nothing"});
  EXPECT_EQ(coloured.Finish(), 4);
  EXPECT_NE(coloured.GetScreen().find('\033'), std::string::npos);
}

} // namespace
} // namespace kest::host
