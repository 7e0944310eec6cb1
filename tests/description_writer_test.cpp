#include "config/config_sets.h"
#include "config/help_change.h"
#include "config/list_changes.h"
#include "menus/menu_changes.h"
#include "menus/menu_model.h"
#include "menus/menu_sets.h"
#include "support/description_text.h"
#include "support/temp_machine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kest {
namespace {

using test::Record;
using test::RecordOf;
using test::Written;

// Everything that a record says, in a form of the test's own.
std::string Told(const CKestExtension& record) {
  std::ostringstream out;
  out << record.GetID() << '|' << record.GetName() << '|' << record.GetVersion().ToText() << '|' << record.GetType()
      << '|' << record.GetTypeLabel() << '|' << record.RequiresRestart() << '|' << record.GetAuthorName() << '\n'
      << record.GetDesc() << '\n'
      << record.GetUIAccess() << '\n'
      << record.IsShiftJIS() << '\n';
  for (const CKestExtensionProduct& product : record.GetProducts()) {
    out << product.GetName() << '|' << product.GetVersion() << '|' << product.IsPrimary() << product.IsRequired()
        << '\n';
  }
  for (const CKestExtensionToken& token : record.GetTokens()) {
    out << token.GetName() << '|' << token.GetPrompt() << '|' << token.GetDefault() << '|' << token.GetDefinition()
        << '\n';
  }
  for (const CKestExtensionFile& file : record.GetFiles()) {
    out << file.GetSource() << '|' << file.GetDestination() << '|' << file.IsShared() << file.IsSystemFile()
        << file.GetPlatform() << '|' << file.GetActualPath() << '|' << file.GetWinExtension() << '\n';
  }
  for (const auto& set : record.GetConfigChanges()) {
    out << Written(*set);
  }
  for (const auto& set : record.GetHelpChanges()) {
    out << Written(*set);
  }
  return out.str();
}

TEST(DescriptionWriter, WhatItWritesReadsBackTheSame) {
  const CKestExtension record = Record(test::SampleDescription());
  const std::string text = Written(record);
  const CKestExtension again = Record(text);
  EXPECT_EQ(Told(again), Told(record));
  EXPECT_EQ(Written(again), text);
  EXPECT_EQ(again.GetLicenseAgreement(), "") << "not kept with an installed extension";
}

TEST(DescriptionWriter, WritesABareRecord) {
  CKestExtension record;
  record.SetName("Bare");
  record.SetVersion("1.0.3");
  EXPECT_EQ(Written(record), "<kestrel-extension\r\n\t name=\"Bare\"\r\n\t version=\"1.0.3\"\r\n\t type=\"\">\r\n"
                             "\r\n\t<products />\r\n"
                             "\r\n\t<description>\r\n\t<![CDATA[\r\n\t\r\n\t]]>\r\n\t</description>\r\n"
                             "\r\n\t<ui-access>\r\n\t<![CDATA[\r\n\t\r\n\t]]>\r\n\t</ui-access>\r\n"
                             "\r\n</kestrel-extension>\r\n");
  EXPECT_EQ(Told(Record(Written(record))), Told(record));
  record.SetShiftJIS(true);
  EXPECT_EQ(Written(record).rfind("<?xml version=\"1.0\" encoding=\"iso-x-sjis\" ?>\r\n\r\n<kestrel-extension", 0), 0U);
  EXPECT_TRUE(Record(Written(record)).IsShiftJIS());
}

TEST(DescriptionWriter, WritesOnlyWhatARecordHas) {
  CKestExtensionProduct product;
  product.SetName("Prism");
  product.SetPrimary(true);
  EXPECT_EQ(Written(product), "<product name=\"Prism\" primary=\"true\" />\r\n");
  CKestExtensionFile file;
  file.SetSource("a");
  file.SetWinExtension("txt");
  EXPECT_EQ(Written(file), "<file source=\"a\" destination=\"\" win-extension=\"txt\" />\r\n");
  file.SetPlatform(CKestExtensionFile::kMac);
  EXPECT_EQ(file.GetWinExtension(), "");
  EXPECT_EQ(Written(file), "<file source=\"a\" destination=\"\" platform=\"mac\" win-extension=\"txt\" />\r\n");
}

TEST(DescriptionWriter, FilesThatShareADestinationKeepTheirOwn) {
  CKestExtensionFile first;
  first.SetDestination("$tidemark/commands");
  CKestExtensionFile second(first);
  second.SetDestination("$fonts");
  CKestExtensionFile third;
  third.SetDestination("$tidemark/commands");
  third.ShareDestinationWith(first);
  third.SetActualPath("C:\\x");
  EXPECT_EQ(first.GetDestination() + first.GetActualPath(), "$tidemark/commands");
  EXPECT_EQ(second.GetDestination(), "$fonts");
  EXPECT_EQ(third.GetDestination() + third.GetActualPath(), "$tidemark/commandsC:\\x");
}

TEST(DescriptionWriter, EscapesTheTextsByItsOwnRules) {
  CString text;
  CKestExtension::OutputText("a&nbsp;b & c &amp;<br>d+<+>", "description", "\t", text);
  EXPECT_EQ(text, "\r\n\t<description>\r\n\t<![CDATA[\r\n\ta&nbsp;b &amp c &ampamp;<br>\r\nd+&lt+&gt\r\n\t]]>\r\n"
                  "\t</description>\r\n");
}

// What an installed description may hold and would not load again if it were written as it is.
TEST(DescriptionWriter, TrapsOfTheFormatReadBack) {
  auto master = std::make_shared<CKestMasterConfigChanges>();
  auto insert = std::make_unique<CKestMenuChangeInsert>();
  auto item = std::make_unique<CKestExtensionMenuItem>();
  item->SetName("Dynamic dynamic item");
  item->SetID("i");
  item->SetDynamic("true");
  insert->AppendChild(std::move(item));
  insert->AppendChild(std::make_unique<CKestXmlComment>("for C++"));
  master->AppendChild(std::move(insert));
  auto types = std::make_shared<CKestDocumentTypeConfigChanges>();
  auto type = std::make_unique<CKestDocumentTypeChangeInsert>();
  CKestXmlObject* payload = type->AppendChild(std::make_unique<CKestXmlObject>("documenttype"));
  payload->SetAttribute("id", "a &amp; b's");
  payload->AppendChild(std::make_unique<CKestXmlObject>("tip"))->SetValue("C++");
  CKestXmlObject* script = payload->AppendChild(std::make_unique<CKestXmlObject>("script"));
  script->SetValue("a[b[0]]>1\n\tnext");
  script->SetInCData(true);
  types->AppendChild(std::move(type));
  CKestExtension record;
  record.SetName("Traps");
  record.AddConfigChanges(master.get());
  record.AddConfigChanges(types.get());
  const std::string text = Written(record);
  const CKestExtension again = Record(text);
  EXPECT_EQ(Told(again), Told(record));
  EXPECT_NE(text.find("dynamic=\"true\""), std::string::npos);
  EXPECT_NE(text.find("id=\"a &amp; b's\""), std::string::npos) << "as an author would write it";
}

TEST(DescriptionWriter, SetsNeedNoMasterSetInFront) {
  const CKestExtension lone = RecordOf("<toolbar-changes file=\"own.xml\"><toolbar-remove id=\"t\"/></toolbar-changes>"
                                       "<helpbook-changes><helpbook-remove id=\"h\"/></helpbook-changes>");
  const CKestExtension again = Record(Written(lone));
  ASSERT_EQ(again.GetConfigChanges().size(), 2U);
  EXPECT_FALSE(again.GetConfigChanges()[0]->HasChildren());
  EXPECT_EQ(Written(*again.GetConfigChanges()[1]), Written(*lone.GetConfigChanges()[0]));
  ASSERT_EQ(again.GetHelpChanges().size(), 2U);
  EXPECT_EQ(Written(*again.GetHelpChanges()[1]), Written(*lone.GetHelpChanges()[0]));
  EXPECT_EQ(Written(Record(Written(again))), Written(again)) << "and no more is added";
  const CKestExtension two = RecordOf("<configuration-changes><menu-remove id=\"a\"/></configuration-changes>"
                                      "<configuration-changes><menu-remove id=\"b\"/></configuration-changes>");
  EXPECT_EQ(Told(Record(Written(two))), Told(two));
}

using DescriptionSave = test::TempMachineTest;

TEST_F(DescriptionSave, WritesToTheGivenOrItsOwnPath) {
  CKestExtension record = Record(test::SampleDescription());
  record.SetPath("C:\\own.kei");
  EXPECT_EQ(record.Save(nullptr), 0);
  EXPECT_EQ(record.Save("C:\\other.kei"), 0);
  EXPECT_EQ(m_pc.Read("C:\\own.kei"), Written(record));
  EXPECT_EQ(m_pc.Read("C:\\other.kei"), Written(record));
  CKestExtension loaded;
  EXPECT_EQ(loaded.Load("C:\\own.kei", nullptr), 0);
  EXPECT_EQ(Told(loaded), Told(record));
  EXPECT_EQ(CKestExtension().Save(nullptr), -1);
}

TEST_F(DescriptionSave, AReadableFileStaysWhenTheNewOneWouldNotLoad) {
  m_pc.Write("C:\\kept.kei", "the raw copy");
  const auto before = m_pc.Snapshot();
  CKestExtension broken;
  broken.SetName("a \"quoted\" name");
  EXPECT_EQ(broken.Save("C:\\kept.kei"), -1);
  CKestExtension outside;
  outside.GetFiles().Add().SetSource("..\\x");
  EXPECT_EQ(outside.Save("C:\\kept.kei"), -1);
  CKestExtension deep;
  auto set = std::make_shared<CKestDocumentTypeConfigChanges>();
  CKestXmlObject* at = set->AppendChild(std::make_unique<CKestDocumentTypeChangeInsert>());
  for (int i = 0; i < 250; ++i) {
    at = at->AppendChild(std::make_unique<CKestXmlObject>("d"));
  }
  deep.AddConfigChanges(set.get());
  EXPECT_EQ(deep.Save("C:\\kept.kei"), -1);
  EXPECT_EQ(test::DescribeDifference(before, m_pc.Snapshot()), "");
}

} // namespace
} // namespace kest
