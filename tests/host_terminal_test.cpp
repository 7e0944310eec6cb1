#include "support/file_holder.h"
#include "support/program_fixture.h"
#include "support/source_folder.h"
#include "support/temp_machine.h"

#include <array>
#include <chrono>
#include <optional>

namespace kest::host {
namespace {

using test::FileHolder;
using test::ProgramTest;
using test::PseudoTerminal;

class OnTerminal : public ProgramTest {
protected:
  void SetUp() override {
    makeMachine();
    m_package = package({});
  }
  /// Runs up to the prompt, three times: Ctrl-C, the end of input and nonsense each leave the machine as it was.
  void leaves(const Words& words, const std::string& prompt, int columns = 80) const {
    const struct {
      const char* name;
      void (*press)(PseudoTerminal&);
      int exit;
    } ways[] = {{"Ctrl-C", [](PseudoTerminal& t) { t.PressCtrlC(); }, 130},
                {"end", [](PseudoTerminal& t) { t.PressCtrlD(); }, 3},
                {"nonsense",
                 [](PseudoTerminal& t) {
                   for (int i = 0; i < 3; ++i) {
                     t.TypeLine("../7");
                   }
                 },
                 3}};
    const bool takesAnything = prompt.find("leaves") != std::string::npos;
    const test::MachineSnapshot before = snapshot();
    Words command = {KEST_PROGRAM};
    command.insert(command.end(), words.begin(), words.end());
    std::map<std::string, std::string> variables = environment();
    variables["LINES"] = takesAnything ? "24" : "200"; // where the agreement comes in pages, and where it does not
    for (const auto& way : ways) {
      SCOPED_TRACE(words[1] + " " + prompt + " " + way.name);
      if (takesAnything && way.name == std::string("nonsense")) {
        continue;
      }
      PseudoTerminal terminal(command, variables, columns);
      ASSERT_TRUE(terminal.WaitFor(prompt)) << terminal.GetScreen();
      way.press(terminal);
      EXPECT_EQ(terminal.Finish(), way.exit) << terminal.GetScreen();
      EXPECT_NE(terminal.GetScreen().find("  changed  nothing"), std::string::npos) << terminal.GetScreen();
      expectUnchanged(before);
    }
  }
  void expectUnchanged(const test::MachineSnapshot& before) const {
    EXPECT_EQ(DescribeDifference(before, snapshot(), test::IsOfThePast), "");
  }
  [[nodiscard]] std::size_t listed() const { return json({"list"}, 0)["extensions"].size(); }
  std::string m_package;
};

// Leaves the pages of the agreement and stops at its question.
void ReachAgreement(PseudoTerminal& terminal) {
  ASSERT_TRUE(terminal.WaitFor("q leaves -- ")) << terminal.GetScreen();
  terminal.Type("q"); // without Return
  ASSERT_TRUE(terminal.WaitFor("yes or no: ")) << terminal.GetScreen();
}

TEST_F(OnTerminal, TheAgreementIsTypedOut) {
  PseudoTerminal refused = onTerminal({"install", m_package});
  ReachAgreement(refused);
  refused.TypeLine("no");
  EXPECT_EQ(refused.Finish(), 3) << refused.GetScreen();
  PseudoTerminal unasked = onTerminal({"install", m_package, "--no-input"});
  EXPECT_EQ(unasked.Finish(), 3) << unasked.GetScreen();
  EXPECT_EQ(listed(), 0U);
  PseudoTerminal terminal = onTerminal({"install", m_package});
  ReachAgreement(terminal);
  terminal.TypeLine("y");
  ASSERT_TRUE(terminal.WaitFor("yes or no: ")) << "one letter is no agreement";
  terminal.TypeLine("yes");
  EXPECT_EQ(terminal.Finish(), 0) << terminal.GetScreen();
  EXPECT_EQ(listed(), 1U);
}

/// A machine on which every question comes up.
class EveryQuestion : public OnTerminal {
protected:
  void SetUp() override {
    OnTerminal::SetUp();
    install({});
    m_newer = packed("2.0.0");
    m_older = packed("0.9");
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
    m_before = snapshot();
  }
  std::string packed(const char* version) const {
    Extension extension;
    extension.version = version;
    return package(extension);
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
    int columns = 80;
  } questions[] = {
      {{"install", m_token}, "q leaves -- "},
      {{"install", m_token}, "q leaves -- ", false, 20},
      {{"install", m_token}, "yes or no: "},
      {{"install", m_newer, "--accept-agreement"}, "[Y/n]"},
      {{"install", m_package, "--accept-agreement"}, "[y/N]"},
      {{"install", m_older, "--accept-agreement"}, "[y/N]"},
      {{"install", m_clash, "--accept-agreement"}, "[y/N]"},
      {{"install", m_token, "--accept-agreement"}, "Folder for \"Where to?\" [C:\\Sites]: "},
      {{"install", m_occupied, "--accept-agreement"}, "[c]ancel  (default "},
      {{"install", m_occupied, "--accept-agreement", "--on-existing", "overwrite"}, "(default r): ", true, 20},
      {{"uninstall", "Table Tools"}, "[y/N]"},
  };
  for (const auto& question : questions) {
    std::optional<FileHolder> holder;
    if (question.held) {
      holder.emplace(own);
    }
    leaves(question.words, question.prompt, question.columns);
  }
}

TEST_F(OnTerminal, CopiesOfOtherUsersStayWhenTheQuestionIsLeftAndGoWhenAgreed) {
  std::filesystem::remove_all(m_folder / "pc");
  makeMachine({"--product", "Tidemark Nova", "--multi-user", "--user", "boss:2", "--user", "anna:1"});
  EXPECT_EQ(kest({"machine", "user", "anna"}).exit, 0);
  install({});
  EXPECT_EQ(kest({"machine", "user", "boss"}).exit, 0);
  EXPECT_EQ(listed(), 0U);
  leaves({"install", m_package, "--accept-agreement"}, "[y/N]");
  const test::ProcessResult asked = kest({"install", m_package, "-y", "--accept-agreement"});
  EXPECT_EQ(asked.exit, 3);
  EXPECT_NE(asked.err.find("--per-user"), std::string::npos) << asked.err;
  EXPECT_EQ(kest({"install", m_package, "-y", "--accept-agreement", "--per-user", "remove"}).exit, 0);
  EXPECT_EQ(kest({"machine", "user", "anna"}).exit, 0);
  const auto list = json({"list"}, 0)["extensions"];
  EXPECT_TRUE(list.size() == 1 && list[0]["scope"] == "shared") << list;
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
    const FileHolder holder(held);
    PseudoTerminal terminal = onTerminal(words);
    ASSERT_TRUE(terminal.WaitFor("Install ")) << terminal.GetScreen();
    usleep(300000);
    terminal.PressCtrlC();
    EXPECT_EQ(terminal.Finish(20), 130) << terminal.GetScreen();
    EXPECT_EQ(terminal.GetScreen().find("Install \"Table"), std::string::npos) << terminal.GetScreen();
    if (held != m_folder / "pc") {
      EXPECT_NE(terminal.GetScreen().find("Taking back what was done"), std::string::npos) << terminal.GetScreen();
    }
    expectUnchanged(m_before);
  }
}

TEST_F(OnTerminal, ThousandsOfFilesAreDrawnTenTimesASecondAndListedByTheirFolders) {
  Extension many;
  many.name = "Many";
  many.file = "many";
  many.more = "<files>";
  constexpr int kFiles = 1200;
  for (int i = 0; i < kFiles; ++i) {
    const std::string name = "f" + std::to_string(i) + ".htm";
    write("src/" + name, name);
    many.more +=
        "<file source=\"" + name + "\" destination=\"$tidemark/Configuration/Many/" + std::to_string(i % 3) + "\" />";
  }
  many.more += "</files>";
  const auto frames = [](const std::string& screen) { return std::count(screen.begin(), screen.end(), '\r'); };
  const auto lines = [](const std::string& screen) { return std::count(screen.begin(), screen.end(), '\n'); };
  const std::string path = package(many);
  const auto start = std::chrono::steady_clock::now();
  PseudoTerminal terminal = onTerminal({"install", path, "--accept-agreement", "-y"});
  EXPECT_EQ(terminal.Finish(60), 0) << terminal.GetScreen();
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  const auto ends = 2 * lines(terminal.GetScreen()) + 12; // of lines, and the first and last frame of each pass
  EXPECT_LE(frames(terminal.GetScreen()), 10 * took.count() + static_cast<double>(ends));
  PseudoTerminal removal = onTerminal({"uninstall", "Many"});
  ASSERT_TRUE(removal.WaitFor("[y/N]")) << removal.GetScreen();
  EXPECT_LE(lines(removal.GetScreen()), 10) << removal.GetScreen();
  EXPECT_NE(removal.GetScreen().find("Many\\2\\: 400 files"), std::string::npos) << removal.GetScreen();
  removal.TypeLine("n");
  EXPECT_EQ(removal.Finish(), 3);
}

TEST_F(EveryQuestion, AWaitForAFileInUseAsksOnceHoweverOftenTheFileIsLookedAt) {
  const FileHolder holder(m_folder / "pc/drive_c" / kOccupied);
  const auto result =
      json({"install", m_occupied, "-y", "--accept-agreement", "--on-existing", "overwrite", "--wait", "1"}, 7);
  EXPECT_EQ(result["messages"].size(), 3U) << "agreement, existing file, file in use";
  expectUnchanged(m_before);
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

TEST_F(OnTerminal, EveryTextIsEnglishWhateverTheLanguageOfTheUser) {
  install({});
  const std::string english = kest({"info", "Table Tools"}).out;
  test::ProcessOptions options;
  options.environment = {{"LANG", "de_AT.UTF-8"}, {"LC_ALL", "de_AT.UTF-8"}};
  EXPECT_EQ(kest({"info", "Table Tools"}, options).out, english);
}

// As a newcomer types it, who answers yes.
TEST_F(OnTerminal, TheSessionOfTheReadMeWorks) {
  std::istringstream readme(read(test::SourceFolder() + "/README.md"));
  std::filesystem::remove_all(m_folder / "pc");
  std::filesystem::create_symlink(test::SourceFolder() + "/examples", m_folder / "examples");
  const std::string programs = std::filesystem::path(KEST_PROGRAM).parent_path().string() + ":/usr/bin:/bin";
  PseudoTerminal shell({"/bin/bash", "--norc", "-i"}, {{"HOME", m_folder}, {"PATH", programs}}, 200, 200);
  shell.TypeLine("cd; PS1='ne''xt> '");
  std::string asked;
  for (std::string line; std::getline(readme, line);) {
    if (!line.starts_with("    $ ") || line.starts_with("    $ PATH=")) {
      continue;
    }
    ASSERT_TRUE(shell.WaitFor("next> ")) << shell.GetScreen();
    shell.TypeLine(line.substr(6));
    for (const auto& [command, question, answer] :
         {std::array{"kest install", "yes or no: ", "yes"}, {"kest uninstall", "[y/N] ", "y"}}) {
      if (line.find(command) != std::string::npos) {
        ASSERT_TRUE(shell.WaitFor(question)) << shell.GetScreen();
        shell.TypeLine(answer);
        asked += command;
      }
    }
  }
  ASSERT_TRUE(shell.WaitFor("next> ")) << shell.GetScreen();
  EXPECT_EQ(asked, "kest installkest uninstall");
  for (const char* done :
       {"Made a machine", "Packed", "Installed", "1 extension", "Disabled", "Enabled", "Uninstalled"}) {
    EXPECT_NE(shell.GetScreen().find(done), std::string::npos) << done << "\n" << shell.GetScreen();
  }
  EXPECT_EQ(shell.GetScreen().find("error:"), std::string::npos) << shell.GetScreen();
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

TEST_F(OnTerminal, ANarrowWindowCutsTheTableAndAPipeDoesNot) {
  Extension wide;
  wide.name = std::string(100, 'w');
  install(wide);
  PseudoTerminal terminal({KEST_PROGRAM, "list"}, environment(), 60);
  EXPECT_EQ(terminal.Finish(), 0);
  EXPECT_NE(terminal.GetScreen().find("www"), std::string::npos) << terminal.GetScreen();
  EXPECT_EQ(terminal.GetScreen().find(std::string(60, 'w')), std::string::npos) << terminal.GetScreen();
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
