#pragma once

#include "host/options.h"

#include <span>
#include <string_view>
#include <variant>

namespace kest::host {

class Session;

/// Where a flag's value goes.
using FlagTarget =
    std::variant<bool Options::*, int Options::*, std::string Options::*, std::vector<std::string> Options::*>;

struct FlagSpec {
  const char* name;    ///< "--machine"
  char letter;         ///< 'm', or 0
  const char* value;   ///< what the help calls it; null for a switch
  const char* choices; ///< "a|b|c" when nothing else is taken; else null
  FlagTarget target;
  const char* help;
};

/// What may stand in place of an argument, for the completion scripts.
enum class Completes { kNothing, kFiles, kFolders, kExtensions, kProductNames, kCommands, kShells };

struct CommandSpec {
  const char* name;      ///< "list", "machine new"
  const char* arguments; ///< as the help shows them: "FILE...", "[DIR]", "" for none
  int least;             ///< fewest arguments
  int most;              ///< most arguments; -1: any number
  Completes completes;
  const FlagSpec* flags; ///< null when it has none of its own
  std::size_t flagCount;
  const char* summary;
  const char* text;   ///< the rest of its help; may be empty
  const char* schema; ///< of its JSON document
  int (*run)(Session&);

  [[nodiscard]] std::span<const FlagSpec> GetFlags() const { return {flags, flagCount}; }
};

/// What the help of a command shows beside its own flags.
struct CommandGuide {
  const char* command; ///< its full name
  const char* example; ///< a whole command line
  const char* answers; ///< flags of every command that answer what this one asks, with blanks between them
};

/// The one table of commands: parsing, help, completion and the tests are made from it.
[[nodiscard]] std::span<const CommandSpec> GetCommands();
/// Flags that every command takes.
[[nodiscard]] std::span<const FlagSpec> GetCommonFlags();
/// Null when there is none.
[[nodiscard]] const CommandGuide* FindGuide(const CommandSpec& command);
/// By its full name or another name for it; null when there is none.
[[nodiscard]] const CommandSpec* FindCommand(std::string_view name);
/// Other names of commands, each with the command's own.
[[nodiscard]] std::span<const std::pair<const char*, const char*>> GetAliases();
/// Words that users of other programs try, each with the command that does it here.
[[nodiscard]] std::span<const std::pair<const char*, const char*>> GetSimilarWords();
/// What the named exit codes mean, for the help: "0  done, or nothing to do", ...
[[nodiscard]] std::span<const std::pair<int, const char*>> GetExitCodes();
/// Variables of the environment that are heeded, with what they are for.
[[nodiscard]] std::span<const std::pair<const char*, const char*>> GetVariables();

} // namespace kest::host
