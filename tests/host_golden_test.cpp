#include "host/command_table.h"
#include "support/program_fixture.h"
#include "support/source_folder.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <regex>
#include <set>

namespace kest::host {
namespace {

using test::ProcessResult;
using test::ProgramTest;
using Ordered = nlohmann::ordered_json;

/// Runs commands with --json, one after the other on one machine, against what they printed when the file was written.
class Golden : public ProgramTest {
protected:
  /// The document in its order of keys, the temporary folder named "/T".
  void run(Words words) {
    std::string name;
    for (const std::string& word : words) {
      name += (name.empty() ? "" : " ") + inT(word);
    }
    words.emplace_back("--json");
    const ProcessResult result = kest(words);
    Ordered document = Ordered::parse(inT(result.out), nullptr, false);
    ASSERT_FALSE(document.is_discarded()) << name << "\n" << result.out << result.err;
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 1) << name;
    EXPECT_EQ(document["ok"], result.exit == 0) << name;
    for (const char* part : {"what", "why", "changed", "next"}) {
      EXPECT_TRUE(!document.contains("error") || document["error"][part] != "") << name << ": " << part;
    }
    for (const CommandSpec& command : GetCommands()) {
      if (name == command.name || name.starts_with(std::string(command.name) + " ")) {
        m_ways[command.name].insert(result.exit == 0);
      }
    }
    if (document.contains("text") && document["text"].is_string()) {
      EXPECT_GT(document["text"].get<std::string>().size(), 100U);
      document["text"] = "...";
    }
    m_found.push_back({{"command", name}, {"exit", result.exit}, {"document", document}});
  }
  [[nodiscard]] std::string inT(std::string text) const {
    static const std::regex time(R"re("time":"[^"]*")re");
    static const std::regex kept(R"re(([/\\]trash[/\\]+\d+)-\d+-\d+)re");
    static const std::regex bytes(R"re("bytes":\d+,"operation")re");
    text = std::regex_replace(text, time, R"("time":"T")");
    text = std::regex_replace(text, bytes, R"("bytes":0,"operation")");
    text = std::regex_replace(text, kept, "$1-T-B");
    const std::string folder = m_folder.string();
    for (std::size_t at; (at = text.find(folder)) != std::string::npos;) {
      text.replace(at, folder.size(), "/T");
    }
    return text;
  }
  void compare() {
    const std::string path = test::SourceFolder() + "/tests/data/golden/commands.json";
    if (std::getenv("KEST_UPDATE_GOLDEN")) {
      std::ofstream(path) << m_found.dump(1) << "\n";
    }
    const Ordered wanted = Ordered::parse(read(path), nullptr, false);
    ASSERT_EQ(wanted.size(), m_found.size()) << path;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      EXPECT_EQ(wanted[i].dump(1), m_found[i].dump(1));
    }
  }
  Ordered m_found = Ordered::array();
  std::map<std::string, std::set<bool>> m_ways; ///< of each command: whether it was done, whether it failed
};

TEST_F(Golden, EveryCommandPrintsItsDocument) {
  const std::string pc = (m_folder / "pc").string();
  run({"list"});
  run({"machine", "new", pc, "--product", "Tidemark 4", "--product", "Tidemark Nova", "--user", "anna:2", "--user",
       "bob"});
  run({"machine", "new", pc});
  run({"machine", "start", "Tidemark Nova"});
  run({"machine", "stop", "Tidemark Nova"});
  run({"machine", "user", "bob"});
  run({"machine", "user", "carl"});
  run({"machine", "show"});
  run({"machine", "logon"});
  run({"products", "--all"});
  run({"list"});
  run({"recover"});
  Extension extension;
  extension.more = "<file-tokens><token name=\"home\" prompt=\"Where to?\" default=\"C:\\Sites\" /></file-tokens>\r\n"
                   "<configuration-changes><extensions-changes><extension-insert extension=\"SHTML\" "
                   "description=\"HTML Documents\" /></extensions-changes></configuration-changes>\r\n";
  const std::string description = describe(extension);
  const std::string out = (m_folder / "tools.kep").string();
  run({"pack", description, "-o", out});
  run({"pack", description, "-o", out});
  run({"pack", out + ".kei"});
  run({"validate", out});
  run({"validate", write("bad.kei", "<kestrel-extension name=\"Bad\" />\r\n"), out});
  run({"validate", write("worse.kei", "<kestrel-extension")});
  run({"info", out});
  run({"info", "Nothing"});
  run({"install", out});
  run({"install", out, "--accept-agreement", "-p", "Tidemark Nova"});
  run({"install", out, "--accept-agreement", "-p", "Tidemark Nova"});
  run({"install", out, m_folder / "none.kep", "--accept-agreement", "-p", "Tidemark 4"});
  run({"list", "--sort", "state"});
  run({"info", "Table Tools", "-p", "Tidemark Nova"});
  run({"disable", "Table Tools"});
  run({"disable", "Table Tools", "-p", "Tidemark Nova"});
  run({"enable", "Table Tools", "-p", "Tidemark Nova"});
  run({"uninstall", "Table Tools", "-p", "Tidemark Nova"});
  run({"uninstall", "Table Tools", "-p", "Tidemark Nova", "-y"});
  run({"import", "--from", "Tidemark 4", "--to", "Tidemark Nova", "--accept-agreement"});
  run({"import", "--from", "Tidemark 4"});
  run({"install", description, "-y", "--accept-agreement", "-p", "Tidemark 4"});
  run({"import", "--from", "Tidemark 4", "--to", "Tidemark Nova", "--accept-agreement"});
  run({"enable", "Nothing"});
  run({"owns", R"(C:\Program Files\Kestrel\Tidemark 6\Configuration\Commands\tabletools.htm)"});
  run({"owns", R"(C:\Nothing.htm)"});
  run({"owns", "--key", "Ctrl+T", "--tag", "b"});
  run({"verify"});
  run({"verify", "Nothing"});
  run({"explain", description});
  run({"explain", write("other.kei", "<kestrel-extension name=\"Other\" version=\"1.0\"><products><product "
                                     "name=\"Prism\" version=\"4\" primary=\"true\" /></products>"
                                     "</kestrel-extension>\r\n")});
  run({"repair", "Table Tools", "-p", "Tidemark 4"});
  run({"repair", "Nothing"});
  run({"history"});
  run({"history", "Nothing"});
  run({"undo", "-y"});
  run({"undo", "99", "-y"});
  run({"undo", "first"});
  run({"trash"});
  run({"trash", "empty", "--keep-size", "1000"});
  run({"trash", "empty"});
  run({"machine", "start", "Tidemark"});
  run({"machine", "stop", "Tidemark"});
  run({"help"});
  run({"help", "frobnicate"});
  for (const char* shell : {"bash", "zsh", "fish", "tcsh"}) {
    run({"completion", shell});
  }
  for (const char* command : {"products", "recover", "trash", "machine logon", "machine show"}) {
    Words words = {"-m", m_folder / "nowhere"};
    std::istringstream name(command);
    for (std::string word; name >> word;) {
      words.insert(words.end() - 2, word);
    }
    run(words);
  }
  run({"frobnicate"});
  run({"list", "--sort", "colour"});
  run({"--version"});
  compare();
  for (const CommandSpec& command : GetCommands()) {
    EXPECT_EQ(m_ways[command.name].size(), 2U) << command.name << " is to be seen done and failing";
  }
}

} // namespace
} // namespace kest::host
