#include "host/command_table.h"
#include "platform/text/text.h"
#include "support/program_fixture.h"
#include "support/source_folder.h"

#include <set>
#include <sstream>

namespace kest::host {
namespace {

using test::ProcessResult;
using test::ProgramTest;

/// Types in what help, manual and README show, in a folder of its own that holds the examples they speak of.
class Documents : public ProgramTest {
protected:
  void SetUp() override {
    const std::filesystem::path examples = std::filesystem::path(test::SourceFolder()) / "examples";
    std::filesystem::copy(examples, m_folder / "examples", std::filesystem::copy_options::recursive);
    std::filesystem::copy(examples / "table-tools", m_folder / "table-tools", std::filesystem::copy_options::recursive);
  }
  [[nodiscard]] ProcessResult type(const std::string& line) const {
    test::ProcessOptions options;
    options.environment = environment();
    options.folder = m_folder;
    const std::filesystem::path program = KEST_PROGRAM;
    return test::RunProcess({"/bin/bash", "-c", "PATH=" + program.parent_path().string() + ":$PATH; " + line}, options);
  }
};

TEST_F(Documents, TheExampleInTheHelpOfEachCommandWorks) {
  // in an order in which each finds what it is about
  const char* const order[] = {
      "machine new", "machine show",  "machine start", "machine stop", "machine user", "pack",      "validate",
      "info",        "install",       "owns",          "verify",       "list",         "disable",   "enable",
      "history",     "repair",        "explain",       "undo",         "uninstall",    "trash",     "trash empty",
      "recover",     "machine logon", "products",      "import",       "help",         "completion"};
  std::set<std::string> typed;
  const auto tryExample = [&](const std::string& name) {
    const std::string help = type("kest help " + name).out;
    const std::size_t at = help.find("\nExample:\n  ");
    ASSERT_NE(at, std::string::npos) << name << " has no example: " << help;
    const std::string line = help.substr(at + 12, help.find('\n', at + 12) - at - 12);
    const ProcessResult result = type(line);
    EXPECT_EQ(result.exit, 0) << line << "\n" << result.out << result.err;
    typed.insert(name);
  };
  for (const char* name : order) {
    tryExample(name);
  }
  for (const CommandSpec& command : GetCommands()) {
    if (!typed.contains(command.name)) {
      tryExample(command.name);
    }
  }
}

// The commands that set up and build are left out: they are what builds and tests this program.
TEST_F(Documents, WhatReadmeAndManualTypeWorks) {
  for (const char* name : {"README.md", "docs/man/kest.1"}) {
    std::istringstream lines(read(std::filesystem::path(test::SourceFolder()) / name));
    std::filesystem::remove_all(m_folder / "pc");
    // questions are answered; what is there from a page before does not matter
    std::string script =
        "set -e; HOME=$PWD; kest pack table-tools/table-tools.kei -o pack.kep --force\n"
        "kest() { case $1 in install|uninstall|import|undo) command kest \"$@\" -y --accept-agreement;;"
        " pack) command kest \"$@\" --force;; machine) rm -rf ~/pc; command kest \"$@\";;"
        " *) command kest \"$@\";; esac; }\n";
    int typed = 0;
    for (std::string line; std::getline(lines, line);) {
      const std::size_t prompt = line.find_first_not_of(' ');
      if (prompt == std::string::npos || line.compare(prompt, 2, "$ ") != 0) {
        continue;
      }
      line.erase(0, prompt + 2);
      for (const auto& [troff, plain] : {std::pair{"\\-", "-"}, {"\\(dq", "\""}, {"\\(ti", "~"}, {"\\e", "\\"}}) {
        text::ReplaceAll(line, troff, plain);
      }
      script += "echo '> " + line + "'\n" + line + "\n";
      ++typed;
    }
    EXPECT_GT(typed, 8) << name;
    const ProcessResult result = type(script);
    EXPECT_EQ(result.exit, 0) << name << "\n" << result.out << result.err;
  }
}

} // namespace
} // namespace kest::host
