#include "host/terminal/console_ui.h"

#include "host/options.h"
#include "host/terminal/terminal.h"
#include "host/terminal/text_width.h"
#include "platform/machine/os.h"
#include "platform/messages/messages.h"
#include "platform/text/path.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kest::host {
namespace {

constexpr int kMostAttempts = 3;
constexpr std::int64_t kBetweenLooks = 100; ///< milliseconds between two looks at a file in use

int NumberOf(Message message) { return static_cast<int>(message); }

/// A yes/no question of the engine: what answers it, and what a bare Return means.
struct YesNoRule {
  Message number;
  bool byDefault;
  const char* flag;
  bool (*answered)(const Options&);
};

constexpr YesNoRule kYesNoRules[] = {
    {Message::kNewerVersion, true, "--yes", [](const Options& o) { return o.yes; }},
    {Message::kEqualVersion, false, "--reinstall", [](const Options& o) { return o.reinstall; }},
    {Message::kOlderVersion, false, "--allow-downgrade", [](const Options& o) { return o.allowDowngrade; }},
    {Message::kDescriptionNameTaken, false, "--on-clash disable", [](const Options& o) { return !o.onClash.empty(); }},
    {Message::kRemoveUserCopies, false, "--per-user remove", [](const Options& o) { return !o.perUser.empty(); }},
};

const char* WordOf(int style, int button) {
  if (style == kOverwrite) {
    return button == kNo ? "keep" : button == kCancel ? "cancel" : button == kAll ? "all" : "overwrite";
  }
  return button == kYes ? "yes" : button == kNo ? "no" : button == kRetry ? "retry" : "cancel";
}

std::string DateText(const CKestDateTime& date) {
  return fmt::format("{:%Y-%m-%d}", fmt::gmtime(static_cast<std::time_t>(date.GetSeconds())));
}

// Whether no program that closes a file would help: the machine refused for another reason.
bool IsBeyondWaiting(const MachineError& error) {
  using Kind = MachineError::Kind;
  return error.kind == Kind::kAccess || error.kind == Kind::kRefused || error.kind == Kind::kDiskFull;
}

// Lines of an engine text, without CR, fit for a terminal.
std::string Lines(const char* text) { return ForTerminal(ToUtf8(text ? text : ""), true); }

} // namespace

ConsoleUi::ConsoleUi(Terminal& terminal, const Options& options) : m_terminal(terminal), m_options(options) {}

void ConsoleUi::Begin() {
  Terminal::SetWorking(false);
  m_outcome = {};
  m_number = 0;
  m_arguments.clear();
  m_deadline = -1;
  m_several = false;
}

void ConsoleUi::BeginSeveral() {
  Begin();
  m_several = true;
}

const Outcome& ConsoleUi::GetOutcome() {
  m_outcome.interrupted |= Terminal::WasInterrupted();
  return m_outcome;
}

void ConsoleUi::OnMessage(int number, const CString* arguments, int count) {
  m_number = number;
  m_arguments.assign(arguments, arguments + count);
}

void ConsoleUi::Miss(const char* flag, const std::string& question) {
  if (m_outcome.missingFlag.empty()) {
    m_outcome.missingFlag = flag;
    m_outcome.question = question;
  }
}

bool ConsoleUi::Leave(const char* flag, const std::string& question, bool isAnswered, const char* taken) {
  if (!m_options.dryRun) {
    return false;
  }
  m_outcome.open.push_back({question, flag, isAnswered, taken});
  return true;
}

std::optional<int> ConsoleUi::Pick(const std::string& prompt, const std::vector<Choice>& choices, int byDefault) {
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    std::string line;
    const Terminal::Answer answer = m_terminal.Ask(prompt, line);
    if (answer != Terminal::Answer::kLine) {
      m_outcome.interrupted = answer == Terminal::Answer::kInterrupted;
      m_outcome.declined = true;
      return std::nullopt;
    }
    text::Trim(line);
    if (line.empty() && byDefault != 0) {
      return byDefault;
    }
    for (const Choice& choice : choices) {
      // Without a default the word has to be typed out.
      if (byDefault == 0 ? text::EqualNoCase(choice.word, line)
                         : !line.empty() && text::StartsWithNoCase(choice.word, line)) {
        return choice.button;
      }
    }
  }
  m_terminal.Say("No sensible answer: cancelled.");
  m_outcome.declined = true;
  return std::nullopt;
}

bool ConsoleUi::Confirm(const std::string& question, bool byDefault, bool answered, const char* flag) {
  if (Leave(flag, question, answered, "yes") || answered) {
    return true;
  }
  if (!m_terminal.CanAsk()) {
    Miss(flag, question);
    return false;
  }
  const int button =
      Pick(question + (byDefault ? " [Y/n] " : " [y/N] "), {{"yes", kYes}, {"no", kNo}}, byDefault ? kYes : kNo)
          .value_or(kNo);
  m_outcome.declined = button == kNo;
  return button == kYes;
}

int ConsoleUi::AnswerYesNo(int number, const std::string& text) {
  const bool onTokens = number == NumberOf(Message::kCancelInstall);
  if (GetOutcome().Stopped() || onTokens) {
    m_outcome.declined = true;
    return kNo;
  }
  const auto* rule = std::find_if(std::begin(kYesNoRules), std::end(kYesNoRules),
                                  [&](const YesNoRule& row) { return NumberOf(row.number) == number; });
  if (rule == std::end(kYesNoRules)) {
    return Confirm(text, false, m_options.yes, "--yes") ? kYes : kNo;
  }
  const bool equal = rule->number == Message::kEqualVersion;
  if (equal && !m_options.reinstall && (m_options.yes || m_options.dryRun || !m_terminal.CanAsk())) {
    m_outcome.equal = true;
    return kNo;
  }
  return Confirm(text, rule->byDefault, rule->answered(m_options), rule->flag) ? kYes : kNo;
}

std::string ConsoleUi::DescribeExisting(int number) const {
  const CString path = m_arguments.empty() ? CString() : m_arguments.front();
  const char* how = number == NumberOf(Message::kExistingNewer)   ? "newer than"
                    : number == NumberOf(Message::kExistingOlder) ? "older than"
                                                                  : "as old as";
  std::string dates;
  CKestDateTime there;
  if (CKestOS::GetFileDateTime(path, there)) {
    const CString name = CKestPath(path).GetFileName();
    const PackageEntry* found = nullptr;
    int count = 0;
    for (const PackageEntry& entry : m_entries) {
      if (text::EqualNoCase(CKestPath(entry.name).GetFileName(), name)) {
        found = &entry;
        ++count;
      }
    }
    dates = count == 1 ? fmt::format(" ({} against {})", DateText(there), DateText(found->date))
                       : fmt::format(" ({})", DateText(there));
  }
  return fmt::format("{}\n  exists and is {} the package's{}", Shown(path), how, dates);
}

int ConsoleUi::AnswerOverwrite(int number, const std::string& text) {
  if (GetOutcome().Stopped()) {
    return kCancel;
  }
  const bool newer = number == NumberOf(Message::kExistingNewer);
  const char* const flag = newer ? "--on-existing overwrite|keep" : "--yes, or --on-existing overwrite|keep";
  if (!m_options.onExisting.empty()) {
    static_cast<void>(Leave(flag, DescribeExisting(number), true, m_options.onExisting.c_str()));
    m_outcome.declined = m_options.onExisting == "cancel";
    return m_options.onExisting == "overwrite" ? kYes : m_options.onExisting == "keep" ? kNo : kCancel;
  }
  if (Leave(flag, DescribeExisting(number), m_options.yes && !newer, newer ? "keep" : "overwrite")) {
    return newer ? kNo : kYes;
  }
  if (m_options.yes && !newer) {
    return kYes;
  }
  if (!m_terminal.CanAsk()) {
    Miss(flag, text);
    return kCancel;
  }
  m_terminal.Say(DescribeExisting(number));
  const auto button =
      Pick(fmt::format("  [o]verwrite  [k]eep  [a]ll overwrite  [c]ancel  (default {}): ", newer ? "k" : "o"),
           {{"overwrite", kYes}, {"keep", kNo}, {"all", kAll}, {"cancel", kCancel}}, newer ? kNo : kYes);
  m_outcome.declined |= button.value_or(kCancel) == kCancel;
  return button.value_or(kCancel);
}

int ConsoleUi::AnswerInUse(const std::string& text) {
  if (GetOutcome().Stopped()) {
    return kCancel;
  }
  const MachineError error = CKestOS::GetMachine().GetLastError();
  if (m_options.dryRun) {
    m_outcome.inUse = !IsBeyondWaiting(error);
    return kCancel;
  }
  if (IsBeyondWaiting(error) && (m_options.wait >= 0 || !m_terminal.CanAsk())) {
    return kCancel; // the engine tells the reason
  }
  if (m_options.wait >= 0) {
    const auto now = [] { return CKestOS::GetMachine().MonotonicMilliseconds(); };
    if (m_deadline < 0) {
      m_deadline = now() + std::int64_t{m_options.wait} * 1000;
    }
    // the engine may look again at once, and would then ask thousands of times
    const std::int64_t next = std::min(now() + kBetweenLooks, m_deadline);
    while (now() < next && !GetOutcome().Stopped()) {
      CKestOS::AllowBackgroundProcessing();
    }
    m_outcome.inUse = now() >= m_deadline;
    return m_outcome.inUse || GetOutcome().Stopped() ? kCancel : kRetry;
  }
  if (!m_terminal.CanAsk()) {
    Miss("--wait SEC", text);
    return kCancel;
  }
  m_terminal.Say(text);
  if (IsBeyondWaiting(error)) {
    m_terminal.Say("  (" + Shown(error.reason) + ")");
  }
  const auto button = Pick("[r]etry  [c]ancel  (default r): ", {{"retry", kRetry}, {"cancel", kCancel}}, kRetry);
  m_outcome.declined |= button.value_or(kCancel) == kCancel;
  return button.value_or(kCancel);
}

int ConsoleUi::ShowMessage(const char* text, int style) {
  const int number = std::exchange(m_number, 0);
  ShownMessage shown{number, style, Lines(text), ""};
  std::vector<ShownMessage>& messages = m_outcome.messages;
  // a file in use is asked about until it is free: that is one question
  const bool again = style == kRetryCancel && !messages.empty() && messages.back().text == shown.text;
  if (again) {
    messages.pop_back();
  } else {
    m_terminal.Log(fmt::format("message {}: {}", number, shown.text));
  }
  int button = kOk;
  switch (style) {
  case kYesNo:
    button = AnswerYesNo(number, shown.text);
    break;
  case kRetryCancel:
    button = AnswerInUse(shown.text);
    break;
  case kOverwrite:
    button = AnswerOverwrite(number, shown.text);
    break;
  default:
    break;
  }
  shown.answer = style == kNotice ? "" : WordOf(style, button);
  messages.push_back(std::move(shown));
  return button;
}

bool ConsoleUi::ShowPages(const std::string& text) {
  const int page = std::max(m_terminal.GetHeight() - 2, 5);
  std::size_t at = 0;
  for (int line = 0; at < text.size(); ++line) {
    if (line > 0 && line % page == 0) {
      char key = 0;
      const Terminal::Answer answer = m_terminal.AskKey("-- more: any key goes on, q leaves -- ", key);
      if (answer != Terminal::Answer::kLine) {
        m_outcome.interrupted = answer == Terminal::Answer::kInterrupted;
        m_outcome.declined = true;
        return false;
      }
      if (key == 'q' || key == 'Q') {
        return true;
      }
    }
    const std::size_t end = std::min(text.find('\n', at), text.size());
    m_terminal.Say(text.substr(at, end - at));
    at = end + 1;
  }
  return true;
}

bool ConsoleUi::ConfirmAgreement(const char* prompt, const char* agreement) {
  const int number = std::exchange(m_number, 0);
  ShownMessage shown{number, kYesNo, Lines(prompt), "no"};
  bool accepted = m_options.acceptAgreement && !GetOutcome().Stopped();
  if (!GetOutcome().Stopped() && Leave("--accept-agreement", shown.text, accepted, "yes")) {
    accepted = true;
  }
  if (!accepted && !GetOutcome().Stopped()) {
    if (!m_terminal.CanAsk()) {
      Miss("--accept-agreement", shown.text);
    } else {
      const std::string text = WrapToWidth(Lines(agreement), m_terminal.GetWidth());
      m_terminal.Say(shown.text);
      const auto lines = std::count(text.begin(), text.end(), '\n');
      m_terminal.Say(fmt::format("({} lines, q leaves)\n", lines));
      if (ShowPages(text)) {
        accepted = Pick("Accept? Type yes or no: ", {{"yes", kYes}, {"no", kNo}}, 0).value_or(kNo) == kYes;
      }
      m_outcome.declined |= !accepted;
    }
  }
  shown.answer = accepted ? "yes" : "no";
  m_outcome.messages.push_back(std::move(shown));
  return accepted;
}

bool ConsoleUi::ChooseFolder(const CString& prompt, const CString& initialFolder, int, CString& folder) {
  const std::string asked = m_arguments.empty() ? prompt : m_arguments.front();
  m_number = 0;
  if (GetOutcome().Stopped()) {
    return false;
  }
  const auto token = m_tokens.find(asked);
  if (token != m_tokens.end() && !token->second.chosen.empty()) {
    folder = token->second.chosen;
    return true;
  }
  if (m_options.dryRun && !initialFolder.empty()) {
    static_cast<void>(Leave(("--set " + (token != m_tokens.end() ? token->second.name : "TOKEN") + "=DIR").c_str(),
                            "Folder for \"" + Shown(asked) + "\"", !m_terminal.CanAsk(), Shown(initialFolder).c_str()));
  }
  if (!m_terminal.CanAsk() || m_options.dryRun) {
    if (initialFolder.empty() || (token != m_tokens.end() && token->second.mustAnswer)) {
      Miss(("--set " + (token != m_tokens.end() ? token->second.name : "TOKEN") + "=DIR").c_str(), Shown(asked));
      return false;
    }
    m_outcome.notThere = m_complain ? m_complain(initialFolder) : "";
    folder = initialFolder;
    return m_outcome.notThere.empty();
  }
  const CString shownFolder = initialFolder.size() > 3 ? WithoutBackslash(initialFolder) : initialFolder;
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    std::string line;
    const Terminal::Answer answer =
        m_terminal.Ask(fmt::format("Folder for \"{}\" [{}]: ", Shown(asked), Shown(shownFolder)), line);
    if (answer != Terminal::Answer::kLine) {
      m_outcome.interrupted = answer == Terminal::Answer::kInterrupted;
      break;
    }
    text::Trim(line);
    folder = line.empty() ? initialFolder : m_readFolder ? CString(m_readFolder(line)) : CString(line);
    const std::string complaint = m_complain ? m_complain(line.empty() ? initialFolder : CString(line)) : "";
    if (!folder.empty() && complaint.empty()) {
      return true;
    }
    m_terminal.Say((complaint.empty() ? "That is no folder of this machine" : complaint) +
                   "; give one like C:\\Sites\\Templates.");
  }
  m_outcome.declined = true;
  return false;
}

void ConsoleUi::BeginWait() {
  Terminal::SetWorking(true);
  Terminal::PassOnInterrupt();
}

void ConsoleUi::BeginProgress(const char* caption, const char*, int) {
  Terminal::SetWorking(true);
  Terminal::PassOnInterrupt();
  m_caption = Shown(caption ? caption : "");
  m_range = 0;
}

void ConsoleUi::SetProgressRange(int upper) { m_range = upper; }

void ConsoleUi::SetProgressPosition(int position) {
  if (m_several) {
    m_outcome.declined = false;
    m_outcome.inUse = false;
    m_outcome.equal = false;
    m_deadline = -1;
  }
  m_terminal.DrawProgress(m_caption, position, m_range);
}

void ConsoleUi::EndProgress() { m_terminal.ClearProgress(); }

} // namespace kest::host
