#pragma once

#include <string>
#include <vector>

namespace kest::host {

/// What the command line said, one member a flag.
struct Options {
  // everywhere
  std::string machine;
  bool yes = false;
  bool noInput = false;
  bool acceptAgreement = false;
  std::string onExisting; ///< overwrite, keep, cancel, or empty
  bool allowDowngrade = false;
  bool reinstall = false;
  std::string onClash; ///< disable, or empty
  std::string perUser; ///< remove, or empty
  int wait = -1;       ///< seconds; -1: not given
  bool quiet = false;
  bool verbose = false;
  std::string log;
  bool json = false;
  std::string color = "auto";
  std::string progress = "auto";

  // of single commands
  bool dryRun = false;
  bool diff = false;
  std::string product;
  std::vector<std::string> products;
  bool multiUser = false;
  std::vector<std::string> users;
  std::string currentUser;
  int codePage = 0;
  bool all = false;
  std::string sort = "name";
  bool reverse = false;
  std::string state;
  bool files = false;
  bool changes = false;
  std::vector<std::string> tokens;
  std::string output;
  bool portable = false;
  bool force = false;
  bool strict = false;
  std::string from;
  std::string to;
  std::string menu;
  std::string key;
  std::string button;
  std::string tag;
  std::string registry;
  int olderThan = -1; ///< days; -1: not given
  int keepSize = -1;  ///< megabytes; -1: not given
  bool trustMachine = false;

  std::vector<std::string> arguments;
};

} // namespace kest::host
