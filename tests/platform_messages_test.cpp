#include "platform/messages/host_ui.h"
#include "platform/messages/message_file.h"
#include "support/source_folder.h"
#include "support/temp_machine.h"

#include <gtest/gtest.h>

#include <set>

namespace kest {
namespace {

// Walks the specifiers of a format by hand, so that a mistake of the formatter cannot hide one of the table.
std::string SpecifiersOf(const std::string& format, const std::string& arguments, std::set<std::size_t>& used) {
  std::string wrong;
  std::size_t next = 0;
  for (std::size_t at = format.find('%'); at != std::string::npos; at = format.find('%', at + 1)) {
    if (format[at + 1] == '%') {
      ++at;
      continue;
    }
    std::size_t index = next++;
    if (format.size() > at + 2 && format[at + 2] == '$') {
      index = static_cast<std::size_t>(format[at + 1] - '1');
      at += 2;
    }
    const char kind = format[at + 1];
    if (index >= arguments.size() || arguments[index] != kind) {
      wrong += kind;
    }
    used.insert(index);
  }
  return wrong;
}

TEST(Messages, FormatsAskForNothingButTheArgumentsOfTheirNumber) {
  int last = 0;
  for (const MessageText& row : GetMessageTable()) {
    EXPECT_LT(last, row.number) << "the table is searched by number";
    last = row.number;
    std::set<std::size_t> used;
    EXPECT_EQ(SpecifiersOf(row.english, row.arguments, used), "") << row.number;
    // The joined question says everything between its halves; a missing right is told without the path.
    const bool partly = row.number == 4017 || row.number == 4160;
    if (!partly) {
      EXPECT_EQ(used.size(), std::string(row.arguments).size()) << row.number;
    }
  }
  const CString joined =
      text::Format(LoadMessage(Message::kDescriptionNameTaken) + LoadMessage(Message::kDescriptionNameTakenAsk),
                   {CString("New"), CString("Old"), CString("file.kei")});
  for (const char* part : {"New", "Old", "file.kei"}) {
    EXPECT_NE(joined.find(part), CString::npos) << joined;
  }
}

/// Another language for some numbers.
class OtherLanguage : public MessageSource {
public:
  OtherLanguage() { SetMessageSource(this); }
  ~OtherLanguage() override { SetMessageSource(nullptr); }
  bool Load(int number, CString& text) override {
    text = "Datei fehlt: %s";
    return number == static_cast<int>(Message::kFileMissing);
  }
};

TEST(Messages, AnotherSourceReplacesWhatItHasAndNothingElse) {
  const CString english = LoadMessage(Message::kInstalled);
  {
    const OtherLanguage other;
    EXPECT_EQ(FormatMessage(Message::kFileMissing, {CString("a.gif")}), "Datei fehlt: a.gif");
    EXPECT_EQ(LoadMessage(Message::kInstalled), english);
  }
  EXPECT_NE(FormatMessage(Message::kFileMissing, {CString("a.gif")}), "Datei fehlt: a.gif");
}

TEST(MessageFile, GermanIsComplete) {
  MessageFile german;
  german.SetText(test::ReadHostFile(test::SourceFolder() + "/host/messages/de.txt"));
  for (const MessageFile::Problem& problem : german.GetProblems()) {
    ADD_FAILURE() << "line " << problem.line << ": " << problem.reason;
  }
  for (const MessageText& row : GetMessageTable()) {
    CString text;
    EXPECT_TRUE(german.Load(row.number, text)) << row.number;
    // the second opinion: what the check of the file let pass
    std::set<std::size_t> used;
    EXPECT_EQ(SpecifiersOf(text, row.arguments, used), "") << row.number;
  }
}

TEST(MessageFile, ALineThatIsWrongIsNamedAndStaysEnglish) {
  for (const char* line : {"4024 \"Es fehlt: %s.\"", "4024\t\"Es fehlt: %1$s, zu 100%%.\"\r", "4028 \"%2$s, %1$s\"",
                           "\xEF\xBB\xBF"
                           "4025 \"a\\tb\\\"c\\\\\"",
                           "4045 \"A\\n\""}) {
    MessageFile file;
    file.SetText(std::string(line) + "\n");
    EXPECT_EQ(file.GetCount(), 1U) << line;
    EXPECT_TRUE(file.GetProblems().empty()) << line;
  }
  for (const char* line :
       {"4033 \"nobody has this number\"", "4024 Es fehlt: %s.", "4024 \"Es fehlt: %s.", "4024 \"Es fehlt: \\%s.\"",
        "4024 \"Es fehlt.\"", "4024 \"Es fehlt: %d.\"", "4024 \"%s fehlt: %s.\"", "4024 \"Es fehlt: %2$s.\"",
        "4024 \"%s: 100%\"", "4025 \"%n\"", "4028 \"von %s nach %s\"", "4045 \"A\""}) {
    MessageFile file;
    file.SetText(std::string("# remark\n\n") + line + "\n");
    EXPECT_EQ(file.GetCount(), 0U) << line;
    ASSERT_EQ(file.GetProblems().size(), 1U) << line;
    EXPECT_EQ(file.GetProblems()[0].line, 3) << line;
    EXPECT_NE(file.GetProblems()[0].reason, "") << line;
  }
  MessageFile twice;
  twice.SetText("4025 \"one\"\n4025 \"two\"\n");
  CString text;
  EXPECT_TRUE(twice.Load(4025, text));
  EXPECT_EQ(text, "one");
  EXPECT_EQ(twice.GetProblems().size(), 1U);
}

} // namespace
} // namespace kest
