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

TEST(DescriptionChanges, ToolbarsWithoutAFileAreTheProducts) {
  EXPECT_EQ(As<CKestToolbarConfigChanges>(SetOf(RecordOf("<toolbar-changes odd=\"1\"/>"))).GetFileName(),
            "toolbars.xml");
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

TEST(DescriptionChanges, TextInCDataShowsTheConversions) {
  const CKestExtension record = Record(test::SampleDescription());
  const CKestXmlObject* notes = Child(*record.GetConfigChanges()[7], 1).FindTag("description");
  ASSERT_NE(notes, nullptr);
  EXPECT_TRUE(notes->IsInCData());
  EXPECT_EQ(notes->GetValue(), "Notes &amp; queries\n\twith <lists>, it&apos;s");
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
