#include "host/command_line.h"
#include "host/help.h"
#include "platform/text/text.h"
#include "support/program_fixture.h"
#include "support/source_folder.h"

#include <algorithm>

namespace kest::host {
namespace {

using test::ProcessOptions;
using test::ProcessResult;
using test::ProgramTest;
using test::PseudoTerminal;
using test::RunProcess;

std::string FlagsOf(std::span<const FlagSpec> flags) {
  std::string text;
  for (const FlagSpec& flag : flags) {
    text += text.empty() ? "" : " ";
    text += flag.letter ? std::string("-") + flag.letter + "/" : "";
    text += flag.name;
    text += flag.choices ? std::string(" ") + flag.choices : flag.value ? std::string(" ") + flag.value : "";
  }
  return text;
}

// What users and scripts may rely on. A line that is changed here breaks somebody's script.
TEST(CommandTable, HoldsTheCommandsThatWereGivenOutAndNoOthers) {
  const std::vector<std::array<std::string, 3>> given = {
      {"machine new", "DIR", "-p/--product NAME --multi-user --user NAME[:TYPE] --current NAME --code-page N"},
      {"machine show", "[DIR]", ""},
      {"machine start", "NAME", ""},
      {"machine stop", "NAME", ""},
      {"machine user", "NAME", ""},
      {"machine logon", "", "-n/--dry-run --diff"},
      {"products", "", "--all"},
      {"list", "", "-p/--product PRODUCT --sort name|version|type|author|state --reverse --state enabled|disabled"},
      {"info", "EXT|FILE", "-p/--product PRODUCT --state enabled|disabled --files --changes"},
      {"install", "FILE...", "-n/--dry-run --diff -p/--product PRODUCT --set TOKEN=DIR"},
      {"uninstall", "EXT...", "-n/--dry-run --diff -p/--product PRODUCT --state enabled|disabled"},
      {"disable", "EXT...", "-n/--dry-run --diff -p/--product PRODUCT --state enabled|disabled"},
      {"enable", "EXT...", "-n/--dry-run --diff -p/--product PRODUCT --state enabled|disabled"},
      {"pack", "FILE.kei", "-o/--output OUT.kep --portable --force"},
      {"import", "[EXT...]", "-n/--dry-run --diff --from PRODUCT --to PRODUCT --state enabled|disabled"},
      {"validate", "FILE...", "-p/--product PRODUCT --strict"},
      {"explain", "FILE", ""},
      {"owns", "[PATH]", "--menu ID --key KEYS --button ID --tag NAME --registry KEY"},
      {"verify", "[EXT...]", "-p/--product PRODUCT --state enabled|disabled"},
      {"repair", "EXT", "-p/--product PRODUCT --state enabled|disabled --from FILE.kep --all"},
      {"history", "[EXT]", ""},
      {"undo", "[N]", "-n/--dry-run --diff"},
      {"trash", "", ""},
      {"trash empty", "", "--older-than DAYS --keep-size MB"},
      {"recover", "", "--trust-machine"},
      {"help", "[COMMAND]", ""},
      {"completion", "bash|zsh|fish", ""},
  };
  ASSERT_EQ(GetCommands().size(), given.size());
  for (std::size_t i = 0; i < given.size(); ++i) {
    const CommandSpec& command = GetCommands()[i];
    EXPECT_EQ(command.name, given[i][0]);
    EXPECT_EQ(command.arguments, given[i][1]) << command.name;
    EXPECT_EQ(FlagsOf(command.GetFlags()), given[i][2]) << command.name;
  }
  EXPECT_EQ(FlagsOf(GetCommonFlags()),
            "-m/--machine DIR -y/--yes --no-input --accept-agreement --on-existing overwrite|keep|cancel "
            "--allow-downgrade --reinstall --on-clash disable --per-user remove --wait SEC -q/--quiet -v/--verbose "
            "--log FILE --json --color auto|always|never --progress auto|always|never");
}

TEST(CommandLine, TakesCommonFlagsAnywhereAndNamesThatCommandsHave) {
  const CommandLine line = ReadCommandLine({"-m", "/pc", "install", "-y", "a.kep", "--json", "b.kep", "--wait", "5",
                                            "--set", "a=C:\\x", "--set", "b=C:\\y"});
  ASSERT_NE(line.command, nullptr) << line.problem;
  EXPECT_STREQ(line.command->name, "install");
  EXPECT_EQ(line.options.machine, "/pc");
  EXPECT_TRUE(line.options.yes && line.options.json);
  EXPECT_FALSE(line.options.acceptAgreement);
  EXPECT_EQ(line.options.wait, 5);
  EXPECT_EQ(line.options.arguments, (std::vector<std::string>{"a.kep", "b.kep"}));
  EXPECT_EQ(line.options.tokens, (std::vector<std::string>{"a=C:\\x", "b=C:\\y"}));
  const CommandLine mixed = ReadCommandLine({"install", "--set", "a=b", "--set", "c=d", "a.kep"});
  EXPECT_EQ(mixed.options.arguments, std::vector<std::string>{"a.kep"}) << mixed.problem;
  EXPECT_EQ(mixed.options.tokens.size(), 2U);
  const CommandLine named = ReadCommandLine({"uninstall", "list", "machine"});
  ASSERT_NE(named.command, nullptr) << named.problem;
  EXPECT_STREQ(named.command->name, "uninstall");
  EXPECT_EQ(named.options.arguments, (std::vector<std::string>{"list", "machine"}));
}

class CommandLineProgram : public ProgramTest {};

TEST_F(CommandLineProgram, MistakesExitWithTwoAndLeaveTheOutputToData) {
  const std::vector<Words> lines = {{},
                                    {"frobnicate"},
                                    {"machine"},
                                    {"machine", "frobnicate"},
                                    {"install"},
                                    {"list", "surplus"},
                                    {"list", "--sort", "colour"},
                                    {"list", "--from", "x"},
                                    {"install", "a.kep", "--wait", "soon"},
                                    {"install", "a.kep", "--on-existing", "maybe"},
                                    {"install", "--unknown", "a.kep"},
                                    {"machine", "new"},
                                    {"help", "frobnicate"},
                                    {"completion", "tcsh"},
                                    {"import"}};
  for (const Words& words : lines) {
    const ProcessResult result = kest(words);
    EXPECT_EQ(result.exit, 2) << ::testing::PrintToString(words) << result.err;
    EXPECT_EQ(result.out, "") << ::testing::PrintToString(words);
    EXPECT_NE(result.err, "") << ::testing::PrintToString(words);
  }
  EXPECT_EQ(json({"frobnicate"}, 2)["exit"], 2);
}

TEST_F(CommandLineProgram, OtherNamesWorkAndMistypedOnesAreCorrected) {
  EXPECT_STREQ(ReadCommandLine({"remove", "X"}).command->name, "uninstall");
  EXPECT_EQ(kest({"help", "remove"}).out, kest({"help", "uninstall"}).out);
  EXPECT_EQ(kest({"version"}).out, kest({"--version"}).out);
  EXPECT_EQ(kest({"-V"}).out, kest({"--version"}).out);
  const std::tuple<Words, const char*, const char*> rows[] = {
      {{"update", "x"}, "install FILE", "no command \"update\""},
      {{"instal", "x"}, "kest install", "no command"},
      {{"list", "--jsn"}, "did you mean: --json", "--jsn"},
      {{"--verbos", "list"}, "--verbose", "--verbos"},
      {{"list", "--files"}, "kest help list", "kest info"},
      {{"list", "--foo"}, "see: kest help list", "no command takes it"},
      {{"install", "--product"}, "takes PRODUCT", "no value"},
      {{"install", "--wait", "x", "f"}, "from 0 to 1000000", "--wait"},
      {{"list", "--state", "on"}, "takes enabled|disabled", "--state"},
      {{"list", "a", "b"}, "kest help list", "too many arguments"},
  };
  for (const auto& [words, advice, named] : rows) {
    const ProcessResult result = kest(words);
    EXPECT_EQ(result.exit, 2);
    EXPECT_NE(result.err.find(advice), std::string::npos) << result.err;
    EXPECT_NE(result.err.find(named), std::string::npos) << result.err;
  }
}

// An output without room, or closed, is an error; a reader who has seen enough is none.
TEST_F(CommandLineProgram, OutputThatIsLostIsAnError) {
  makeMachine();
  const std::pair<const char*, int> rows[] = {{">/dev/full", 7}, {">&-", 7}, {"| true", 0}, {">/dev/null", 0}};
  for (const char* command : {"products", "list --json", "help"}) {
    for (const auto& [where, exit] : rows) {
      ProcessOptions options;
      options.environment = environment();
      const ProcessResult result = RunProcess(
          {"/bin/bash", "-c", "set -o pipefail; " KEST_PROGRAM " " + std::string(command) + " " + where}, options);
      EXPECT_EQ(result.exit, exit) << command << where << result.err;
      EXPECT_EQ(result.err.find("the output cannot be written") != std::string::npos, exit != 0) << command << where;
    }
  }
}

TEST_F(CommandLineProgram, FilesAreCheckedAndPackedWithoutMakingAMachine) {
  const std::string description = describe({});
  ProcessOptions options;
  options.environment = {{"KEST_MACHINE", ""}, {"KEST_COMPLETING", "1"}, {"HOME", m_folder}};
  EXPECT_EQ(kest({"validate", description}, options).exit, 0);
  EXPECT_EQ(kest({"pack", description, "-o", m_folder / "out.kep"}, options).exit, 0);
  EXPECT_EQ(kest({"list"}, options).exit, 4);
  EXPECT_FALSE(std::filesystem::exists(m_folder / "data"));
  EXPECT_EQ(kest({"validate", "-m", m_folder / "nowhere", description}).exit, 4);
}

TEST_F(CommandLineProgram, HelpIsForTheOutputAndThereForEveryCommand) {
  const ProcessResult overview = kest({"help"});
  EXPECT_EQ(overview.exit, 0);
  EXPECT_EQ(overview.err, "");
  EXPECT_EQ(kest({"--help"}).out, overview.out);
  for (const CommandSpec& command : GetCommands()) {
    EXPECT_NE(overview.out.find(command.name), std::string::npos) << command.name;
    const std::string name = command.name;
    const std::size_t blank = name.find(' ');
    const ProcessResult help =
        kest(blank == std::string::npos ? Words{"help", name}
                                        : Words{"help", name.substr(0, blank), name.substr(blank + 1)});
    EXPECT_EQ(help.exit, 0) << name;
    EXPECT_NE(help.out.find("kest " + name), std::string::npos) << help.out;
  }
  EXPECT_EQ(json({"--version"}, 0)["schema"], "kest.version/1");
}

/// Each shell completes the same lines, with the program's own script.
class Completion : public CommandLineProgram, public ::testing::WithParamInterface<const char*> {
protected:
  void SetUp() override {
    m_shell = std::string("/usr/bin/") + GetParam();
    if (!std::filesystem::exists(m_shell)) {
      GTEST_SKIP() << GetParam() << " is not installed (scripts/setup check): its completion was not tried";
    }
    makeMachine();
    install({});
    m_script = write(std::string("completion.") + GetParam(), kest({"completion", GetParam()}).out);
    m_options.environment = environment();
    m_options.environment["PATH"] = std::filesystem::path(KEST_PROGRAM).parent_path().string() + ":/usr/bin:/bin";
    m_options.environment["HOME"] = m_folder;
  }
  /// What becomes of the last word of the line when Tab is pressed behind it; blanks in it unquoted.
  [[nodiscard]] std::string completed(const std::string& line) const {
    std::string word;
    if (GetParam() == std::string("fish")) {
      word =
          RunProcess({m_shell, "--no-config", "-c", "source " + m_script + "; complete -C '" + line + "'"}, m_options)
              .out;
      word.erase(std::min(word.find('\t'), word.size())); // what follows describes it
    } else {
      word = completedByEditor(line).substr(line.rfind(' ', line.find('\\')) + 1);
    }
    std::erase(word, '\\');
    text::Trim(word);
    return word;
  }
  /// The whole line, from the shell's line editor.
  [[nodiscard]] std::string completedByEditor(const std::string& line) const {
    const bool zsh = GetParam() == std::string("zsh");
    const std::string answer = m_folder / "answer";
    PseudoTerminal terminal({m_shell, zsh ? "-f" : "--norc", "-i"}, m_options.environment, 200);
    terminal.TypeLine((zsh ? "autoload -U compinit && compinit -D -u; zle -N tell; bindkey '^O' tell; "
                           : "bind -x '\"\\C-o\": tell'; ") +
                      std::string("tell() { printf %s \"$BUFFER$READLINE_LINE\" > ") + answer +
                      "; echo to''ld; }; source " + m_script + "; PS1='rea''dy> '");
    EXPECT_TRUE(terminal.WaitFor("ready> ")) << terminal.GetScreen();
    terminal.Type(line + "\t\x0f");
    EXPECT_TRUE(terminal.WaitFor("told")) << line << "\n" << terminal.GetScreen();
    return read(answer) + std::string(line.size(), ' ');
  }
  std::string m_shell;
  std::string m_script;
  ProcessOptions m_options;
};

TEST_P(Completion, OffersWhatFitsAndWhatIsOnTheMachine) {
  const std::filesystem::path other = m_folder / "other";
  EXPECT_EQ(kest({"machine", "new", other, "--product", "Tidemark Nova"}).exit, 0);
  Extension there;
  there.name = "Other";
  install(there, {"-m", other});
  const std::pair<std::string, const char*> rows[] = {
      {"kest unin", "uninstall"},
      {"kest machine lo", "logon"},
      {"kest list --sort au", "author"},
      {"kest -m " + test::SourceFolder() + " install --acc", "--accept-agreement"}, // the folder is no command
      {"kest --wait 5 --on-existing keep pack --port", "--portable"},
      {"kest machine new --multi", "--multi-user"},
      {"kest help reco", "recover"},
      {"kest completion fi", "fish"},
      {"kest uninstall Ta", "Table Tools"},
      {"kest import --to Tidemark\\ N", "Tidemark Nova"},
      {"kest info Ta", "Table Tools"},
      {"kest -m " + other.string() + " info Ot", "Other"},
      {"kest info --machine=" + other.string() + " Ot", "Other"},
  };
  for (const auto& [line, word] : rows) {
    EXPECT_EQ(completed(line), word) << line;
  }
}

INSTANTIATE_TEST_SUITE_P(Shells, Completion, ::testing::Values("bash", "zsh", "fish"),
                         [](const auto& shell) { return std::string(shell.param); });

} // namespace
} // namespace kest::host
