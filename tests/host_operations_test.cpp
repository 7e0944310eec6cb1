#include "support/program_fixture.h"

#include <algorithm>

namespace kest::host {
namespace {

using test::ProcessResult;
using test::ProgramTest;
using test::PseudoTerminal;

constexpr const char* kFile = "Program Files/Kestrel/Tidemark 6/Configuration/Commands/tabletools.htm";

class Operations : public ProgramTest {
protected:
  void SetUp() override { makeMachine(); }
  [[nodiscard]] std::size_t listed() const { return json({"list"}, 0)["extensions"].size(); }
};

TEST_F(Operations, PathsInDocumentsLeadToTheFiles) {
  EXPECT_EQ(kest({"list"}).out, "") << "nothing is listed without a word";
  install({});
  EXPECT_TRUE(onMachine(kFile));
  const auto extension = json({"list", "-p", "tidemark nova"}, 0)["extensions"][0];
  EXPECT_TRUE(std::filesystem::exists(extension["description"]["host"].get<std::string>()));
  const auto info = json({"info", "Table Tools"}, 0)["extension"];
  EXPECT_TRUE(std::filesystem::exists(info["files"][0]["installed"]["host"].get<std::string>())) << info;
  EXPECT_EQ(kest({"uninstall", "Table Tools", "-y"}).exit, 0);
  EXPECT_FALSE(onMachine(kFile));
}

/// What a command that fails says: words of its reason and of its advice. It runs in the folder of the test.
struct FailureRow {
  const char* command;
  int exit;
  const char* why;
  const char* next;
};

constexpr FailureRow kFailures[] = {
    {"install nosuch.kep", 4, "there is no such file", "name a package (.kep) or a description (.kei)"},
    {"install folder", 4, "it is a folder", "name a package (.kep) or a description (.kei)"},
    {"install junk.kep", 6, "the file is no package", "kest validate junk.kep"},
    {"install cut.kep", 6, "it has no directory", "kest validate cut.kep"},
    {"install damaged.kep", 6, "its check sum is wrong", "kest validate damaged.kep"},
    {"install rootless.kei", 6, "there is no \"kestrel-extension\" element", "kest validate rootless.kei"},
    {"install inserts.kei --accept-agreement", 1, "<menu-inserts> is no change that could be made in Menus\\Menus.xml",
     "ask the extension's author"},
    {"install help.kei --accept-agreement", 1,
     "<helpbook-insert> is no change that could be made in the product's help", "ask the extension's author"},
    {"install token.kei --accept-agreement -y", 3, "a question needs an answer: Where?", "--set where=DIR"},
    {"install token.kei --accept-agreement --set nosuch=C:/x", 2, "these are asked for: where", "kest info FILE"},
    {"install lonely.kei --accept-agreement", 6, "gone.htm: the file is not there", "kest validate lonely.kei"},
    {"install other.kei --accept-agreement", 5, "it is for Quarry 6 or later", "kest products --all"},
    {"install good.kei", 3, "a question needs an answer", "--accept-agreement"},
    {"install good.kei -p Nosuch", 4, "these were found: Tidemark 4, Tidemark Nova", "kest products --all"},
    {"pack nosuch.kei", 4, "there is no such file", "name a description (.kei)"},
    {"pack lonely.kei", 4, "gone.htm: it is not there", "kest validate lonely.kei"},
    {"pack rootless.kei", 6, "there is no \"kestrel-extension\" element", "kest validate rootless.kei"},
    {"pack junk.kep", 6, "it is a package already", "name a description (.kei)"},
    {"validate folder", 4, "it is a folder", "name a package (.kep) or a description (.kei)"},
    {"info junk.kep", 6, "the file is no package", "kest validate junk.kep"},
    {"info Nosuch", 4, "nothing is installed there", "kest list"},
    {"uninstall Nosuch -y", 4, "nothing is installed there", "kest list"},
    {"disable Nosuch", 4, "nothing is installed there", "kest list"},
    {"enable Nosuch", 4, "nothing is installed there", "kest list"},
    {"import Nosuch", 2, "--from or --to is missing", "kest import --from"},
    {"undo", 4, "the history of the machine is empty", "kest history"},
    {"machine start Nosuch", 4, "these were found", "kest products --all"},
    {"list -m folder", 4, "has no drive_c", "kest machine new "},
    {"machine new pc", 1, "the folder exists", "name a folder that does not exist yet"},
};

TEST_F(Operations, EveryFailureSaysWhyThatNothingChangedAndWhatNext) {
  const auto description = [this](const char* name, const std::string& product, const std::string& body) {
    write(std::string(name) + ".kei",
          "<kestrel-extension name=\"" + std::string(name) +
              "\" version=\"1.0\" type=\"command\"><author name=\"Jane\"/><products><product name=\"" + product +
              "\" "
              "version=\"6\"/></products><description><![CDATA[D]]></description><ui-access><![CDATA[U]]></ui-access>" +
              body + "</kestrel-extension>");
  };
  const std::string menus = "<configuration-changes><menu-inserts/></configuration-changes>";
  description("good", "Tidemark", "");
  description("other", "Quarry", "");
  description("inserts", "Tidemark", menus);
  description("help", "Tidemark",
              "<help-changes><helpbook-insert><book-id id=\"B\"/></helpbook-insert></help-changes>");
  description("token", "Tidemark",
              "<file-tokens><token name=\"where\" prompt=\"Where?\"/></file-tokens><files><file source=\"good.kei\" "
              "destination=\"$where\"/></files>");
  description("lonely", "Tidemark",
              "<files><file source=\"gone.htm\" destination=\"$tidemark/Configuration\"/></files>");
  write("rootless.kei", "<x/>");
  write("junk.kep", "junk");
  std::filesystem::create_directory(m_folder / "folder");
  std::string bytes = read(package({}));
  write("cut.kep", bytes.substr(0, bytes.size() / 2));
  bytes[bytes.size() / 4] = static_cast<char>(bytes[bytes.size() / 4] ^ 0x55);
  write("damaged.kep", bytes);
  const auto before = snapshot();
  for (const FailureRow& row : kFailures) {
    test::ProcessOptions options;
    options.environment = environment();
    options.folder = m_folder;
    const ProcessResult result =
        test::RunProcess({"/bin/sh", "-c", std::string(KEST_PROGRAM) + " " + row.command}, options);
    SCOPED_TRACE(std::string(row.command) + "\n" + result.err);
    EXPECT_EQ(result.exit, row.exit);
    const auto part = [&](const char* name) {
      const std::size_t at = result.err.find(std::string("\n  ") + name);
      return at == std::string::npos ? std::string()
                                     : result.err.substr(at + 12, result.err.find('\n', at + 1) - at - 12);
    };
    EXPECT_TRUE(result.err.find("error: ") != std::string::npos);
    EXPECT_NE(part("why").find(row.why), std::string::npos) << part("why");
    EXPECT_TRUE(part("changed").starts_with("nothing")) << part("changed");
    EXPECT_NE(part("next").find(row.next), std::string::npos) << part("next");
    EXPECT_EQ(difference(before, snapshot()), "");
  }
}

TEST_F(Operations, QuestionsWithoutATerminalNameTheirFlagAndChangeNothing) {
  const std::string package1 = package({});
  const ProcessResult result = kest({"install", package1, "-y"});
  EXPECT_EQ(result.exit, 3);
  EXPECT_NE(result.err.find("--accept-agreement"), std::string::npos) << "-y never implies it";
  EXPECT_EQ(listed(), 0U);
  install({});
  test::ProcessOptions idle;
  idle.idleInput = true;
  EXPECT_EQ(kest({"uninstall", "Table Tools"}, idle).exit, 3) << "the input must not be read";
  EXPECT_EQ(listed(), 1U);
}

TEST_F(Operations, VersionsAreReplacedOnlyAsAsked) {
  install({});
  EXPECT_EQ(json({"install", package({}), "-y", "--accept-agreement", "--reinstall"}, 0)["replaced"], "Table Tools");

  Extension newer;
  newer.version = "2.0.0";
  EXPECT_EQ(kest({"install", package(newer), "--accept-agreement"}).exit, 3);
  EXPECT_EQ(json({"install", package(newer), "--accept-agreement", "-y"}, 0)["replaced"], "Table Tools");
  const ProcessResult older = kest({"install", package({}), "--accept-agreement", "-y"});
  EXPECT_EQ(older.exit, 3);
  EXPECT_NE(older.err.find("--allow-downgrade"), std::string::npos);
  EXPECT_EQ(kest({"install", package({}), "--accept-agreement", "-y", "--allow-downgrade"}).exit, 0);
  EXPECT_EQ(json({"list"}, 0)["extensions"][0]["version"], json({"info", package({})}, 0)["extension"]["version"]);
}

TEST_F(Operations, ExistingFilesAreKeptOrOverwrittenAsAsked) {
  const std::string path = std::string("pc/drive_c/") + kFile;
  const std::string extension = package({});
  for (const std::string what : {"keep", "cancel", "overwrite"}) {
    write(path, "mine");
    const auto result =
        json({"install", extension, "--accept-agreement", "--on-existing", what}, what == "cancel" ? 3 : 0);
    EXPECT_EQ(read(m_folder / path) == "mine", what != "overwrite") << what;
    EXPECT_EQ(result["kept"].size(), what == "keep" ? 1U : 0U) << result;
    static_cast<void>(kest({"uninstall", "Table Tools", "-y"}));
  }
}

TEST_F(Operations, AClashOfDescriptionNamesDisablesOnlyWhenAsked) {
  install({});
  Extension other;
  other.name = "Other Tools";
  EXPECT_EQ(kest({"install", package(other), "-y", "--accept-agreement"}).exit, 3);
  EXPECT_EQ(json({"install", package(other), "-y", "--accept-agreement", "--on-clash", "disable"}, 0)["replaced"],
            "Table Tools");
  EXPECT_EQ(json({"list", "--state", "disabled"}, 0)["extensions"][0]["name"], "Table Tools");
}

TEST_F(Operations, WordsThatFitSeveralExtensionsNameTheCandidates) {
  Extension other;
  other.author = "John Roe";
  other.file = "tools2";
  other.version = "2.0.0";
  install({});
  install(other);
  const auto document = json({"info", "table tools"}, 4);
  ASSERT_EQ(document["candidates"].size(), 2U);
  for (const char* word : {"Table Tools@2.0", "john roe/TABLE TOOLS", "tools2.kei", "Tools2.KEI"}) {
    EXPECT_EQ(json({"info", word}, 0)["extension"]["author"], "John Roe") << word;
  }
  EXPECT_EQ(json({"info", "Table Tools@3.0"}, 4)["exit"], 4);
  EXPECT_EQ(kest({"uninstall", "Table Tools", "-y"}).exit, 4);
  EXPECT_EQ(listed(), 2U);
  EXPECT_EQ(json({"list", "--sort", "author", "--reverse"}, 0)["extensions"][0]["author"], "John Roe");
}

// Disabled in one product, then carried over and disabled twice: alike in all but the state.
TEST_F(Operations, TheStateTellsTwoApartThatAreOtherwiseAlike) {
  install({}, {"-p", "Tidemark 4"});
  install({}, {"-p", "Tidemark Nova"});
  EXPECT_EQ(kest({"disable", "Table Tools", "-p", "Tidemark Nova"}).exit, 0);
  EXPECT_EQ(kest({"import", "--from", "Tidemark 4", "--to", "Tidemark Nova", "--accept-agreement", "-y"}).exit, 0);
  const ProcessResult both = kest({"info", "Table Tools", "-p", "Tidemark Nova"});
  ASSERT_EQ(both.exit, 4);
  EXPECT_NE(both.err.find("--state enabled|disabled"), std::string::npos) << both.err;
  for (const char* state : {"enabled", "disabled"}) {
    EXPECT_EQ(json({"info", "Table Tools", "-p", "Tidemark Nova", "--state", state}, 0)["extension"]["state"], state);
  }
  EXPECT_EQ(kest({"uninstall", "Table Tools", "-p", "Tidemark Nova", "--state", "disabled", "-y"}).exit, 0);
  EXPECT_EQ(json({"info", "Table Tools", "-p", "Tidemark Nova"}, 0)["extension"]["state"], "enabled");
  EXPECT_EQ(kest({"uninstall", "Table Tools", "-p", "Tidemark Nova", "--state", "disabled", "-y"}).exit, 4);
}

TEST_F(Operations, AFolderForATokenThatNobodyAsksForIsAMistake) {
  Extension asking;
  asking.more = "<file-tokens><token name=\"home\" prompt=\"Where?\" default=\"C:\\Sites\" /></file-tokens>\r\n";
  const ProcessResult result = kest({"install", package(asking), "--accept-agreement", "--set", "hom=C:\\x"});
  EXPECT_EQ(result.exit, 2);
  EXPECT_NE(result.err.find("these are asked for: home"), std::string::npos) << result.err;
  EXPECT_EQ(kest({"install", package(asking), "--accept-agreement", "--set", "HOME=C:\\x"}).exit, 0);
}

TEST_F(Operations, YesIsNoAnswerToWhereATokenWithoutAPromptLeads) {
  Extension silent;
  silent.more = "<file-tokens><token name=\"home\" definition=\"C:\\windows\\own\" /></file-tokens>\r\n"
                "<files><file source=\"tabletools.htm\" destination=\"$home\" /></files>\r\n";
  const std::string file = package(silent);
  const ProcessResult refused = kest({"install", file, "--accept-agreement", "-y"});
  EXPECT_EQ(refused.exit, 3);
  EXPECT_NE(refused.err.find("--set home=DIR"), std::string::npos) << refused.err;
  EXPECT_EQ(kest({"install", file, "--accept-agreement", "-y", "--set", "home=C:\\windows\\own"}).exit, 0);
}

TEST_F(Operations, AFolderOnADriveThatIsNotThereIsNoFileInUse) {
  Extension asking;
  asking.more = "<file-tokens><token name=\"home\" prompt=\"Where?\" default=\"Q:\\Sites\" /></file-tokens>\r\n"
                "<files><file source=\"tabletools.htm\" destination=\"$home\" /></files>\r\n";
  const std::string file = package(asking);
  for (const Words& more : {Words{}, Words{"--set", "home=q:\\x"}}) {
    Words words = {"install", file, "--accept-agreement"};
    words.insert(words.end(), more.begin(), more.end());
    const ProcessResult result = kest(words);
    EXPECT_EQ(result.exit, 4) << result.err;
    EXPECT_NE(result.err.find("There is no drive Q:"), std::string::npos) << result.err;
  }
  EXPECT_EQ(listed(), 0U);
  PseudoTerminal terminal = onTerminal({"install", file, "--accept-agreement"});
  ASSERT_TRUE(terminal.WaitFor("]: ")) << terminal.GetScreen();
  terminal.TypeLine("D:\\here");
  ASSERT_TRUE(terminal.WaitFor("There is no drive D:")) << terminal.GetScreen();
  ASSERT_TRUE(terminal.WaitFor("]: ")) << terminal.GetScreen();
  terminal.TypeLine("C:\\here");
  EXPECT_EQ(terminal.Finish(), 0) << terminal.GetScreen();
}

TEST_F(Operations, BadInputHasItsCode) {
  Extension foreign;
  foreign.product = "Prism";
  EXPECT_EQ(json({"install", package(foreign), "-y", "--accept-agreement"}, 5)["exit"], 5);
  EXPECT_EQ(kest({"install", package({}), "-p", "Tidemark 9", "-y"}).exit, 4);
  EXPECT_EQ(json({"install", write("broken.kep", "no archive"), "-y", "--accept-agreement"}, 6)["exit"], 6);
  EXPECT_EQ(json({"install", write("broken.kei", "<kestrel-extension"), "-y", "--accept-agreement"}, 6)["exit"], 6);
  EXPECT_EQ(json({"info", write("broken.kei", "<other/>")}, 6)["exit"], 6);
  EXPECT_EQ(json({"install", (m_folder / "no/such.kep").string()}, 4)["exit"], 4);
  EXPECT_EQ(listed(), 0U);
}

TEST_F(Operations, APackageLiesBesideItsDescriptionAndIsReplacedByForceAlone) {
  const std::string description = describe({});
  EXPECT_EQ(kest({"pack", description}).exit, 0);
  const std::string first = read(m_folder / "src/tabletools.kep");
  EXPECT_EQ(kest({"pack", description}).exit, 3);
  EXPECT_EQ(kest({"pack", description, "--force"}).exit, 0);
  EXPECT_EQ(read(m_folder / "src/tabletools.kep"), first) << "the same files give the same bytes";
}

TEST_F(Operations, ValidatingAsksTheProductAndCountsWarningsAsTold) {
  Extension extension;
  extension.more = "<configuration-changes><menu-insert appendTo=\"Nowhere\"><menuitem name=\"A\" id=\"A\" "
                   "file=\"Commands/tabletools.htm\" /></menu-insert></configuration-changes>\r\n";
  const std::string description = describe(extension);
  EXPECT_TRUE(json({"validate", description, "--strict"}, 0)["problems"].empty());
  const auto asked = json({"validate", description, "-p", "Tidemark Nova"}, 0);
  ASSERT_EQ(asked["problems"].size(), 1U) << asked;
  EXPECT_EQ(asked["problems"][0]["rule"], "place-missing");
  EXPECT_EQ(json({"validate", description, "-p", "Tidemark Nova", "--strict"}, 8)["problems"][0]["severity"], "error");
  std::filesystem::remove(m_folder / "src/tabletools.htm");
  EXPECT_EQ(json({"validate", description}, 8)["problems"][0]["rule"], "source-missing");
}

TEST_F(Operations, AnInstallTellsWhatOfTheDescriptionHadNoEffect) {
  Extension extension;
  extension.more = "<flies />\r\n";
  const ProcessResult result = kest({"install", package(extension), "--accept-agreement"});
  EXPECT_EQ(result.exit, 0);
  EXPECT_NE(result.err.find("<flies> has no effect here; did you mean \"files\"?"), std::string::npos) << result.err;
}

TEST_F(Operations, ChangesWithoutTheirPlaceAreToldOneByOne) {
  Extension extension;
  extension.more = "<configuration-changes>";
  for (const std::string key : {"Cmd+8", "Cmd+9"}) {
    extension.more += "<shortcut-insert listId=\"NoList\"><shortcut key=\"" + key + "\" id=\"X\" /></shortcut-insert>";
  }
  extension.more += "</configuration-changes>\r\n";
  const std::string said = kest({"install", package(extension), "-y", "--accept-agreement"}).err;
  for (const char* part : {"Cmd+8", "Cmd+9", "NoList"}) {
    const std::size_t at = said.find(part);
    ASSERT_NE(at, std::string::npos) << said;
    const std::string line = said.substr(said.rfind('\n', at) + 1, said.find('\n', at) - said.rfind('\n', at));
    EXPECT_NE(line.find("Menus.xml has no list for its shortcut"), std::string::npos) << line;
  }
}

TEST_F(Operations, ValidatingNamesTheLine) {
  const std::string bad =
      "<kestrel-extension name=\"A\" version=\"1.0\">\n<menuitem name=\"x\" />\n</kestrel-extension>\n";
  const auto document = json({"validate", write("bad.kei", bad)}, 8);
  const bool isNamed = std::any_of(document["problems"].begin(), document["problems"].end(),
                                   [](const auto& problem) { return problem["line"] == 2; });
  EXPECT_TRUE(isNamed) << document;
  const auto broken =
      json({"validate", write("tag.kei", "<kestrel-extension name=\"A\">\n<author name=\"x\" / >\n")}, 8);
  EXPECT_EQ(broken["code"], -3);
  EXPECT_EQ(broken["problems"][0]["line"], 2) << broken;
  const std::string device = "<kestrel-extension name=\"A\" version=\"1.0\"><files><file source=\"a.htm\" "
                             "destination=\"$tidemark/Configuration/CON\" /></files></kestrel-extension>\n";
  EXPECT_NE(json({"validate", write("device.kei", device)}, 8).dump().find("that of a device"), std::string::npos);
}

TEST_F(Operations, AReaderThatGoesAwayIsNoCrash) {
  install({});
  test::ProcessOptions options;
  options.closedOutput = true;
  for (const Words& words : {Words{"list"}, Words{"help"}, Words{"products", "--json"}}) {
    const ProcessResult result = kest(words, options);
    EXPECT_EQ(result.signal, 0) << words[0];
    EXPECT_EQ(result.exit, 0) << words[0];
  }
}

TEST_F(Operations, HostileNamesDoNotReachTheTerminal) {
  Extension hostile;
  hostile.name = "Evil&#27;[31m";
  const ProcessResult packed = kest({"pack", describe(hostile), "-o", (m_folder / "e.kep").string()});
  for (const ProcessResult& result : {packed, kest({"info", (m_folder / "src/tabletools.kei").string()})}) {
    EXPECT_EQ((result.out + result.err).find('\033'), std::string::npos);
  }
}

TEST_F(Operations, TheLogKeepsWhatQuietLeavesOut) {
  const std::string log = (m_folder / "kest.log").string();
  const ProcessResult result = kest({"install", package({}), "-y", "--accept-agreement", "-q", "--log", log});
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_NE(read(log).find("Table Tools"), std::string::npos);
}

} // namespace
} // namespace kest::host
