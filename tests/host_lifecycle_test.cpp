#include "support/program_fixture.h"
#include "support/temp_machine.h"

namespace kest::host {
namespace {

using test::DescribeDifference;
using test::MachineSnapshot;
using test::ProcessResult;
using test::ProgramTest;

/// Runs the program through the lives of extensions; the machine as a whole is looked at between the steps.
class Lifecycle : public ProgramTest {
protected:
  void SetUp() override { makeMachine({}); }

  /// The engine makes the folders for extensions when it first meets a product.
  void settle() const { EXPECT_EQ(kest({"list"}).exit, 0); }
  void runs(Words words, int exit = 0) const {
    words.insert(words.end(), {"-y", "--accept-agreement"});
    const ProcessResult result = kest(words);
    EXPECT_EQ(result.exit, exit) << words[0] << result.out << result.err;
  }
  /// Into a folder of its own, which goes with the extension.
  static Extension tool(const std::string& name, const std::string& file) {
    Extension extension;
    extension.name = name;
    extension.file = file;
    extension.more = "\t<files>\r\n\t\t<file source=\"" + file +
                     ".htm\" destination=\"$tidemark/Configuration/Shared/lib\" shared=\"true\" />\r\n\t</files>\r\n";
    return extension;
  }
};

TEST_F(Lifecycle, ASharedFileThatStaysIsNamedWithTheReason) {
  install(tool("One", "one"));
  Extension two = tool("Two", "two");
  two.more = tool("Two", "one").more;
  write("src/one.htm", "<html>shared</html>");
  install(two, {"--on-existing", "overwrite"});
  const ProcessResult asked = kest({"uninstall", "One"});
  EXPECT_EQ(asked.exit, 3);
  EXPECT_NE(asked.err.find("stays"), std::string::npos) << asked.err;
  EXPECT_NE(asked.err.find("\"Two\" uses it, too"), std::string::npos);
  EXPECT_EQ(json({"uninstall", "One", "-y"}, 0)["kept"].size(), 1U);
  EXPECT_TRUE(json({"uninstall", "Two", "-y"}, 0)["kept"].empty());
}

TEST_F(Lifecycle, EnablingBesideAnEqualOneChangesNothing) {
  Extension equal = tool("One", "one");
  install(equal);
  runs({"disable", "One"});
  equal.file = "other";
  install(equal);
  const MachineSnapshot before = snapshot();
  const ProcessResult result = kest({"enable", "one.kei"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_NE(result.err.find("enabled already"), std::string::npos) << result.err;
  EXPECT_EQ(difference(before, snapshot()), "");
  equal.version = "2.0.0";
  install(equal);
  const MachineSnapshot newer = snapshot();
  const ProcessResult inTheWay = kest({"enable", "one.kei"});
  EXPECT_EQ(inTheWay.exit, 3) << inTheWay.err;
  EXPECT_NE(inTheWay.err.find("kest disable \"One@2.0.0\""), std::string::npos) << inTheWay.err;
  EXPECT_EQ(difference(newer, snapshot()), "");
}

TEST_F(Lifecycle, ImportCarriesOverWhatTheOtherProductSupports) {
  const Words import = {"import", "--from", "Tidemark 4", "--to", "Tidemark Nova"};
  const Words four = {"-p", "Tidemark 4"};
  install(tool("One", "one"), four);
  // needs a product that is gone by the time of the import
  Extension odd = tool("Odd", "odd");
  odd.more += "\t<products>\r\n\t\t<product name=\"Prism\" version=\"4\" required=\"true\" />\r\n\t</products>\r\n";
  install(odd, four);
  std::filesystem::remove_all(m_folder / "pc/drive_c/Program Files/Kestrel/Prism 4");
  std::filesystem::remove_all(m_folder / "pc/drive_c/Program Files/Kestrel/Prism 6");
  EXPECT_EQ(kest(import).exit, 3) << "an agreement is asked for";

  Words all = import;
  all.insert(all.end(), {"--accept-agreement", "-y"});
  const auto document = json(all, 10);
  ASSERT_EQ(document["results"].size(), 2U);
  for (const auto& result : document["results"]) {
    EXPECT_EQ(result["ok"], result["extension"]["name"] != "Odd") << result;
  }
  // one that is there already keeps nothing from the next
  Extension zed = tool("Zed", "zed");
  zed.version = "0.9";
  install(zed, {"-p", "Tidemark Nova"});
  zed.version = "2.0";
  install(zed, four);
  runs({"import", "--from", "Tidemark 4", "--to", "Tidemark Nova", "One", "Zed"});
  EXPECT_EQ(json({"info", "Zed@2.0", "-p", "Tidemark Nova"}, 0)["extension"]["version"], "2.0");
}

TEST_F(Lifecycle, AFailureNamesFileChangeAndWhatToDo) {
  Extension bad;
  bad.more = "\t<configuration-changes>\r\n\t\t<server-format-changes servermodelfolder=\"ASP_Js\">\r\n\t\t\t"
             "<menu-insert insertAfter=\"TM_Date_Long\">\r\n\t\t\t\t<format title=\"Week\" id=\"X_Week\" />\r\n"
             "\t\t\t</menu-insert>\r\n\t\t</server-format-changes>\r\n\t</configuration-changes>\r\n";
  const std::string path = package(bad);
  settle();
  const MachineSnapshot before = snapshot();
  const auto result = json({"install", path, "-y", "--accept-agreement", "-p", "Tidemark Nova"}, 1);
  EXPECT_EQ(result["rolled_back"], true);
  EXPECT_FALSE(result["messages"].empty());
  const auto& error = result["error"];
  const std::string why = error["why"];
  EXPECT_EQ(why.rfind("ServerFormats\\ASP_Js\\ServerFormats.xml has no place for its menu: ", 0), 0U) << why;
  EXPECT_NE(why.find("TM_Date_Long"), std::string::npos) << why;
  EXPECT_EQ(error["next"], "it was written for Tidemark 4; see: kest info " + path + " --changes");
  EXPECT_EQ(error["message"], 4029);
  EXPECT_EQ(std::string(error["changed"]).rfind("nothing: all ", 0), 0U) << error["changed"];
  EXPECT_EQ(difference(before, snapshot()), "");
}

class OfSeveralUsers : public Lifecycle {
protected:
  void SetUp() override {
    makeMachine(
        {"--product", "Tidemark Nova", "--multi-user", "--user", "boss:2", "--user", "anna:1", "--user", "bob:1"});
  }
  void become(const char* user) const { EXPECT_EQ(kest({"machine", "user", user}).exit, 0); }
};

TEST_F(OfSeveralUsers, WhatIsInstalledForEverybodyIsNotForEverybodyToChange) {
  install(tool("One", "one"));
  become("anna");
  settle();
  const MachineSnapshot before = snapshot();
  for (const char* command : {"uninstall", "disable"}) {
    const auto error = json({command, "One", "-y"}, 7)["error"];
    EXPECT_NE(std::string(error["why"]).find("everybody"), std::string::npos) << error;
  }
  EXPECT_EQ(difference(before, snapshot()), "");
  become("boss");
  runs({"disable", "One"});
  become("anna");
  EXPECT_EQ(kest({"enable", "One"}).exit, 7);
  become("boss");
  runs({"enable", "One"});
  runs({"uninstall", "One"});
}

} // namespace
} // namespace kest::host
