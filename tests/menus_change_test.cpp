#include "menus/menu_sets.h"
#include "support/menus_builder.h"

#include "platform/xml/xml_parser.h"

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

namespace kest::test {
namespace {

using Action = CKestConfigChange::Action;
using Code = CKestConfigChange::ErrorCode;

constexpr const char* kFile = "<shortcutlist id=\"L\"><shortcut id=\"k\" /></shortcutlist>"
                              "<menubar id=\"B\">"
                              "<menu id=\"M\"><menuitem id=\"a\" /><separator /><menuitem id=\"z\" />"
                              "<menu id=\"S\"><menuitem id=\"u\" /></menu></menu>"
                              "<menu id=\"TMMenu_File_SaveAll\"><menuitem id=\"q\" /></menu></menubar>"
                              "<formats id=\"F\"><format id=\"g\" /></formats>"
                              "<menu id=\"T\"><menuitem id=\"t\" /></menu>";
constexpr const char* kLists = "<shortcutlist id=\"L\"><shortcut id=\"k\" /></shortcutlist>"
                               "<shortcutlist id=\"M\"><shortcut id=\"j\" /><shortcut id=\"k\" /></shortcutlist>";
constexpr const char* kOutline = "L(k) B(M(a,-,z,S(u)),TMMenu_File_SaveAll(q)) F(g) T(t)";

void Load(CKestMenusXmlFile& file, const char* content = kFile) { ASSERT_EQ(file.LoadContent(content), 0); }

void SetLocation(CKestMenuChangeInsert& change, int action, const char* id) {
  if (action == Action::kInsertBefore) {
    change.SetInsertBefore(id);
  } else if (action == Action::kInsertAfter) {
    change.SetInsertAfter(id);
  } else if (action == Action::kPrependTo) {
    change.SetPrependTo(id);
  } else {
    change.SetAppendTo(id);
  }
}

struct Row {
  int action;
  const char* location;
  const char* payload;
  const char* was = ""; ///< what of the file's outline changes, and into what
  const char* is = "";
  Code code = Code::kSuccess;
  bool undone = true; ///< whether the undo gives the file back
  bool skip = false;
};

void CheckRow(const Row& row, const CKestConfigChanges& set) {
  SCOPED_TRACE(std::string(row.location) + " " + std::to_string(row.action) + " " + row.payload);
  std::string outline = kOutline;
  outline.replace(outline.find(row.was), std::strlen(row.was), row.is);
  CKestMenusXmlFile file;
  Load(file);
  CKestMenuChangeInsert change;
  SetLocation(change, row.action, row.location);
  change.SetSkipSeparator(row.skip);
  AddPayload(change, row.payload);
  EXPECT_EQ(change.MakeChange(&set, &file, nullptr), row.code);
  EXPECT_EQ(Outline(file), outline);
  CString text;
  EXPECT_TRUE(file.BuildContent(text));
  CKestMenusXmlFile again;
  ASSERT_EQ(again.LoadContent(text), 0);
  EXPECT_EQ(Outline(again), outline);
  // the undo finds what another process wrote
  EXPECT_EQ(change.UndoChange(&set, &again, nullptr), Code::kSuccess);
  if (row.undone) {
    EXPECT_EQ(Outline(again), kOutline);
  }
}

TEST(MenuInsert, GoesWhereTheLocationSays) {
  const Row rows[] = {
      // beside and into a menu
      {Action::kInsertBefore, "M", "menu x,menu y", "B(", "B(x(),y(),"},
      {Action::kInsertAfter, "m", "menu x,menu y,item i", ",TMMenu", ",x(),y(),TMMenu"},
      {Action::kPrependTo, "M", "item x,menu y,comment c", "M(", "M(x,y(),!c,"},
      {Action::kAppendTo, "M", "item x,format y,bar no", "S(u)", "S(u),x,y"},
      {Action::kInsertBefore, "S", "item x,separator y", "S(", "x,-[y],S("},
      // beside an item and a format
      {Action::kInsertBefore, "z", "item x,item y", "z,", "x,y,z,"},
      {Action::kInsertAfter, "a", "item x,item y", "a,", "a,x,y,"},
      {Action::kInsertAfter, "a", "item x,item y", "-,", "-,x,y,", Code::kSuccess, true, true},
      {Action::kInsertAfter, "z", "item x", "z,", "z,x,", Code::kSuccess, true, true},
      {Action::kInsertAfter, "g", "format x,separator s,format y", "g", "g,x,-[s],y", Code::kSuccess, false},
      {Action::kPrependTo, "a", "item x", "", "", Code::kMenuNotChanged},
      {Action::kAppendTo, "g", "item x", "", "", Code::kMenuNotChanged},
      // bars and the top level
      {Action::kInsertBefore, "B", "bar x,bar y,item no", " B(", " x() y() B("},
      {Action::kInsertAfter, "B", "bar x,bar y", " F(", " x() y() F("},
      {Action::kPrependTo, "b", "menu x,item y", "B(", "B(x(),y,"},
      {Action::kAppendTo, "F", "format x", "g", "g,x"},
      {Action::kAppendTo, "", "bar x,comment c,bar y,item no", "T(t)", "T(t) y() !c x()"},
      {Action::kAppendTo, "T", "item x", "T(t", "T(t,x", Code::kSuccess, false}, // found in bars alone
      {Action::kInsertAfter, "T", "menu x"},
      // a location that stands for another
      {Action::kAppendTo, "TMMenu_File_SaveAllFrames", "item x", "(q", "(q,x"},
      // nothing takes it: there is no Help menu
      {Action::kAppendTo, "none", "item x", "", "", Code::kMenuNotChanged},
      {Action::kInsertBefore, "TMMenu_Window_Templates", "item x", "", "", Code::kMenuNotChanged},
      // separators that join the host's, or have no place
      {Action::kInsertAfter, "a", "separator x", "-", "-[x+standard]"},
      {Action::kAppendTo, "S", "separator x"},
      {Action::kAppendTo, "S", "separator x,item i", "(u", "(u,-[x],i"},
      {Action::kAppendTo, "S", "comment a--b-", "(u", "(u,!a- -b-"},
  };
  const CKestMasterConfigChanges set;
  for (const Row& row : rows) {
    CheckRow(row, set);
  }
}

TEST(MenuInsert, AMissingLocationIsUpToTheSet) {
  CheckRow({Action::kInsertBefore, "none", "item x", "(q)", "(q),x"}, CKestServerBehaviorChanges());
  CheckRow({Action::kInsertBefore, "none", "item x", "", "", Code::kMenuNotChanged}, CKestServerFormatChanges());
  CheckRow({Action::kAppendTo, "none", "item x", "", "", Code::kMenuNotChanged}, CKestDataSourceChanges());
}

TEST(MenuInsert, TheLastResortMenuIsMadeOnceAndReused) {
  const struct {
    const char* file;
    const char* once;
    const char* twice;
    const char* undone; ///< a separator that now parts what was there before stays
  } rows[] = {
      {"<menubar id=\"B\"><menu id=\"M\"/><menu id=\"TMMenu_Help\"/></menubar>",
       "B(M(),TMMenu_Commands(-,TMMenu_Commands_Misc(x)),TMMenu_Help())",
       "B(M(),TMMenu_Commands(-,TMMenu_Commands_Misc(x,y)),TMMenu_Help())", "B(M(),TMMenu_Help())"},
      {"<menubar id=\"B\"><menu id=\"TMMenu_Commands\"><menuitem id=\"TMMenu_Commands_GetMoreCommands\"/><menuitem "
       "id=\"o\"/></menu></menubar>",
       "B(TMMenu_Commands(TMMenu_Commands_GetMoreCommands,-,TMMenu_Commands_Misc(x),o))",
       "B(TMMenu_Commands(TMMenu_Commands_GetMoreCommands,-,TMMenu_Commands_Misc(x,y),o))",
       "B(TMMenu_Commands(TMMenu_Commands_GetMoreCommands,-,o))"},
  };
  for (const auto& row : rows) {
    CKestMenusXmlFile file;
    Load(file, row.file);
    const CKestMasterConfigChanges set;
    CKestMenuChangeInsert changes[2];
    for (const char* id : {"x", "y"}) {
      CKestMenuChangeInsert& change = changes[id[0] - 'x'];
      change.SetInsertBefore("none");
      AddPayload(change, std::string("item ") + id);
      EXPECT_EQ(change.MakeChange(&set, &file, nullptr), Code::kPlacedInLastResortMenu);
      EXPECT_EQ(Outline(file), id[0] == 'x' ? row.once : row.twice);
    }
    for (CKestMenuChangeInsert& change : changes) {
      EXPECT_EQ(change.UndoChange(&set, &file, nullptr), Code::kSuccess);
    }
    EXPECT_EQ(Outline(file), row.undone);
  }
}

TEST(MenuInsert, WhatTheTargetHasTakesTheAttributes) {
  const CKestMasterConfigChanges set;
  CKestMenusXmlFile file;
  Load(file);
  const auto insert = [&](const char* location, const char* id) {
    CKestMenuChangeInsert change;
    change.SetAppendTo(location);
    auto item = std::make_unique<CKestExtensionMenuItem>();
    item->SetID(id);
    item->SetName("renamed");
    change.AppendChild(std::move(item));
    EXPECT_EQ(change.MakeChange(&set, &file, nullptr), Code::kSuccess);
    return change;
  };
  (void)insert("M", "A");
  EXPECT_EQ(Outline(file), "L(k) B(M(A,-,z,S(u)),TMMenu_File_SaveAll(q)) F(g) T(t)");
  EXPECT_EQ(file.FindMenuItem("a", nullptr, nullptr)->GetName(), "renamed");
  // the same id elsewhere does not count for a menu, but does below a bar
  EXPECT_EQ(insert("TMMenu_File_SaveAll", "z").UndoChange(&set, &file, nullptr), Code::kSuccess);
  EXPECT_EQ(insert("B", "u").UndoChange(&set, &file, nullptr), Code::kSuccess);
  // the undo of a merge takes the host's object out, and the menu that it leaves empty
  EXPECT_EQ(Outline(file), "L(k) B(M(A),TMMenu_File_SaveAll(q,z)) F(g) T(t)");
}

TEST(MenuInsert, AnEmptyIdIsAlwaysNew) {
  const CKestMasterConfigChanges set;
  CKestMenusXmlFile file;
  Load(file);
  CKestMenuChangeInsert nameless;
  nameless.SetAppendTo("S");
  nameless.AppendChild(std::make_unique<CKestExtensionMenuItem>());
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(nameless.MakeChange(&set, &file, nullptr), Code::kSuccess);
  }
  ASSERT_EQ(nameless.UndoChange(&set, &file, nullptr), Code::kSuccess);
  EXPECT_EQ(file.FindMenu("S", nullptr, nullptr)->GetChildCount(), 3);
}

TEST(MenuInsert, UndoPrunesWhatItEmptiesUpwards) {
  const CKestMasterConfigChanges set;
  CKestMenusXmlFile file;
  Load(file, "<menubar id=\"B\"><menu id=\"M\"><!-- note --><menu id=\"S\"><menuitem id=\"x\"/></menu></menu></menubar>"
             "<menubar id=\"C\"><menu id=\"D\"/></menubar>");
  CKestMenuChangeInsert change;
  change.SetAppendTo("S");
  AddPayload(change, "item x");
  EXPECT_EQ(change.UndoChange(&set, &file, nullptr), Code::kSuccess);
  EXPECT_EQ(Outline(file), "C(D())");
}

TEST(MenuRemove, TakesTheFirstObjectOfTheId) {
  const std::pair<const char*, const char*> rows[] = {
      {"b", "L(k) F(g) T(t)"},
      {"M", "L(k) B(TMMenu_File_SaveAll(q)) F(g) T(t)"},
      {"a", "L(k) B(M(z,S(u)),TMMenu_File_SaveAll(q)) F(g) T(t)"},
      {"u", "L(k) B(M(a,-,z,S()),TMMenu_File_SaveAll(q)) F(g) T(t)"},
      {"g", "L(k) B(M(a,-,z,S(u)),TMMenu_File_SaveAll(q)) F() T(t)"},
      {"T", "L(k) B(M(a,-,z,S(u)),TMMenu_File_SaveAll(q)) F(g)"},
      {"", kOutline},
  };
  for (const auto& [id, outline] : rows) {
    CKestMenusXmlFile file;
    Load(file);
    CKestMenuChangeRemove change;
    change.SetMenuID(id);
    EXPECT_EQ(change.MakeChange(nullptr, &file, nullptr), Code::kSuccess);
    EXPECT_EQ(Outline(file), outline) << id;
  }
}

TEST(Shortcuts, InsertMergeAndUndo) {
  const std::tuple<const char*, const char*, Code, const char*, const char*> rows[] = {
      {"", "list x,shortcut no,comment c,list y", Code::kSuccess, "L(k) M(j,k) y() !c x()", "L(k) M(j,k)"},
      {"", "list l", Code::kSuccess, "l(k) M(j,k)", "M(j,k)"},
      {"l", "shortcut x,comment c,shortcut y,list no", Code::kSuccess, "L(k,x,!c,y) M(j,k)", "L(k) M(j,k)"},
      {"L", "shortcut K", Code::kSuccess, "L(K) M(j,k)", "M(j,k)"},
      {"L", "shortcut j", Code::kSuccess, "L(k,j) M(j,k)", "L(k) M(j,k)"},
      {"none", "shortcut x", Code::kShortcutListMissing, "L(k) M(j,k)", "L(k) M(j,k)"},
  };
  for (const auto& [list, payload, code, outline, undone] : rows) {
    CKestMenusXmlFile file;
    Load(file, kLists);
    CKestShortcutChangeInsert change;
    change.SetListID(list);
    AddPayload(change, payload);
    EXPECT_EQ(change.MakeChange(nullptr, &file, nullptr), code);
    EXPECT_EQ(Outline(file), outline);
    EXPECT_EQ(change.UndoChange(nullptr, &file, nullptr), Code::kSuccess);
    EXPECT_EQ(Outline(file), undone) << payload;
  }
}

TEST(Shortcuts, RemovalTakesAListOrAShortcut) {
  for (const auto& [id, outline] :
       {std::pair{"l", "M(j,k)"}, {"J", "L(k) M(k)"}, {"k", "L() M(j,k)"}, {"", "L(k) M(j,k)"}}) {
    CKestMenusXmlFile file;
    Load(file, kLists);
    CKestShortcutChangeRemove change;
    change.SetID(id);
    EXPECT_EQ(change.MakeChange(nullptr, &file, nullptr), Code::kSuccess);
    EXPECT_EQ(Outline(file), outline) << id;
  }
}

TEST(MenuChanges, SayWhatTheyDo) {
  CKestMenuChangeInsert insert;
  insert.SetInsertAfter("TMMenu_Commands_SortTable");
  auto item = std::make_unique<CKestExtensionMenuItem>();
  item->SetName("_Table &Tools &amp; R&&D &bull;");
  insert.AppendChild(std::move(item));
  insert.AppendChild(std::make_unique<CKestXmlComment>("c"));
  EXPECT_EQ(insert.DescribeInWords(), "item \"Table Tools & R&D &bull;\" after \"TMMenu_Commands_SortTable\"\n"
                                      "comment after \"TMMenu_Commands_SortTable\"");
  CKestServerBehaviorChanges server;
  server.SetServerModelFolder("ASP.NET_VB");
  EXPECT_TRUE(server.HasSafePath());
  server.SetServerModelFolder("x/../..");
  EXPECT_FALSE(server.HasSafePath());
}

// ---- growth

/// Objects looked at by `changes` single inserts and their undo in a file of `items` items in one menu.
std::size_t StepsFor(std::size_t items, std::size_t changes) {
  std::string content = "<menubar id=\"B\"><menu id=\"M\">";
  for (std::size_t i = 0; i < items; ++i) {
    content += "<menuitem id=\"i" + std::to_string(i) + "\" />\n";
  }
  content += "</menu></menubar>";
  CKestMenusXmlFile file;
  EXPECT_EQ(file.LoadContent(content), 0);
  for (const bool undo : {false, true}) {
    for (std::size_t i = 0; i < changes; ++i) {
      CKestMenuChangeInsert change;
      change.SetInsertAfter("i" + std::to_string(i * 7 % items));
      AddPayload(change, "item x" + std::to_string(i) + ",separator s" + std::to_string(i));
      EXPECT_EQ(undo ? change.UndoChange(nullptr, &file, nullptr) : change.MakeChange(nullptr, &file, nullptr),
                Code::kSuccess);
    }
  }
  return file.GetSearchSteps();
}

TEST(MenuInsert, TheCostOfSearchesGrowsWithTheWork) {
  const std::size_t base = StepsFor(1000, 100);
  EXPECT_LT(StepsFor(4000, 100), base * 5) << "linear in the file";
  EXPECT_LT(StepsFor(1000, 400), base * 5) << "linear in the changes";
  EXPECT_GT(base, 100u);
}

} // namespace
} // namespace kest::test
