#include "platform/host_ui.h"
#include "platform/messages.h"

#include <gtest/gtest.h>

#include <set>

namespace kest {
namespace {

// The numbers of an unbroken range.
void AddRange(std::set<int>& numbers, int first, int last) {
  for (int number = first; number <= last; ++number) {
    numbers.insert(number);
  }
}

TEST(Messages, EveryNumberThatTheEngineUsesHasAText) {
  std::set<int> wanted;
  AddRange(wanted, 4000, 4032);
  for (int number : {4034, 4035, 4036, 4038, 4039, 4040, 4041, 4043, 4108, 4110, 4136}) {
    wanted.insert(number);
  }
  AddRange(wanted, 4045, 4079);
  AddRange(wanted, 4083, 4084);
  AddRange(wanted, 4086, 4107);
  AddRange(wanted, 4111, 4115);
  AddRange(wanted, 4117, 4135);
  AddRange(wanted, 4138, 4172);
  std::set<int> found;
  int last = 0;
  for (const MessageText& row : GetMessageTable()) {
    EXPECT_LT(last, row.number) << "the table is searched by number";
    last = row.number;
    EXPECT_STRNE(row.english, "") << row.number;
    found.insert(row.number);
  }
  EXPECT_EQ(found, wanted);
}

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
  for (const MessageText& row : GetMessageTable()) {
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
  EXPECT_NE(FormatMessage(Message::kFileMissing, {CString("a.gif")}).find("a.gif"), CString::npos);
  EXPECT_NE(FormatMessage(Message::kFileMissing, {CString("a.gif")}), "Datei fehlt: a.gif");
}

TEST(Messages, ANumberThatNobodyHasGivesNothing) {
  CString text = "old";
  EXPECT_FALSE(LoadMessage(4033, text));
  EXPECT_EQ(text, "");
  EXPECT_EQ(FindMessage(3999), nullptr);
  EXPECT_EQ(FindMessage(4173), nullptr);
}

TEST(Messages, TheAgreementIsMadeOfWholeLines) {
  const CString agreement = BuildLegalAgreement();
  EXPECT_EQ(agreement.substr(agreement.size() - 2), "\r\n");
  for (std::size_t at = agreement.find('\n'); at != CString::npos; at = agreement.find('\n', at + 1)) {
    EXPECT_EQ(agreement[at - 1], '\r');
  }
}

} // namespace
} // namespace kest
