#include "config/config_sets.h"
#include "config/help_change.h"
#include "config/list_changes.h"
#include "menus/menu_changes.h"
#include "menus/menu_model.h"
#include "menus/menu_sets.h"
#include "support/description_text.h"
#include "support/source_folder.h"
#include "support/temp_machine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace kest {
namespace {

using test::Record;
using test::RecordOf;
using test::Written;

// Everything that a record says: its own part as it is written, texts as they are read, and of each set path, text and
// changes in their own words, which only objects of the change's own class have.
std::string Told(const CKestExtension& record) {
  const std::string text = Written(record);
  std::ostringstream out;
  out << text.substr(0, text.find("\t<configuration-changes")) << record.GetTypeLabel() << '|' << record.GetDesc()
      << '|' << record.IsEnabled() << record.IsShared() << record.HasMultiplePrimaryProducts()
      << record.HasMenuChanges() << record.HasInsertbarConfigChanges() << '\n';
  CKestTokenMap tokens;
  out << record.GetUserDefinedTokens(tokens);
  for (const auto& [name, folder] : tokens) {
    out << ' ' << name << "=" << folder;
  }
  const auto tell = [&out](const auto& sets) {
    for (const auto& set : sets) {
      CString path;
      set->GetPath(path);
      out << '\n' << path << '\n' << Written(*set);
      for (const auto& child : set->GetChildren()) {
        const auto* change = dynamic_cast<const CKestConfigChange*>(child.get());
        const auto* help = dynamic_cast<const CKestHelpChange*>(child.get());
        out << "  " << (change != nullptr ? change->DescribeInWords() : help->DescribeInWords()) << '\n';
      }
    }
  };
  tell(record.GetConfigChanges());
  tell(record.GetHelpChanges());
  return out.str();
}

// Compares with the file of tests/data/golden, line ends aside; writes it when KEST_UPDATE_GOLDEN is set.
void ExpectGolden(const std::string& fileName, std::string text) {
  const std::string path = test::SourceFolder() + "/tests/data/golden/" + fileName;
  std::erase(text, '\r');
  if (std::getenv("KEST_UPDATE_GOLDEN") != nullptr) {
    std::ofstream(path, std::ios::binary) << text;
  }
  EXPECT_EQ(text, test::ReadHostFile(path)) << path;
}

TEST(DescriptionReader, EveryValueOfTheSampleIsRead) {
  const CKestExtension record = Record(test::SampleDescription());
  ExpectGolden("every_element.txt", Told(record));
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
  record.SetShiftJIS(true);
  EXPECT_EQ(Written(record), "<?xml version=\"1.0\" encoding=\"iso-x-sjis\" ?>\r\n\r\n"
                             "<kestrel-extension\r\n\t name=\"Bare\"\r\n\t version=\"1.0.3\"\r\n\t type=\"\">\r\n"
                             "\r\n\t<products />\r\n"
                             "\r\n\t<description>\r\n\t<![CDATA[\r\n\t\r\n\t]]>\r\n\t</description>\r\n"
                             "\r\n\t<ui-access>\r\n\t<![CDATA[\r\n\t\r\n\t]]>\r\n\t</ui-access>\r\n"
                             "\r\n</kestrel-extension>\r\n");
  EXPECT_EQ(Told(Record(Written(record))), Told(record));
}

TEST(DescriptionWriter, WritesOnlyWhatARecordHas) {
  CKestExtensionProduct product;
  product.SetName("Prism");
  product.SetPrimary(true);
  EXPECT_EQ(Written(product), "<product name=\"Prism\" primary=\"true\" />\r\n");
  CKestExtensionFile file;
  file.SetSource("a");
  file.SetWinExtension("txt");
  file.SetPlatform(CKestExtensionFile::kMac);
  EXPECT_EQ(file.GetWinExtension(), "");
  EXPECT_EQ(Written(file), "<file source=\"a\" destination=\"\" platform=\"mac\" win-extension=\"txt\" />\r\n");
}

TEST(DescriptionWriter, FilesThatShareADestinationKeepTheirOwn) {
  CKestExtensionFile first;
  CKestExtensionFile second;
  {
    CKestExtensionFile::SharedDestinations shared;
    first.SetDestination("$tidemark/commands", shared);
    second.SetDestination("$tidemark/commands", shared);
    EXPECT_EQ(&second.GetDestination(), &first.GetDestination());
  }
  second.SetActualPath("C:\\x");
  CKestExtensionFile third(first);
  third.SetDestination("$fonts");
  EXPECT_EQ(first.GetDestination() + first.GetActualPath(), "$tidemark/commands");
  EXPECT_EQ(second.GetDestination() + second.GetActualPath(), "$tidemark/commandsC:\\x");
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
  CKestXmlObject* insert = master->AppendChild(std::make_unique<CKestMenuChangeInsert>());
  auto item = std::make_unique<CKestExtensionMenuItem>();
  item->SetName("Dynamic dynamic item");
  item->SetID("i");
  item->SetDynamic("true");
  insert->AppendChild(std::move(item));
  insert->AppendChild(std::make_unique<CKestXmlComment>("for C++"));
  auto types = std::make_shared<CKestDocumentTypeConfigChanges>();
  CKestXmlObject* type = types->AppendChild(std::make_unique<CKestDocumentTypeChangeInsert>());
  CKestXmlObject* payload = type->AppendChild(std::make_unique<CKestXmlObject>("documenttype"));
  payload->SetAttribute("id", "a &amp; b's");
  payload->AppendChild(std::make_unique<CKestXmlObject>("tip"))->SetValue("C++");
  CKestXmlObject* script = payload->AppendChild(std::make_unique<CKestXmlObject>("script"));
  script->SetValue("a[b[0]]>1\n\tnext");
  script->SetInCData(true);
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

TEST(DescriptionWriter, WhatIsNoRecordIsWrittenAsItWasRead) {
  const CKestExtension record =
      RecordOf("<files><comment>A &amp; B</comment><note by=\"X &quot;Y&quot; &amp; Z\">1 &lt; 2</note>"
               "<file name=\"a &amp; b.htm\" destination=\"$x\"/></files>"
               "<help-changes><comment>C &amp; D</comment></help-changes>");
  EXPECT_EQ(record.GetFileCount(), 1) << "files alone count";
  const std::string text = Written(record);
  EXPECT_EQ(Written(Record(text)), text);
  for (const char* kept : {"A &amp; B<", "\"X &quot;Y&quot; &amp; Z\">1 &lt; 2<", "C &amp; D<"}) {
    EXPECT_NE(text.find(kept), std::string::npos) << kept << "\n" << text;
  }
}

// Text between the records changes nothing in how those are written.
TEST(DescriptionWriter, RecordsBesideTextKeepTheirReferences) {
  const std::string file = "<file source=\"S&apos;a &amp;amp; +&gt;b.htm\" destination=\"$x\" />";
  const CKestExtension record = RecordOf("<files>1 &lt; 2" + file + "<note by=\"&amp;\"/></files>");
  const std::string plain = Written(RecordOf("<files>" + file + "</files>"));
  const std::string text = Written(record);
  EXPECT_EQ(Written(Record(text)), text);
  EXPECT_EQ(Told(Record(text)), Told(record));
  const std::size_t at = plain.find("<file ");
  const std::string line = plain.substr(at, plain.find('\n', at) - at);
  EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
  EXPECT_NE(text.find("<files>1 &lt; 2"), std::string::npos) << text;
}

TEST(DescriptionWriter, SetsNeedNoMasterSetInFront) {
  const CKestExtension lone = RecordOf("<toolbar-changes file=\"own.xml\"><toolbar-remove id=\"t\"/></toolbar-changes>"
                                       "<helpbook-changes><helpbook-remove id=\"h\"/></helpbook-changes>");
  const CKestExtension again = Record(Written(lone));
  ASSERT_EQ(again.GetConfigChanges().size(), 2U);
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
