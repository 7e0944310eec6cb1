#include "host/terminal/terminal.h"

#include "host/options.h"
#include "host/terminal/text_width.h"
#include "manager/extension_manager.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace kest::host {
namespace {

constexpr int kInput = 0;
constexpr int kOutput = 1;
constexpr int kError = 2;

// Ctrl-C is a byte in a pipe, so that a question waiting for input wakes up whenever it comes.
volatile std::sig_atomic_t g_interrupted = 0;
int g_wake[2] = {-1, -1};
std::atomic<CKestExtensionManager*> g_engine{nullptr};
std::atomic<bool> g_working{false};
std::atomic<bool> g_saysWhatItDoes{false};

extern "C" void OnInterrupt(int) {
  const int saved = errno;
  g_interrupted = 1;
  if (CKestExtensionManager* const engine = g_engine.load()) {
    engine->RequestCancel();
    if (g_working && g_saysWhatItDoes) {
      constexpr char kLine[] = "\r\033[KTaking back what was done ...\n";
      const ssize_t unseen = write(kError, kLine, sizeof kLine - 1);
      (void)unseen;
    }
  }
  const char byte = 0;
  const ssize_t ignored = write(g_wake[1], &byte, 1);
  (void)ignored;
  errno = saved;
}

bool WriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(descriptor, text.data(), text.size());
    if (count < 0 && errno == EAGAIN) {
      pollfd ready{descriptor, POLLOUT, 0};
      poll(&ready, 1, -1);
    } else if (count < 0 && errno != EINTR) {
      return false;
    } else if (count > 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    }
  }
  return true;
}

// A file opened later must not take the place of a closed output: what is written there has to fail.
void OccupyStandardDescriptors() {
  for (int descriptor = kInput; descriptor <= kError; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) {
      static_cast<void>(open("/dev/null", descriptor == kInput ? O_WRONLY : O_RDONLY));
    }
  }
}

int NumberFrom(const char* variable) {
  const char* text = std::getenv(variable);
  const int number = text ? std::atoi(text) : 0;
  return number > 0 && number < 10000 ? number : 0;
}

winsize SizeOf(int descriptor) {
  winsize size{};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0) {
    size = {};
  }
  return size;
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
  OccupyStandardDescriptors();
  std::signal(SIGPIPE, SIG_IGN);
  if (g_wake[0] < 0 && pipe2(g_wake, O_CLOEXEC | O_NONBLOCK) == 0) {
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    // A second Ctrl-C ends the process; what it left is taken back at the next start.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
  }
  m_outIsTerminal = isatty(kOutput) == 1;
}

Terminal::~Terminal() {
  ClearProgress();
  if (m_log >= 0) {
    close(m_log);
  }
}

bool Terminal::Configure(const Options& options) {
  const bool errorIsTerminal = isatty(kError) == 1;
  const char* term = std::getenv("TERM");
  const char* noColor = std::getenv("NO_COLOR");
  const bool dumb = !term || !*term || std::string_view(term) == "dumb";
  const auto wanted = [&](const std::string& when, bool terminal, bool fit) {
    return when == "always" || (when != "never" && terminal && fit);
  };
  const bool colours = !dumb && !(noColor && *noColor);
  m_colorError = wanted(options.color, errorIsTerminal, colours);
  m_colorData = wanted(options.color, m_outIsTerminal, colours) && !options.json;
  m_progress = wanted(options.progress, errorIsTerminal, !dumb) && !options.quiet;
  m_canAsk = isatty(kInput) == 1 && errorIsTerminal && !options.noInput;
  m_quiet = options.quiet;
  g_saysWhatItDoes = errorIsTerminal && !dumb && !options.quiet;
  if (!options.log.empty()) {
    m_log = open(options.log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    return m_log >= 0;
  }
  return true;
}

int Terminal::GetTableWidth() const {
  if (!m_outIsTerminal) {
    return 0;
  }
  const int columns = NumberFrom("COLUMNS");
  const int window = SizeOf(kOutput).ws_col;
  return columns ? columns : window ? window : 80;
}

int Terminal::GetWidth() const {
  const int columns = NumberFrom("COLUMNS");
  const int window = SizeOf(kError).ws_col;
  return columns ? columns : window ? window : 80;
}

int Terminal::GetHeight() const {
  const int lines = NumberFrom("LINES");
  const int window = SizeOf(kError).ws_row;
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

std::string Terminal::Paint(Style style, std::string_view text) const { return Painted(m_colorError, style, text); }
std::string Terminal::PaintData(Style style, std::string_view text) const { return Painted(m_colorData, style, text); }

bool Terminal::WasInterrupted() { return g_interrupted != 0; }
void Terminal::SetInterruptible(CKestExtensionManager* engine) { g_engine.store(engine); }

void Terminal::PassOnInterrupt() {
  CKestExtensionManager* const engine = g_engine.load();
  if (WasInterrupted() && engine) {
    engine->RequestCancel();
  }
}

void Terminal::SetWorking(bool working) { g_working = working; }

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
  WriteError(prompt);
  termios before{};
  const bool isTerminal = tcgetattr(kInput, &before) == 0;
  if (isTerminal) {
    termios byKey = before;
    byKey.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    byKey.c_cc[VMIN] = 1;
    byKey.c_cc[VTIME] = 0;
    tcsetattr(kInput, TCSANOW, &byKey);
  }
  Answer answer = Answer::kLine;
  while (m_typed.empty() && answer == Answer::kLine) {
    answer = ReadMore();
  }
  if (isTerminal) {
    tcsetattr(kInput, TCSANOW, &before);
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
    pollfd waiting[2] = {{kInput, POLLIN, 0}, {g_wake[0], POLLIN, 0}};
    if (!WasInterrupted() && poll(waiting, 2, -1) < 0 && errno != EINTR) {
      return Answer::kEnd;
    }
    if (WasInterrupted()) {
      WriteAll(kError, "\n");
      return Answer::kInterrupted;
    }
    if (waiting[0].revents == 0) {
      continue;
    }
    char buffer[512];
    const ssize_t count = read(kInput, buffer, sizeof buffer);
    if (count <= 0 && errno != EINTR) {
      WriteAll(kError, "\n");
      return Answer::kEnd;
    }
    if (count > 0) {
      m_typed.append(buffer, static_cast<std::size_t>(count));
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
