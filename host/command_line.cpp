#include "host/command_line.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>

namespace kest::host {
namespace {

std::set<std::string> SplitChoices(const char* choices) {
  std::set<std::string> split;
  std::string rest = choices;
  for (std::size_t at; (at = rest.find('|')) != std::string::npos; rest.erase(0, at + 1)) {
    split.insert(rest.substr(0, at));
  }
  split.insert(rest);
  return split;
}

void AddFlag(CLI::App& app, const FlagSpec& flag, Options& options) {
  const std::string name = (flag.letter ? std::string("-") + flag.letter + "," : "") + flag.name;
  CLI::Option* option = std::visit(
      [&](auto member) -> CLI::Option* {
        auto& target = options.*member;
        if constexpr (std::is_same_v<decltype(member), bool Options::*>) {
          return app.add_flag(name, target);
        } else {
          CLI::Option* made = app.add_option(name, target);
          if constexpr (std::is_same_v<decltype(member), std::vector<std::string> Options::*>) {
            made->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
          } else {
            made->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
          }
          if constexpr (std::is_same_v<decltype(member), int Options::*>) {
            made->check(CLI::Range(0, 1000000));
          }
          return made;
        }
      },
      flag.target);
  if (flag.choices) {
    option->check(CLI::IsMember(SplitChoices(flag.choices)));
  }
}

struct Reader {
  CLI::App app{"kest"};
  std::map<const CLI::App*, const CommandSpec*> commands;

  CLI::App& Group(CLI::App& parent, const std::string& name) {
    for (CLI::App* sub : parent.get_subcommands({})) {
      if (sub->get_name() == name) {
        return *sub;
      }
    }
    CLI::App* made = parent.add_subcommand(name);
    made->fallthrough();
    made->set_help_flag();
    made->require_subcommand(0, 1);
    return *made;
  }

  void Add(const CommandSpec& command, CommandLine& line) {
    CLI::App* at = &app;
    std::string rest = command.name;
    while (!rest.empty()) {
      const std::size_t blank = std::min(rest.find(' '), rest.size());
      at = &Group(*at, rest.substr(0, blank));
      rest.erase(0, blank + 1);
    }
    commands[at] = &command;
    for (const FlagSpec& flag : command.GetFlags()) {
      AddFlag(*at, flag, line.options);
    }
    if (command.most != 0) {
      at->add_option("arguments", line.options.arguments)->expected(0, command.most < 0 ? 1 << 20 : command.most);
    }
  }

  const CommandSpec* Chosen() const {
    const CLI::App* at = &app;
    for (auto subs = at->get_subcommands(); !subs.empty(); subs = at->get_subcommands()) {
      at = subs.front();
    }
    const auto found = commands.find(at);
    return found == commands.end() ? nullptr : found->second;
  }
};

// "kest [GROUP] WORD" of which nothing is known.
std::string UnknownCommand(const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments) {
    if (!argument.empty() && argument.front() != '-') {
      return argument == "machine" ? "machine what? new, show, start, stop, user or logon"
                                   : "there is no command \"" + argument + "\"";
    }
  }
  return "no command was given";
}

} // namespace

CommandLine ReadCommandLine(const std::vector<std::string>& arguments) {
  CommandLine line;
  Reader reader;
  reader.app.set_help_flag();
  reader.app.require_subcommand(0, 1);
  reader.app.add_flag("-h,--help", line.wantsHelp);
  reader.app.add_flag("--version", line.wantsVersion);
  for (const FlagSpec& flag : GetCommonFlags()) {
    AddFlag(reader.app, flag, line.options);
  }
  for (const CommandSpec& command : GetCommands()) {
    reader.Add(command, line);
  }
  try {
    reader.app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    const CommandSpec* chosen = reader.Chosen();
    line.problem = chosen ? error.what() : UnknownCommand(arguments);
    line.about = chosen ? std::string(" ") + chosen->name : "";
    // A script that asked for JSON gets it for a mistake, too.
    line.options.json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
    return line;
  }
  const CommandSpec* chosen = reader.Chosen();
  if (line.wantsVersion) {
    return line;
  }
  if (line.wantsHelp) {
    line.command = chosen;
    return line;
  }
  if (!chosen) {
    line.problem = UnknownCommand(arguments);
    return line;
  }
  const int count = static_cast<int>(line.options.arguments.size());
  if (count < chosen->least || (chosen->most >= 0 && count > chosen->most)) {
    line.about = std::string(" ") + chosen->name;
    line.problem = std::string("usage: kest ") + chosen->name + " " + chosen->arguments;
    return line;
  }
  line.command = chosen;
  return line;
}

} // namespace kest::host
