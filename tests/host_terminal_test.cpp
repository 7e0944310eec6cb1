#include "support/program_fixture.h"

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
