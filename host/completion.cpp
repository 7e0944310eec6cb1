#include "host/help.h"

#include <fmt/format.h>

#include <set>

namespace kest::host {
namespace {

std::string Spaced(std::string text) {
  for (char& c : text) {
    c = c == '|' ? ' ' : c;
  }
  return text;
}

std::string FlagNames(std::span<const FlagSpec> flags) {
  std::string names;
  for (const FlagSpec& flag : flags) {
    names += (names.empty() ? "" : " ") + std::string(flag.name);
    names += flag.letter ? fmt::format(" -{}", flag.letter) : "";
  }
  return names;
}

// First words of the commands, and the second words behind `first`.
std::string Words(std::string_view first) {
  std::string words;
  std::set<std::string> seen;
  for (const CommandSpec& command : GetCommands()) {
    const std::string_view name = command.name;
    const std::size_t blank = name.find(' ');
    if (first.empty() ? true : blank != name.npos && name.substr(0, blank) == first) {
      const std::string word(first.empty() ? name.substr(0, blank) : name.substr(blank + 1));
      if (seen.insert(word).second) {
        words += (words.empty() ? "" : " ") + word;
      }
    }
  }
  return words;
}

// Flags with a fixed set of values, each once.
template <class Row> std::string ChoiceRows(Row row) {
  std::string rows;
  std::set<std::string> seen;
  const auto add = [&](std::span<const FlagSpec> flags) {
    for (const FlagSpec& flag : flags) {
      if (flag.choices && seen.insert(flag.name).second) {
        rows += row(flag);
      }
    }
  };
  add(GetCommonFlags());
  for (const CommandSpec& command : GetCommands()) {
    add(command.GetFlags());
  }
  return rows;
}

constexpr const char* kListNames =
    "kest list --json 2>/dev/null | tr '{' '\\n' | sed -n 's/.*\"name\":\"\\([^\"]*\\)\",\"author\".*/\\1/p'";
constexpr const char* kListProducts =
    "kest products --json 2>/dev/null | tr '{' '\\n' | sed -n 's/.*\"name\":\"\\([^\"]*\\)\",\"version\".*/\\1/p'";

// What bash offers in place of an argument: a statement that fills COMPREPLY.
std::string BashArguments(Completes what) {
  const auto lines = [](const char* source) {
    return fmt::format("mapfile -t COMPREPLY < <({} | while IFS= read -r n; do [[ $n == \"$cur\"* ]] && printf '%q\\n' "
                       "\"$n\"; done)",
                       source);
  };
  switch (what) {
  case Completes::kFiles:
    return "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$cur\")";
  case Completes::kFolders:
    return "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- \"$cur\")";
  case Completes::kExtensions:
    return lines(kListNames);
  case Completes::kProductNames:
    return lines(kListProducts);
  case Completes::kCommands:
    return fmt::format("mapfile -t COMPREPLY < <(compgen -W '{}' -- \"$cur\")", Words(""));
  case Completes::kShells:
    return "mapfile -t COMPREPLY < <(compgen -W 'bash zsh fish' -- \"$cur\")";
  case Completes::kNothing:
    break;
  }
  return ":";
}

std::string Bash() {
  std::string text = "# completion of kest for bash\n_kest() {\n"
                     "  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} command=\n"
                     "  COMPREPLY=()\n  case $prev in\n";
  text += ChoiceRows([](const FlagSpec& flag) {
    return fmt::format("    {}) mapfile -t COMPREPLY < <(compgen -W '{}' -- \"$cur\"); return ;;\n", flag.name,
                       Spaced(flag.choices));
  });
  text += fmt::format("    -p|--product|--from|--to) {}; return ;;\n", BashArguments(Completes::kProductNames));
  text += fmt::format("    -m|--machine) {}; return ;;\n", BashArguments(Completes::kFolders));
  text += fmt::format("    -o|--output|--log) {}; return ;;\n  esac\n", BashArguments(Completes::kFiles));
  text += "  local i\n  for ((i = 1; i < COMP_CWORD; i++)); do\n    case ${COMP_WORDS[i]} in\n"
          "      -m|--machine|-p|--product|--wait|--log) ((i++)) ;;\n      -*) ;;\n"
          "      *) if [[ -z $command ]]; then command=${COMP_WORDS[i]}\n"
          "         elif [[ $command == machine ]]; then command=\"machine ${COMP_WORDS[i]}\"; fi ;;\n"
          "    esac\n  done\n";
  text += fmt::format("  local flags='{} --help'\n  case $command in\n", FlagNames(GetCommonFlags()));
  text +=
      fmt::format("    '') mapfile -t COMPREPLY < <(compgen -W '{} --version '\"$flags\" -- \"$cur\") ;;\n", Words(""));
  text += fmt::format("    machine) mapfile -t COMPREPLY < <(compgen -W '{} '\"$flags\" -- \"$cur\") ;;\n",
                      Words("machine"));
  for (const CommandSpec& command : GetCommands()) {
    text +=
        fmt::format("    '{}')\n      if [[ $cur == -* ]]; then mapfile -t COMPREPLY < <(compgen -W '{} '\"$flags\" -- "
                    "\"$cur\")\n      else {}; fi ;;\n",
                    command.name, FlagNames(command.GetFlags()), BashArguments(command.completes));
  }
  return text + "  esac\n}\ncomplete -F _kest kest\n";
}

std::string Quoted(const char* text) {
  std::string quoted;
  for (const char* c = text; *c; ++c) {
    quoted += *c == '\'' ? "'\\''" : std::string(1, *c);
  }
  return "'" + quoted + "'";
}

std::string ZshFlags(std::span<const FlagSpec> flags) {
  std::string text;
  for (const FlagSpec& flag : flags) {
    std::string help = flag.help;
    for (char& c : help) {
      c = c == '[' ? '(' : c == ']' ? ')' : c == ':' ? ',' : c;
    }
    std::string value;
    if (flag.choices) {
      value = fmt::format(":{}:({})", flag.value, Spaced(flag.choices));
    } else if (flag.value) {
      const bool folder = std::string_view(flag.value) == "DIR";
      value = fmt::format(":{}:{}", std::string_view(flag.value) == "NAME[:TYPE]" ? "NAME" : flag.value,
                          folder                                                         ? "_directories"
                          : flag.letter == 'o' || std::string_view(flag.value) == "FILE" ? "_files"
                                                                                         : "");
    }
    text += fmt::format(" {}", Quoted(fmt::format("{}[{}]{}", flag.name, help, value).c_str()));
    if (flag.letter) {
      text += fmt::format(" {}", Quoted(fmt::format("-{}[{}]{}", flag.letter, help, value).c_str()));
    }
  }
  return text;
}

std::string ZshArguments(Completes what) {
  switch (what) {
  case Completes::kFiles:
    return " '*:file:_files'";
  case Completes::kFolders:
    return " '*:folder:_directories'";
  case Completes::kExtensions:
    return fmt::format(" {}", Quoted(fmt::format("*:extension:{{compadd -- ${{(f)\"$({})\"}}}}", kListNames).c_str()));
  case Completes::kProductNames:
    return fmt::format(" {}", Quoted(fmt::format("*:product:{{compadd -- ${{(f)\"$({})\"}}}}", kListProducts).c_str()));
  case Completes::kCommands:
    return fmt::format(" '*:command:({})'", Words(""));
  case Completes::kShells:
    return " '*:shell:(bash zsh fish)'";
  case Completes::kNothing:
    break;
  }
  return "";
}

std::string Zsh() {
  std::string text =
      "#compdef kest\n# completion of kest for zsh\n_kest() {\n  local command word\n"
      "  for word in ${words[2,CURRENT-1]}; do\n    [[ $word == -* ]] && continue\n"
      "    if [[ -z $command ]]; then command=$word\n"
      "    elif [[ $command == machine ]]; then command=\"machine $word\"; fi\n  done\n  case $command in\n";
  text += fmt::format("    '') _arguments{} '*:command:({})' ;;\n", ZshFlags(GetCommonFlags()), Words(""));
  text += fmt::format("    machine) _arguments{} '*:command:({})' ;;\n", ZshFlags(GetCommonFlags()), Words("machine"));
  for (const CommandSpec& command : GetCommands()) {
    text += fmt::format("    '{}') _arguments{}{}{} ;;\n", command.name, ZshFlags(GetCommonFlags()),
                        ZshFlags(command.GetFlags()), ZshArguments(command.completes));
  }
  // loaded from a folder of functions, the file itself is the function that is called
  return text + "  esac\n}\nif [[ $funcstack[1] == _kest ]]; then _kest \"$@\"; else compdef _kest kest; fi\n";
}

std::string FishFlags(std::span<const FlagSpec> flags, const std::string& condition) {
  std::string text;
  for (const FlagSpec& flag : flags) {
    text += "complete -c kest" + condition + " -l " + std::string(flag.name).substr(2);
    text += flag.letter ? fmt::format(" -s {}", flag.letter) : "";
    text += flag.choices ? fmt::format(" -x -a '{}'", Spaced(flag.choices)) : flag.value ? " -r" : "";
    text += fmt::format(" -d {}\n", Quoted(flag.help));
  }
  return text;
}

std::string FishArguments(Completes what, const std::string& condition) {
  switch (what) {
  case Completes::kFiles:
    return fmt::format("complete -c kest{} -F\n", condition);
  case Completes::kFolders:
    return fmt::format("complete -c kest{} -f -a '(__fish_complete_directories)'\n", condition);
  case Completes::kExtensions:
    return fmt::format("complete -c kest{} -f -a {}\n", condition, Quoted(fmt::format("({})", kListNames).c_str()));
  case Completes::kProductNames:
    return fmt::format("complete -c kest{} -f -a {}\n", condition, Quoted(fmt::format("({})", kListProducts).c_str()));
  case Completes::kCommands:
    return fmt::format("complete -c kest{} -f -a '{}'\n", condition, Words(""));
  case Completes::kShells:
    return fmt::format("complete -c kest{} -f -a 'bash zsh fish'\n", condition);
  case Completes::kNothing:
    break;
  }
  return fmt::format("complete -c kest{} -f\n", condition);
}

std::string Fish() {
  std::string text = "# completion of kest for fish\n";
  text += FishFlags(GetCommonFlags(), "");
  text += fmt::format("complete -c kest -n __fish_use_subcommand -f -a '{}'\n", Words(""));
  text += fmt::format(
      "complete -c kest -n '__fish_seen_subcommand_from machine; and not __fish_seen_subcommand_from {}' -f "
      "-a '{}'\n",
      Words("machine"), Words("machine"));
  for (const CommandSpec& command : GetCommands()) {
    const std::string name = command.name;
    const std::size_t blank = name.find(' ');
    const std::string condition =
        blank == name.npos ? fmt::format(" -n '__fish_seen_subcommand_from {}'", name)
                           : fmt::format(" -n '__fish_seen_subcommand_from {}; and __fish_seen_subcommand_from {}'",
                                         name.substr(0, blank), name.substr(blank + 1));
    text += FishFlags(command.GetFlags(), condition) + FishArguments(command.completes, condition);
  }
  return text;
}

} // namespace

std::string CompletionScript(const std::string& shell) {
  return shell == "bash" ? Bash() : shell == "zsh" ? Zsh() : shell == "fish" ? Fish() : "";
}

} // namespace kest::host
