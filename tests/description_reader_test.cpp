#include "description/description_observer.h"
#include "description/extension_types.h"
#include "description/extension_xml_parser.h"
#include "support/description_text.h"

#include <gmock/gmock.h>

#include <gtest/gtest.h>
#include <tuple>

#include <map>

namespace kest {
namespace {

using test::Description;
using test::Record;
using test::RecordOf;
using testing::ElementsAre;

int CodeOf(std::string_view text) {
  CKestExtension record;
  return record.LoadText(text, nullptr);
}

TEST(DescriptionReader, KnowsTypesByTheWholeKeywordInAnyCase) {
  for (const auto& [keyword, type] : std::map<std::string, int>{
           {"command", 1}, {"COMMAND", 1}, {"Property Inspector", 9}, {"content", 50}, {"commands", 0}, {"", 0}}) {
    EXPECT_EQ(ExtensionTypeOf(keyword), type) << keyword;
  }
}

TEST(DescriptionReader, SettlesOnePrimaryProduct) {
  const CKestExtension two = RecordOf("<products><product name=\"A\"/><product name=\"B\" primary=\"Yes\"/><product "
                                      "name=\"C\" primary=\"1\"/></products>");
  EXPECT_TRUE(two.HasMultiplePrimaryProducts());
  EXPECT_EQ(two.GetPrimaryProduct()->GetName(), "B");
  const CKestExtension none =
      RecordOf("<products><product name=\"A\"/><product name=\"B\" primary=\"no\"/></products>");
  EXPECT_FALSE(none.HasMultiplePrimaryProducts());
  EXPECT_EQ(none.GetPrimaryProduct()->GetName(), "A");
  EXPECT_EQ(RecordOf("").GetPrimaryProduct(), nullptr);
}

TEST(DescriptionReader, GivesACodeForWhatIsNoDescription) {
  EXPECT_EQ(CodeOf("<other/>"), CKestExtension::kNoRoot);
  EXPECT_EQ(CodeOf("<other><Kestrel-Package/></other>"), 0);
  EXPECT_EQ(CodeOf("<kestrel-extension name=\"x\" / >"), CKestExtension::kBrokenTag);
  EXPECT_GT(CodeOf(""), 0);
  EXPECT_GT(CodeOf("<kestrel-extension name='x'/>"), 0) << "apostrophes are text";
  EXPECT_GT(CodeOf("<kestrel-extension/><kestrel-extension/>"), 0);
  for (const char* file : {"source=\"a/../b\"", "destination=\"$system/..\"", "source=\"x\" win-extension=\"../y\"",
                           "source=\"x\" win-extension=\"a:b\""}) {
    EXPECT_EQ(CodeOf(Description("<files><file " + std::string(file) + "/></files>")), CKestExtension::kParentPath)
        << file;
  }
}

TEST(DescriptionReader, KeepsWhatCameBeforeAFailure) {
  CKestExtension record;
  EXPECT_EQ(record.LoadText("<kestrel-extension name=\"Half\">\n<files>\n<file source=\"a\"/>\n<x / >\n", nullptr),
            CKestExtension::kBrokenTag);
  EXPECT_EQ(record.GetName(), "Half");
  EXPECT_EQ(record.GetFiles().GetCount(), 1U);
}

TEST(DescriptionReader, DropsWhatStandsInTheWrongPlace) {
  const CKestExtension record =
      RecordOf("<token name=\"t\"/><products><file source=\"f\"/></products><product name=\"p\"/>"
               "<files><token name=\"t\"/><kept/></files>");
  EXPECT_FALSE(record.HasTokens());
  EXPECT_EQ(record.GetProducts().GetChildCount(), 0);
  EXPECT_EQ(record.GetFiles().GetCount(), 0U);
  EXPECT_EQ(record.GetFiles().GetChildCount(), 1) << "an unknown element becomes part of what it stands in";
}

TEST(DescriptionReader, ElementsThatOpenNothingCloseNothing) {
  const CKestExtension record = RecordOf("<FILES><file source=\"a\"><author name=\"Deep\"></author></file>"
                                         "<ui-access>u</ui-access><file source=\"b\"/></FILES>"
                                         "<Files><file source=\"c\"></file></Files><description>d</description>");
  EXPECT_EQ(record.GetFiles().GetCount(), 3U);
  EXPECT_EQ(record.GetAuthorName(), "Deep");
  EXPECT_EQ(record.GetUIAccess(), "u");
  EXPECT_EQ(record.GetDesc(), "d");
}

TEST(DescriptionReader, ReadsTextsInAndOutsideOfCData) {
  const auto desc = [](std::string_view text) {
    return RecordOf("<description>" + std::string(text) + "</description>").GetDesc();
  };
  EXPECT_EQ(desc("Tom &amp; Jerry & I"), "Tom & Jerry & I");
  EXPECT_EQ(desc("<![CDATA[fish & chips <% x %>]]>"), "fish & chips &lt;% x %&gt;");
  EXPECT_EQ(desc("<![CDATA[ one\n\t\ttwo  three\n\nfour<BR>\n five]]>"), "one<br>two three<br>four<br>five");
  EXPECT_EQ(desc("a<b>c</b>d"), "acd");
  EXPECT_EQ(desc("C++ and <![CDATA[1+<2]]>"), "C++ and1+<2");
  EXPECT_EQ(desc("it's \x83\x5C \xE9"), "it's \x83\x5C \xE9");
  EXPECT_EQ(RecordOf("<ui-access>a<description>b</description></ui-access>").GetUIAccess(), "a");
}

TEST(DescriptionReader, CleansUpTextsThatComeByOtherWays) {
  const auto clean = [](CString text) {
    CKestExtension::CleanUpText(text);
    return text;
  };
  EXPECT_EQ(clean(" a\r\nb "), "a<br><br>b");
  EXPECT_EQ(clean("a\r\rb\n\nc"), "a<br>b<br>c");
  EXPECT_EQ(clean("a<br>\r\nb"), "a<br>b");
  EXPECT_EQ(clean("a    b"), "a  b") << "one pass";
  EXPECT_EQ(clean("&amp;apos; &amp;amp;"), "' &amp;");
}

TEST(DescriptionReader, TakesAnyEncodingAndKeepsItsBytes) {
  const std::string sjis = "\x83\x5C\x83\x74";
  const CKestExtension record = Record(
      "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"iso-x-sjis\" ?>\r\n\r\n<kestrel-extension name=\"" + sjis + "\"/>");
  EXPECT_EQ(record.GetName(), sjis);
  EXPECT_TRUE(record.IsShiftJIS());
  EXPECT_FALSE(Record(Description("")).IsShiftJIS());
}

class Listener : public DescriptionObserver {
public:
  std::vector<std::string> heard;
  void OnUnknownAttribute(int line, std::string_view element, std::string_view attribute) override {
    heard.push_back(std::to_string(line) + " unknown " + std::string(element) + "/" + std::string(attribute));
  }
  void OnDropped(int line, std::string_view element, std::string_view belongsIn) override {
    heard.push_back(std::to_string(line) + " dropped " + std::string(element) + " in " + std::string(belongsIn));
  }
  void OnForeignChange(int line, std::string_view element, std::string_view set) override {
    heard.push_back(std::to_string(line) + " foreign " + std::string(element) + " in " + std::string(set));
  }
  void OnFailure(int line, std::string_view) override { heard.push_back(std::to_string(line) + " failure"); }
};

TEST(DescriptionReader, TellsAnObserverWhatHasNoEffectAndWhere) {
  Listener listener;
  CKestExtension record;
  CKestTypedList<CKestString> messages;
  EXPECT_GT(record.LoadText("<?xml version=\"1.0\"?>\n<kestrel-extension>\n<author age=\"9\"/>\n<file odd=\"x\"/>\n"
                            "<odd/>\n<configuration-changes><comment>c</comment>\n<other/></configuration-changes>\n"
                            "<menu-insert>\n<shortcut/></menu-insert></oops>",
                            &messages, &listener),
            0);
  EXPECT_THAT(listener.heard,
              ElementsAre("3 unknown author/age", "4 dropped file in files", "5 dropped odd in ",
                          "6 foreign comment in configuration-changes", "7 foreign other in configuration-changes",
                          "8 dropped menu-insert in configuration-changes", "9 dropped shortcut in shortcut-insert",
                          "9 failure"));
  EXPECT_EQ(*messages.begin(), "Unknown attribute: age.");
}

TEST(DescriptionReader, RefusesATextOfSixteenMebibytes) {
  EXPECT_GT(CodeOf(Description(std::string(16u << 20, ' '))), 0);
}

// Elements that are kept as they are written take many times their size: so many of them only as a file has room for.
TEST(DescriptionReader, RefusesWhatTakesFarMoreMemoryThanItsSize) {
  const std::tuple<const char*, bool, const char*> rows[] = {
      {"<file source=\"a\"/>\n", true, "files"},
      {"<file/>\n", false, "files"},
      {"<a/>\n", false, "files"},
      {"<a/>\n", false, "other"},
      {"<file a=\"\" b=\"\" c=\"\" d=\"\"/>\n", false, "files"},
  };
  for (const auto& [element, isRead, container] : rows) {
    std::string many = "<" + std::string(container) + ">";
    for (int i = 0; i < 390000; ++i) {
      many += element;
    }
    Listener listener;
    CKestExtension record;
    const int code = record.LoadText(Description(many + "</" + container + ">"), nullptr, &listener);
    EXPECT_EQ(code, isRead ? CKestExtension::kLoaded : static_cast<int>(CKestXMLParser::kRefused)) << element;
    EXPECT_TRUE(isRead || std::stoi(listener.heard.back()) > 50000) << "the line where it became too much";
  }
}

// Cut or changed anywhere, a description gives a code or a record.
TEST(DescriptionReader, SurvivesEveryPrefixAndOneByteChangesOfTheSample) {
  const std::string sample = test::SampleDescription();
  int good = 0;
  for (std::size_t length = 0; length < sample.size(); ++length) {
    good += CodeOf(std::string_view(sample).substr(0, length)) == 0;
  }
  EXPECT_EQ(good, 1) << "only the last line end may be missing";
  const std::string bytes("<>&\"'/ +%\0\x80\xFF-]x", 15);
  for (std::size_t at = 0; at < sample.size(); at += 2) {
    std::string changed = sample;
    changed[at] = bytes[at % bytes.size()];
    CKestExtension record;
    good += record.LoadText(changed, nullptr) == 0;
    EXPECT_EQ(record.GetCurrentObject(), nullptr);
  }
  EXPECT_GT(good, 100);
}

} // namespace
} // namespace kest
