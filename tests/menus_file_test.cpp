#include "menus/line_repairs.h"
#include "menus/menus_file.h"
#include "support/damage.h"
#include "support/menus_builder.h"
#include "support/temp_machine.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace kest::test {
namespace {

std::string Text(const CKestMenusXmlFile& file) {
  CString text;
  (void)file.BuildContent(text);
  return text;
}

std::string LoadAndWrite(const std::string& content) {
  CKestMenusXmlFile file;
  EXPECT_EQ(file.LoadContent(content), 0) << content;
  return Text(file);
}

std::string InMenu(const std::string& line) {
  return "\r\n<menubar id=\"b\">\r\n\t<menu id=\"m\">\r\n\t\t" + line + "\r\n\t</menu>\r\n</menubar>\r\n";
}

TEST(MenusFile, AFileInTheProductsFormIsWrittenBackByteForByte) {
  const std::string sample = ConfigSample("Menus.xml");
  EXPECT_EQ(LoadAndWrite(sample), sample);
  EXPECT_EQ(LoadAndWrite("\xEF\xBB\xBF" + sample), "\xEF\xBB\xBF" + sample);
}

TEST(MenusFile, BrokenLinesAreRepairedAndStayAsTheyAreThen) {
  const std::string once = LoadAndWrite(ConfigSample("BrokenMenus.xml"));
  EXPECT_EQ(LoadAndWrite(once), once);
  CKestMenusXmlFile file;
  ASSERT_EQ(file.LoadContent(once), 0);
  EXPECT_EQ(Outline(file),
            "TMMainWindow(TMMenu_MainSite_Window(TMMenu_MainSite_Window),TMMenu_Insert_FormObject(TMMenu_EditId,"
            "TMMenu_NewDynamic,TMMenu_Tabs,TMMenu_SaveClose,TMMenu_Carte,TMMenu_Plus),TMMenu_Insert_Frames(),"
            "TMMenu_Insert_Media(),TMMenu_Insert_Head(),TMMenu_Insert_Characters())");
  const auto* page = file.FindMenuItem("TMMenu_NewDynamic", nullptr, nullptr);
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(page->GetName(), "New dynamic page");
  EXPECT_EQ(page->GetDynamic(), "true");
  EXPECT_EQ(file.FindMenuItem("TMMenu_Tabs", nullptr, nullptr)->GetDynamic(), "true");
  EXPECT_EQ(file.FindMenuItem("TMMenu_SaveClose", nullptr, nullptr)->GetName(), "Save && Close");
  EXPECT_EQ(file.FindMenuItem("TMMenu_Plus", nullptr, nullptr)->GetCommand(), "a+<b");
}

TEST(MenusFile, OneLineComesOutAs) {
  const std::pair<const char*, const char*> rows[] = {
      {"<menuitem name=\"A &amp; B\" id=\"i\" />", "<menuitem name=\"A &amp; B\" id=\"i\" />"},
      {"<menuitem name=\"A && B &C\" id=\"i\" />", "<menuitem name=\"A && B _C\" id=\"i\" />"},
      {"<menuitem id=\"i\" dynamic command=\"a && b\" />", "<menuitem dynamic command=\"a && b\" id=\"i\" />"},
      {"<menuitem id=\"i\" unknown=\"x\" domRequired=\"No\" />", "<menuitem domRequired=\"false\" id=\"i\" />"},
      {"<MENUITEM ID=\"i\" Key=\"F1\" />", "<menuitem key=\"F1\" id=\"i\" />"},
      {"<format id=\"f\" zeta=\"1\" alpha=\"2\" />", "<format title=\"\" zeta=\"1\" alpha=\"2\" id=\"f\" />"},
      {"<format isdynamic=\"true\" dynamic=\"true\" />", "<format title=\"\" isdynamic=\"true\" dynamic />"},
      {"<separator references=\"a,,b,\" id=\"s\" app=\"x\" />", "<separator id=\"s\" app=\"x\" references=\"a,b\" />"},
      {"<separator references=\"a,a\" />", "<separator references=\"a\" />"},
      {"<!--  a <% b & c &amp; dynamic d -->", "<!-- a <% b & c &amp; dynamic d -->"},
      {"<menuitem id=\"i\"><menuitem id=\"j\" /></menuitem>", "<menuitem id=\"i\" />\r\n\t\t<menuitem id=\"j\" />"},
      {"<menuitem id=\"i\" /><x><menu id=\"y\"/><!-- z --></x>", "<menuitem id=\"i\" />"},
      {"<shortcut id=\"k\" /><menuitem id=\"i\" />", "<menuitem id=\"i\" />"},
      {"<menuitem name=\"New\r\na dynamic page\" dynamic id=\"i\" />",
       "<menuitem dynamic name=\"New a dynamic page\" id=\"i\" />"},
  };
  for (const auto& [in, out] : rows) {
    EXPECT_EQ(LoadAndWrite(InMenu(in)), InMenu(out)) << in;
  }
}

TEST(MenusFile, AnUnknownElementIsTransparentAtTheTopAlone) {
  CKestMenusXmlFile file;
  ASSERT_EQ(file.LoadContent("<root><menuitem id=\"lost\"/><menubar id=\"b\"><menu id=\"m\"/></menubar></root>"), 0);
  EXPECT_EQ(Outline(file), "b(m())");
}

TEST(MenusFile, ALineIsCalledCleanOnlyWhenNoRepairWouldChangeIt) {
  for (const std::string& sample : {ConfigSample("BrokenMenus.xml"), ConfigSample("Menus.xml")}) {
    std::istringstream in(sample);
    std::string line;
    while (std::getline(in, line)) {
      // every part of every line, so that a repair's text stands at either end of what is judged
      for (std::size_t cut = 0; cut < line.size(); ++cut) {
        for (std::string part : {line.substr(cut), line.substr(0, cut)}) {
          const bool suspect = MayNeedRepair(part);
          const std::string before = part;
          RepairMenuLine(part);
          EXPECT_TRUE(suspect || part == before) << before;
        }
      }
    }
  }
}

// ---- searches

/// The searches as a walk in file order, to compare with.
struct Walk {
  const CKestMenusXmlFile& file;
  const MenusNode* Menu(std::string_view id) const {
    for (const auto& child : file.GetChildren()) {
      const auto* menu = dynamic_cast<const CKestExtensionMenu*>(child.get());
      const bool isBar = dynamic_cast<const CKestExtensionMenuBar*>(menu) != nullptr;
      if (menu && !isBar && text::EqualNoCase(menu->GetID(), id)) {
        return menu;
      }
      if (const auto* found = menu ? menu->FindMenu(id, nullptr) : nullptr) {
        return found;
      }
    }
    return nullptr;
  }
  template <class Search> const CKestXmlObject* InBars(Search search) const {
    for (const auto& child : file.GetChildren()) {
      if (const auto* bar = dynamic_cast<const CKestExtensionMenuBar*>(child.get())) {
        if (const CKestXmlObject* found = search(*bar)) {
          return found;
        }
      }
    }
    return nullptr;
  }
};

TEST(MenusFile, SearchesFindWhatAWalkFindsAfterAnyEdits) {
  std::mt19937 random(7);
  const auto upTo = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  const auto someId = [&] {
    static const char* const kIds[] = {"a", "A", "b", "c", "d", "e", "f", "g"};
    return std::string(kIds[upTo(8)]);
  };
  for (int round = 0; round < 40; ++round) {
    CKestMenusXmlFile file;
    std::vector<CKestExtensionMenu*> holders;
    for (int i = 0; i < 2; ++i) {
      holders.push_back(static_cast<CKestExtensionMenu*>(file.AppendChild(std::make_unique<CKestExtensionMenuBar>())));
    }
    holders.push_back(static_cast<CKestExtensionMenu*>(file.InsertFirst(std::make_unique<CKestExtensionMenu>())));
    for (int step = 0; step < 60; ++step) {
      CKestExtensionMenu* holder = holders[upTo(holders.size())];
      CKestXmlObject made("made");
      AddPayload(made, (std::array{"menu ", "format ", "separator ", "item ", "item "})[upTo(5)] + someId());
      auto node = made.RemoveChild(made.GetChildren().front().get());
      if (auto* separator = dynamic_cast<CKestExtensionMenuSeparator*>(node.get())) {
        separator->AddReference(someId());
      }
      const std::size_t where = upTo(4);
      const auto& children = holder->GetChildren();
      if (where == 3 && !children.empty()) {
        // the holders that go with what is removed are looked for anew
        auto gone = holder->RemoveChild(children[upTo(children.size())].get());
        std::erase_if(holders,
                      [&](CKestExtensionMenu* menu) { return menu == gone.get() || (menu->GetFile() == nullptr); });
      } else {
        auto* menu = dynamic_cast<CKestExtensionMenu*>(node.get());
        if (where == 0 || children.empty()) {
          holder->AppendChild(std::move(node));
        } else if (where == 1) {
          holder->InsertFirst(std::move(node));
        } else {
          holder->InsertBefore(children[upTo(children.size())].get(), std::move(node));
        }
        if (menu) {
          holders.push_back(menu);
        }
      }
      if (step % 7 == 3) {
        holder->RemoveExtraSeparators();
      }
      const Walk walk{file};
      const std::string id = someId();
      CKestExtensionMenuBar* bar = nullptr;
      CKestExtensionMenu* parent = nullptr;
      EXPECT_EQ(file.FindMenu(id, nullptr, nullptr), walk.Menu(id)) << Outline(file);
      const auto* item = file.FindMenuItem(id, &bar, &parent);
      EXPECT_EQ(item, walk.InBars([&](const auto& in) { return in.FindMenuItem(id, nullptr); })) << Outline(file);
      if (item) {
        CKestExtensionMenu* expected = nullptr;
        EXPECT_EQ(bar->FindMenuItem(id, &expected), item);
        EXPECT_EQ(parent, expected);
      }
      EXPECT_EQ(file.FindFormat(id, nullptr, nullptr),
                walk.InBars([&](const auto& in) { return in.FindFormat(id, nullptr); }));
      EXPECT_EQ(file.FindSeparator(id, nullptr, nullptr), walk.InBars([&](const auto& in) {
        return in.FindSeparator(id, nullptr);
      })) << Outline(file);
    }
  }
}

TEST(MenusFile, SearchOutputsTellWhereTheMatchStands) {
  CKestMenusXmlFile file;
  ASSERT_EQ(file.LoadContent(ConfigSample("Menus.xml")), 0);
  CKestExtensionMenuBar* bar = nullptr;
  CKestExtensionMenu* parent = nullptr;
  ASSERT_NE(file.FindMenu("tmmenu_file", &bar, &parent), nullptr);
  EXPECT_EQ(bar->GetID(), "TMMainWindowBar");
  EXPECT_EQ(parent, nullptr);
  ASSERT_NE(file.FindMenu("TMMenu_File_Export", &bar, &parent), nullptr);
  EXPECT_EQ(parent->GetID(), "TMMenu_File");
  ASSERT_NE(file.FindMenu("TMContext", &bar, &parent), nullptr);
  EXPECT_EQ(bar, nullptr);
  EXPECT_EQ(file.FindMenuItem("TMContext_Cut", &bar, &parent), nullptr) << "items are looked for in bars alone";
  CKestExtensionShortcutList* list = nullptr;
  ASSERT_NE(file.FindComment("window shortcuts", &list), nullptr);
  EXPECT_EQ(list->GetID(), "TMMainWindow");
  EXPECT_EQ(file.FindComment("Window Shortcuts", &list), nullptr) << "texts compare exactly";
}

// ---- separators

TEST(MenusFile, ExtraSeparatorsGo) {
  const std::pair<const char*, const char*> rows[] = {
      {"-,i,-,-,j,-,-", "m(i,-[standard],j)"}, {"-", "m()"},
      {"i,-a,-b,j", "m(i,-[a+b],j)"},          {"i,-a,-,j", "m(i,-[a+standard],j)"},
      {"i,-a,-a,-a,j", "m(i,-[a],j)"},         {"-,-,i", "m(-,i)"},
  };
  for (const auto& [children, left] : rows) {
    CKestExtensionMenu menu;
    menu.SetID("m");
    std::istringstream in(children);
    std::string word;
    while (std::getline(in, word, ',')) {
      if (word[0] != '-') {
        AddPayload(menu, "item " + word);
        continue;
      }
      auto separator = std::make_unique<CKestExtensionMenuSeparator>();
      if (word.size() > 1) {
        separator->AddReference(word.substr(1));
      }
      menu.AppendChild(std::move(separator));
    }
    menu.RemoveExtraSeparators();
    EXPECT_EQ(Outline(menu), left) << children;
  }
}

// ---- files that are not what they should be

/// Loads; what loads is written, and what is written must load and be written alike.
void CheckStaysReadable(const std::string& content) {
  CKestMenusXmlFile file;
  if (file.LoadContent(content) != 0) {
    return;
  }
  CString text;
  const bool certain = file.BuildContent(text);
  CKestMenusXmlFile again;
  const int code = again.LoadContent(text);
  ASSERT_TRUE(code == 0 || !certain) << content;
  if (code == 0) {
    CString twice;
    (void)again.BuildContent(twice);
    ASSERT_EQ(twice, text);
  }
}

TEST(MenusFile, EveryPrefixAndOneByteChangeIsRefusedOrStaysReadable) {
  for (const char* name : {"Menus.xml", "BrokenMenus.xml"}) {
    ForEveryCutAndChange(ConfigSample(name), "<\"' -\n", CheckStaysReadable);
  }
}

TEST(MenusFile, NothingIsVouchedForThatReadersRefuse) {
  const std::string nul("a\0b", 3);
  CKestMenusXmlFile menu;
  menu.AppendChild(std::make_unique<CKestExtensionMenu>());
  static_cast<CKestExtensionMenu&>(*menu.GetChildren().front()).SetName(nul);
  CKestMenusXmlFile bar;
  bar.AppendChild(std::make_unique<CKestExtensionMenuBar>());
  static_cast<CKestExtensionMenuBar&>(*bar.GetChildren().front()).SetID("a\x02");
  CKestMenusXmlFile comment;
  comment.AppendChild(std::make_unique<CKestXmlComment>("a\x10", CKestXmlComment::Form::kMarkup));
  CKestMenusXmlFile misc;
  misc.AppendChild(std::make_unique<CKestXmlMisc>("<?" + nul + "?>"));
  for (const CKestMenusXmlFile* file : {&menu, &bar, &comment, &misc}) {
    CString text;
    EXPECT_FALSE(file->BuildContent(text)) << text;
    EXPECT_NE(CKestMenusXmlFile().LoadContent(text), 0) << text;
  }
}

using MenusFileOnDisk = TempMachineTest;

TEST_F(MenusFileOnDisk, AFileThatWouldNotLoadIsNotReplaced) {
  const char* path = "C:\\menus.xml";
  m_pc.Write(path, "<menubar id=\"b\"><menu id='a \"quoted\" id' /></menubar>");
  CKestMenusXmlFile file;
  ASSERT_EQ(file.Load(path, nullptr), 0);
  EXPECT_EQ(file.Save(path), -1);
  EXPECT_EQ(m_pc.Read(path), "<menubar id=\"b\"><menu id='a \"quoted\" id' /></menubar>");
}

} // namespace
} // namespace kest::test
