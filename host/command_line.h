#pragma once

#include "host/command_table.h"

#include <string>
#include <vector>

namespace kest::host {

/// What became of reading the command line.
struct CommandLine {
  const CommandSpec* command = nullptr; ///< null: `problem` says why, or one of the two below is set
  Options options;
  std::string problem; ///< what happened; the next two say why, and what to do
  std::string reason;
  std::string advice;
  bool wantsVersion = false;
  bool wantsHelp = false;
};

/// Reads the arguments (without the program's name) by the command table. Common flags may stand anywhere.
[[nodiscard]] CommandLine ReadCommandLine(const std::vector<std::string>& arguments);

} // namespace kest::host
