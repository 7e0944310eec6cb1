// What an extension meets on a machine: told before an install, and in its report.
#include "description/extension.h"
#include "support/config_on_machine.h"
#include "support/kest_fixture.h"

namespace kest::test {
namespace {

class ClashesTest : public KestFixture {
protected:
  static constexpr const char* kSample =
      "<menubar id=\"TMMainWindow\" name=\"Main\">\r\n"
      "\t<menu id=\"TMMenu_Commands\" name=\"_Commands\">\r\n"
      "\t\t<!-- <menuitem id=\"Gone\" key=\"Cmd+0\" /> -->\r\n"
      "\t\t<menuitem id=\"Host_Sort\" name=\"_Sort\" enabled=\"a > b\" key=\"Cmd+Shift+T\" command=\"x()\" />\r\n"
      "\t\t<menuitem id=\"Mac_Sort\" name=\"_Sort\" platform=\"mac\" key=\"Cmd+M\" />\r\n"
      "\t\t<menu id=\"TMMenu_Commands_Misc\" name=\"_Misc\">\r\n\t\t\t<menuitem id=\"Count\" name=\"Count\" />\r\n"
      "\t\t</menu>\r\n\t</menu>\r\n</menubar>\r\n"
      "<shortcutlist id=\"TMMainWindow\">\r\n\t<shortcut id=\"Home\" key=\"Home\" command=\"x()\" "
      "/>\r\n</shortcutlist>\r\n"
      "<shortcutlist id=\"TMMainSite\">\r\n\t<shortcut id=\"SiteF5\" key=\"F5\" command=\"x()\" "
      "/>\r\n</shortcutlist>\r\n";
  ClashesTest() {
    PutConfigFiles(m_pc, kNova);
    m_pc.Write(kConfiguration + "Menus\\Menus.xml", kSample);
    start();
  }
  static std::string menu(const std::string& place, const std::string& item) {
    return "<menu-insert " + place + ">\n" + item + "\n</menu-insert>\n";
  }
  static std::string keys(const std::string& list, const std::string& key) {
    return "<shortcut-insert listId=\"" + list + "\">\n<shortcut key=\"" + key +
           "\" id=\"Own_Key\" command=\"y()\" />\n</shortcut-insert>\n";
  }
  /// "rule line owner meets instead" of each.
  static std::string words(const std::vector<Clash>& clashes) {
    std::string all;
    for (const Clash& clash : clashes) {
      EXPECT_FALSE(clash.text.empty());
      all += (all.empty() ? "" : "; ") + std::string(clash.rule) + "|" + clash.owner + "|" + clash.meets + "|" +
             clash.instead;
    }
    return all;
  }
  [[nodiscard]] std::vector<Clash> ask(const ExtensionBuilder& extension) const {
    CKestExtension record;
    const std::string text = extension.text();
    EXPECT_EQ(record.LoadText(text, nullptr), CKestExtension::kLoaded);
    return manager().FindClashes({nova(), &record, text, extension.descriptionName()});
  }
};

TEST_F(ClashesTest, EachThingThatAnExtensionMeetsIsFoundWithItsLineAndItsOwner) {
  installed(
      package("Other")
          .file("other.htm", kToCommands)
          .changes(menu("appendTo=\"TMMenu_Commands\"", "<menuitem name=\"_Other\" id=\"Other_Item\" key=\"Cmd+7\" "
                                                        "command=\"y()\" />")));
  const auto item = [](const std::string& attributes) {
    return menu("appendTo=\"TMMenu_Commands\"", "<menuitem name=\"Mine\" command=\"z()\" " + attributes + " />");
  };
  struct Case {
    ExtensionBuilder extension;
    const char* wanted;
  };
  const auto changing = [](const std::string& changes) { return package("Tool").changes(changes); };
  const Case cases[] = {
      {changing(item("id=\"Mine\" key=\"Cmd+8\"")), ""},
      {changing(item("id=\"host_sort\"")), "id-taken||Sort|"},
      {changing(item("id=\"Other_Item\"")), "id-taken|Other|Other|"},
      {changing(item("id=\"Mine\" key=\"Ctrl+shift+T\"")), "key-taken||Sort|"},
      {changing(item("id=\"Mine\" key=\"Cmd+7\"")), "key-taken|Other|Other|"},
      {changing(item("id=\"Gone\" key=\"Cmd+0\"") + item("id=\"M2\" key=\"Cmd+M\"")), ""},
      {changing(keys("TMMainWindow", "Shift+Cmd+T")), "key-taken||Sort|"},
      {changing(keys("TMMainWindow", "F5")), ""},
      {changing(keys("TMMainSite", "F5")), "key-taken||SiteF5|"},
      {changing(keys("Nowhere", "F5")), "place-missing|||"},
      {changing(menu("insertAfter=\"Nowhere\"", "<menuitem name=\"M\" id=\"M\" command=\"z()\" />")),
       "place-missing|||to the menu \"Misc\" of the commands"},
      {changing("<menu-remove id=\"Other_Item\" />"), "removes-foreign|Other|Other|"},
      {changing("<menu-remove id=\"Count\" />"), ""},
      {package("Tool").file("other.htm", kToCommands),
       "file-taken|Other|C:\\Program Files\\Kestrel\\Tidemark 6\\Configuration\\Commands\\other.htm|"},
      {package("Tool").descriptionNamed("other.kei").file("t.htm", kToCommands),
       "description-taken|Other|C:\\Program Files\\Kestrel\\Tidemark 6\\Configuration\\Extensions\\other.kei|"},
      {package("Tool").file("m.htm", kToCommands, "m", "platform=\"mac\""), "other-platform|||"},
      {package("Tool").file("m.htm", "$nobody/m", "m"), "unknown-token|||"},
      {package("Tool").file("m.htm", "$own/m", "m").token("name=\"own\" definition=\"$tidemark/Own\""), ""},
      {package("Tool").author("Jane\" /><flies x=\""), "dropped-element|||"},
      {package("Other").version("2.0").file("other.htm", kToCommands).changes(item("id=\"Other_Item\"")), ""},
  };
  for (const Case& one : cases) {
    const std::vector<Clash> found = ask(one.extension);
    EXPECT_EQ(words(found), one.wanted) << one.extension.text();
    for (const Clash& clash : found) {
      EXPECT_GT(clash.line, 0) << clash.text;
    }
  }
}

TEST_F(ClashesTest, TheReportOfAnInstallTellsThemAndAnOlderVersionIsNone) {
  const auto tool = [](const char* version) {
    return package("Tool")
        .version(version)
        .file("t.htm", kToCommands)
        .changes(menu("appendTo=\"TMMenu_Commands\"", "<menuitem name=\"Mine\" id=\"Count\" command=\"z()\" />"));
  };
  installed(tool("1.0"));
  EXPECT_EQ(words(report().clashes), "id-taken||Count|");
  EXPECT_GT(report().clashes.at(0).line, 0);
  EXPECT_EQ(words(ask(tool("2.0"))), "");
}

TEST_F(ClashesTest, AnExplanationHoldsEachProductLineAgainstEachProduct) {
  const auto explain = [this](const std::string& products) {
    CKestExtension record;
    EXPECT_EQ(record.LoadText("<kestrel-extension name=\"A\" version=\"1.0\"><products>" + products +
                                  "</products><file-tokens><token name=\"own\" definition=\"$tidemark/x\" /><token "
                                  "name=\"asked\" prompt=\"?\" default=\"$own/y\" /><token name=\"where\" "
                                  "prompt=\"Where?\" /></file-tokens>"
                                  "<files><file source=\"a.htm\" destination=\"$asked/x\" />"
                                  "<file source=\"b.htm\" destination=\"$nobody/x\" />"
                                  "<file source=\"c.htm\" destination=\"$Where\" /></files></kestrel-extension>",
                              nullptr),
              CKestExtension::kLoaded);
    const Explanation found = manager().Explain(record);
    std::string words;
    for (const Explanation::Candidate& one : found.candidates) {
      words += one.fits ? "fits " : "no ";
      EXPECT_EQ(one.files.size(), one.fits ? 3U : 0U);
      EXPECT_TRUE(!one.fits || (one.files[0].why.empty() && one.files[1].destination.empty()));
      EXPECT_TRUE(!one.fits || one.files[2].why == "an install asks for its folder: Where?") << one.files[2].why;
      for (const Explanation::Rule& rule : one.rules) {
        words += rule.isMet ? "" : "(" + rule.words.substr(rule.words.rfind(' ') + 1) + ") ";
      }
    }
    return words + (found.obstacles.empty() ? "" : "| obstacle ") + (found.nearest.empty() ? "" : "| nearest");
  };
  const std::size_t products = manager().Explain(CKestExtension()).candidates.size();
  ASSERT_EQ(products, 2U);
  EXPECT_EQ(explain("<product name=\"Tidemark\" version=\"4\" primary=\"true\" />"), "fits fits ");
  const std::string six = explain("<product name=\"Tidemark\" version=\"6\" primary=\"true\" />");
  EXPECT_TRUE(six == "fits no (older) " || six == "no (older) fits ") << six;
  EXPECT_EQ(explain("<product name=\"Prism\" version=\"4\" primary=\"true\" />"),
            "no (product) no (product) | nearest");
  EXPECT_EQ(explain("<product name=\"Tidemark\" version=\"9\" primary=\"true\" />"), "no (older) no (older) | nearest");
  EXPECT_EQ(explain("<product name=\"Tidemark\" version=\"4\" primary=\"true\" /><product name=\"Prism\" "
                    "version=\"4\" required=\"true\" />"),
            "no (product) no (product) | obstacle | nearest");
}

} // namespace
} // namespace kest::test
