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

  static constexpr const char* kNova = "Program Files/Kestrel/Tidemark 6/";
  static constexpr const char* kInsertBar = "Configuration/Objects/insertbar.xml";

  [[nodiscard]] MachineSnapshot snapshot() const { return test::TakeSnapshot(m_folder / "pc"); }
  /// What came, went or has other bytes, but for backup copies and the trash. A file that is saved with the bytes that
  /// it had has another date.
  [[nodiscard]] static std::string difference(const MachineSnapshot& before, const MachineSnapshot& after) {
    MachineSnapshot earlier = before;
    MachineSnapshot later = after;
    for (MachineSnapshot* each : {&earlier, &later}) {
      for (auto& [path, entry] : each->entries) {
        entry.date = 0;
      }
    }
    return DescribeDifference(earlier, later, [](const std::string& path) {
      return path.starts_with("trash") || (path.ends_with("bk") && path[path.size() - 4] == '.');
    });
  }
  /// The engine makes the folders for extensions when it first meets a product.
  void settle() const { EXPECT_EQ(kest({"list"}).exit, 0); }
  [[nodiscard]] std::string exampleOf(const std::string& name) const {
    const std::string out = (m_folder / (name + ".kep")).string();
    const ProcessResult result =
        kest({"pack", KEST_SOURCE_DIR "/examples/" + name + "/" + name + ".kei", "-o", out, "--force"});
    EXPECT_EQ(result.exit, 0) << result.err;
    return out;
  }
  void runs(Words words, int exit = 0) const {
    words.insert(words.end(), {"-y", "--accept-agreement"});
    const ProcessResult result = kest(words);
    EXPECT_EQ(result.exit, exit) << words[0] << result.out << result.err;
  }
  [[nodiscard]] std::string nova(const std::string& path) const { return read(m_folder / "pc/drive_c" / kNova / path); }
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

TEST_F(Lifecycle, EachStepGivesTheTreeThatItGaveTheFirstTime) {
  for (const auto& [example, name] : {std::pair{"table-tools", "Table Tools"},
                                      {"breadcrumbs", "Breadcrumbs"},
                                      {"record-pager", "Record Pager"},
                                      {"page-furniture", "Page Furniture"},
                                      {"snippet-shelf", "Snippet Shelf"}}) {
    SCOPED_TRACE(example);
    const std::string package = exampleOf(example);
    const Words install = {"install", package, "-p", "Tidemark Nova"};
    // once before, so that every configuration file has the form that the editor of it gives
    runs(install);
    runs({"uninstall", name});
    const MachineSnapshot before = snapshot();
    runs(install);
    const MachineSnapshot installed = snapshot();
    runs({"disable", name});
    const MachineSnapshot disabled = snapshot();
    EXPECT_NE(difference(installed, disabled), "");
    runs({"enable", name});
    const MachineSnapshot enabled = snapshot();
    runs({"disable", name});
    EXPECT_EQ(difference(disabled, snapshot()), "");
    runs({"enable", name});
    EXPECT_EQ(difference(enabled, snapshot()), "");
    runs({"uninstall", name});
    // an enabled extension's package stays aside for the next time that it is disabled
    const std::string left = difference(before, snapshot());
    EXPECT_TRUE(left.empty() || left == "new drive_c/" + std::string(kNova) + "Configuration/Extensions/Disabled/" +
                                            std::string(example) + ".kep\n")
        << left;
    std::filesystem::remove(m_folder / "pc/drive_c" / kNova / "Configuration/Extensions/Disabled" /
                            (std::string(example) + ".kep"));
  }
}

TEST_F(Lifecycle, ASharedFileGoesWithItsLastExtension) {
  install(tool("One", "one"));
  Extension two = tool("Two", "two");
  two.more = tool("Two", "one").more;
  write("src/one.htm", "<html>shared</html>");
  install(two, {"--on-existing", "overwrite"});
  const ProcessResult asked = kest({"uninstall", "One"});
  EXPECT_EQ(asked.exit, 3);
  EXPECT_NE(asked.err.find("stays"), std::string::npos) << asked.err;
  EXPECT_NE(asked.err.find("another extension uses it"), std::string::npos);
  const auto first = json({"uninstall", "One", "-y"}, 0);
  ASSERT_EQ(first["kept"].size(), 1U) << first;
  EXPECT_TRUE(onMachine(std::string(kNova) + "Configuration/Shared/lib/one.htm"));
  EXPECT_TRUE(json({"uninstall", "Two", "-y"}, 0)["kept"].empty());
  EXPECT_FALSE(onMachine(std::string(kNova) + "Configuration/Shared/lib"));
}

TEST_F(Lifecycle, AFolderGoesWithItsNotesAndStaysWithAForeignFile) {
  const std::string lib = std::string("pc/drive_c/") + kNova + "Configuration/Shared/lib/";
  install(tool("One", "one"));
  write(lib + "_notes/one.htm.kno", "notes");
  runs({"uninstall", "One"});
  EXPECT_FALSE(std::filesystem::exists(m_folder / lib));

  install(tool("One", "one"));
  write(lib + "_notes/one.htm.kno", "notes");
  write(lib + "mine.txt", "mine");
  runs({"uninstall", "One"});
  EXPECT_EQ(read(m_folder / (lib + "mine.txt")), "mine");
  EXPECT_EQ(read(m_folder / (lib + "_notes/one.htm.kno")), "notes");
  EXPECT_FALSE(std::filesystem::exists(m_folder / (lib + "one.htm")));
}

TEST_F(Lifecycle, TwoDisabledOnesWithOneFileNameKeepTheirOwn) {
  install(tool("One", "same"));
  runs({"disable", "One"});
  install(tool("Two", "same"));
  runs({"disable", "Two"});
  const auto list = json({"list", "--state", "disabled"}, 0)["extensions"];
  ASSERT_EQ(list.size(), 2U);
  EXPECT_NE(list[0]["description"]["host"], list[1]["description"]["host"]);
  runs({"enable", "One", "--on-existing", "overwrite"}); // the shared file stayed, and may be newer than the package's
  EXPECT_NE(nova("Configuration/Commands/same.htm").find("One"), std::string::npos);
  runs({"uninstall", "One"});
  runs({"enable", "Two", "--on-existing", "overwrite"});
  EXPECT_NE(nova("Configuration/Commands/same.htm").find("Two"), std::string::npos);
}

TEST_F(Lifecycle, EnablingBesideAnEqualOneChangesNothing) {
  Extension equal = tool("One", "one");
  install(equal);
  runs({"disable", "One"});
  equal.file = "other";
  equal.more = tool("One", "other").more;
  install(equal);
  const MachineSnapshot before = snapshot();
  const ProcessResult result = kest({"enable", "one.kei"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_NE(result.err.find("enabled already"), std::string::npos) << result.err;
  EXPECT_EQ(difference(before, snapshot()), "");
  EXPECT_EQ(json({"list", "--state", "disabled"}, 0)["extensions"].size(), 1U);
}

TEST_F(Lifecycle, ImportCarriesOverWhatTheOtherProductSupports) {
  const Words four = {"-p", "Tidemark 4"};
  for (const char* name : {"A", "B", "C"}) {
    Extension extension = tool(name, name);
    extension.more += "\t<configuration-changes>\r\n\t\t<menu-insert appendTo=\"TMMenu_Commands\">\r\n\t\t\t"
                      "<menuitem name=\"" +
                      std::string(name) + "\" id=\"Import_" + name +
                      "\" />\r\n\t\t</menu-insert>\r\n\t</configuration-changes>\r\n";
    install(extension, four);
  }
  install(tool("Off", "off"), four);
  runs({"disable", "Off"});
  // needs a product that is gone by the time of the import
  Extension odd = tool("Odd", "odd");
  odd.more += "\t<products>\r\n\t\t<product name=\"Prism\" version=\"4\" required=\"true\" />\r\n\t</products>\r\n";
  install(odd, four);
  std::filesystem::remove_all(m_folder / "pc/drive_c/Program Files/Kestrel/Prism 4");
  std::filesystem::remove_all(m_folder / "pc/drive_c/Program Files/Kestrel/Prism 6");

  const auto document =
      json({"import", "--from", "Tidemark 4", "--to", "Tidemark Nova", "--accept-agreement", "-y"}, 10);
  ASSERT_EQ(document["results"].size(), 5U);
  for (const auto& result : document["results"]) {
    EXPECT_EQ(result["ok"], result["extension"]["name"] != "Odd") << result;
  }
  EXPECT_EQ(json({"list", "-p", "Tidemark Nova"}, 0)["extensions"].size(), 4U);
  for (const char* name : {"A", "B", "C"}) {
    EXPECT_TRUE(onMachine(std::string(kNova) + "Configuration/Shared/lib/" + name + ".htm"));
    EXPECT_NE(nova("Configuration/Menus/Menus.xml").find(std::string("Import_") + name), std::string::npos);
  }
  EXPECT_FALSE(onMachine(std::string(kNova) + "Configuration/Shared/lib/off.htm"));
  runs({"enable", "Off", "-p", "Tidemark Nova"});
  EXPECT_TRUE(onMachine(std::string(kNova) + "Configuration/Shared/lib/off.htm")) << "what came over works";
}

TEST_F(Lifecycle, ObjectsOfVersion4GetButtonsInVersion6AndGoWithoutATrace) {
  const std::string package = exampleOf("page-furniture");
  runs({"install", package, "-p", "Tidemark Nova"});
  runs({"uninstall", "Page Furniture"});
  const MachineSnapshot before = snapshot();
  runs({"install", package, "-p", "Tidemark Nova"});
  const std::string bar = nova(kInsertBar);
  for (const char* button :
       {R"(id="Page_Furniture_Last_Changed" image="Common\Last Changed.gif" file="Common\Last Changed.htm")",
        R"(image="Page Furniture\Page Head.gif")", R"(image="generic.gif" file="Page Furniture\Page Foot.htm")",
        R"(id="TM_Inserbar_Page_Furniture" folder="Page Furniture")"}) {
    EXPECT_NE(bar.find(button), std::string::npos) << button << "\n" << bar;
  }
  runs({"uninstall", "Page Furniture"});
  EXPECT_EQ(difference(before, snapshot()), "");
}

TEST_F(Lifecycle, AFailureNamesFileChangeAndWhatToDo) {
  Extension bad;
  bad.more = "\t<configuration-changes>\r\n\t\t<server-format-changes servermodelfolder=\"ASP_Js\">\r\n\t\t\t"
             "<menu-insert insertAfter=\"TM_Date_Long\">\r\n\t\t\t\t<format title=\"Week\" id=\"X_Week\" />\r\n"
             "\t\t\t</menu-insert>\r\n\t\t</server-format-changes>\r\n\t</configuration-changes>\r\n";
  const std::string path = package(bad);
  settle();
  const MachineSnapshot before = snapshot();
  const auto error = json({"install", path, "-y", "--accept-agreement", "-p", "Tidemark Nova"}, 1)["error"];
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

TEST_F(OfSeveralUsers, CopiesOfTheirOwnGoForAnInstallForEverybodyOrNothingChanges) {
  const Extension extension = tool("One", "one");
  for (const char* user : {"anna", "bob"}) {
    become(user);
    install(extension);
    EXPECT_TRUE(onMachine(std::string("users/") + user +
                          "/AppData/Roaming/Kestrel/Tidemark Nova/Configuration/Commands/one.htm"));
  }
  become("boss");
  const std::string path = package(extension);
  const MachineSnapshot before = snapshot();
  const ProcessResult asked = kest({"install", path, "-y", "--accept-agreement"});
  EXPECT_EQ(asked.exit, 3);
  EXPECT_NE(asked.err.find("--per-user"), std::string::npos) << asked.err;
  EXPECT_EQ(difference(before, snapshot()), "");
  runs({"install", path, "--per-user", "remove"});
  for (const char* user : {"anna", "bob"}) {
    EXPECT_FALSE(onMachine(std::string("users/") + user +
                           "/AppData/Roaming/Kestrel/Tidemark Nova/Configuration/Commands/one.htm"));
    become(user);
    const auto list = json({"list"}, 0)["extensions"];
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0]["scope"], "shared");
  }
}

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
