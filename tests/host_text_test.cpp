#include "host/terminal/table_printer.h"
#include "host/terminal/text_width.h"
#include "platform/text/text.h"

#include <gtest/gtest.h>

#include <sstream>

namespace kest::host {
namespace {

TEST(TextWidth, CountsColumnsNotBytes) {
  const std::pair<const char*, int> rows[] = {
      {"", 0},
      {"abc", 3},
      {"é", 1},
      {"e\xCC\x81", 1}, // combining accent
      {"画像", 4},
      {"ｶﾅ", 2},
      {"😀", 2},
      {"a\xE2\x80\x8B"
       "b",
       2}, // zero width space
      {"한글", 4},
      {"\xFF\xFE", 2},
      {"\xE7\x94", 2}, // broken bytes count one each
  };
  for (const auto& [text, width] : rows) {
    EXPECT_EQ(DisplayWidth(text), width) << text;
  }
}

TEST(TextWidth, CutsBetweenCharactersAndNeverBeyondTheWidth) {
  const std::string text = "画像ツール tool";
  for (int width = 1; width <= 20; ++width) {
    const std::string cut = FitToWidth(text, width);
    EXPECT_LE(DisplayWidth(cut), width);
    EXPECT_EQ(ToUtf8(cut), cut) << "half a character at " << width;
    EXPECT_EQ(DisplayWidth(PadToWidth(cut, width)), width);
  }
  EXPECT_EQ(FitToWidth(text, 15), text);
}

TEST(TextWidth, WrapsBetweenWordsAndLosesNone) {
  EXPECT_EQ(WrapToWidth("one two  three\n\n  indented", 8), "one two\nthree\n\n\nindented");
  EXPECT_EQ(WrapToWidth("abcdefgh ij", 3), "abc\ndef\ngh\nij");
  const std::string text =
      "The 画像ツール may be used, copied and given away by anybody\nwho_keeps_this_line_with_it.\n";
  for (int width = 2; width <= 60; ++width) {
    const std::string wrapped = WrapToWidth(text, width);
    std::string words;
    std::string line;
    for (const char c : wrapped) {
      if (c == '\n') {
        EXPECT_LE(DisplayWidth(line), width) << wrapped;
        line.clear();
      } else {
        line += c;
      }
      words += c == ' ' || c == '\n' ? "" : std::string(1, c);
    }
    std::string wanted = text;
    std::erase_if(wanted, [](char c) { return c == ' ' || c == '\n'; });
    EXPECT_EQ(words, wanted) << width;
  }
  EXPECT_EQ(WrapToWidth(text, 60), text);
}

TEST(TextWidth, LetsNothingThroughThatDrivesATerminal) {
  EXPECT_EQ(ForTerminal("a\033[2Jb\rc\x07\x7F\xC2\x9B"
                        "d"),
            "a[2Jbcd");
  EXPECT_EQ(ForTerminal("evil\xE2\x80\xAEtxt.exe"), "eviltxt.exe");
  EXPECT_EQ(ForTerminal("one\ntwo\tthree"), "one two three");
  EXPECT_EQ(ForTerminal("one\ntwo", true), "one\ntwo");
  EXPECT_EQ(ShownText("Tom &amp; Jerry &lt;3 &amp;lt;"), "Tom & Jerry <3 &lt;");
}

TEST(TextWidth, ReadsBytesInTheMachinesCodePage) {
  const int before = text::GetCodePage();
  text::SetCodePage(932);
  EXPECT_EQ(ToUtf8("\x89\xE6\x91\x9C"), "画像");
  EXPECT_EQ(ToUtf8("café"), "café") << "UTF-8 stays what it is";
  text::SetCodePage(before);
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

TEST(TablePrinter, FitsATerminalAndIsNeverCutWithoutOne) {
  TablePrinter table({"NAME", "VERSION", "AUTHOR"});
  table.AddRow({"画像ツール", "1.2", "山田"});
  table.AddRow({std::string(70, 'n'), "10.20.30", std::string(40, 'a')});
  for (const int width : {8, 14, 30, 40, 80, 200}) {
    for (const std::string& line : LinesOf(table.Print(width))) {
      EXPECT_LE(DisplayWidth(line), width);
    }
  }
  const auto whole = LinesOf(table.Print(0));
  ASSERT_EQ(whole.size(), 3U);
  EXPECT_NE(whole[2].find(std::string(70, 'n')), std::string::npos);
  EXPECT_NE(whole[2].find(std::string(40, 'a')), std::string::npos);
  // Columns begin at one place in every line, whatever the width of the characters before.
  EXPECT_EQ(DisplayWidth(whole[0].substr(0, whole[0].find("VERSION"))),
            DisplayWidth(whole[1].substr(0, whole[1].find("1.2"))));
}

} // namespace
} // namespace kest::host
