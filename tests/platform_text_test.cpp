#include "platform/text/sha256.h"
#include "platform/text/text.h"
#include "platform/text/utf8.h"
#include "platform/text/values.h"

#include <gtest/gtest.h>

#include <tuple>

namespace kest {
namespace {

class CodePage {
public:
  explicit CodePage(int codePage) : m_before(text::GetCodePage()) { text::SetCodePage(codePage); }
  ~CodePage() { text::SetCodePage(m_before); }

private:
  int m_before;
};

// Katakana whose second bytes are "A" and "a".
constexpr const char* kUpperTrail = "\x83\x41";
constexpr const char* kLowerTrail = "\x83\x61";

TEST(Text, ReplacesInOnePass) {
  const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
      {"aaa", "a", "aa", "aaaaaa"}, // what was put in is not searched again
      {"aaaa", "aa", "a", "aa"},    {"&amp;amp;", "&amp;", "&", "&amp;"},
      {"xyx", "x", "", "y"},        {"abc", "", "z", "abc"},
  };
  for (const auto& [given, from, to, result] : rows) {
    CString value = given;
    text::ReplaceAll(value, from, to);
    EXPECT_EQ(value, result) << given;
  }
  CString value = "A-a-\xC4-\xE4";
  text::ReplaceAllNoCase(value, "a", "<a>");
  EXPECT_EQ(value, "<a>-<a>-\xC4-\xE4");
}

TEST(Text, GoesToUtf8AndBackInWhateverCodePageItIs) {
  struct Row {
    int codePage;
    CString engine;
    std::string host;
    bool back;
  };
  const Row rows[] = {
      {1252, "caf\xE9", "caf\u00E9", true},
      {1252, "caf\u00E9", "caf\u00E9", false}, // UTF-8 stays; a name that is typed becomes the code page's
      {1252, "\u0142", "\u0142", true},        // not in the code page
      {932, "\x83\x5C.txt", "\u30BD.txt", true},
      {932, "a\x83", "a\uFFFD", false}, // half a character
      {1252, "", "", true},
  };
  for (const auto& [codePage, engine, host, back] : rows) {
    const CodePage inForce(codePage);
    EXPECT_EQ(text::ToUtf8(engine), host);
    EXPECT_EQ(text::FromUtf8(host) == engine, back) << host;
  }
  EXPECT_TRUE(text::IsUtf8("\u00E9\U0001F600"));
  for (const char* broken : {"\xE9", "\xC0\x80", "\xED\xA0\x80", "\xF5\x80\x80\x80", "\xE2\x82"}) {
    EXPECT_FALSE(text::IsUtf8(broken)) << broken;
  }
}

TEST(Text, FoldsAsciiAlone) {
  EXPECT_TRUE(text::EqualNoCase("MENU\xC4", "menu\xC4"));
  EXPECT_FALSE(text::EqualNoCase("\xC4", "\xE4"));
  EXPECT_GT(text::CompareNoCase("\xE4", "z"), 0);
  EXPECT_LT(text::CompareNoCase("ab", "ABC"), 0);
  EXPECT_EQ(text::FindNoCase("a Dynamic x", "dYNAMIC"), 2);
  EXPECT_EQ(text::FindNoCase("abcABC", "abc", 1), 3);
  EXPECT_EQ(text::FindNoCase("abc", "", 4), -1);
  EXPECT_TRUE(text::EndsWithNoCase("x.KEI", ".kei"));
  EXPECT_EQ(text::Lower(CString("A\0B", 3)), CString("a\0b", 3));
}

TEST(Text, SecondBytesAreNeitherFoldedNorFound) {
  const CodePage shiftJis(932);
  EXPECT_FALSE(text::EqualNoCase(kUpperTrail, kLowerTrail));
  EXPECT_EQ(text::Lower(CString(kUpperTrail) + "A"), CString(kUpperTrail) + "a");
  EXPECT_EQ(text::FindNoCase(CString(kUpperTrail) + "A", "a"), 2);
  EXPECT_FALSE(text::EndsWithNoCase(kUpperTrail, "a"));
  CString value = CString(kUpperTrail) + "A";
  text::ReplaceAllNoCase(value, "a", "b");
  EXPECT_EQ(value, CString(kUpperTrail) + "b");
  // a lead byte at the end has no second byte to step over
  EXPECT_EQ(text::FindNoCase("A\x83", "a"), 0);
  EXPECT_EQ(text::FindLastBackslash("x\\\x83"), 1U);
}

TEST(Text, TrimsTheSixBlanks) {
  CString value = " \t\r\n\v\f a b \f\v\n\r\t ";
  text::Trim(value);
  EXPECT_EQ(value, "a b");
  EXPECT_EQ(text::Trimmed(std::string_view("\0 ", 2)), std::string_view("\0", 1));
}

TEST(Text, FormatsWhatIsGivenAndNothingElse) {
  const std::pair<const char*, const char*> rows[] = {
      {"%s has %d", "name has 7"},
      {"%2$d of %1$s", "7 of name"},
      {"[%8s][%-8s][%.2s]", "[    name][][]"}, // the second argument is a number, the third is missing
      {"[%1$-6s][%2$4d][%2$04u]", "[name  ][   7][0007]"},
      {"100%% of %s", "100% of name"},
      {"%n%n%s%p", ""}, // nothing is written, nothing that was not given is read
      {"%*.*s", "name"},
      {"%0$s", "name"},
      {"%ld%lu", "7"},
      {"%", "%"},
  };
  for (const auto& [format, result] : rows) {
    EXPECT_EQ(text::Format(format, {CString("name"), 7}), result) << format;
  }
  EXPECT_EQ(text::Format("%s", {"%s%n"}), "%s%n");
  EXPECT_EQ(text::Format("%04d", {-5}), "-005");
  EXPECT_LE(text::Format("%99999999999999999999s", {"x"}).size(), 1024U);
}

TEST(Text, HashesAsTheStandardSaysWithTheProcessorsInstructionsAndWithout) {
  const std::pair<std::string, const char*> rows[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"}};
  for (const bool portable : {false, true}) {
    for (const auto& [text, digits] : rows) {
      for (const std::size_t part : {std::size_t{1}, std::size_t{63}, std::size_t{200}, std::size_t{1} << 20}) {
        Sha256 hash(portable);
        for (std::size_t at = 0; at < text.size(); at += part) {
          hash.Add(text.data() + at, std::min(part, text.size() - at));
        }
        EXPECT_EQ(hash.Finish(), digits) << portable << " " << part;
      }
    }
  }
}

TEST(VersionNumber, ReadsWhatItWrites) {
  const std::pair<const char*, const char*> rows[] = {
      {"3.0.644", "3.0.644"}, {"1", "1.0"},       {"2.1.0", "2.1.0"},          {"6.0.", "6.0"}, {"", "0.0"},
      {"4.02", "4.2"},        {" 3.0", "0.0"},    {"3..5", "3.0.5"},           {"-1.0", "0.0"}, {"1.2.3.4", "1.2.3"},
      {"2.5beta.9", "2.5"},   {"0.0.5", "0.0.5"}, {"4294967297.1", "65535.1"},
  };
  for (const auto& [dotted, textBack] : rows) {
    const CKestVersionNumber version{std::string_view(dotted)};
    EXPECT_EQ(version.ToText(), textBack) << dotted;
    EXPECT_EQ(version.Compare(version.ToText()), 0);
  }
}

TEST(VersionNumber, ComparesNumberByNumber) {
  const CKestVersionNumber ten("4.10");
  EXPECT_GT(ten.Compare("4.9"), 0); // as one decimal number it would be smaller
  EXPECT_LT(ten.Compare("4.10.1"), 0);
  EXPECT_LT(ten.Compare("5"), 0);
  EXPECT_DOUBLE_EQ(CKestVersionNumber("6.25").ToDouble(), 6.25);
  EXPECT_GT(CKestVersionNumber("0.0.1").ToDouble(), 0.0); // set, so not 0.0
}

} // namespace
} // namespace kest
