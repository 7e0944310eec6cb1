#pragma once

namespace kest::host {

/// The program: reads the command line, runs the command, prints its document. The result is the exit code.
int RunProgram(int count, const char* const* arguments);

/// For std::set_terminate: says what a user has to know when something was thrown where nothing may be, and ends the
/// process. Allocates nothing.
[[noreturn]] void EndAtOnce();

} // namespace kest::host
