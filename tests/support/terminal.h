#pragma once

#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace kest::test {

/// A program on a pseudo-terminal: standard input, output and error all lead there.
class PseudoTerminal {
public:
  /// `environment` beside PATH and HOME; TERM is "xterm" unless given.
  explicit PseudoTerminal(const std::vector<std::string>& command, std::map<std::string, std::string> environment = {},
                          int columns = 80, int rows = 24);
  ~PseudoTerminal();
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  /// Reads until the text appears behind what was waited for before; false when it does not within `seconds`, or the
  /// program ended without it.
  [[nodiscard]] bool WaitFor(const std::string& text, int seconds = 20);
  void Type(const std::string& keys);
  void TypeLine(const std::string& line) { Type(line + "\n"); }
  void PressCtrlC() { Type("\x03"); }
  /// End of input, at the start of a line.
  void PressCtrlD() { Type("\x04"); }
  /// Reads to the end; the exit code, or -1 when a signal ended the program or it had to be killed.
  int Finish(int seconds = 30);
  /// Everything shown so far.
  [[nodiscard]] const std::string& GetScreen() const { return m_screen; }

private:
  bool Read(int milliseconds);
  int m_master = -1;
  pid_t m_child = -1;
  std::string m_screen;
  std::size_t m_seen = 0;
};

} // namespace kest::test
