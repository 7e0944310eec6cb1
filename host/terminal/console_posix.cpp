#include "host/terminal/console.h"

#include "manager/extension_manager.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace kest::host::console {
namespace {

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

// A file opened later must not take the place of a closed output: what is written there has to fail.
void OccupyStandardDescriptors() {
  for (int descriptor = kInput; descriptor <= kError; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) {
      static_cast<void>(open("/dev/null", descriptor == kInput ? O_WRONLY : O_RDONLY));
    }
  }
}

} // namespace

void Prepare() {
  OccupyStandardDescriptors();
  std::signal(SIGPIPE, SIG_IGN);
  if (g_wake[0] < 0 && pipe2(g_wake, O_CLOEXEC | O_NONBLOCK) == 0) {
    struct sigaction action {};
    action.sa_handler = OnInterrupt;
    // A second Ctrl-C ends the process; what it left is taken back at the next start.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
  }
}

bool IsTerminal(int stream) { return isatty(stream) == 1; }

bool UnderstandsColours() {
  const char* term = std::getenv("TERM");
  return term && *term && std::string_view(term) != "dumb";
}

Size SizeOf(int stream) {
  winsize size{};
  return ioctl(stream, TIOCGWINSZ, &size) != 0 ? Size{} : Size{size.ws_col, size.ws_row};
}

bool WriteAll(int stream, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(stream, text.data(), text.size());
    if (count < 0 && errno == EAGAIN) {
      pollfd ready{stream, POLLOUT, 0};
      poll(&ready, 1, -1);
    } else if (count < 0 && errno != EINTR) {
      return false;
    } else if (count > 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    }
  }
  return true;
}

int OpenLog(const std::string& path) { return open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666); }

void CloseLog(int stream) { close(stream); }

Typed Read(std::string& bytes) {
  pollfd waiting[2] = {{kInput, POLLIN, 0}, {g_wake[0], POLLIN, 0}};
  if (!WasInterrupted() && poll(waiting, 2, -1) < 0 && errno != EINTR) {
    return Typed::kEnd;
  }
  if (WasInterrupted()) {
    return Typed::kInterrupted;
  }
  if (waiting[0].revents == 0) {
    return Typed::kNothing;
  }
  char buffer[512];
  const ssize_t count = read(kInput, buffer, sizeof buffer);
  if (count <= 0) {
    return count < 0 && errno == EINTR ? Typed::kNothing : Typed::kEnd;
  }
  bytes.append(buffer, static_cast<std::size_t>(count));
  return Typed::kBytes;
}

KeyByKey::KeyByKey() {
  termios before{};
  if (tcgetattr(kInput, &before) == 0) {
    m_before = std::make_shared<termios>(before);
    before.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    before.c_cc[VMIN] = 1;
    before.c_cc[VTIME] = 0;
    tcsetattr(kInput, TCSANOW, &before);
  }
}

KeyByKey::~KeyByKey() {
  if (m_before) {
    tcsetattr(kInput, TCSANOW, static_cast<const termios*>(m_before.get()));
  }
}

void SetWorking(bool working) { g_working = working; }
void SetSaysWhatItDoes(bool says) { g_saysWhatItDoes = says; }
bool WasInterrupted() { return g_interrupted != 0; }
void SetInterruptible(CKestExtensionManager* engine) { g_engine.store(engine); }
CKestExtensionManager* GetInterruptible() { return g_engine.load(); }

} // namespace kest::host::console
