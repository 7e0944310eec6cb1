#include "support/machine_facts.h"

#include "platform/text/sha256.h"

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace kest::test {

std::map<std::string, std::string> FactsOf(Machine& machine, const CString& folder, std::int64_t now) {
  std::map<std::string, std::string> facts;
  std::vector<FolderEntry> entries;
  if (!IsYes(machine.ListFolder(folder, entries))) {
    facts[folder] = "cannot be listed";
  }
  for (const FolderEntry& entry : entries) {
    const CString path = folder + (folder.back() == '\\' ? "" : "\\") + entry.name;
    if (entry.isFolder) {
      facts[path] = "folder";
      facts.merge(FactsOf(machine, path, now));
      continue;
    }
    Sha256 hash;
    char buffer[4096];
    const auto file = machine.Open(path, OpenMode::kRead);
    for (std::int64_t got = file ? 1 : 0; got > 0;) {
      got = file->Read(buffer, sizeof buffer);
      hash.Add(buffer, static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
    }
    std::uint64_t size = 0;
    CKestDateTime date;
    const bool hasSize = IsYes(machine.GetFileSize(path, size));
    facts[path] =
        std::string(file ? "file " : "closed ") + (hasSize ? "" : "?") + std::to_string(size) +
        (IsYes(machine.IsFileReadOnly(path)) ? " read-only " : " ") +
        (IsYes(machine.GetFileDateTime(path, date)) && date.GetSeconds() < now ? std::to_string(date.GetSeconds())
                                                                               : "") +
        " " + hash.Finish();
  }
  return facts;
}

#ifndef _WIN32
std::map<std::string, std::string> TracesOf(const std::filesystem::path& folder) {
  std::map<std::string, std::string> traces;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    struct stat info {};
    if (lstat(entry.path().c_str(), &info) == 0) {
      traces[entry.path()] = std::to_string(info.st_ino) + " " + std::to_string(info.st_mode) + " " +
                             std::to_string(info.st_size) + " " + std::to_string(info.st_mtim.tv_sec) + "." +
                             std::to_string(info.st_mtim.tv_nsec) + " " + std::to_string(info.st_ctim.tv_sec) + "." +
                             std::to_string(info.st_ctim.tv_nsec);
    }
  }
  return traces;
}
#endif

} // namespace kest::test
