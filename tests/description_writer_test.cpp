#include "config/config_sets.h"
#include "config/help_change.h"
#include "config/list_changes.h"
#include "menus/menu_changes.h"
#include "menus/menu_model.h"
#include "menus/menu_sets.h"
#include "support/description_text.h"
#include "support/golden.h"
#include "support/temp_machine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kest {
namespace {

using test::Record;
using test::RecordOf;
using test::Written;

// A set with its path, and each change in its own words: only objects of the change's own class have any.
template <class Set> void TellSet(const Set& set, std::ostream& out) {
  CString path;
  set.GetPath(path);
  out << path << '\n' << Written(set);
  for (const auto& child : set.GetChildren()) {
    const auto* change = dynamic_cast<const CKestConfigChange*>(child.get());
    const auto* help = dynamic_cast<const CKestHelpChange*>(child.get());
    out << "  "
        << (change != nullptr ? change->DescribeInWords()
            : help != nullptr ? help->DescribeInWords()
                              : "no change: " + child->GetTag())
        << '\n';
  }
}

// Everything that a record says, in a form of the test's own.
std::string Told(const CKestExtension& record) {
  std::ostringstream out;
  out << record.GetID() << '|' << record.GetName() << '|' << record.GetVersion().ToText() << '|' << record.GetType()
      << '|' << record.GetTypeLabel() << '|' << record.RequiresRestart() << '|' << record.GetAuthorName() << '\n'
      << record.GetDesc() << '\n'
      << record.GetUIAccess() << '\n'
      << record.IsEnabled() << record.IsShared() << record.IsShiftJIS() << record.HasMultiplePrimaryProducts()
      << record.HasMenuChanges() << record.HasInsertbarConfigChanges() << '\n';
  for (const CKestExtensionProduct& product : record.GetProducts()) {
    out << product.GetName() << '|' << product.GetVersion() << '|' << product.IsPrimary() << product.IsRequired()
        << (&product == record.GetPrimaryProduct()) << '\n';
  }
  for (const CKestExtensionToken& token : record.GetTokens()) {
    out << token.GetName() << '|' << token.GetPrompt() << '|' << token.GetDefault() << '|' << token.GetDefinition()
        << '\n';
  }
  CKestTokenMap tokens;
  out << record.HasUserDefinedTokens() << record.GetUserDefinedTokens(tokens);
  for (const auto& [name, folder] : tokens) {
    out << ' ' << name << "=" << folder;
  }
  out << '\n';
  for (const CKestExtensionFile& file : record.GetFiles()) {
    out << file.GetSource() << '|' << file.GetDestination() << '|' << file.IsShared() << file.IsSystemFile()
        << file.GetPlatform() << '|' << file.GetActualPath() << '|' << file.GetWinExtension() << '\n';
  }
  for (const auto& set : record.GetConfigChanges()) {
    TellSet(*set, out);
  }
  for (const auto& set : record.GetHelpChanges()) {
    TellSet(*set, out);
  }
  return out.str();
}

TEST(DescriptionReader, EveryValueOfTheSampleIsRead) {
  const CKestExtension record = Record(test::SampleDescription());
  test::ExpectGolden("every_element.txt", Told(record));
  EXPECT_EQ(record.GetLicenseAgreement(), "Use it as you like.<br>\tNo warranty.");
  EXPECT_EQ(record.GetMasterConfigChanges(), record.GetConfigChanges().front().get());
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
  CKestExtensionFile third;
  CKestExtensionFile fourth;
  {
    CKestExtensionFile::SharedDestinations shared;
    first.SetDestination("$tidemark/commands", shared);
    third.SetDestination("$tidemark/commands", shared);
    third.SetActualPath("C:\\x");
    third.ShareDestination(shared);
    fourth.SetDestination("$tidemark/commands", shared);
    EXPECT_EQ(&fourth.GetDestination(), &first.GetDestination());
    fourth.SetActualPath("C:\\x");
    fourth.ShareDestination(shared);
  }
  CKestExtensionFile second(first);
  second.SetDestination("$fonts");
  EXPECT_EQ(first.GetDestination() + first.GetActualPath(), "$tidemark/commands");
  EXPECT_EQ(second.GetDestination(), "$fonts");
  EXPECT_EQ(third.GetDestination() + third.GetActualPath(), "$tidemark/commandsC:\\x");
  EXPECT_EQ(&fourth.GetDestination(), &third.GetDestination());
  fourth.SetWinExtension("txt");
  EXPECT_EQ(third.GetWinExtension() + fourth.GetWinExtension(), "txt");
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
