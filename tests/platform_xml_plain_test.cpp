#include "support/xml_two_ways.h"

#include <gtest/gtest.h>

#include <random>

namespace kest {
namespace {

using test::TellsOf;
using test::TellsOfTyped;
using test::XmlReading;

constexpr XmlReading kReadings[] = {{false, false}, {true, false}, {false, true}, {true, true}};

void ExpectSame(const std::string& document) {
  for (const XmlReading& reading : kReadings) {
    const std::string full = TellsOfTyped(document, reading);
    if (!full.empty()) {
      ASSERT_EQ(TellsOf(document, reading), full)
          << document << "\n(several roots " << reading.severalRoots << ", by line " << reading.byLine << ")";
    }
  }
}

const std::string kSample = "\r\n<!-- made\rby hand -->\r\n<a b=\"1\"\tc = 'x \"y\"\r\n&lt;&#233;&nbsp;&#8212;'>\r\n"
                            " tea &amp; \xE9t\xE9 ]] @\r<![CDATA[ one & <two>\r\n\r\nthree ]]>\n<d:e.f-g /><h\n></h >"
                            "&copy;&#x41;<!----></a>\n<!-- end -->\n";

TEST(XmlPlain, EveryBeginningOfADocumentIsReadAsByTheFullParser) {
  for (std::size_t length = 0; length <= kSample.size(); ++length) {
    ExpectSame(kSample.substr(0, length));
    ExpectSame(kSample.substr(length));
  }
}

TEST(XmlPlain, SmallMistakesAreToldAsByTheFullParser) {
  for (const char* document : {"",
                               " ",
                               "<a/>\r",
                               "\r<a/>",
                               "<a/><b/>",
                               "<a/>x",
                               "x<a/>",
                               "<a b='1' b='2'/>",
                               "<a b='1'c='2'/>",
                               "<a b=1/>",
                               "<a b/>",
                               "<a b='<'/>",
                               "<a>]]></a>",
                               "<a>]]]></a>",
                               "<a>&#0;</a>",
                               "<a>&#31;</a>",
                               "<a b='&#31;'/>",
                               "<a>&;</a>",
                               "<a>&#;</a>",
                               "<a>&#x;</a>",
                               "<a>&amp</a>",
                               "<a>&#00000000000000000000000000000000000000000000000000000000000000065;</a>",
                               "<a><!-- -- --></a>",
                               "<a><!--->--></a>",
                               "<a><!---></a>",
                               "<a><![CDATA[]]]]></a>",
                               "<a><![CDATA[]]]></a>",
                               "<![CDATA[x]]>",
                               "<a></b>",
                               "<a></a",
                               "</a>",
                               "<a><?go on?></a>",
                               "<\xE9/>",
                               "<a \xE9='1'/>",
                               "<1/>",
                               "<:/>",
                               "<a b\n=\n'1'\n/\n>",
                               "<a / >",
                               "<a></ a>",
                               "<a>\x7F\x80\x85\x9F</a>",
                               "<a b='\x7F\x80'/>",
                               "<a\x0C/>",
                               "<a>1\n2@\nrefuse</a>",
                               "<a>&refuse</a>\n@",
                               "<a>\n<b>\n<b>\n@",
                               "<!ELEMENT a>",
                               "<!-->",
                               "<!x",
                               "<a><!x></a>"}) {
    ExpectSame(document);
  }
  ExpectSame(std::string("<a>\0</a>", 8));
  std::string manyAttributes = "<a";
  std::string deep;
  for (int i = 0; i < 250; ++i) {
    manyAttributes += " a" + std::to_string(i) + "='1'";
    deep += "<a>";
    ExpectSame(i % 50 == 0 ? manyAttributes + "/>" : deep);
  }
}

TEST(XmlPlain, DamagedDocumentsAreReadAsByTheFullParser) {
  std::mt19937 random(7);
  const std::string bytes = "<>/!-[]&;#'\"= \t\r\n\x01x\xE9@?D";
  for (int round = 0; round < 4000; ++round) {
    std::string document = kSample;
    for (int change = 0; change <= round % 4; ++change) {
      const std::size_t at = random() % document.size();
      switch (random() % 3) {
      case 0:
        document[at] = bytes[random() % bytes.size()];
        break;
      case 1:
        document.erase(at, 1 + random() % 3);
        break;
      default:
        document.insert(at, 1, bytes[random() % bytes.size()]);
      }
    }
    ExpectSame(document);
  }
}

// Longer than what is prepared at a time, with elements, texts and sections that lie across the borders.
TEST(XmlPlain, LargeDocumentsAreReadAsByTheFullParser) {
  std::string document = "<a>@\n";
  while (document.size() < (5u << 20) / 2) {
    document +=
        "<b c='" + std::string(document.size() % 300, 'c') + "\n'>text ]\nmore</b><![CDATA[\n\n&]]><!--\n-->\n\n";
  }
  ExpectSame(document + "</a>\n");
  ExpectSame(document + "</b>\n");
  ExpectSame("<a>@\n<!--\n" + std::string(3u << 20, '\n') + "--></a>");
}

} // namespace
} // namespace kest
