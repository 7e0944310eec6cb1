#include "host/command_line.h"

#include "host/terminal/text_width.h"
#include "platform/text/nearest.h"
#include "platform/text/text.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <utility>

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

constexpr int kMostNumber = 1000000;

bool IsNumberFor(std::string_view given) {
  int number = 0;
  const auto [end, error] = std::from_chars(given.data(), given.data() + given.size(), number);
  return error == std::errc() && end == given.data() + given.size() && number >= 0 && number <= kMostNumber;
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
            made->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)->allow_extra_args(false);
          } else {
            made->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
          }
          if constexpr (std::is_same_v<decltype(member), int Options::*>) {
            made->check(CLI::Validator(
                [](const std::string& given) {
                  return IsNumberFor(given) ? std::string()
                                            : fmt::format("takes a whole number from 0 to {}, not \"{}\"", kMostNumber,
                                                          ForTerminal(given));
                },
                ""));
          }
          return made;
        }
      },
      flag.target);
  if (flag.choices) {
    option->check(CLI::Validator(
        [choices = flag.choices](const std::string& given) {
          return SplitChoices(choices).contains(given)
                     ? std::string()
                     : fmt::format("takes {}, not \"{}\"", choices, ForTerminal(given));
        },
        ""));
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
    for (const auto& [alias, own] : GetAliases()) {
      if (name == own) {
        made->alias(alias);
      }
    }
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

// `words` begin with a command, or a group of them, that is not known.
void TellUnknown(const std::vector<std::string>& words, CommandLine& line) {
  const std::string group = !words.empty() && words.front() == "machine" ? "machine " : "";
  const std::string word = words.size() > (group.empty() ? 0 : 1) ? words[group.empty() ? 0 : 1] : "";
  const std::string given = group + word;
  const std::string shown = ForTerminal(given);
  line.problem = word.empty() ? (group.empty() ? "no command was given" : "no command was given for a machine")
                              : "there is no command \"" + shown + "\"";
  std::string known;
  std::string nearest;
  for (const CommandSpec& command : GetCommands()) {
    const std::string name = command.name;
    if (name.compare(0, group.size(), group) == 0) {
      const std::string first = name.substr(group.size(), name.find(' ', group.size()) - group.size());
      known += known.empty() ? first : known.ends_with(" " + first) || known == first ? "" : ", " + first;
    }
    if (text::EditDistance(given, name) <= 2 &&
        (nearest.empty() || text::EditDistance(given, name) < text::EditDistance(given, nearest))) {
      nearest = name;
    }
  }
  for (const auto& [similar, command] : GetSimilarWords()) {
    nearest = given == similar ? command : nearest;
  }
  line.reason = "the commands are: " + known;
  line.advice = word.empty() || nearest.empty() ? "see: kest help " + group : "did you mean: kest " + nearest;
  text::Trim(line.advice);
}

// `given` is a flag that the command (null: none was named) does not take.
void TellUnknownFlag(std::string given, const CommandSpec* chosen, CommandLine& line) {
  given.erase(std::min(given.find('='), given.size()));
  const std::string of = chosen ? std::string(" of kest ") + chosen->name : "";
  line.problem = fmt::format("there is no flag {}{}", ForTerminal(given), of);
  std::string nearest;
  std::string elsewhere;
  const auto look = [&](std::span<const FlagSpec> flags) {
    for (const FlagSpec& flag : flags) {
      // the dashes make no two names alike
      const bool isNear =
          text::IsNear(given.substr(std::min(given.find_first_not_of('-'), given.size())), flag.name + 2);
      const bool isBegun = given.size() > 4 && std::string_view(flag.name).starts_with(given);
      if ((isNear || isBegun) &&
          (nearest.empty() || text::EditDistance(given, flag.name) < text::EditDistance(given, nearest))) {
        nearest = flag.name;
      }
    }
  };
  look(GetCommonFlags());
  if (chosen) {
    look(chosen->GetFlags());
  }
  for (const CommandSpec& command : GetCommands()) {
    for (const FlagSpec& flag : command.GetFlags()) {
      if (given == flag.name || (given.size() == 2 && given[1] == flag.letter)) {
        if (&command == chosen) {
          line.problem = fmt::format("{} stands before kest {}", ForTerminal(given), chosen->name);
          line.reason = "flags of a command stand behind its name";
          line.advice = fmt::format("write: kest {} {}", chosen->name, ForTerminal(given));
          return;
        }
        elsewhere += (elsewhere.empty() ? "" : ", ") + std::string("kest ") + command.name;
      }
    }
  }
  line.reason = elsewhere.empty() ? "no command takes it" : "it belongs to: " + elsewhere;
  line.advice =
      nearest.empty() ? "see: kest help" + (chosen ? std::string(" ") + chosen->name : "") : "did you mean: " + nearest;
}

const FlagSpec* FindFlag(std::string_view name, const CommandSpec* chosen) {
  for (const auto flags : {GetCommonFlags(), chosen ? chosen->GetFlags() : std::span<const FlagSpec>()}) {
    for (const FlagSpec& flag : flags) {
      if (name == flag.name) {
        return &flag;
      }
    }
  }
  return nullptr;
}

void TellTooMany(const CommandSpec& chosen, CommandLine& line) {
  line.problem = fmt::format("kest {} was given too many arguments", chosen.name);
  line.reason = fmt::format("its usage is: kest {} {}", chosen.name, chosen.arguments);
  text::Trim(line.reason);
}

// Says what is wrong with a command line that could not be read.
void TellProblem(const Reader& reader, const CLI::ParseError& error, CommandLine& line) {
  const CommandSpec* chosen = reader.Chosen();
  const std::string about = chosen ? std::string(" ") + chosen->name : "";
  std::vector<std::string> words = reader.app.remaining(true);
  const bool surplus = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
  const auto flag = std::find_if(words.begin(), words.end(),
                                 [](const std::string& word) { return word.size() > 1 && word.front() == '-'; });
  const std::string unknownFlag = flag != words.end() ? *flag : "";
  std::erase_if(words, [](const std::string& word) { return word.empty() || word.front() == '-'; });
  if (!chosen && !words.empty() && surplus) {
    for (const CLI::App* group : reader.app.get_subcommands()) {
      words.insert(words.begin(), group->get_name());
    }
    TellUnknown(words, line);
  } else if (surplus && !unknownFlag.empty()) {
    TellUnknownFlag(unknownFlag, chosen, line);
  } else if (surplus && chosen) {
    TellTooMany(*chosen, line);
    line.advice = "see: kest help" + about;
  } else {
    const std::string said = error.what();
    const std::string name = said.substr(0, said.find(':'));
    const FlagSpec* const known = FindFlag(name, chosen);
    const bool lacksValue = dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr;
    line.problem = known == nullptr ? "the command line" + (chosen ? " of kest" + about : "") + " makes no sense"
                   : lacksValue     ? name + " was given no value"
                                    : name + " was given a value that it does not take";
    line.reason = known != nullptr && lacksValue ? fmt::format("it takes {}", known->choices ? known->choices
                                                                              : known->value ? known->value
                                                                                             : "none")
                  : known != nullptr ? "it" + ForTerminal(said.substr(std::min(name.size() + 1, said.size())))
                                     : ForTerminal(said);
    line.advice = "see: kest help" + about;
  }
}

} // namespace

CommandLine ReadCommandLine(const std::vector<std::string>& arguments) {
  CommandLine line;
  Reader reader;
  reader.app.set_help_flag();
  reader.app.require_subcommand(0, 1);
  reader.app.add_flag("-h,--help", line.wantsHelp);
  reader.app.add_flag("-V,--version", line.wantsVersion);
  reader.app.add_subcommand("version")->fallthrough()->parse_complete_callback([&] { line.wantsVersion = true; });
  for (const FlagSpec& flag : GetCommonFlags()) {
    AddFlag(reader.app, flag, line.options);
  }
  for (const CommandSpec& command : GetCommands()) {
    reader.Add(command, line);
  }
  try {
    reader.app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    TellProblem(reader, error, line);
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
    const auto groups = reader.app.get_subcommands();
    TellUnknown(groups.empty() ? std::vector<std::string>() : std::vector{groups.front()->get_name()}, line);
    return line;
  }
  const int count = static_cast<int>(line.options.arguments.size());
  if (count < chosen->least || (chosen->most >= 0 && count > chosen->most)) {
    TellTooMany(*chosen, line);
    if (count < chosen->least) {
      line.problem = fmt::format("kest {} was given too few arguments", chosen->name);
    }
    line.advice = fmt::format("see: kest help {}", chosen->name);
    return line;
  }
  line.command = chosen;
  return line;
}

} // namespace kest::host
