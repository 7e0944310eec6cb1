#include "platform/package/package_names.h"

#include "platform/text/path_component.h"

#include <algorithm>

namespace kest {

namespace {

constexpr char kSeparator = '\\';
// In keys it stands for the separator: it sorts before every byte that a name may hold, so a folder is followed
// directly by what lies in it.
constexpr char kKeySeparator = '\x01';

struct Key {
  CString folded;
  std::size_t index;
  bool operator<(const Key& other) const { return folded < other.folded; }
};

std::vector<Key> MakeKeys(const std::vector<PackageName>& names) {
  std::vector<Key> keys;
  keys.reserve(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    CString folded = text::Lower(names[i].name);
    for (std::size_t at = text::FindBackslash(folded); at != CString::npos; at = text::FindBackslash(folded, at + 1)) {
      folded[at] = kKeySeparator;
    }
    keys.push_back({std::move(folded), i});
  }
  if (!std::is_sorted(keys.begin(), keys.end())) {
    std::sort(keys.begin(), keys.end());
  }
  return keys;
}

// Folders of `key` that `before`, its neighbour in the order, does not lie in.
std::size_t CountNewFolders(std::string_view before, std::string_view key, bool isFolder) {
  const std::size_t common = static_cast<std::size_t>(
      std::mismatch(before.begin(), before.end(), key.begin(), key.end()).second - key.begin());
  const auto folders = std::count(key.begin() + static_cast<std::ptrdiff_t>(common), key.end(), kKeySeparator);
  return static_cast<std::size_t>(folders) + (isFolder && common < key.size() ? 1 : 0);
}

// A letter spelled in more bytes than it takes hides from whoever looks for it.
bool IsSpelledTooLong(std::string_view name) {
  const auto byteAt = [&name](std::size_t at) { return at < name.size() ? static_cast<unsigned char>(name[at]) : 0U; };
  const auto isTrail = [&byteAt](std::size_t at) { return (byteAt(at) & 0xC0U) == 0x80U; };
  for (std::size_t at = 0; at < name.size(); ++at) {
    if (text::IsLeadByte(name[at])) {
      ++at; // of a code page with characters of two bytes
      continue;
    }
    const unsigned byte = byteAt(at);
    const unsigned next = byteAt(at + 1);
    if (isTrail(at + 1) && (byte == 0xC0 || byte == 0xC1 || (byte == 0xE0 && next < 0xA0 && isTrail(at + 2)) ||
                            (byte == 0xF0 && next < 0x90 && isTrail(at + 2) && isTrail(at + 3)))) {
      return true;
    }
  }
  return false;
}

} // namespace

const char* JudgePackageName(std::string_view name) {
  if (name.empty()) {
    return "is empty";
  }
  if (name.size() > kMostPackageName) {
    return "is longer than 1,024 bytes";
  }
  if (name[0] == kSeparator) {
    return "is absolute";
  }
  if (IsSpelledTooLong(name)) {
    return "spells a letter in more bytes than it takes";
  }
  for (std::size_t begin = 0; begin <= name.size();) {
    const std::size_t end = std::min(text::FindBackslash(name, begin), name.size());
    if (const char* reason = JudgePathComponent(name.substr(begin, end - begin))) {
      return reason;
    }
    begin = end + 1;
  }
  return nullptr;
}

const char* JudgePackageNames(const std::vector<PackageName>& names, std::uint64_t mostFolders, CString& culprit) {
  const std::vector<Key> keys = MakeKeys(names);
  std::uint64_t folders = 0;
  std::string_view before;
  bool fileBefore = false;
  for (const Key& key : keys) {
    const PackageName& name = names[key.index];
    culprit = name.name;
    if (key.folded == before && (fileBefore || !name.isFolder)) {
      return "stands in the package twice";
    }
    if (fileBefore && key.folded.size() > before.size() && key.folded.starts_with(before) &&
        key.folded[before.size()] == kKeySeparator) {
      return "has a file of the package for a folder";
    }
    folders += CountNewFolders(before, key.folded, name.isFolder);
    if (folders > mostFolders) {
      return "makes too many folders";
    }
    before = key.folded;
    fileBefore = !name.isFolder;
  }
  culprit.clear();
  return nullptr;
}

} // namespace kest
