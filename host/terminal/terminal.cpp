#include "host/terminal/terminal.h"

#include "host/options.h"
#include "host/terminal/console.h"
#include "host/terminal/text_width.h"
#include "manager/extension_manager.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>

namespace kest::host {
namespace {

using console::kError;
using console::kOutput;
using console::WriteAll;

int NumberFrom(const char* variable) {
  const char* text = std::getenv(variable);
  const int number = text ? std::atoi(text) : 0;
  return number > 0 && number < 10000 ? number : 0;
}

const char* CodeOf(Style style) {
  switch (style) {
  case Style::kError:
    return "\033[1;31m";
  case Style::kWarning:
    return "\033[33m";
  case Style::kStrong:
    return "\033[1m";
  case Style::kFaint:
    return "\033[2m";
  case Style::kAdded:
    return "\033[32m";
  case Style::kRemoved:
    return "\033[31m";
  case Style::kPlace:
    return "\033[36m";
  case Style::kPlain:
    break;
  }
  return "";
}

std::string Painted(bool colour, Style style, std::string_view text) {
  return colour && style != Style::kPlain ? std::string(CodeOf(style)) + std::string(text) + "\033[0m"
                                          : std::string(text);
}

} // namespace

Terminal::Terminal() {
  console::Prepare();
  m_outIsTerminal = console::IsTerminal(kOutput);
}

Terminal::~Terminal() {
  ClearProgress();
  if (m_log >= 0) {
    console::CloseLog(m_log);
  }
}

bool Terminal::Configure(const Options& options) {
  const bool errorIsTerminal = console::IsTerminal(kError);
  const char* noColor = std::getenv("NO_COLOR");
  const bool dumb = !console::UnderstandsColours();
  const auto wanted = [&](const std::string& when, bool terminal, bool fit) {
    return when == "always" || (when != "never" && terminal && fit);
  };
  const bool colours = !dumb && !(noColor && *noColor);
  m_colorError = wanted(options.color, errorIsTerminal, colours);
  m_colorData = wanted(options.color, m_outIsTerminal, colours) && !options.json;
  m_progress = wanted(options.progress, errorIsTerminal, !dumb) && !options.quiet;
  m_canAsk = console::IsTerminal(console::kInput) && errorIsTerminal && !options.noInput;
  m_quiet = options.quiet;
  console::SetSaysWhatItDoes(errorIsTerminal && !dumb && !options.quiet);
  if (!options.log.empty()) {
    m_log = console::OpenLog(options.log);
    return m_log >= 0;
  }
  return true;
}

int Terminal::GetTableWidth() const {
  if (!m_outIsTerminal) {
    return 0;
  }
  const int columns = NumberFrom("COLUMNS");
  const int window = console::SizeOf(kOutput).columns;
  return columns ? columns : window ? window : 80;
}

int Terminal::GetWidth() const {
  const int columns = NumberFrom("COLUMNS");
  const int window = console::SizeOf(kError).columns;
  return columns ? columns : window ? window : 80;
}

int Terminal::GetHeight() const {
  const int lines = NumberFrom("LINES");
  const int window = console::SizeOf(kError).lines;
  return lines ? lines : window ? window : 24;
}

bool Terminal::Flush() {
  const bool written = m_dataError == 0 && WriteAll(kOutput, m_data);
  if (!written && m_dataError == 0 && errno != EPIPE) {
    m_dataError = errno;
  }
  m_data.clear();
  return written;
}

void Terminal::WriteError(std::string_view text) {
  ClearProgress();
  Flush(); // what a reader of both sees first comes first
  WriteAll(kError, text);
}

void Terminal::Notice(std::string_view line) {
  const std::string shown = m_typedPaths.In(std::string(line));
  Log(shown);
  if (!m_quiet) {
    WriteError(shown + "\n");
  }
}

void Terminal::Say(std::string_view line) {
  const std::string shown = m_typedPaths.In(std::string(line));
  Log(shown);
  WriteError(shown + "\n");
}

void Terminal::Log(std::string_view line) {
  if (m_log >= 0) {
    WriteAll(m_log, std::string(line) + "\n");
  }
}

void Terminal::Data(std::string_view text) {
  constexpr std::size_t kMostKept = 1 << 20;
  m_data += text;
  if (m_data.size() > kMostKept) {
    Flush();
  }
}

std::string Terminal::Paint(Style style, std::string_view text) const { return Painted(m_colorError, style, text); }
std::string Terminal::PaintData(Style style, std::string_view text) const { return Painted(m_colorData, style, text); }

bool Terminal::WasInterrupted() { return console::WasInterrupted(); }
void Terminal::SetInterruptible(CKestExtensionManager* engine) { console::SetInterruptible(engine); }

void Terminal::PassOnInterrupt() {
  CKestExtensionManager* const engine = console::GetInterruptible();
  if (WasInterrupted() && engine) {
    engine->RequestCancel();
  }
}

void Terminal::SetWorking(bool working) { console::SetWorking(working); }

Terminal::Answer Terminal::Ask(std::string_view prompt, std::string& line) {
  WriteError(prompt);
  for (;;) {
    const std::size_t end = m_typed.find('\n');
    if (end != std::string::npos) {
      line = m_typed.substr(0, end);
      m_typed.erase(0, end + 1);
      Log(std::string(prompt) + line);
      return Answer::kLine;
    }
    if (const Answer more = ReadMore(); more != Answer::kLine) {
      return more;
    }
  }
}

Terminal::Answer Terminal::AskKey(std::string_view prompt, char& key) {
  Answer answer = Answer::kLine;
  {
    const console::KeyByKey keys; // before anybody can see that a key is waited for
    WriteError(prompt);
    while (m_typed.empty() && answer == Answer::kLine) {
      answer = ReadMore();
    }
  }
  if (answer != Answer::kLine) {
    return answer;
  }
  key = m_typed.front();
  m_typed.erase(0, 1);
  WriteAll(kError, "\n");
  constexpr char kEndOfInput = 4; // Ctrl-D
  return key == kEndOfInput ? Answer::kEnd : Answer::kLine;
}

// Waits for what is typed next. kLine: something was; kEnd and kInterrupted as they say.
Terminal::Answer Terminal::ReadMore() {
  for (;;) {
    const console::Typed typed = console::Read(m_typed);
    if (typed == console::Typed::kInterrupted || typed == console::Typed::kEnd) {
      WriteAll(kError, "\n");
      return typed == console::Typed::kEnd ? Answer::kEnd : Answer::kInterrupted;
    }
    if (typed == console::Typed::kBytes) {
      return Answer::kLine;
    }
  }
}

void Terminal::DrawProgress(std::string_view caption, int position, int range) {
  if (!m_progress || range <= 0) {
    return;
  }
  const int done = std::clamp(position, 0, range);
  // ten frames a second are as many as anybody sees; the first and the last are always drawn
  constexpr auto kFrame = std::chrono::milliseconds(100);
  const auto now = std::chrono::steady_clock::now();
  if (!m_drawn.empty() && done < range && now - m_drawnAt < kFrame) {
    return;
  }
  m_drawnAt = now;
  const std::string numbers = "  " + std::to_string(done) + "/" + std::to_string(range);
  const int room = GetWidth() - 1 - DisplayWidth(caption) - DisplayWidth(numbers) - 5;
  const int bar = std::clamp(room, 0, 20);
  std::string line(caption);
  if (bar >= 5) {
    const auto full = static_cast<std::size_t>(static_cast<long long>(bar) * done / range);
    line += "   [" + std::string(full, '#') + std::string(static_cast<std::size_t>(bar) - full, '-') + "]";
  }
  line = FitToWidth(line + numbers, GetWidth() - 1);
  if (line != m_drawn) {
    m_drawn = line;
    WriteAll(kError, "\r" + line + "\033[K");
  }
}

void Terminal::ClearProgress() {
  if (!m_drawn.empty()) {
    m_drawn.clear();
    WriteAll(kError, "\r\033[K");
  }
}

} // namespace kest::host
