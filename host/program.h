#pragma once

namespace kest::host {

/// The program: reads the command line, runs the command, prints its document. The result is the exit code.
int RunProgram(int count, const char* const* arguments);

} // namespace kest::host
