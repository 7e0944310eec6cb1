#include "host/command_table.h"

#include "host/commands.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kest::host {
namespace {

constexpr FlagSpec kCommonFlags[] = {
    {"--machine", 'm', "DIR", nullptr, &Options::machine,
     "the machine folder to work on (else KEST_MACHINE, else your own)"},
    {"--yes", 'y', nullptr, nullptr, &Options::yes, "yes to ordinary questions; never accepts an agreement"},
    {"--no-input", 0, nullptr, nullptr, &Options::noInput, "ask nothing, as if there were no terminal"},
    {"--accept-agreement", 0, nullptr, nullptr, &Options::acceptAgreement, "accept the agreement without showing it"},
    {"--on-existing", 0, "WHAT", "overwrite|keep|cancel", &Options::onExisting, "what to do about files that exist"},
    {"--allow-downgrade", 0, nullptr, nullptr, &Options::allowDowngrade, "replace a newer version by an older one"},
    {"--reinstall", 0, nullptr, nullptr, &Options::reinstall, "install an equal version again"},
    {"--on-clash", 0, "WHAT", "disable", &Options::onClash,
     "disable another extension that has the same description file name"},
    {"--per-user", 0, "WHAT", "remove", &Options::perUser, "remove copies that other users have of their own"},
    {"--wait", 0, "SEC", nullptr, &Options::wait, "wait so long for files in use and for another kest"},
    {"--quiet", 'q', nullptr, nullptr, &Options::quiet, "say nothing but errors"},
    {"--verbose", 'v', nullptr, nullptr, &Options::verbose, "say which files were touched"},
    {"--log", 0, "FILE", nullptr, &Options::log, "append all notices and messages to FILE"},
    {"--json", 0, nullptr, nullptr, &Options::json, "one JSON document on the standard output"},
    {"--color", 0, "WHEN", "auto|always|never", &Options::color, "colours (NO_COLOR and TERM=dumb are heeded)"},
    {"--progress", 0, "WHEN", "auto|always|never", &Options::progress, "the progress display"},
};

constexpr FlagSpec kProductFlag = {"--product", 'p', "PRODUCT", nullptr, &Options::product, "the product to work on"};

constexpr FlagSpec kStateFlag = {
    "--state", 0, "STATE", "enabled|disabled", &Options::state, "only those in this state"};

constexpr FlagSpec kDryRunFlag = {
    "--dry-run", 'n', nullptr, nullptr, &Options::dryRun, "show what would be done, and change nothing"};
constexpr FlagSpec kDiffFlag = {
    "--diff", 0, nullptr, nullptr, &Options::diff, "with --dry-run: each configuration file line by line, too"};

constexpr FlagSpec kMachineNewFlags[] = {
    {"--product", 'p', "NAME", nullptr, &Options::products, "a product to put on it (all eight when none is named)"},
    {"--multi-user", 0, nullptr, nullptr, &Options::multiUser, "users have configurations of their own"},
    {"--user", 0, "NAME[:TYPE]", nullptr, &Options::users,
     "a user, with the type 2 for the one whose settings all share"},
    {"--current", 0, "NAME", nullptr, &Options::currentUser, "the user who works there (else the first)"},
    {"--code-page", 0, "N", nullptr, &Options::codePage, "the code page of its texts (932: Japanese)"},
};
constexpr FlagSpec kProductsFlags[] = {
    {"--all", 0, nullptr, nullptr, &Options::all, "also those that were looked for and not found"},
};
constexpr FlagSpec kListFlags[] = {
    kProductFlag,
    {"--sort", 0, "KEY", "name|version|type|author|state", &Options::sort, "what to sort by"},
    {"--reverse", 0, nullptr, nullptr, &Options::reverse, "the other way round"},
    kStateFlag,
};
constexpr FlagSpec kInfoFlags[] = {
    kProductFlag,
    kStateFlag,
    {"--files", 0, nullptr, nullptr, &Options::files, "its files and where they go"},
    {"--changes", 0, nullptr, nullptr, &Options::changes, "what it changes in configuration files"},
};
constexpr FlagSpec kInstallFlags[] = {
    kDryRunFlag,
    kDiffFlag,
    kProductFlag,
    {"--set", 0, "TOKEN=DIR", nullptr, &Options::tokens, "the folder of a token that the extension asks for"},
};
constexpr FlagSpec kExtensionFlags[] = {kProductFlag, kStateFlag};
constexpr FlagSpec kChangeFlags[] = {kDryRunFlag, kDiffFlag, kProductFlag, kStateFlag};
constexpr FlagSpec kDryRunFlags[] = {kDryRunFlag, kDiffFlag};
constexpr FlagSpec kPackFlags[] = {
    {"--output", 'o', "OUT.kep", nullptr, &Options::output, "the package to write (else beside the description)"},
    {"--portable", 0, nullptr, nullptr, &Options::portable, "names must suit the other platform too"},
    {"--force", 0, nullptr, nullptr, &Options::force, "replace a package that exists"},
};
constexpr FlagSpec kValidateFlags[] = {
    {"--product", 'p', "PRODUCT", nullptr, &Options::product, "a product here whose files are asked, too"},
    {"--strict", 0, nullptr, nullptr, &Options::strict, "warnings count as errors"},
};
constexpr FlagSpec kImportFlags[] = {
    kDryRunFlag,
    kDiffFlag,
    {"--from", 0, "PRODUCT", nullptr, &Options::from, "where the extensions are"},
    {"--to", 0, "PRODUCT", nullptr, &Options::to, "where they are to go"},
    kStateFlag,
};

constexpr FlagSpec kOwnsFlags[] = {
    {"--menu", 0, "ID", nullptr, &Options::menu, "a menu, menu item or format by its id, instead of a file"},
    {"--key", 0, "KEYS", nullptr, &Options::key, "a shortcut by its keys, such as Ctrl+Shift+T"},
    {"--button", 0, "ID", nullptr, &Options::button, "anything in a toolbar or on the insert bar by its id"},
    {"--tag", 0, "NAME", nullptr, &Options::tag, "a tag or tag library by its name"},
    {"--registry", 0, "KEY", nullptr, &Options::registry, "a run-once value that waits for the next log-on"},
};
constexpr FlagSpec kRepairFlags[] = {
    kProductFlag,
    kStateFlag,
    {"--from", 0, "FILE.kep", nullptr, &Options::from, "the package to take missing files from"},
    {"--all", 0, nullptr, nullptr, &Options::all, "put back what somebody changed, too"},
};
constexpr FlagSpec kTrashEmptyFlags[] = {
    {"--older-than", 0, "DAYS", nullptr, &Options::olderThan, "only what is older"},
    {"--keep-size", 0, "MB", nullptr, &Options::keepSize, "the oldest, until no more than so much is kept"},
};
constexpr FlagSpec kRecoverFlags[] = {
    {"--trust-machine", 0, nullptr, nullptr, &Options::trustMachine,
     "also on a machine in which you never changed anything; shows first what it does"},
};

#define FLAGS(table) table, std::size(table)
#define NO_FLAGS nullptr, 0

constexpr CommandSpec kCommands[] = {
    {"machine new", "DIR", 1, 1, Completes::kFolders, FLAGS(kMachineNewFlags), "make a sample machine folder",
     "DIR must not exist or be empty. Users default to one, \"user\", of type 1.", "machine", RunMachineNew},
    {"machine show", "[DIR]", 0, 1, Completes::kFolders, NO_FLAGS, "show users, products, drives and running programs",
     "", "machine", RunMachineShow},
    {"machine start", "NAME", 1, 1, Completes::kProductNames, NO_FLAGS, "make a product count as running", "",
     "machine", RunMachineStart},
    {"machine stop", "NAME", 1, 1, Completes::kProductNames, NO_FLAGS, "make a product count as not running", "",
     "machine", RunMachineStop},
    {"machine user", "NAME", 1, 1, Completes::kNothing, NO_FLAGS, "make NAME the current user", "", "machine",
     RunMachineUser},
    {"machine logon", "", 0, 0, Completes::kNothing, FLAGS(kDryRunFlags), "do what the next log-on would do",
     "Carries out the run-once replacements of system files and removes them from the registry.", "logon",
     RunMachineLogon},
    {"products", "", 0, 0, Completes::kNothing, FLAGS(kProductsFlags), "list the products that were found", "",
     "products", RunProducts},
    {"list", "", 0, 0, Completes::kNothing, FLAGS(kListFlags), "list the installed extensions", "", "list", RunList},
    {"info", "EXT|FILE", 1, 1, Completes::kExtensions, FLAGS(kInfoFlags),
     "show an installed extension, a package or a description",
     "EXT is a name, name@version, author/name, or the file name of the description.", "info", RunInfo},
    {"install", "FILE...", 1, -1, Completes::kFiles, FLAGS(kInstallFlags), "install packages or descriptions",
     "Each file is an operation of its own: one that fails takes back what it did, and the next is tried.\n"
     "For example, to see before what it does: kest install -n --diff table-tools.kep",
     "result", RunInstall},
    {"uninstall", "EXT...", 1, -1, Completes::kExtensions, FLAGS(kChangeFlags), "remove extensions",
     "Says before it asks what goes, what stays, and why.", "result", RunUninstall},
    {"disable", "EXT...", 1, -1, Completes::kExtensions, FLAGS(kChangeFlags),
     "set extensions aside, to be enabled later", "", "result", RunDisable},
    {"enable", "EXT...", 1, -1, Completes::kExtensions, FLAGS(kChangeFlags), "bring disabled extensions back", "",
     "result", RunEnable},
    {"pack", "FILE.kei", 1, 1, Completes::kFiles, FLAGS(kPackFlags), "build a package from a description and its files",
     "Prints what went in. The same input gives the same bytes.", "pack", RunPack},
    {"import", "[EXT...]", 0, -1, Completes::kExtensions, FLAGS(kImportFlags),
     "carry extensions of one product over to another", "All extensions of the first product when none is named.",
     "results", RunImport},
    {"validate", "FILE...", 1, -1, Completes::kFiles, FLAGS(kValidateFlags), "check descriptions and packages",
     "Exit code 8 when something is wrong.", "check", RunValidate},
    {"explain", "FILE", 1, 1, Completes::kFiles, NO_FLAGS, "tell which products here take an extension, and why not",
     "Each product line of the description against each product, and where each file would go. For example:\n"
     "  kest explain table-tools.kep\nExit code 5 when no product here takes it.",
     "explain", RunExplain},
    {"owns", "[PATH]", 0, 1, Completes::kFiles, FLAGS(kOwnsFlags), "tell which extension put something there",
     "PATH is a path of the machine or of this system. Exit code 4 when no extension did.", "owns", RunOwns},
    {"verify", "[EXT...]", 0, -1, Completes::kExtensions, FLAGS(kExtensionFlags),
     "compare installed extensions with what was installed",
     "Files by content, entries of configuration files by text and place. Exit code 8 when something is wrong.",
     "verify", RunVerify},
    {"repair", "EXT", 1, 1, Completes::kExtensions, FLAGS(kRepairFlags), "put back what is missing of an extension",
     "From the package given, the trash, or the package set aside; what somebody changed stays without --all. For "
     "example:\n  kest repair \"Table Tools\" --from table-tools.kep\nkest undo takes it back.",
     "result", RunRepair},
    {"history", "[EXT]", 0, 1, Completes::kExtensions, NO_FLAGS, "list the operations that changed the machine",
     "With EXT, the name of an extension, those that were about it. The numbers are for: kest undo", "history",
     RunHistory},
    {"undo", "[N]", 0, 1, Completes::kNothing, FLAGS(kDryRunFlags),
     "take back an operation of the history, or the last one",
     "Puts every file back as it was before, and says why when it cannot. An undo can be undone.", "result", RunUndo},
    {"trash", "", 0, 0, Completes::kNothing, NO_FLAGS, "list what operations replaced and deleted",
     "What is older than 30 days or beyond 1 GB goes with the next operation.", "trash", RunTrash},
    {"trash empty", "", 0, 0, Completes::kNothing, FLAGS(kTrashEmptyFlags), "remove what the trash keeps",
     "Without flags all of it. For example: kest trash empty --older-than 7", "trash", RunTrashEmpty},
    {"recover", "", 0, 0, Completes::kNothing, FLAGS(kRecoverFlags), "take back what an interrupted operation left",
     "Only what your own operations can have left is taken back; all else is named and left.", "recover", RunRecover},
    {"help", "[COMMAND]", 0, 2, Completes::kCommands, NO_FLAGS, "show help", "", "help", RunHelp},
    {"completion", "bash|zsh|fish", 1, 1, Completes::kShells, NO_FLAGS, "print a completion script for a shell",
     "For bash: source <(kest completion bash)", "completion", RunCompletion},
};

constexpr std::pair<const char*, const char*> kAliases[] = {{"remove", "uninstall"}};

/// Beside a command's own flags those of all commands that its questions are answered with. Every command has a line.
constexpr CommandGuide kGuides[] = {
    {"machine new", "kest machine new pc --product \"Tidemark Nova\" --product \"Tidemark 4\"", ""},
    {"machine show", "kest machine show pc", ""},
    {"machine start", "kest machine start \"Tidemark Nova\"", ""},
    {"machine stop", "kest machine stop \"Tidemark Nova\"", ""},
    {"machine user", "kest machine user user", ""},
    {"machine logon", "kest machine logon", ""},
    {"products", "kest products --all", ""},
    {"list", "kest list --sort name --state enabled", ""},
    {"info", "kest info table-tools.kep --files", ""},
    {"install", "kest install table-tools.kep --yes --accept-agreement",
     "--yes --accept-agreement --on-existing --allow-downgrade --reinstall --on-clash --per-user --wait"},
    {"uninstall", "kest uninstall \"Table Tools\" --yes", "--yes --wait"},
    {"disable", "kest disable \"Table Tools\"", "--wait"},
    {"enable", "kest enable \"Table Tools\" --on-existing overwrite", "--yes --on-existing --wait"},
    {"pack", "kest pack table-tools/table-tools.kei -o table-tools.kep", ""},
    {"import", "kest import --from \"Tidemark 4\" --to \"Tidemark Nova\" --yes --accept-agreement",
     "--yes --accept-agreement --on-existing --allow-downgrade --on-clash --wait"},
    {"validate", "kest validate table-tools/table-tools.kei --strict", ""},
    {"owns", "kest owns --menu TableTools_Open", ""},
    {"verify", "kest verify \"Table Tools\"", ""},
    {"repair", "kest repair \"Table Tools\"", "--wait"},
    {"explain", "kest explain table-tools.kep", ""},
    {"history", "kest history \"Table Tools\"", ""},
    {"undo", "kest undo 3 --yes", "--yes --wait"},
    {"trash", "kest trash", ""},
    {"trash empty", "kest trash empty --older-than 7", "--wait"},
    {"recover", "kest recover", ""},
    {"help", "kest help install", ""},
    {"completion", "source <(kest completion bash)", ""},
};

constexpr std::pair<const char*, const char*> kSimilarWords[] = {
    {"add", "install FILE"},
    {"update", "install FILE"},
    {"upgrade", "install FILE"},
    {"delete", "uninstall EXT"},
    {"rm", "uninstall EXT"},
    {"purge", "uninstall EXT"},
    {"ls", "list"},
    {"show", "info EXT"},
    {"check", "validate FILE"},
    {"lint", "validate FILE"},
    {"build", "pack FILE.kei"},
    {"create", "pack FILE.kei"},
    {"activate", "enable EXT"},
    {"deactivate", "disable EXT"},
    {"copy", "import"},
    {"init", "machine new DIR"},
    {"reboot", "machine logon"},
};

constexpr std::pair<int, const char*> kExitCodes[] = {
    {0, "done, or nothing to do"},
    {1, "failed, and everything was undone"},
    {2, "the command line makes no sense"},
    {3, "declined, or an answer was missing"},
    {4, "a file, extension, product or machine was not found"},
    {5, "no product here supports the extension"},
    {6, "bad package or description"},
    {7, "in use, locked, no permission, or disk full"},
    {8, "problems found"},
    {9, "failed, and the undo is incomplete"},
    {10, "several were given, and some failed"},
    {130, "interrupted, and everything was undone"},
};

constexpr std::pair<const char*, const char*> kVariables[] = {
    {"KEST_MACHINE", "the machine folder, unless --machine names one"},
    {"KEST_COMPLETING", "set by the completion scripts: no machine is made"},
    {"NO_COLOR", "no colours, when it is not empty"},
    {"COLUMNS, LINES", "the size of the terminal"},
};

} // namespace

std::span<const CommandSpec> GetCommands() { return kCommands; }
std::span<const FlagSpec> GetCommonFlags() { return kCommonFlags; }
const CommandGuide* FindGuide(const CommandSpec& command) {
  const auto* const guide = std::find_if(std::begin(kGuides), std::end(kGuides), [&](const CommandGuide& one) {
    return std::string_view(one.command) == command.name;
  });
  return guide == std::end(kGuides) ? nullptr : guide;
}
std::span<const std::pair<int, const char*>> GetExitCodes() { return kExitCodes; }
std::span<const std::pair<const char*, const char*>> GetVariables() { return kVariables; }

std::span<const std::pair<const char*, const char*>> GetAliases() { return kAliases; }
std::span<const std::pair<const char*, const char*>> GetSimilarWords() { return kSimilarWords; }

const CommandSpec* FindCommand(std::string_view name) {
  for (const auto& [alias, own] : kAliases) {
    name = name == alias ? own : name;
  }
  for (const CommandSpec& command : kCommands) {
    if (name == command.name) {
      return &command;
    }
  }
  return nullptr;
}

} // namespace kest::host
