#include "support/program_fixture.h"

#include <algorithm>
#include <chrono>

namespace kest::host {
namespace {

using test::ProcessResult;
using test::ProgramTest;

class MachineCommands : public ProgramTest {
protected:
  static std::vector<std::string> namesOf(const nlohmann::json& list) {
    std::vector<std::string> names;
    for (const auto& entry : list) {
      names.push_back(entry["name"]);
    }
    return names;
  }
};

TEST_F(MachineCommands, ASampleMachineHasAllProductsWhereTheyAreLookedFor) {
  makeMachine({});
  const auto document = json({"products"}, 0);
  EXPECT_EQ(document["schema"], "kest.products/1");
  EXPECT_EQ(namesOf(document["products"]),
            (std::vector<std::string>{"Tidemark 4", "Tidemark Vantage 4", "Tidemark Nova", "Prism 4", "Prism Nova",
                                      "Marlin 5", "Marlin Nova", "Quarry 2"}));
  for (const auto& product : document["products"]) {
    EXPECT_FALSE(product["running"]) << product;
    for (const char* folder : {"install_folder", "extensions_folder", "configuration_folder"}) {
      const std::string host = product[folder]["host"];
      EXPECT_TRUE(std::filesystem::is_directory(host)) << product["name"] << " " << folder << " " << host;
    }
  }
}

TEST_F(MachineCommands, WebEditorsComeWithFilesWorthEditing) {
  makeMachine();
  for (const auto& [folder, model] : {std::pair{"Tidemark 6", "ASP.NET_CSharp"}, {"Tidemark 4", "asp"}}) {
    const std::string configuration = std::string("Program Files/Kestrel/") + folder + "/Configuration/";
    const std::string server = std::string("/") + model + "/";
    for (const std::string& file :
         {std::string("Menus/Menus.xml"), std::string("Toolbars/toolbars.xml"), std::string("Objects/insertbar.xml"),
          std::string("DocumentTypes/KRDocumentTypes.xml"), std::string("TagLibraries/TagLibraries.vtm"),
          std::string("../Help/help.xml"), std::string("Extensions.txt"), std::string("FTPExtensionMap.txt"),
          std::string("SourceFormat.txt"), "ServerBehaviors" + server + "ServerBehaviors.xml",
          "ServerFormats" + server + "ServerFormats.xml", "ServerFormats" + server + "Formats.xml",
          "DataSources" + server + "DataSources.xml"}) {
      const std::string text = read(m_folder / "pc/drive_c" / (configuration + file));
      EXPECT_FALSE(text.empty()) << file;
      EXPECT_EQ(std::count(text.begin(), text.end(), '\r'), std::count(text.begin(), text.end(), '\n')) << file;
    }
    for (const char* sub : {"JSExtensions", "Commands", "Objects", "Fonts"}) {
      EXPECT_TRUE(onMachine(configuration + sub)) << sub;
    }
  }
}

TEST_F(MachineCommands, UsersAndTheirTypesAreKept) {
  makeMachine({"--product", "tidemark nova", "--multi-user", "--user", "anna:2", "--user", "bob", "--current", "bob",
               "--code-page", "932"});
  const auto document = json({"machine", "show"}, 0);
  EXPECT_EQ(document["schema"], "kest.machine/1");
  EXPECT_EQ(document["users"], nlohmann::json::parse(R"([{"name":"anna","type":2},{"name":"bob","type":1}])"));
  EXPECT_EQ(document["current_user"], "bob");
  EXPECT_EQ(document["current_type"], 1);
  EXPECT_EQ(document["multi_user"], true);
  EXPECT_EQ(document["code_page"], 932);
  EXPECT_EQ(document["products"], nlohmann::json::array({"Tidemark Nova"}));
  EXPECT_EQ(json({"machine", "user", "Anna"}, 0)["current_user"], "anna");
  EXPECT_EQ(json({"machine", "show", (m_folder / "pc").string()}, 0)["current_type"], 2);
  EXPECT_EQ(json({"machine", "user", "carol"}, 4)["exit"], 4);
}

TEST_F(MachineCommands, StartedProductsRunUntilTheyAreStopped) {
  makeMachine({});
  for (const char* name : {"Tidemark Nova", "Prism 4", "Marlin Nova", "Tidemark Vantage 4"}) {
    EXPECT_EQ(kest({"machine", "start", name}).exit, 0) << name;
    const auto running = [&] {
      const auto document = json({"products"}, 0);
      for (const auto& product : document["products"]) {
        if (product["name"] == name) {
          return product["running"].get<bool>();
        }
      }
      return false;
    };
    EXPECT_TRUE(running()) << name;
    EXPECT_EQ(kest({"machine", "stop", name}).exit, 0) << name;
    EXPECT_FALSE(running()) << name;
  }
  EXPECT_EQ(kest({"machine", "start", "Quarry 2"}).exit, 1) << "it has no executable";
  EXPECT_EQ(kest({"machine", "start", "Nothing"}).exit, 4);
}

TEST_F(MachineCommands, TheNextLogOnReplacesWhatWaitsForIt) {
  makeMachine();
  EXPECT_EQ(json({"machine", "logon"}, 0)["replacements"], nlohmann::json::array());
  write("src/codec.dll", "new codec");
  const std::string description =
      write("src/codec.kei",
            "<kestrel-extension name=\"Codec\" version=\"1.0\" type=\"utility\">\r\n<author name=\"A\" />\r\n"
            "<products><product name=\"Tidemark\" version=\"4\" primary=\"true\" /></products>\r\n"
            "<files><file source=\"codec.dll\" destination=\"$system\" systemfile=\"true\" /></files>\r\n"
            "</kestrel-extension>\r\n");
  const auto result = json({"install", description, "-y", "--accept-agreement"}, 0);
  EXPECT_EQ(result["restart"], "machine") << result;
  EXPECT_FALSE(onMachine("windows/system32/codec.dll"));
  const auto logon = json({"machine", "logon"}, 0);
  ASSERT_EQ(logon["replacements"].size(), 1U) << logon;
  EXPECT_EQ(read(m_folder / "pc/drive_c/windows/system32/codec.dll"), "new codec");
  EXPECT_EQ(json({"machine", "logon"}, 0)["replacements"], nlohmann::json::array());
}

TEST_F(MachineCommands, NothingIsMadeWhereSomethingIs) {
  write("pc/something", "here before");
  EXPECT_EQ(kest({"machine", "new", (m_folder / "pc").string()}).exit, 1);
  EXPECT_EQ(read(m_folder / "pc/something"), "here before");
  EXPECT_FALSE(onMachine(""));
  for (const Words& wrong : {Words{"--product", "Tidemark 9"}, Words{"--user", "a/b"}, Words{"--user", "a:x"},
                             Words{"--user", "anna", "--current", "bob"}}) {
    Words words = {"machine", "new", (m_folder / "other").string()};
    words.insert(words.end(), wrong.begin(), wrong.end());
    EXPECT_EQ(kest(words).exit, 2) << wrong[1];
    EXPECT_FALSE(std::filesystem::exists(m_folder / "other"));
  }
}

TEST_F(MachineCommands, AMachineThatIsNotThereIsNoMachine) {
  for (const Words& words : {Words{"list"}, Words{"products"}, Words{"machine", "show"}, Words{"recover"}}) {
    const auto document = json(words, 4);
    EXPECT_EQ(document["exit"], 4);
    for (const char* part : {"what", "why", "changed", "next"}) {
      EXPECT_NE(document["error"][part], "") << part;
    }
  }
  EXPECT_FALSE(std::filesystem::exists(m_folder / "pc"));
}

TEST_F(MachineCommands, OnesOwnMachineIsMadeAtItsFirstUseAndSaidOnce) {
  test::ProcessOptions options;
  options.environment = {{"KEST_MACHINE", ""}};
  const ProcessResult first = kest({"products"}, options);
  EXPECT_EQ(first.exit, 0) << first.err;
  EXPECT_NE(first.err, "");
  EXPECT_EQ(std::count(first.out.begin(), first.out.end(), '\n'), 9);
  EXPECT_TRUE(std::filesystem::is_directory(m_folder / "data/kest/pc/drive_c"));
  const ProcessResult second = kest({"products"}, options);
  EXPECT_EQ(second.err, "");
  EXPECT_EQ(second.out, first.out);
}

TEST_F(MachineCommands, ListingAnEmptyMachineIsQuick) {
  makeMachine();
  auto best = std::chrono::milliseconds::max();
  for (int i = 0; i < 5; ++i) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(kest({"list"}).exit, 0);
    best =
        std::min(best, std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start));
  }
  EXPECT_LT(best.count(), 500) << "even an instrumented build on a busy machine does this in far less";
}

} // namespace
} // namespace kest::host
