#pragma once

#include <string>
#include <utility>
#include <vector>

namespace kest::host {

/// What a sample machine is to be.
struct SampleMachine {
  std::string folder;                             ///< absolute host path; must not exist, or be empty
  std::vector<std::string> products;              ///< names without regard to case; all when empty
  std::vector<std::pair<std::string, int>> users; ///< name and type; "user" of type 1 when empty
  std::string currentUser;                        ///< the first user when empty
  bool multiUser = false;
  int codePage = 0; ///< 1252 when 0
};

/// Names of the products that a sample machine can have, in the order of their making.
[[nodiscard]] std::vector<std::string> GetSampleProducts();
/// Makes the folder with its drive, registry, users, and the products with their usual configuration files. False:
/// `why` says in a sentence part what failed; nothing is left of a folder that this call created.
[[nodiscard]] bool MakeSampleMachine(const SampleMachine& machine, std::string& why);

} // namespace kest::host
