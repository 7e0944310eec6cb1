#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kest::host {

/// Turns paths that the engine made up for files of the user (a folder that was opened, a package being unpacked) back
/// into what the user typed.
class TypedPaths {
public:
  /// A folder that the user named: `shown` as the engine's messages spell it, `typed` as it stood on the command line
  /// (empty: the current folder).
  void Add(std::string shown, std::string typed);
  /// A line for the user with these folders, and those that things are unpacked to, put back.
  [[nodiscard]] std::string In(std::string line) const;

private:
  std::vector<std::pair<std::string, std::string>> m_folders;
};

} // namespace kest::host
