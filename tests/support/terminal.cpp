#include "support/terminal.h"

#include "support/process.h"

#include <cerrno>
#include <chrono>
#include <csignal>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kest::test {

PseudoTerminal::PseudoTerminal(const std::vector<std::string>& command, std::map<std::string, std::string> environment,
                               int columns, int rows) {
  environment.emplace("TERM", "xterm");
  const std::vector<std::string> variables = EnvironmentOf(environment);
  winsize size{};
  size.ws_col = static_cast<unsigned short>(columns);
  size.ws_row = static_cast<unsigned short>(rows);
  m_child = forkpty(&m_master, nullptr, nullptr, &size);
  if (m_child == 0) {
    ExecuteIn(command, variables, "");
  }
}

PseudoTerminal::~PseudoTerminal() {
  if (m_child > 0) {
    kill(m_child, SIGKILL);
    waitpid(m_child, nullptr, 0);
  }
  if (m_master >= 0) {
    close(m_master);
  }
}

bool PseudoTerminal::Read(int milliseconds) {
  pollfd waiting{m_master, POLLIN, 0};
  if (poll(&waiting, 1, milliseconds) == 0) {
    return true;
  }
  char buffer[4096];
  const ssize_t count = read(m_master, buffer, sizeof buffer);
  if (count > 0) {
    m_screen.append(buffer, static_cast<std::size_t>(count));
  }
  return count > 0 || (count < 0 && errno == EINTR);
}

bool PseudoTerminal::WaitFor(const std::string& text, int seconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  bool open = true;
  for (;;) {
    const std::size_t at = m_screen.find(text, m_seen);
    if (at != std::string::npos) {
      m_seen = at + text.size();
      return true;
    }
    if (!open || std::chrono::steady_clock::now() > end) {
      return false;
    }
    open = Read(200);
  }
}

void PseudoTerminal::Type(const std::string& keys) {
  const ssize_t ignored = write(m_master, keys.data(), keys.size());
  (void)ignored;
}

int PseudoTerminal::Finish(int seconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (Read(200) && std::chrono::steady_clock::now() < end) {
  }
  int status = 0;
  bool killed = false;
  while (waitpid(m_child, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > end) {
      kill(m_child, SIGKILL);
      waitpid(m_child, &status, 0);
      killed = true;
      break;
    }
    usleep(10000);
  }
  m_child = -1;
  return !killed && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace kest::test
