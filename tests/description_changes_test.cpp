#include "config/config_sets.h"
#include "menus/menu_changes.h"
#include "support/description_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kest {
namespace {

using test::RecordOf;
using test::Written;
using testing::ElementsAre;

template <class T> const T& As(const CKestXmlObject& object) { return dynamic_cast<const T&>(object); }

const CKestXmlObject& Child(const CKestXmlObject& parent, std::size_t at) { return *parent.GetChildren().at(at); }

std::vector<CString> TagsOf(const CKestXmlObject& parent) {
  std::vector<CString> tags;
  for (const auto& child : parent.GetChildren()) {
    tags.push_back(child->GetTag());
  }
  return tags;
}

const CKestConfigChanges& FirstSetOf(const CKestExtension& record) { return *record.GetConfigChanges().at(0); }

TEST(DescriptionChanges, EveryNameOfAPlacementCounts) {
  for (const auto& [stem, action] :
       std::vector<std::pair<std::string, int>>{{"insertBefore", CKestConfigChange::kInsertBefore},
                                                {"insertAfter", CKestConfigChange::kInsertAfter},
                                                {"appendTo", CKestConfigChange::kAppendTo},
                                                {"prependTo", CKestConfigChange::kPrependTo}}) {
    for (const char* suffix : {"", "Id", "Menu", "MenuId", "MENUID"}) {
      const CKestExtension record =
          RecordOf("<configuration-changes><menu-insert " + stem + suffix + "=\"X\"/></configuration-changes>");
      const auto& insert = As<CKestMenuChangeInsert>(Child(FirstSetOf(record), 0));
      EXPECT_EQ(insert.GetAction(), action) << stem << suffix;
      EXPECT_EQ(insert.GetID(), "X");
    }
  }
}

TEST(DescriptionChanges, SourceFormatAttributesAreTakenOrLeft) {
  const CKestExtension record =
      RecordOf("<source-format-changes>"
               "<element-insert name=\"a\" indent=\"TRUE\" indentGroup=\"8\" noformat=\"maybe\"/>"
               "<element-insert name=\"b\" indent=\"1\" indentGroup=\"9\"/>"
               "<attribute-remove NAME=\"e\" name2=\"f\"/></source-format-changes>");
  EXPECT_EQ(Written(FirstSetOf(record)), "<source-format-changes>\r\n"
                                         "\t<element-insert name=\"a\" indent=\"true\" indentGroup=\"8\" />\r\n"
                                         "\t<element-insert name=\"b\" indentGroup=\"0\" />\r\n"
                                         "\t<attribute-remove name=\"e\" />\r\n</source-format-changes>\r\n");
}

TEST(DescriptionChanges, NamesInsideAPayloadKeepTheirMeaning) {
  const CKestExtension record =
      RecordOf("<documenttype-changes><documenttype-insert><documenttype id=\"d\"><menu id=\"m\"/><file source=\"f\"/>"
               "<files><file source=\"real\"/></files><ui-access>u</ui-access><title>t</title></documenttype>"
               "</documenttype-insert></documenttype-changes>");
  EXPECT_EQ(record.GetFiles().GetCount(), 1U);
  EXPECT_EQ(record.GetUIAccess(), "u");
  EXPECT_THAT(TagsOf(Child(Child(FirstSetOf(record), 0), 0)), ElementsAre("title"));
}

TEST(DescriptionChanges, ChangesThatOpenNothingLeaveTheirContentToTheSet) {
  EXPECT_EQ(As<CKestToolbarConfigChanges>(FirstSetOf(RecordOf("<toolbar-changes odd=\"1\"/>"))).GetFileName(),
            "toolbars.xml");
  const CKestExtension record =
      RecordOf("<configuration-changes><menu-remove id=\"a\"><odd/><comment>c</comment></menu-remove>"
               "<menu-remove id=\"b\"></menu-remove></configuration-changes>"
               "<FTP-Extension-Map-Changes><ftp-extension-remove extension=\"x\"></ftp-extension-remove>"
               "</FTP-Extension-Map-Changes><extensions-changes/>");
  EXPECT_THAT(TagsOf(FirstSetOf(record)), ElementsAre("menu-remove", "odd", "comment", "menu-remove"));
  EXPECT_EQ(record.GetConfigChanges().size(), 3U);
  EXPECT_EQ(record.GetConfigChanges()[1]->GetChildCount(), 1) << "closed by its name in any case";
}

} // namespace
} // namespace kest
