#pragma once

#include "host/exit_code.h"
#include "host/json_output.h"

#include <string>
#include <vector>

namespace kest {
struct MachineError;
struct OperationReport;
} // namespace kest

namespace kest::host {

class Terminal;
struct Outcome;

/// What a user is told when something went wrong.
struct ErrorReport {
  std::string what; ///< what happened, one line
  std::string why;
  std::string changed = "nothing";
  std::vector<std::string> left; ///< what lies there all the same
  std::string next;              ///< what to do
  int message = 0;               ///< number of the engine's text; 0: none
};

/// On the standard error; never left out.
void PrintError(Terminal& terminal, const ErrorReport& error);
[[nodiscard]] Json ErrorJson(const ErrorReport& error);

/// The exit code of an engine operation, from what the engine says and from what became of its questions.
[[nodiscard]] ExitCode ExitCodeOf(const OperationReport& report, const Outcome& outcome);
/// The same for a refusal of the machine.
[[nodiscard]] ExitCode ExitCodeOf(const MachineError& error);
/// The four parts of a failed operation. `verb` is what did not happen: "installed". `changesOf` is what `kest info`
/// shows the extension by, for a failure of one of its changes; empty: nothing is there to be shown.
[[nodiscard]] ErrorReport DescribeFailure(const OperationReport& report, const Outcome& outcome,
                                          const std::string& subject, const std::string& verb,
                                          const std::string& changesOf = {});

} // namespace kest::host
