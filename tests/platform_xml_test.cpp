#include "platform/xml/xml_object.h"
#include "platform/xml/xml_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace kest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Writes down what it hears, one entry an event.
class Recorder : public CKestXMLParser {
public:
  std::vector<std::string> events;
  std::function<int(CString&)> prepare;
  bool withDefault = false;

  int OnPreProcessLine(CString& line) override { return prepare ? prepare(line) : 0; }
  bool MayRewrite(std::string_view) const override { return static_cast<bool>(prepare); }
  void OnElementStart(const char* name, CKestXMLAttributes& attributes) override {
    std::string event = "<" + std::string(name);
    for (const char* attribute = attributes.GetFirstAttr(); attribute != nullptr;
         attribute = attributes.GetNextAttr()) {
      event += "|" + std::string(attribute) + "=" + attributes.GetValue();
    }
    events.push_back(event);
  }
  void OnElementEnd(const char* name) override { events.push_back("/" + std::string(name)); }
  void OnCData(const char* text, int length) override {
    events.push_back((m_inCData ? "c:" : "t:") + std::string(text, static_cast<std::size_t>(length)));
  }
  void OnCDataSectionStart() override { m_inCData = true; }
  void OnCDataSectionEnd() override {
    m_inCData = false;
    events.emplace_back("]]");
  }
  void OnComment(const char* text) override { events.push_back("!" + std::string(text)); }
  void OnDefault(const char* text, int length) override {
    const auto trimmed = std::string(text::Trimmed(std::string_view(text, static_cast<std::size_t>(length))));
    if (withDefault && !trimmed.empty()) {
      events.push_back("?" + trimmed);
    }
  }

private:
  bool m_inCData = false;
};

std::vector<std::string> EventsOf(std::string_view text, bool severalRoots = false) {
  Recorder recorder;
  EXPECT_EQ(recorder.ParseLines(text, severalRoots), CKestXMLParser::kGood) << recorder.GetErrorText();
  return recorder.events;
}

int CodeOf(std::string_view text, bool severalRoots = false) {
  Recorder recorder;
  return recorder.ParseLines(text, severalRoots);
}

TEST(XmlParser, GivesTheBytesOfTheFileWhateverItDeclares) {
  const std::string sjis = "\x83\x5C\x83\x74\x83\x67"; // a trail byte that is a backslash
  for (const std::string& bytes : {sjis, std::string("\xC3\xA9t\xC3\xA9"), std::string("\xE9t\xFF")}) {
    for (const char* head :
         {"", "<?xml version='1.0' encoding='utf-8'?>", "<?xml version=\"1.0\" encoding=\"x-no\"?>\n"}) {
      Recorder recorder;
      ASSERT_EQ(recorder.ParseLines(head + ("<a b=\"" + bytes + "\">" + bytes + "<!--" + bytes + "--></a>"), false), 0);
      EXPECT_THAT(recorder.events, ElementsAre("<a|b=" + bytes, "t:" + bytes, "!" + bytes, "/a"));
    }
  }
}

TEST(XmlParser, TakesMarksOfEncodingAndOfFileEnd) {
  EXPECT_THAT(EventsOf(std::string("\xEF\xBB\xBF<a/>\x1A\0\x1A", 10)), ElementsAre("<a", "/a"));
  EXPECT_GT(CodeOf(std::string("\xFF\xFE<\0a\0/\0>\0", 10)), 0);
  for (const char* nothing : {"", "\xEF\xBB\xBF", "\x1A"}) {
    Recorder recorder;
    EXPECT_EQ(recorder.ParseLines(nothing, false), CKestXMLParser::kIllFormed);
    EXPECT_EQ(recorder.GetErrorText(), "no element found");
  }
  EXPECT_GT(CodeOf("\xEF\xBB\xBF\xEF\xBB\xBF<a/>"), 0);
  EXPECT_GT(CodeOf("<?xml version=\"1.0\"?>\xEF\xBB\xBF<a/>"), 0);
  EXPECT_GT(CodeOf("<a>\x02</a>"), 0);
}

TEST(XmlParser, KnowsShiftJisByTheDeclaredName) {
  for (const auto& [name, expected] :
       std::vector<std::pair<std::string, bool>>{{"iso-x-sjis", true}, {"Shift_JIS", true}, {"utf-8", false}}) {
    Recorder recorder;
    EXPECT_EQ(recorder.ParseLines("<?xml version=\"1.0\" encoding=\"" + name + "\" ?>\r\n\r\n<a/>", false), 0);
    EXPECT_EQ(recorder.IsShiftJIS(), expected) << name;
    EXPECT_EQ(recorder.ParseLines("<a/>", false), 0);
    EXPECT_FALSE(recorder.IsShiftJIS()) << "the flag belongs to one document";
  }
}

TEST(XmlParser, JoinsARunOfTextAndSplitsCDataAtLineFeeds) {
  EXPECT_THAT(EventsOf("<a>Tom &amp; Jerry\r\n&lt;x<b/>after</a>"),
              ElementsAre("<a", "t:Tom & Jerry\n<x", "<b", "/b", "t:after", "/a"));
  EXPECT_THAT(EventsOf("<a><![CDATA[one\r\n\ttwo & <three>\n]]>tail</a>"),
              ElementsAre("<a", "c:one", "c:\n", "c:\ttwo & <three>", "c:\n", "]]", "t:tail", "/a"));
  const std::string longLine(100'000, 'x');
  EXPECT_THAT(EventsOf("<a>" + longLine + "<![CDATA[" + longLine + "]]></a>"),
              ElementsAre("<a", "t:" + longLine, "c:" + longLine, "]]", "/a"));
}

TEST(XmlParser, KeepsReferencesThatItDoesNotDecode) {
  for (const char* head : {"", "<!DOCTYPE a SYSTEM \"none.dtd\">"}) {
    EXPECT_THAT(
        EventsOf(std::string(head) + "<a b=\"&nbsp;&#233;&#8212;\">x&copy;y&#x41;<![CDATA[&nbsp;]]><!--&nbsp;--></a>"),
        ElementsAre("<a|b=\1nbsp;\1#233;\1#8212;", "t:x\1copy;yA", "c:&nbsp;", "]]", "!&nbsp;", "/a"));
  }
  for (const auto& [head, value] : std::vector<std::pair<std::string, std::string>>{
           {"<?xml version='1.0' encoding='ISO-8859-1'?>", "\xE9"}, // there a byte is a character
           {"<?xml version='1.0' encoding='utf-8'?>", "\1#233;"},
           {"\xEF\xBB\xBF<?xml version='1.0' encoding='iso-8859-1'?>", "\1#233;"}}) {
    EXPECT_THAT(EventsOf(head + "<a b=\"&#233;\"/>"), ElementsAre("<a|b=" + value, "/a")) << head;
  }
  EXPECT_GT(CodeOf("<a>&#1;</a>"), 0) << "byte 1 marks kept references";
  EXPECT_GT(CodeOf("<a>fish & chips</a>"), 0);
}

TEST(XmlParser, ReportsMarkupThatIsNoElement) {
  Recorder recorder;
  recorder.withDefault = true;
  ASSERT_EQ(recorder.ParseLines(
                "<?xml version='1.0'\n encoding='utf-8'?>\n<!DOCTYPE t SYSTEM \"u\">\n<?go on?><t d='1'/>", false),
            0);
  EXPECT_THAT(recorder.events, ElementsAre("?<?xml version='1.0'\n encoding='utf-8'?>", "?<!DOCTYPE", "?t", "?SYSTEM",
                                           "?\"u\"", "?>", "?<?go on?>", "<t|d=1", "/t"));
  EXPECT_THAT(EventsOf("<!DOCTYPE t [<!ATTLIST t d CDATA \"9\">]><t w=\"1\"/>"), ElementsAre("<t|w=1", "/t"))
      << "an attribute that the file does not write";

  // expat cuts what it reports where its buffer ends
  const std::string instruction = "<?go " + std::string(5000, '-') + "\xE9 &amp;?>";
  Recorder longOne;
  longOne.withDefault = true;
  ASSERT_EQ(longOne.ParseLines(instruction + "<t/>" + instruction, false), 0);
  EXPECT_THAT(longOne.events, ElementsAre("?" + instruction, "<t", "/t", "?" + instruction));
}

TEST(XmlParser, TakesSeveralRootsWhenAsked) {
  EXPECT_THAT(
      EventsOf("<?xml version=\"1.0\"?>\n<!-- c -->\n<!DOCTYPE x [ <!-- > ] --> ]>\n<x/>\n<y>t</y>\n<!-- d -->", true),
      ElementsAre("! c ", "! > ] ", "<x", "/x", "t:\n", "<y", "t:t", "/y", "t:\n", "! d "));
  EXPECT_THAT(EventsOf("", true), IsEmpty());
  EXPECT_THAT(EventsOf("<!-- only -->", true), ElementsAre("! only "));
  EXPECT_GT(CodeOf("<x/><y/>", false), 0);
  EXPECT_GT(CodeOf("<x/></kest-root>", true), 0);
  EXPECT_GT(CodeOf("<x/></kest-root><kest-root>", true), 0);
}

TEST(XmlParser, SplitsLinesAtEveryKindOfEnd) {
  Recorder recorder;
  std::vector<std::string> lines;
  recorder.prepare = [&](CString& line) {
    lines.push_back(line);
    return 0;
  };
  ASSERT_EQ(recorder.ParseLines("<?xml version=\"1.0\"?> <a>\r\none\rtwo\n\n</a>", false), 0);
  EXPECT_THAT(lines, ElementsAre(" <a>", "one", "two", "", "</a>"));
  EXPECT_THAT(recorder.events, ElementsAre("<a", "t:\none\ntwo\n\n", "/a"));
}

TEST(XmlParser, ARefusedLineCountsAfterTheLinesBeforeIt) {
  Recorder recorder;
  recorder.prepare = [](CString& line) { return line.find("STOP") != CString::npos ? -3 : 0; };
  EXPECT_EQ(recorder.ParseLines("<a>\n<b/>\nSTOP\n</a>", false), -3);
  EXPECT_EQ(recorder.GetErrorLine(), 3);
  EXPECT_THAT(recorder.events, ElementsAre("<a", "t:\n", "<b", "/b", "t:\n"));
  EXPECT_EQ(recorder.ParseLines("<a>\n<b></c>\nSTOP\n</a>", false), CKestXMLParser::kIllFormed);
  EXPECT_EQ(recorder.GetErrorLine(), 2);
}

TEST(XmlParser, ReadsLargeDocumentsInPiecesAsOne) {
  std::string text = "<all>\n";
  std::vector<std::string> expected{"<all"};
  for (int i = 0; i < 60'000; ++i) {
    text += "<i n=\"it's \xE9 &uuml;\"/>tail\nof some\nlength\n&amp; more\n";
    expected.insert(expected.end(), {"<i|n=it's \xE9 \1uuml;", "/i", "t:tail\nof some\nlength\n& more\n"});
  }
  text += "</all>";
  expected.emplace_back("/all");
  expected.insert(expected.begin() + 1, "t:\n");
  for (const bool severalRoots : {false, true}) {
    Recorder recorder;
    recorder.prepare = [](CString& line) {
      text::ReplaceAll(line, "'", "&apos;");
      return 0;
    };
    ASSERT_EQ(recorder.ParseLines(text, severalRoots), 0) << recorder.GetErrorText();
    if (severalRoots) {
      ASSERT_EQ(recorder.events.back(), "t:\n");
      recorder.events.pop_back();
    }
    EXPECT_TRUE(recorder.events == expected);
  }
}

TEST(XmlParser, HoldsItsLimits) {
  const auto nested = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) {
      text = "<a>" + text + "</a>";
    }
    return text;
  };
  for (const bool severalRoots : {false, true}) {
    EXPECT_EQ(CodeOf(nested(200), severalRoots), 0);
    EXPECT_EQ(CodeOf(nested(201), severalRoots), CKestXMLParser::kRefused);
  }
  EXPECT_EQ(CodeOf("<a b=\"" + std::string((1u << 20) + 1, 'x') + "\"/>"), CKestXMLParser::kRefused);
  EXPECT_EQ(CodeOf("<a b=\"" + std::string(1u << 20, 'x') + "\"/>"), 0);
  EXPECT_EQ(CodeOf("<a b=\"" + std::string(1u << 20, '\xE9') + "\"/>"), 0) << "bytes of the file count";
  Recorder few;
  few.SetLimits({.elements = 3});
  EXPECT_EQ(few.ParseLines("<a><b/>\n<c/></a>", false), 0);
  EXPECT_EQ(few.ParseLines("<a><b/>\n<c/>\n<d/></a>", false), CKestXMLParser::kRefused);
  EXPECT_EQ(few.GetErrorLine(), 3);
  for (const char* text :
       {"<!DOCTYPE a [<!ENTITY e \"x\">]><a>&e;</a>", "<!DOCTYPE a [<!ENTITY e SYSTEM \"/etc/passwd\">]><a/>",
        "<!DOCTYPE a [<!ENTITY % p \"<!ENTITY q 'x'>\"> %p;]><a/>"}) {
    EXPECT_EQ(CodeOf(text), CKestXMLParser::kRefused) << text;
  }
}

// ---- objects
// -----------------------------------------------------------------------------------------------------------

std::string Written(const CKestXmlObject& object, int level = 0) {
  CString text;
  object.BuildXml(level, text);
  return text;
}

TEST(XmlObject, WritesWhatReadsBack) {
  CKestXmlObject object("tip");
  EXPECT_EQ(Written(object, 1), "\t<tip />\r\n");
  object.SetAttribute("Name", "a \"b\" & <c> it's\n\1nbsp;");
  object.SetAttribute("name", "x & \"<\t\1nbsp;");
  object.SetValue("C++");
  EXPECT_EQ(Written(object), "<tip Name=\"x &amp; &quot;&lt;&#9;&nbsp;\">C++ </tip>\r\n");
  object.SetValue("a\nb ]]> < > &\1copy;");
  object.AppendChild(std::make_unique<CKestXmlObject>("kid"));
  EXPECT_EQ(Written(object, 1), "\t<tip Name=\"x &amp; &quot;&lt;&#9;&nbsp;\">a\r\nb ]]&gt; &lt; > &amp;&copy;\r\n"
                                "\t\t<kid />\r\n\t</tip>\r\n");
  CKestXmlObject section("s");
  section.SetValue("if (a<b) x[y[0]]>1;\n");
  section.SetInCData(true);
  EXPECT_EQ(Written(section), "<s><![CDATA[if (a<b) x[y[0]]]]><![CDATA[>1;\r\n]]></s>\r\n");
  EXPECT_THAT(EventsOf(Written(section)), ElementsAre("<s", "c:if (a<b) x[y[0]]", "]]", "c:>1;", "c:\n", "]]", "/s"));
}

TEST(XmlObject, WritesCommentsInTheFormOfTheirFile) {
  CKestXmlComment element("C+ & --");
  EXPECT_EQ(Written(element), "<comment>C+ &amp; --</comment>\r\n");
  for (const auto& [text, written] : std::vector<std::pair<const char*, const char*>>{
           {"plain", "<!-- plain -->\r\n"}, {"a--b", "<!-- a- -b -->\r\n"}, {"---", "<!-- - - -  -->\r\n"}}) {
    const CKestXmlComment markup(text, CKestXmlComment::Form::kMarkup);
    EXPECT_EQ(Written(markup), written);
    EXPECT_EQ(CodeOf("<a>" + Written(markup) + "</a>"), 0);
  }
}

TEST(XmlObject, CopiesWholeTreesWithTheirClasses) {
  CKestXmlObject tree("t");
  CKestXmlObject* inner = tree.AppendChild(std::make_unique<CKestXmlObject>("inner"));
  inner->SetAttribute("id", "1");
  inner->AppendChild(std::make_unique<CKestXmlComment>("note"));
  const CKestXmlObject copy(tree);
  EXPECT_EQ(Written(copy), Written(tree));
  EXPECT_NE(copy.GetChildren().front()->FindComment("note"), nullptr);
  tree = *inner; // a part of what is overwritten
  EXPECT_EQ(Written(tree), "<inner id=\"1\">\r\n\t<comment>note</comment>\r\n</inner>\r\n");
}

TEST(XmlObject, AVeryDeepTreeIsFreedAndNotWrittenAsReadable) {
  CKestXmlObject root("r");
  CKestXmlObject* at = &root;
  for (int i = 0; i < 200'000; ++i) {
    at = at->AppendChild(std::make_unique<CKestXmlObject>("d"));
  }
  EXPECT_EQ(root.FindTag("none"), nullptr);
  EXPECT_GT(CodeOf(Written(root)), 0);
}

} // namespace
} // namespace kest
