#include "host/command_line.h"
#include "host/session.h"
#include "host/terminal/unified_diff.h"
#include "journal/waiting_file.h"
#include "platform/machine/os.h"
#include "products/product.h"
#include "support/machine_facts.h"
#include "support/program_fixture.h"
#include "support/source_folder.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <iterator>
#include <random>
#include <regex>
#include <set>

namespace kest::host {
namespace {

using test::ProgramTest;

TEST(UnifiedDiff, TellsPlacesAndLineEndsThatDifferAlone) {
  const auto diff = [](std::string_view before, std::string_view after) {
    std::string text;
    for (const DiffLine& line : UnifiedDiff("f", before, after)) {
      text += line.text + '\n';
    }
    return text;
  };
  EXPECT_EQ(diff("a\n", "a\n"), "");
  EXPECT_EQ(diff("1\n2\n3\n4\n5\n6\n7\n8\n9\n", "1\n2\n3\n4\nx\n6\n7\n8\n9\n"),
            "--- f\n+++ f\n@@ -2,7 +2,7 @@\n 2\n 3\n 4\n-5\n+x\n 6\n 7\n 8\n");
  EXPECT_EQ(diff("", "a\r\nb"), "--- (not there)\n+++ f\n@@ -0,0 +1,2 @@\n+a\n+b\n\\ No newline at end of file\n");
  EXPECT_EQ(diff("a\r\nb\r\n", "a\nb\r\n"), "--- f\n+++ f\n@@ -1,2 +1,2 @@\n-a [CR LF]\n+a [LF]\n b\n");
}

/// Dry runs in this process, so that the machine that forgets can be asked; the operations by the program itself.
class DryRun : public ProgramTest {
protected:
  static constexpr int kAny = -1;
  using Facts = std::map<std::string, std::string>;

  void SetUp() override { setenv("XDG_DATA_HOME", (m_folder / "data").c_str(), 1); }
  [[nodiscard]] std::filesystem::path root() const { return m_folder / "pc"; }

  /// Files with bytes, marks and dates (those of this test alike), and every value of the registry, but for what is
  /// kept of operations that are over. What waits for a log-on has a random name.
  Facts factsOf(Machine& machine) const {
    Facts facts;
    const auto add = [&facts](const std::string& name, const std::string& value) {
      static const std::regex random("rpl[0-9A-Za-z_-]*\\.tmp");
      const std::string plain = std::regex_replace(value, random, "rpl.tmp");
      facts[std::regex_replace(name, random, "rpl.tmp") + (name.find("rpl") < name.size() ? plain : "")] = plain;
    };
    for (const auto& [path, fact] : test::FactsOf(machine, "C:\\", m_began)) {
      const bool isPast = path.starts_with(R"(C:\ProgramData\Kest\)") && path.find("\\installed") == CString::npos;
      const bool isCache = path.ends_with(".kidx");
      if (!isPast && !isCache) {
        add(path, fact);
      }
    }
    for (const auto& [name, hive] :
         {std::pair{"system.reg", RegistryRoot::kLocalMachine}, std::pair{"user.reg", RegistryRoot::kCurrentUser}}) {
      std::istringstream lines(read(root() / name));
      std::set<std::string> keys = {kRunOnceKey};
      for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('[')) {
          CString key = line.substr(1, line.rfind(']') - 1);
          text::ReplaceAll(key, R"(\\)", "\\");
          keys.insert(key);
        }
      }
      for (const std::string& key : keys) {
        std::vector<RegistryValue> values;
        static_cast<void>(machine.EnumRegistryValues(hive, key, values));
        for (const RegistryValue& value : values) {
          add(name + (" " + key) + " " + value.name, value.data);
        }
      }
    }
    return facts;
  }
  Facts factsOfRoot() const {
    MachineFolder machine(root().string());
    return factsOf(machine);
  }
  /// A dry run; what the machine is in it.
  int dryRun(Words words, nlohmann::json& document, Facts& facts) const {
    words.insert(words.end(), {"-n", "--diff", "--json", "-q", "-m", root().string()});
    const CommandLine line = ReadCommandLine(words);
    CKestProduct::ResetBinPaths();
    Session session;
    session.options = line.options;
    session.command = line.command;
    EXPECT_TRUE(line.command != nullptr && session.terminal.Configure(line.options)) << line.problem;
    session.document = EmptyDocument(*line.command);
    const int exit = line.command->run(session);
    document = session.document;
    facts = factsOf(CKestOS::GetMachine());
    return exit;
  }
  /// A dry run, which leaves the machine alone, and then the operation, which leaves it as foretold and says the same.
  nlohmann::json foretold(Words words, int exit = kAny) const {
    SCOPED_TRACE(words[0] + " " + words.back());
    words.insert(words.end(), {"-y", "--accept-agreement"});
    const auto before = test::TracesOf(root());
    nlohmann::json preview;
    Facts expected;
    const Facts old = factsOfRoot();
    const int told = dryRun(words, preview, expected);
    if (told == kDeclinedOrUnanswered) {
      expected = old; // the preview goes on as if it had been answered
    }
    EXPECT_TRUE(exit == kAny || exit == told) << told << preview;
    EXPECT_EQ(test::TracesOf(root()), before);
    const auto done = json(words, told);
    for (const char* key : {"changed", "kept", "restart", "replaced", "clashes", "replacements"}) {
      EXPECT_EQ(preview.contains(key) ? preview[key] : "", done.contains(key) ? done[key] : "") << key;
    }
    const Facts found = factsOfRoot();
    std::vector<std::pair<std::string, std::string>> other;
    std::set_symmetric_difference(expected.begin(), expected.end(), found.begin(), found.end(),
                                  std::back_inserter(other));
    for (const auto& [name, value] : other) {
      const auto foreseen = expected.find(name);
      ADD_FAILURE() << (foreseen != expected.end() && foreseen->second == value ? "foretold " : "found    ") << name
                    << " = " << value;
    }
    return preview;
  }

  std::int64_t m_began = std::time(nullptr);
};

TEST_F(DryRun, ForetellsTheWholeMachineForEachExample) {
  makeMachine({"--product", "Tidemark Nova", "--product", "Tidemark Vantage 4", "--product", "Prism Nova"});
  kest({"list"}); // the engine makes the folders for extensions when it first meets a product
  int menus = 0;
  for (const auto& entry : std::filesystem::directory_iterator(test::SourceFolder() + "/examples")) {
    const std::string name = entry.path().filename().string();
    const std::string description = entry.path() / (name + ".kei");
    if (!std::filesystem::exists(description)) {
      continue;
    }
    const auto preview = foretold({"install", description});
    for (const auto& one : preview["preview"]) {
      menus += one["kind"] == "menu-item" && one["change"] == "new" && one["in"].is_string();
    }
    const auto verified = json({"verify", name + ".kei"}, 0)["extensions"][0];
    EXPECT_TRUE(verified["recorded"] && verified["problems"].empty()) << verified;
    if (preview["restart"] == "machine") {
      foretold({"machine", "logon"});
    }
    foretold({"disable", name + ".kei"});
    foretold({"enable", name + ".kei"});
    foretold({"uninstall", name + ".kei"});
    foretold({"undo"}); // which leaves it for the operations below
  }
  EXPECT_GT(menus, 0);
  foretold({"import", "--from", "Tidemark Nova", "--to", "Tidemark Vantage 4"}, 10);
  foretold({"undo"});
  foretold({"uninstall", "table-tools.kei", "font-pack.kei", "nowhere.kei"}, 10);
  const std::string first = test::SourceFolder() + "/examples/table-tools/table-tools.kei";
  const auto asked = kest({"install", "-n", "--diff", first});
  EXPECT_NE(asked.out.find("Files:"), std::string::npos) << asked.out << asked.err;
  EXPECT_EQ(kest({"install", "--diff", first}).exit, 2);
  EXPECT_EQ(kest({"install", "-n", "nowhere.kep"}).exit, 4);
  foretold({"install", first});
  for (const char* shown : {"-", "+"}) { // by an undo, and by the undo of that
    const std::string diff = foretold({"undo"})["diff"].dump();
    EXPECT_NE(diff.find(std::string("\\n") + shown + "  <menuitem name=\\\"Table _Tools"), std::string::npos) << diff;
  }
}

TEST_F(DryRun, NeedsNoRightsAndLeavesAllToThem) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can run a program as somebody else";
  }
  makeMachine({"--product", "Tidemark Nova"});
  kest({"list"});
  std::filesystem::permissions(m_folder, std::filesystem::perms(0755));
  const std::string program = m_folder / "kest"; // the built one may lie where nobody else looks
  std::filesystem::copy_file(KEST_PROGRAM, program);
  const std::string description = m_folder / "snippet-shelf.kei";
  std::filesystem::copy(test::SourceFolder() + "/examples/snippet-shelf", m_folder,
                        std::filesystem::copy_options::recursive);
  const auto before = test::TracesOf(root());
  test::ProcessOptions options;
  options.environment = environment();
  const Words dry = {program, "install", description, "-n", "-y", "--accept-agreement"};
  Words onReadOnlyDisk = {"/usr/bin/unshare", "-m", "/bin/sh", "-c",
                          "mount --bind \"$KEST_MACHINE\" \"$KEST_MACHINE\" && "
                          "mount -o remount,bind,ro \"$KEST_MACHINE\" || exit 77; exec \"$0\" \"$@\""};
  onReadOnlyDisk.insert(onReadOnlyDisk.end(), dry.begin(), dry.end());
  for (const Words* command : std::initializer_list<const Words*>{&dry, &onReadOnlyDisk}) {
    options.withoutRights = command == &dry;
    const auto result = test::RunProcess(*command, options);
    if (command != &dry && (result.exit == 77 || result.exit == 127 || result.err.find("unshare:") == 0)) {
      GTEST_SKIP() << "no disk can be made read-only here: " << result.err;
    }
    EXPECT_EQ(result.exit, kInUseOrLocked) << result.err;
    EXPECT_NE(result.out.find("Files: "), std::string::npos) << "what who has the right would do: " << result.out;
    EXPECT_NE(result.err.find("you have no right to change"), std::string::npos) << result.err;
    EXPECT_EQ(test::TracesOf(root()), before);
  }
}

TEST_F(DryRun, WaitsForNoWriterAndTellsWhatOneLeft) {
  makeMachine({"--product", "Tidemark Nova"});
  std::string files;
  for (int i = 0; i < 300; ++i) {
    write("src/" + std::to_string(i) + ".js", "x");
    files += "<file source=\"" + std::to_string(i) + ".js\" destination=\"$tidemark/Configuration/Shared/Many\" />";
  }
  const std::string many =
      write("src/many.kei", R"(<kestrel-extension name="Many" version="1.0" type="command"><author name="A" /><products>
<product name="Tidemark" version="6" primary="true" /></products><description><![CDATA[C]]></description><ui-access>
<![CDATA[C]]></ui-access><files>)" +
                                files + "</files></kestrel-extension>");
  const auto isBegun = [this] {
    std::error_code error; // what is looked at may go meanwhile
    std::filesystem::recursive_directory_iterator at(root() / "drive_c/windows/temp", error);
    for (; at != std::filesystem::end(at) && !error; at.increment(error)) {
      if (at->path().filename().string().starts_with("journal-") && at->file_size(error) > 0 && !error) {
        return true;
      }
    }
    return false;
  };
  pid_t writer = 0;
  for (int tries = 0; tries < 20 && !isBegun(); ++tries) {
    kest({"uninstall", "Many", "-y"}); // of a try that was too late
    writer = fork();
    if (writer == 0) {
      test::ExecuteIn({KEST_PROGRAM, "install", many, "-y", "-q", "--accept-agreement"},
                      test::EnvironmentOf(environment()), "");
    }
    while (!isBegun() && waitpid(writer, nullptr, WNOHANG) == 0) {
    }
    kill(writer, SIGSTOP);
  }
  ASSERT_TRUE(isBegun());
  const Words dry = {"install", test::SourceFolder() + "/examples/snippet-shelf/snippet-shelf.kei", "-n", "-y",
                     "--accept-agreement"};
  auto before = test::TracesOf(root());
  const auto beside = kest(dry);
  EXPECT_EQ(beside.exit, kInUseOrLocked) << beside.out;
  EXPECT_NE(beside.err.find("process " + std::to_string(writer)), std::string::npos) << beside.err;
  EXPECT_EQ(test::TracesOf(root()), before);

  kill(writer, SIGKILL);
  waitpid(writer, nullptr, 0);
  before = test::TracesOf(root());
  const auto left = json(dry, 0)["preview"];
  ASSERT_FALSE(left.empty());
  EXPECT_EQ(left[0]["kind"], "recovery") << left[0];
  EXPECT_EQ(test::TracesOf(root()), before);
  EXPECT_TRUE(json({"list"}, 0)["extensions"].empty());
  EXPECT_FALSE(isBegun()) << "what was foretold was done";
}

TEST_F(DryRun, TellsWhatIsMetAndWhatHasNoEffect) {
  makeMachine({"--product", "Tidemark Nova"});
  const std::string description =
      write("src/c.kei", R"(<kestrel-extension name="C" version="1.0" type="command"><author name="A" /><products>
<product name="Tidemark" version="6" primary="true" /></products><description><![CDATA[C]]></description><ui-access>
<![CDATA[C]]></ui-access><flies /><configuration-changes><menu-insert appendTo="TMMenu_Commands">
<menuitem name="X" id="TMMenu_Commands_SortTable" /></menu-insert></configuration-changes></kestrel-extension>)");
  const auto preview = foretold({"install", description})["preview"];
  for (const auto& [kind, told] : {std::pair{"clash", "TMMenu_Commands_SortTable"}, {"left-out", "<flies>"}}) {
    EXPECT_TRUE(std::any_of(preview.begin(), preview.end(),
                            [kind = kind, told = told](const nlohmann::json& one) {
                              return one["kind"] == kind &&
                                     one["name"].get<std::string>().find(told) != std::string::npos;
                            }))
        << kind << preview;
  }
}

TEST_F(DryRun, ForetellsTheWholeMachineForGeneratedOnes) {
  constexpr const char* kChanges[] = {
      R"(<menu-insert insertAfter="TMMenu_Insert_Table"><separator /><menu name="_G" id="G_M@"><menuitem name="_1" id="G_I@" /></menu></menu-insert>)",
      R"(<menu-insert insertAfter="Nowhere"><menuitem name="_2" id="G_N@" /></menu-insert>)",
      R"(<menu-remove id="TMMenu_Edit_External" />)",
      R"(<shortcut-insert listId="TMMainWindow"><shortcut key="Cmd+Alt+@" command="g" id="G_K@" /></shortcut-insert>)",
      R"(<toolbar-changes><toolbar-item-insert insertAfter="TM_Save" toolbar="TM_Toolbar_Standard"><button id="G_B@" /></toolbar-item-insert></toolbar-changes>)",
      R"(<insertbar-changes><insertbar-item-remove id="TM_Text_List" /></insertbar-changes>)",
      R"(<server-behavior-changes servermodelfolder="ASP_Js"><menu-insert appendTo="TMSB_Paging"><menuitem name="R" id="G_S@" /></menu-insert></server-behavior-changes>)",
      R"(<server-format-changes servermodelfolder="ASP_Js"><menu-insert insertAfter="TM_No@"><format title="W" id="G_F@" /></menu-insert></server-format-changes>)",
      R"(<taglibrary-changes><taglibrary-insert><taglibrary id="G_T@" name="G"><tagref name="g" file="g.vtm" /></taglibrary></taglibrary-insert></taglibrary-changes>)",
      R"(<source-format-changes><element-insert name="g@" break="1,0,0,1" /><element-remove name="pre" /></source-format-changes>)",
      R"(<FTP-extension-map-changes><FTP-extension-insert extension="g@" type="ASCII" /></FTP-extension-map-changes>)",
      R"(<extensions-changes><extension-insert extension="G@" description="Notes" /></extensions-changes>)",
      R"(<no-such-changes><x /></no-such-changes>)"};
  constexpr const char* kPlaces[] = {R"("$tidemark/Configuration/Shared/G@")",
                                     R"("$tidemark/Configuration/Commands" shared="true")",
                                     R"("$fonts")",
                                     R"("$system" systemfile="true")",
                                     R"("$tidemark/Configuration/Commands" platform="mac")",
                                     R"("$nowhere/x")"};
  constexpr const char* kRare[] = {"TM_No", "no-such", "TM_Text_List"}; // what most often ends an operation
  makeMachine();
  kest({"list"});
  std::mt19937 random(14);
  const auto described = [&](int seed, const std::string& version) {
    const bool isNova = seed % 2 != 0;
    const std::string number = std::to_string(seed);
    std::string changes;
    std::string files;
    for (const std::string_view change : kChanges) {
      const bool isRare = std::any_of(std::begin(kRare), std::end(kRare),
                                      [&](const char* one) { return change.find(one) != CString::npos; });
      const bool isPlaced = isNova || change.find("ASP_Js") == CString::npos;
      changes += isPlaced && random() % (isRare ? 16 : 3) == 0 ? change : "";
    }
    for (int i = 0; i < 8; ++i) {
      const std::string name = std::to_string(i) + (i == 7 ? "v" + version : "") + (i == 2 ? ".ttf" : ".htm");
      const auto at = random() % (random() % 20 == 0 ? std::size(kPlaces) : 5); // rarely one that leads nowhere
      write("src/g" + number + "/" + name, name + (i % 2 == 0 ? version : ""));
      files += "<file source=\"" + name + "\" destination=" + kPlaces[at] + " />";
    }
    text::ReplaceAll(changes, "@", number);
    text::ReplaceAll(files, "@", number);
    return write("src/g" + number + "/g" + number + ".kei",
                 "<kestrel-extension name=\"G" + number + "\" version=\"" + version +
                     "\" type=\"command\"><author name=\"Jane Doe\" /><products><product name=\"Tidemark\" "
                     "version=\"4\" primary=\"true\" /></products><description><![CDATA[G]]></description><ui-access>"
                     "<![CDATA[G]]></ui-access><files>" +
                     files + "</files><configuration-changes>" + changes +
                     "</configuration-changes></kestrel-extension>");
  };
  int failed = 0;
  int done = 0;
  const auto run = [&](const Words& words) { foretold(words)["exit"] == 0 ? ++done : ++failed; };
  for (int seed = 1; seed <= 6; ++seed) {
    const std::string name = "G" + std::to_string(seed);
    run({"install", described(seed, "1.0"), "-p", seed % 2 != 0 ? "Tidemark Nova" : "Tidemark 4"});
    run({"install", described(seed, "2.0"), "--on-clash", "disable"});
    run({"disable", name});
    run({"enable", name});
    run({"undo"});
    run({"import", "--from", "Tidemark 4", "--to", "Tidemark Nova", name});
    run({"machine", "logon"});
    run({"uninstall", name, "-p", "Tidemark Nova"});
    run({"undo"});
  }
  EXPECT_GT(done, 10);
  EXPECT_GT(failed, 10);
}

} // namespace
} // namespace kest::host
