#include "host/terminal/unified_diff.h"
#include "support/machine_facts.h"
#include "support/program_fixture.h"
#include "support/source_folder.h"

#include <algorithm>

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

class DryRun : public ProgramTest {
protected:
  /// A dry run, which leaves the machine alone, and then the operation: both say the same of the files.
  nlohmann::json foretold(Words words) const {
    words.insert(words.end(), {"-y", "--accept-agreement"});
    Words dry = words;
    dry.insert(dry.end(), {"-n", "--diff"});
    const auto before = test::TracesOf(m_folder / "pc");
    const auto preview = json(dry, 0);
    EXPECT_EQ(test::TracesOf(m_folder / "pc"), before) << words[0];
    const auto done = json(words, 0);
    for (const char* key : {"changed", "kept", "restart", "replaced"}) {
      EXPECT_EQ(preview[key], done[key]) << words[0] << " " << key;
    }
    EXPECT_TRUE(preview["dry_run"]);
    return preview;
  }
};

TEST_F(DryRun, ForetellsWhatExamplesDoInWordsAndLines) {
  makeMachine({});
  kest({"list"}); // the engine makes the folders for extensions when it first meets a product
  const std::string examples = test::SourceFolder() + "/examples";
  int menus = 0;
  for (const auto& entry : std::filesystem::directory_iterator(examples)) {
    const std::string name = entry.path().filename().string();
    const std::string description = entry.path() / (name + ".kei");
    if (!std::filesystem::exists(description)) {
      continue;
    }
    const auto preview = foretold({"install", description});
    for (const auto& one : preview["preview"]) {
      menus += one["kind"] == "menu-item" && one["change"] == "new" && one["in"].is_string();
    }
    foretold({"disable", name + ".kei"});
    foretold({"enable", name + ".kei"});
    foretold({"uninstall", name + ".kei"});
  }
  EXPECT_GT(menus, 0);
  const std::string first = examples + "/table-tools/table-tools.kei";
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

} // namespace
} // namespace kest::host
