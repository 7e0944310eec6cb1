#include "host/help.h"

#include "host/commands.h"
#include "host/session.h"
#include "host/terminal/text_width.h"

#include <fmt/format.h>

namespace kest::host {
namespace {

std::string FlagLine(const FlagSpec& flag) {
  const std::string letter = flag.letter ? fmt::format("-{}, ", flag.letter) : "    ";
  const std::string value = flag.choices ? std::string(" ") + flag.choices
                            : flag.value ? std::string(" ") + flag.value
                                         : "";
  const std::string left = "  " + letter + flag.name + value;
  return left.size() < 36 ? fmt::format("{:<36}{}\n", left, flag.help)
                          : fmt::format("{}\n{:36}{}\n", left, "", flag.help);
}

std::string Usage(const CommandSpec& command) {
  return fmt::format("kest {}{}{}{}", command.name, *command.arguments ? " " : "", command.arguments,
                     command.flagCount ? " [flags]" : "");
}

} // namespace

std::string HelpText() {
  std::string text =
      "kest manages the extensions of the products on a machine.\n\nUsage: kest COMMAND [flags]\n\nCommands:\n";
  for (const CommandSpec& command : GetCommands()) {
    const std::string left = fmt::format("  {} {}", command.name, command.arguments);
    text += fmt::format("{:<36}{}\n", left, command.summary);
  }
  text += "\nFlags of every command:\n";
  for (const FlagSpec& flag : GetCommonFlags()) {
    text += FlagLine(flag);
  }
  text += "  -h, --help                        show help\n  -V, --version                     show the version\n";
  text += "\nOther names:\n  version = --version\n";
  for (const auto& [alias, own] : GetAliases()) {
    text += fmt::format("  {} = {}\n", alias, own);
  }
  text += "\nExit codes:\n";
  for (const auto& [code, meaning] : GetExitCodes()) {
    text += fmt::format("  {:<4}{}\n", code, meaning);
  }
  text += "\nVariables:\n";
  for (const auto& [name, meaning] : GetVariables()) {
    text += fmt::format("  {:<34}{}\n", name, meaning);
  }
  return text + "\nMore about a command: kest help COMMAND\n";
}

std::string HelpText(const CommandSpec& command) {
  std::string text = fmt::format("Usage: {}\n\n{}.\n", Usage(command), [&] {
    std::string summary = command.summary;
    summary[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(summary[0])));
    return summary;
  }());
  if (*command.text) {
    text += fmt::format("{}\n", command.text);
  }
  if (command.flagCount) {
    text += "\nFlags:\n";
    for (const FlagSpec& flag : command.GetFlags()) {
      text += FlagLine(flag);
    }
  }
  if (const CommandGuide* guide = FindGuide(command)) {
    std::string answers;
    for (const FlagSpec& flag : GetCommonFlags()) {
      if ((" " + std::string(guide->answers) + " ").find(" " + std::string(flag.name) + " ") != std::string::npos) {
        answers += FlagLine(flag);
      }
    }
    text += answers.empty() ? "" : "\nFlags that answer its questions:\n" + answers;
    text += fmt::format("\nExample:\n  {}\n", guide->example);
  }
  return text + "\nFlags of every command: kest help\n";
}

int ShowText(Session& session, const char* schema, const std::string& text) {
  if (session.options.json) {
    session.document = MakeDocument(schema, true);
    session.document["text"] = text;
  } else {
    session.terminal.Data(text);
  }
  return kDone;
}

int RunHelp(Session& session) {
  std::string name;
  for (const std::string& word : session.options.arguments) {
    name += (name.empty() ? "" : " ") + word;
  }
  if (name.empty()) {
    return ShowText(session, "help", HelpText());
  }
  if (const CommandSpec* command = FindCommand(name)) {
    return ShowText(session, "help", HelpText(*command));
  }
  std::string group;
  for (const CommandSpec& command : GetCommands()) {
    if (std::string_view(command.name).substr(0, name.size() + 1) == name + " ") {
      group += fmt::format("{:<44}{}\n", Usage(command), command.summary);
    }
  }
  if (!group.empty()) {
    return ShowText(session, "help", group);
  }
  return session.Fail(kUsage, {"there is no command \"" + ForTerminal(name) + "\"",
                               "help is there for commands alone",
                               "nothing",
                               {},
                               "see which there are: kest help",
                               0});
}

int RunCompletion(Session& session) {
  const std::string script = CompletionScript(session.options.arguments.front());
  if (script.empty()) {
    return session.Fail(kUsage,
                        {"there is no completion for \"" + ForTerminal(session.options.arguments.front()) + "\"",
                         "there are scripts for bash, zsh and fish",
                         "nothing",
                         {},
                         "as in: kest completion bash",
                         0});
  }
  return ShowText(session, "completion", script);
}

} // namespace kest::host
