#include "host/terminal/typed_paths.h"

#include <algorithm>

namespace kest::host {
namespace {

constexpr std::string_view kPrivate = R"(\windows\temp\kest-)";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Ends of a path that stands in a sentence.
std::size_t EndOfPath(const std::string& line, std::size_t from) {
  for (std::size_t at = from; at < line.size(); ++at) {
    if (line[at] == '"' || line[at] == '\n' || (line[at] == ':' && at + 1 < line.size() && line[at + 1] == ' ')) {
      return at;
    }
  }
  return line.size();
}

// Takes out the folder that a package was unpacked to: what follows is the name in the package.
void TakeOutUnpackFolder(std::string& line) {
  for (std::size_t at = line.find(kPrivate); at != std::string::npos; at = line.find(kPrivate, at + 1)) {
    if (at < 2 || line[at - 1] != ':') {
      continue;
    }
    const std::size_t leaf = line.find('\\', at + kPrivate.size());
    constexpr std::string_view kFiles = "files";
    if (leaf == std::string::npos || line.compare(leaf + 1, kFiles.size(), kFiles) != 0) {
      continue;
    }
    std::size_t end = leaf + 1 + kFiles.size();
    while (end < line.size() && IsDigit(line[end])) {
      ++end;
    }
    if (end < line.size() && line[end] == '\\') {
      line.erase(at - 2, end + 1 - (at - 2));
    }
  }
}

} // namespace

void TypedPaths::Add(std::string shown, std::string typed) {
  if (shown.empty() || shown.back() != '\\') {
    shown += '\\';
  }
  if (!typed.empty() && typed.back() != '/') {
    typed += '/';
  }
  const auto known =
      std::find_if(m_folders.begin(), m_folders.end(), [&](const auto& one) { return one.first == shown; });
  if (known == m_folders.end()) {
    m_folders.emplace_back(std::move(shown), std::move(typed));
  }
  // the longer one first: a folder in another is not to be taken for it
  std::stable_sort(m_folders.begin(), m_folders.end(),
                   [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
}

std::string TypedPaths::In(std::string line) const {
  for (const auto& [shown, typed] : m_folders) {
    for (std::size_t at = line.find(shown); at != std::string::npos; at = line.find(shown, at + typed.size())) {
      line.replace(at, shown.size(), typed);
      const std::size_t end = EndOfPath(line, at);
      std::replace(line.begin() + static_cast<std::ptrdiff_t>(at), line.begin() + static_cast<std::ptrdiff_t>(end),
                   '\\', '/');
    }
  }
  TakeOutUnpackFolder(line);
  return line;
}

} // namespace kest::host
