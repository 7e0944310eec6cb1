#include "host/help.h"

#include <fmt/format.h>

#include <set>
#include <vector>

namespace kest::host {
namespace {

using std::string_view_literals::operator""sv;

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

/// What stands behind a flag.
enum class Takes { kNothing, kChoice, kProduct, kFolder, kFile, kText };

Takes TakesOf(const FlagSpec& flag) {
  const std::string_view value = flag.value ? flag.value : "";
  return flag.choices                                       ? Takes::kChoice
         : value.empty()                                    ? Takes::kNothing
         : value == "PRODUCT" || flag.name == "--product"sv ? Takes::kProduct
         : value == "DIR"                                   ? Takes::kFolder
         : value == "FILE" || value == "OUT.kep"            ? Takes::kFile
                                                            : Takes::kText;
}

// Every flag for which `fits` holds, each name once.
template <class Fits> std::vector<FlagSpec> FlagsThat(Fits fits) {
  std::vector<FlagSpec> found;
  std::set<std::string> seen;
  const auto add = [&](std::span<const FlagSpec> flags) {
    for (const FlagSpec& flag : flags) {
      if (fits(flag) && seen.insert(flag.name).second) {
        found.push_back(flag);
      }
    }
  };
  add(GetCommonFlags());
  for (const CommandSpec& command : GetCommands()) {
    add(command.GetFlags());
  }
  return found;
}

// "-m|--machine|--wait": all that take such a value.
template <class Fits> std::string FlagPattern(Fits fits, const char* between) {
  std::string pattern;
  for (const FlagSpec& flag : FlagsThat(fits)) {
    pattern += pattern.empty() ? "" : between;
    pattern += flag.letter ? fmt::format("-{}{}", flag.letter, between) : "";
    pattern += flag.name;
  }
  return pattern;
}

bool HasValue(const FlagSpec& flag) { return TakesOf(flag) != Takes::kNothing; }

// What is installed, on the machine that the line names; asking must not make one.
constexpr std::string_view kListNames = "KEST_COMPLETING=1 kest MACHINE list --json 2>/dev/null | tr '{' '\\n' | sed "
                                        "-n 's/.*\"name\":\"\\([^\"]*\\)\",\"author\".*/\\1/p'";
constexpr std::string_view kListProducts = "KEST_COMPLETING=1 kest MACHINE products --json 2>/dev/null | tr '{' '\\n' "
                                           "| sed -n 's/.*\"name\":\"\\([^\"]*\\)\",\"version\".*/\\1/p'";

// `source` with the shell's own way to hand the machine on.
std::string OnMachine(std::string_view source, std::string_view machine) {
  std::string command(source);
  const std::string_view placeholder = "MACHINE";
  return command.replace(command.find(placeholder), placeholder.size(), machine);
}

// What bash offers in place of an argument: a statement that fills COMPREPLY.
std::string BashArguments(Completes what) {
  // quoted as the user has begun to quote
  const auto lines = [](std::string_view source) {
    return fmt::format("mapfile -t COMPREPLY < <({} | while IFS= read -r n; do printf -v q %q \"$n\"; "
                       "if [[ $cur == [\\\"\\']* ]]; then [[ $n == \"${{cur:1}}\"* ]] && printf '%s\\n' \"$n\"; "
                       "elif [[ $q == \"$cur\"* ]]; then printf '%s\\n' \"$q\"; fi; done)",
                       OnMachine(source, "\"${kest_machine[@]}\""));
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
                     "  COMPREPLY=()\n"
                     "  local i dir kest_machine=()\n  for ((i = 1; i < COMP_CWORD; i++)); do\n"
                     "    dir=\n    case ${COMP_WORDS[i]} in\n"
                     "      -m|--machine) dir=${COMP_WORDS[i+1]}\n"
                     "        [[ $dir == = ]] && dir=${COMP_WORDS[i+2]} ;;\n"
                     "      -m?*) dir=${COMP_WORDS[i]#-m} ;;\n    esac\n"
                     "    dir=${dir//[\\\\\\\"\\']/}; [[ $dir == '~'/* ]] && dir=$HOME/${dir#'~'/}\n"
                     "    [[ -n $dir ]] && kest_machine=(-m \"$dir\")\n  done\n"
                     "  case $prev in\n";
  for (const FlagSpec& flag : FlagsThat([](const FlagSpec& one) { return one.choices != nullptr; })) {
    text += fmt::format("    {}) mapfile -t COMPREPLY < <(compgen -W '{}' -- \"$cur\"); return ;;\n", flag.name,
                        Spaced(flag.choices));
  }
  for (const auto& [takes, completes] : {std::pair{Takes::kProduct, Completes::kProductNames},
                                         {Takes::kFolder, Completes::kFolders},
                                         {Takes::kFile, Completes::kFiles},
                                         {Takes::kText, Completes::kNothing}}) {
    const auto fits = [wanted = takes](const FlagSpec& flag) { return TakesOf(flag) == wanted; };
    text += fmt::format("    {}) {}; return ;;\n", FlagPattern(fits, "|"), BashArguments(completes));
  }
  text += fmt::format("  esac\n  for ((i = 1; i < COMP_CWORD; i++)); do\n    case ${{COMP_WORDS[i]}} in\n"
                      "      {}) ((i++)) ;;\n      -*) ;;\n",
                      FlagPattern(HasValue, "|"));
  text += "      *) if [[ -z $command ]]; then command=${COMP_WORDS[i]}\n"
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

// What _arguments wants behind a flag.
std::string ZshValue(const FlagSpec& flag) {
  const std::string name = flag.value ? std::string(flag.value).substr(0, std::string_view(flag.value).find('[')) : "";
  switch (TakesOf(flag)) {
  case Takes::kNothing:
    return "";
  case Takes::kChoice:
    return fmt::format(":{}:({})", name, Spaced(flag.choices));
  case Takes::kProduct:
    return fmt::format(":{}:_kest_products", name);
  case Takes::kFolder:
    return fmt::format(":{}:_directories", name);
  case Takes::kFile:
    return fmt::format(":{}:_files", name);
  case Takes::kText:
    break;
  }
  return fmt::format(":{}:", name);
}

std::string ZshFlags(std::span<const FlagSpec> flags) {
  std::string text;
  for (const FlagSpec& flag : flags) {
    std::string help = flag.help;
    for (char& c : help) {
      c = c == '[' ? '(' : c == ']' ? ')' : c == ':' ? ',' : c;
    }
    const char* again = std::holds_alternative<std::vector<std::string> Options::*>(flag.target) ? "*" : "";
    const auto add = [&](const std::string& name) {
      text += " " + Quoted(fmt::format("{}{}[{}]{}", again, name, help, ZshValue(flag)).c_str());
    };
    add(flag.name);
    if (flag.letter) {
      add(std::string("-") + flag.letter);
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
    return " '*:extension:_kest_extensions'";
  case Completes::kProductNames:
    return " '*:product:_kest_products'";
  case Completes::kCommands:
    return fmt::format(" '*:command:({})'", Words(""));
  case Completes::kShells:
    return " '*:shell:(bash zsh fish)'";
  case Completes::kNothing:
    break;
  }
  return " '*: : '"; // the command itself is an argument, too
}

std::string Zsh() {
  std::string text = fmt::format(
      "#compdef kest\n# completion of kest for zsh\n_kest_products() {{ compadd -- ${{(f)\"$({})\"}}; }}\n"
      "_kest_extensions() {{ compadd -- ${{(f)\"$({})\"}}; }}\n_kest() {{\n  local command word value dir i\n"
      "  local -a kest_machine\n  for ((i = 2; i < CURRENT; i++)); do\n    dir=\n    case $words[i] in\n"
      "      -m|--machine) dir=$words[i+1] ;;\n      --machine=*) dir=${{words[i]#--machine=}} ;;\n"
      "      -m?*) dir=${{words[i]#-m}} ;;\n    esac\n"
      "    if [[ -n $dir ]]; then dir=${{(Q)dir}}; kest_machine=(-m \"${{dir/#\\~\\//$HOME/}}\"); fi\n  done\n"
      "  for word in ${{words[2,CURRENT-1]}}; do\n    if [[ -n $value ]]; then value=; continue; fi\n"
      "    case $word in\n      {}) value=1 ;;\n      -*) ;;\n"
      "      *) if [[ -z $command ]]; then command=$word\n"
      "         elif [[ $command == machine ]]; then command=\"machine $word\"; fi ;;\n    esac\n  done\n"
      "  case $command in\n",
      OnMachine(kListProducts, "$kest_machine"), OnMachine(kListNames, "$kest_machine"), FlagPattern(HasValue, "|"));
  text += fmt::format("    '') _arguments{} '*:command:({})' ;;\n", ZshFlags(GetCommonFlags()), Words(""));
  text += fmt::format("    machine) _arguments{} '*:command:({})' ;;\n", ZshFlags(GetCommonFlags()), Words("machine"));
  for (const CommandSpec& command : GetCommands()) {
    text += fmt::format("    '{}') _arguments{}{}{} ;;\n", command.name, ZshFlags(GetCommonFlags()),
                        ZshFlags(command.GetFlags()), ZshArguments(command.completes));
  }
  // loaded from a folder of functions, the file itself is the function that is called
  return text + "  esac\n}\nif [[ $funcstack[1] == _kest ]]; then _kest \"$@\"; else compdef _kest kest; fi\n";
}

std::string FishValue(const FlagSpec& flag) {
  switch (TakesOf(flag)) {
  case Takes::kNothing:
    return "";
  case Takes::kChoice:
    return fmt::format(" -x -a '{}'", Spaced(flag.choices));
  case Takes::kProduct:
    return " -x -a " + Quoted(fmt::format("({})", OnMachine(kListProducts, "(__kest_machine)")).c_str());
  case Takes::kFolder:
    return " -x -a '(__fish_complete_directories)'";
  case Takes::kFile:
    return " -r";
  case Takes::kText:
    break;
  }
  return " -x";
}

std::string FishFlags(std::span<const FlagSpec> flags, const std::string& condition) {
  std::string text;
  for (const FlagSpec& flag : flags) {
    text += "complete -c kest" + condition + " -l " + std::string(flag.name).substr(2);
    text += flag.letter ? fmt::format(" -s {}", flag.letter) : "";
    text += fmt::format("{} -d {}\n", FishValue(flag), Quoted(flag.help));
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
    return fmt::format("complete -c kest{} -f -a {}\n", condition,
                       Quoted(fmt::format("({})", OnMachine(kListNames, "(__kest_machine)")).c_str()));
  case Completes::kProductNames:
    return fmt::format("complete -c kest{} -f -a {}\n", condition,
                       Quoted(fmt::format("({})", OnMachine(kListProducts, "(__kest_machine)")).c_str()));
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
  const auto within = [](std::string_view command) {
    return fmt::format(" -n 'contains -- \"{}\" (__kest_command)'", command);
  };
  std::string text = fmt::format("# completion of kest for fish\n"
                                 "# the command that stands on the line before the cursor\n"
                                 "function __kest_command\n  set -l words (commandline -opc)\n  set -l found\n"
                                 "  set -e words[1]\n  while set -q words[1]\n    switch $words[1]\n"
                                 "      case {}\n        set -e words[1]\n      case '-*'\n"
                                 "      case '*'\n        set -a found $words[1]\n    end\n    set -e words[1]\n  end\n"
                                 "  if set -q found[2]; and test $found[1] = machine\n"
                                 "    echo \"$found[1] $found[2]\"\n  else if set -q found[1]\n    echo $found[1]\n"
                                 "  end\nend\n"
                                 "# the machine that the line names\n"
                                 "function __kest_machine\n  set -l words (commandline -opc)\n  set -l dir\n"
                                 "  set -l last\n  for word in $words\n    switch \"$last\"\n"
                                 "      case -m --machine\n        set dir $word\n    end\n    switch $word\n"
                                 "      case '--machine=*'\n        set dir (string sub -s 11 -- $word)\n"
                                 "      case '-m*'\n        set dir (string sub -s 3 -- $word)\n    end\n"
                                 "    set last $word\n  end\n  if set -q dir[1]\n    printf '%s\\n' -m "
                                 "(string replace -r '^~/' \"$HOME/\" -- $dir)\n  end\nend\n",
                                 FlagPattern(HasValue, " "));
  text += FishFlags(GetCommonFlags(), "");
  text += fmt::format("complete -c kest -n 'test -z (__kest_command)' -f -a '{}'\n", Words(""));
  text += fmt::format("complete -c kest{} -f -a '{}'\n", within("machine"), Words("machine"));
  for (const CommandSpec& command : GetCommands()) {
    text +=
        FishFlags(command.GetFlags(), within(command.name)) + FishArguments(command.completes, within(command.name));
  }
  return text;
}

} // namespace

std::string CompletionScript(const std::string& shell) {
  return shell == "bash" ? Bash() : shell == "zsh" ? Zsh() : shell == "fish" ? Fish() : "";
}

} // namespace kest::host
