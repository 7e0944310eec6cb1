#pragma once

#include <map>
#include <string>
#include <vector>

namespace kest::test {

/// What a program did that ran without a terminal.
struct ProcessResult {
  int exit = -1; ///< -1 when a signal ended it
  int signal = 0;
  std::string out;
  std::string err;
};

struct ProcessOptions {
  std::map<std::string, std::string> environment; ///< beside PATH and HOME; nothing else is inherited
  std::string folder;                             ///< to run in; the current one when empty
  bool idleInput = false;                         ///< the standard input stays open and silent, else it is empty
  bool closedOutput = false;                      ///< the reader of the standard output goes away at once
  int seconds = 60;                               ///< after these it is killed (signal 9)
  bool withoutRights = false;                     ///< by the system's user "nobody"; only root can have it so
};

[[nodiscard]] ProcessResult RunProcess(const std::vector<std::string>& command, const ProcessOptions& options = {});

/// For other helpers that start programs: the variables that a child gets, and becoming the program.
[[nodiscard]] std::vector<std::string> EnvironmentOf(const std::map<std::string, std::string>& given);
[[noreturn]] void ExecuteIn(const std::vector<std::string>& command, const std::vector<std::string>& environment,
                            const std::string& folder);

} // namespace kest::test
