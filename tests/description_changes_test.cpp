#include "config/config_sets.h"
#include "config/extensions_changes.h"
#include "config/ftp_map_changes.h"
#include "config/help_change.h"
#include "config/list_changes.h"
#include "config/source_format_changes.h"
#include "config/toolbar_changes.h"
#include "description/extension_xml_parser.h"
#include "menus/menu_changes.h"
#include "menus/menu_model.h"
#include "menus/menu_sets.h"
#include "menus/shortcut_changes.h"
#include "menus/shortcut_model.h"
#include "support/description_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kest {
namespace {

using test::Description;
using test::Record;
using test::RecordOf;
using testing::ElementsAre;
using testing::IsEmpty;

template <class T> const T& As(const CKestXmlObject& object) {
  const T* cast = dynamic_cast<const T*>(&object);
  if (cast == nullptr) {
    ADD_FAILURE() << object.GetTag() << " is of another class";
    static const T none;
    return none;
  }
  return *cast;
}

const CKestXmlObject& Child(const CKestXmlObject& parent, std::size_t at) {
  if (at >= parent.GetChildren().size()) {
    ADD_FAILURE() << parent.GetTag() << " has no child " << at;
    static const CKestXmlObject none;
    return none;
  }
  return *parent.GetChildren()[at];
}

std::vector<CString> TagsOf(const CKestXmlObject& parent) {
  std::vector<CString> tags;
  for (const auto& child : parent.GetChildren()) {
    tags.push_back(child->GetTag());
  }
  return tags;
}

// The first set that `inner` makes.
const CKestConfigChanges& SetOf(const CKestExtension& record) {
  EXPECT_TRUE(record.HasConfigChanges());
  return *record.GetConfigChanges().front();
}

TEST(DescriptionChanges, EachElementOfTheSampleMakesItsClass) {
  const CKestExtension record = Record(test::SampleDescription());
  std::vector<CString> sets;
  for (const auto& set : record.GetConfigChanges()) {
    sets.push_back(set->GetTag());
  }
  EXPECT_THAT(sets, ElementsAre("configuration-changes", "toolbar-changes", "insertbar-changes",
                                "server-behavior-changes", "server-format-changes", "server-format-definition-changes",
                                "data-source-changes", "documenttype-changes", "taglibrary-changes",
                                "source-format-changes", "ftp-extension-map-changes", "extensions-changes"));
  const auto& sets0 = record.GetConfigChanges();
  EXPECT_THAT(TagsOf(*sets0[0]), ElementsAre("menu-remove", "menu-insert", "menu-insert", "shortcut-remove",
                                             "shortcut-insert", "shortcut-insert"));
  EXPECT_THAT(TagsOf(*sets0[1]),
              ElementsAre("toolbar-insert", "toolbar-item-insert", "toolbar-remove", "toolbar-item-remove"));
  EXPECT_THAT(TagsOf(*sets0[2]),
              ElementsAre("insertbar-insert", "insertbar-item-insert", "insertbar-remove", "insertbar-item-remove"));
  EXPECT_THAT(TagsOf(*sets0[7]), ElementsAre("documenttype-remove", "documenttype-insert"));
  EXPECT_THAT(TagsOf(*sets0[8]), ElementsAre("taglibrary-remove", "taglibrary-insert"));
  EXPECT_THAT(TagsOf(*sets0[9]),
              ElementsAre("element-insert", "element-remove", "attribute-insert", "attribute-remove"));
  EXPECT_THAT(TagsOf(*sets0[10]), ElementsAre("ftp-extension-insert", "ftp-extension-insert", "ftp-extension-remove"));
  EXPECT_THAT(TagsOf(*sets0[11]), ElementsAre("extension-insert", "extension-remove", "extension-remove"));
  ASSERT_EQ(record.GetHelpChanges().size(), 2U);
  EXPECT_THAT(TagsOf(*record.GetHelpChanges()[1]), ElementsAre("helpbook-remove", "helpbook-insert"));
  EXPECT_TRUE(record.HasMenuChanges());
  EXPECT_TRUE(record.HasInsertbarConfigChanges());
  EXPECT_EQ(record.GetMasterConfigChanges(), sets0[0].get());
}

TEST(DescriptionChanges, MenuInsertsHoldTheirPayloadFlat) {
  const CKestExtension record = Record(test::SampleDescription());
  const auto& master = SetOf(record);
  EXPECT_EQ(As<CKestMenuChangeRemove>(Child(master, 0)).GetMenuID(), "TMMenu_Commands_Old");
  const auto& insert = As<CKestMenuChangeInsert>(Child(master, 1));
  EXPECT_EQ(insert.GetID(), "TMMenu_Commands_SortTable");
  EXPECT_EQ(insert.GetAction(), CKestConfigChange::kInsertAfter);
  EXPECT_TRUE(insert.SkipSeparator());
  EXPECT_THAT(TagsOf(insert), ElementsAre("comment", "separator", "menu", "menuitem", "menuitem"));
  EXPECT_EQ(As<CKestXmlComment>(Child(insert, 0)).GetText(), "Added by Reader's Workbench, for C++ too");
  EXPECT_EQ(As<CKestExtensionMenuSeparator>(Child(insert, 1)).GetID(), "Workbench_Separator");
  const auto& menu = As<CKestExtensionMenu>(Child(insert, 2));
  EXPECT_EQ(menu.GetName(), "_Workbench");
  EXPECT_FALSE(menu.IsVisible());
  EXPECT_FALSE(menu.HasChildren());
  const auto& item = As<CKestExtensionMenuItem>(Child(insert, 3));
  EXPECT_EQ(item.GetName(), "Count _Words");
  EXPECT_EQ(item.GetFile(), "Commands/count words.htm");
  EXPECT_EQ(item.GetKey(), "Cmd+Shift+W");
  EXPECT_EQ(item.GetArguments(), "'all'");
  EXPECT_EQ(item.GetDynamic(), "true");
  EXPECT_EQ(item.GetChecked(), "false");
  EXPECT_FALSE(item.IsDOMRequired());
  EXPECT_EQ(As<CKestExtensionMenuItem>(Child(insert, 4)).GetCommand(), "run('<%= 1 %>')");
  const auto& keys = As<CKestShortcutChangeInsert>(Child(master, 4));
  EXPECT_EQ(keys.GetListID(), "TMMainWindow");
  EXPECT_EQ(As<CKestExtensionShortcut>(Child(keys, 1)).GetFile(), "Commands/count words.htm");
  const auto& list = As<CKestShortcutChangeInsert>(Child(master, 5));
  EXPECT_EQ(As<CKestExtensionShortcutList>(Child(list, 0)).GetID(), "Workbench_Keys");
}

TEST(DescriptionChanges, EveryNameOfAPlacementCounts) {
  for (const auto& [stem, action] :
       std::vector<std::pair<std::string, int>>{{"insertBefore", CKestConfigChange::kInsertBefore},
                                                {"insertAfter", CKestConfigChange::kInsertAfter},
                                                {"appendTo", CKestConfigChange::kAppendTo},
                                                {"prependTo", CKestConfigChange::kPrependTo}}) {
    for (const char* suffix : {"", "Id", "Menu", "MenuId", "MENUID"}) {
      const CKestExtension record =
          RecordOf("<configuration-changes><menu-insert " + stem + suffix + "=\"X\"/></configuration-changes>");
      const auto& insert = As<CKestMenuChangeInsert>(Child(SetOf(record), 0));
      EXPECT_EQ(insert.GetAction(), action) << stem << suffix;
      EXPECT_EQ(insert.GetID(), "X");
    }
  }
}

TEST(DescriptionChanges, ServerSetsAndToolbarsNameTheirPlace) {
  const CKestExtension record = Record(test::SampleDescription());
  const auto& sets = record.GetConfigChanges();
  std::vector<CString> paths;
  for (std::size_t i = 3; i < 7; ++i) {
    CString path;
    sets[i]->GetPath(path);
    paths.push_back(path);
  }
  EXPECT_THAT(paths,
              ElementsAre("ServerBehaviors\\ASP_Js\\ServerBehaviors.xml", "ServerFormats\\ASP_Vbs\\ServerFormats.xml",
                          "ServerFormats\\JSP\\Formats.xml", "DataSources\\PHP\\DataSources.xml"));
  EXPECT_EQ(As<CKestToolbarConfigChanges>(*sets[1]).GetFileName(), "workbench.xml");
  EXPECT_EQ(As<CKestToolbarConfigChanges>(SetOf(RecordOf("<toolbar-changes odd=\"1\"/>"))).GetFileName(),
            "toolbars.xml");
  const auto& formats = As<CKestMenuChangeInsert>(Child(*sets[4], 0));
  const auto& format = As<CKestExtensionServerFormat>(Child(formats, 0));
  EXPECT_EQ(format.GetFile(), "ServerFormats/time.htm");
  EXPECT_FALSE(format.IsVisible());
  ASSERT_NE(format.FindAttribute("numdigits"), nullptr);
}

TEST(DescriptionChanges, SourceFormatAttributesAreTakenOrLeft) {
  const CKestExtension record = RecordOf(
      "<source-format-changes>"
      "<element-insert name=\"a\" indent=\"TRUE\" indentGroup=\"8\" noformat=\"maybe\"/>"
      "<element-insert name=\"b\" indent=\"1\" indentGroup=\"9\"/><element-insert name=\"c\" indentGroup=\"0\"/>"
      "<element-insert indentGroup=\"3x\"/>"
      "<element-remove break=\"1\" name=\"d\"/><attribute-remove NAME=\"e\" name2=\"f\"/>"
      "<attribute-insert name=\"g\" samecase=\"false\"/></source-format-changes>");
  const auto& set = SetOf(record);
  const auto element = [&](std::size_t at) -> const CKestSourceFormatChangeElementInsert& {
    return As<CKestSourceFormatChangeElementInsert>(Child(set, at));
  };
  EXPECT_EQ(element(0).GetIndent(), TriStateBool::kTrue);
  EXPECT_EQ(element(0).GetNoFormat(), TriStateBool::kNotGiven);
  EXPECT_EQ(element(0).GetIndentGroup(), 8);
  EXPECT_EQ(element(1).GetIndent(), TriStateBool::kNotGiven);
  EXPECT_EQ(element(1).GetIndentGroup() + element(2).GetIndentGroup() + element(3).GetIndentGroup(), 0);
  EXPECT_EQ(As<CKestSourceFormatChangeElementRemove>(Child(set, 4)).GetName(), "");
  EXPECT_EQ(As<CKestSourceFormatChangeAttributeRemove>(Child(set, 5)).GetName(), "e");
  EXPECT_EQ(As<CKestSourceFormatChangeAttributeInsert>(Child(set, 6)).GetSameCase(), TriStateBool::kFalse);
}

TEST(DescriptionChanges, TextFileChangesReadTheirValues) {
  const CKestExtension record = Record(test::SampleDescription());
  const auto& map = *record.GetConfigChanges()[10];
  const auto& ascii = As<CKestFTPExtensionMapChangeInsert>(Child(map, 0));
  EXPECT_EQ(ascii.GetExtension(), "wbk");
  EXPECT_EQ(ascii.GetType(), CKestFTPExtensionMapChangeInsert::kAscii);
  EXPECT_EQ(ascii.GetMacCreator(), "TMrk");
  const auto& binary = As<CKestFTPExtensionMapChangeInsert>(Child(map, 1));
  EXPECT_EQ(binary.GetType(), CKestFTPExtensionMapChangeInsert::kBinary);
  EXPECT_EQ(binary.GetMacFileType(), "????");
  EXPECT_EQ(As<CKestFTPExtensionMapChangeRemove>(Child(map, 2)).GetExtension(), "old");
  const auto& list = *record.GetConfigChanges()[11];
  EXPECT_EQ(As<CKestExtensionsChangeInsert>(Child(list, 0)).GetDescription(), "Workbench Files");
  EXPECT_EQ(As<CKestExtensionsChangeRemove>(Child(list, 2)).GetExtension(), "OLDER");
}

TEST(DescriptionChanges, PayloadsAreCapturedAsTheyStand) {
  const CKestExtension record = Record(test::SampleDescription());
  EXPECT_EQ(
      test::Written(*As<CKestInsertbarItemChangeInsert>(Child(*record.GetConfigChanges()[2], 1)).GetChildren().front()),
      "<button id=\"Workbench_Text\" file=\"Workbench\\text.htm\">plain &amp;lt;b&amp;gt; text\r\n"
      "\t<comment>one more</comment>\r\n</button>\r\n");
  const CKestXmlObject* notes = Child(*record.GetConfigChanges()[7], 1).FindTag("description");
  ASSERT_NE(notes, nullptr);
  EXPECT_TRUE(notes->IsInCData());
  EXPECT_EQ(notes->GetValue(), "Notes &amp; queries\n\twith <lists>, it&apos;s")
      << "text in CDATA shows the conversions";
  EXPECT_THAT(TagsOf(Child(*record.GetConfigChanges()[1], 1)), ElementsAre("button", "separator"));
  EXPECT_EQ(record.GetDesc().find("Notes"), CString::npos);
}

TEST(DescriptionChanges, NamesInsideAPayloadKeepTheirMeaning) {
  const CKestExtension record =
      RecordOf("<documenttype-changes><documenttype-insert><documenttype id=\"d\"><menu id=\"m\"/><file source=\"f\"/>"
               "<files><file source=\"real\"/></files><ui-access>u</ui-access><title>t</title></documenttype>"
               "</documenttype-insert></documenttype-changes>");
  EXPECT_EQ(record.GetFiles().GetCount(), 1U);
  EXPECT_EQ(record.GetUIAccess(), "u");
  EXPECT_THAT(TagsOf(Child(Child(SetOf(record), 0), 0)), ElementsAre("title"));
}

TEST(DescriptionChanges, ChangesThatOpenNothingLeaveTheirContentToTheSet) {
  const CKestExtension record =
      RecordOf("<configuration-changes><menu-remove id=\"a\"><odd/><comment>c</comment></menu-remove>"
               "<menu-remove id=\"b\"></menu-remove></configuration-changes>"
               "<FTP-Extension-Map-Changes><ftp-extension-remove extension=\"x\"></ftp-extension-remove>"
               "</FTP-Extension-Map-Changes><extensions-changes/>");
  EXPECT_THAT(TagsOf(SetOf(record)), ElementsAre("menu-remove", "odd", "comment", "menu-remove"));
  EXPECT_EQ(record.GetConfigChanges().size(), 3U);
  EXPECT_EQ(record.GetConfigChanges()[1]->GetChildCount(), 1) << "closed by its name in any case";
}

TEST(DescriptionChanges, ChangesOutsideOfASetHaveNoEffect) {
  const CKestExtension record =
      RecordOf("<menu-insert appendTo=\"m\"><menuitem id=\"i\"/><comment>c</comment></menu-insert>"
               "<menuitem id=\"j\"/><shortcut id=\"k\"/><menu-remove id=\"l\"/>"
               "<toolbar-insert><toolbar id=\"t\"/></toolbar-insert><separator id=\"s\"/>"
               "<help-changes><menu-remove id=\"n\"/><toolbar-remove id=\"t\"/></help-changes>"
               "<configuration-changes><helpbook-remove id=\"h\"/></configuration-changes>"
               "<description>still read</description>");
  EXPECT_EQ(record.GetDesc(), "still read");
  EXPECT_FALSE(record.HasMenuChanges());
  EXPECT_THAT(TagsOf(SetOf(record)), IsEmpty());
  EXPECT_THAT(TagsOf(*record.GetHelpChanges().front()), ElementsAre("toolbar-remove")) << "goes wherever it stands";
}

TEST(DescriptionChanges, CopiesShareTheirSetsAndTheLastOneFreesThem) {
  auto* set = new CKestMasterConfigChanges; // owned by the records
  std::weak_ptr<CKestConfigChanges> watched;
  {
    CKestExtension first;
    first.AddConfigChanges(set);
    watched = set->weak_from_this();
    first.GetFiles().Add().SetSource("f");
    CKestExtension second;
    second.AddConfigChanges(set);
    second.AddConfigChanges(nullptr);
    const CKestExtension third(first);
    EXPECT_EQ(third.GetMasterConfigChanges(), set);
    EXPECT_EQ(third.GetFiles().begin()->GetSource(), "f");
    first.RemoveAllConfigChanges();
    EXPECT_FALSE(first.HasConfigChanges());
    EXPECT_EQ(watched.use_count(), 2);
    const std::unique_ptr<CKestTypedIterator<CKestConfigChanges*>> walk(third.CreateConfigChangesIterator());
    ASSERT_TRUE(walk->HasNext());
    EXPECT_EQ(walk->Next(), set);
    EXPECT_FALSE(walk->HasNext());
  }
  EXPECT_TRUE(watched.expired());
}

} // namespace
} // namespace kest
