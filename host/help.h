#pragma once

#include "host/command_table.h"

#include <string>

namespace kest::host {

/// The overview, made from the table.
[[nodiscard]] std::string HelpText();
/// The help of one command.
[[nodiscard]] std::string HelpText(const CommandSpec& command);
/// Prints a text that is all of a command's data; with --json as a document.
int ShowText(Session& session, const char* schema, const std::string& text);
/// A completion script for bash, zsh or fish; empty for any other shell.
[[nodiscard]] std::string CompletionScript(const std::string& shell);

} // namespace kest::host
