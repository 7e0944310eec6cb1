#include "platform/machine_folder/process_list.h"

#include "platform/machine_folder/host_listing.h"

#include <cstdio>
#include <cstdlib>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace kest {
namespace {

CString ReadProcFile(const CString& path) {
  const HostDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  CString content;
  if (!file.IsOpen() || !ReadWhole(file.Get(), content)) {
    content.clear();
  }
  return content;
}

CString FirstWord(const CString& zeroTerminated) { return zeroTerminated.substr(0, zeroTerminated.find('\0')); }

bool IsWindowsPath(const CString& word) { return word.size() > 3 && word[1] == ':' && word[2] == '\\'; }

/// Whether the process works in the prefix at `root`: named in its environment, or the one that users have by default.
bool WorksInPrefix(const CString& process, HostIdentity root) {
  const CString environment = '\0' + ReadProcFile("/proc/" + process + "/environ");
  const auto find = [&environment](const char* name) -> CString {
    const CString key = CString(1, '\0') + name + "=";
    const std::size_t at = environment.find(key);
    return at == CString::npos ? CString() : CString(environment.c_str() + at + key.size());
  };
  CString prefix = find("WINEPREFIX");
  if (prefix.empty()) {
    prefix = find("HOME") + "/.wine";
  }
  struct stat info {};
  return stat(prefix.c_str(), &info) == 0 && IdentityOf(info) == root;
}

} // namespace

bool IsPrefixServed(HostIdentity root, const CString& hostFolder) {
  const CString user = std::to_string(getuid());
  std::vector<CString> bases = {"/tmp/.wine-" + user, "/run/user/" + user + "/wine"};
  // Debian's Wine keeps the name of a folder of its own making in the prefix
  const CString named(text::Trimmed(ReadProcFile(hostFolder + "/wineserver")));
  if (!named.empty() && named.size() < 64 && named.find('/') == CString::npos) {
    bases.push_back("/tmp/" + named);
  }
  char folder[64];
  std::snprintf(folder, sizeof folder, "/server-%llx-%llx/lock", static_cast<unsigned long long>(root.device),
                static_cast<unsigned long long>(root.inode));
  for (const CString& base : bases) {
    const HostDescriptor file(open((base + folder).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (file.IsOpen() && fcntl(file.Get(), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK) {
      return true;
    }
  }
  return false;
}

std::vector<CString> ListPrefixProcesses(HostIdentity root, const CString& hostFolder, int& code) {
  std::vector<CString> found;
  const HostDescriptor processes(open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  code = ForEachEntry(processes.Get(), [&](const dirent& entry) {
    const CString process = entry.d_name;
    if (process[0] < '1' || process[0] > '9') {
      return true;
    }
    CString word = FirstWord(ReadProcFile("/proc/" + process + "/cmdline"));
    if (word.starts_with(hostFolder + "/") || (IsWindowsPath(word) && WorksInPrefix(process, root))) {
      found.push_back(std::move(word));
    }
    return true;
  });
  return found;
}

CString FindLockHolder(HostIdentity folder) {
  char place[64];
  std::snprintf(place, sizeof place, " %02x:%02x:%llu ", major(folder.device), minor(folder.device),
                static_cast<unsigned long long>(folder.inode));
  const CString locks = ReadProcFile("/proc/locks");
  for (std::size_t at = 0; at < locks.size();) {
    const std::size_t end = std::min(locks.find('\n', at), locks.size());
    const CString line = locks.substr(at, end - at);
    at = end + 1;
    const std::size_t found = line.find(place);
    // "12: FLOCK  ADVISORY  WRITE 4711 fe:00:123 0 EOF"; those who wait have an arrow and hold nothing
    if (found == CString::npos || line.find("FLOCK") == CString::npos || line.find("->") != CString::npos) {
      continue;
    }
    const long process = std::atol(line.c_str() + line.rfind(' ', found - 1) + 1);
    if (process <= 0 || process == getpid()) {
      return {};
    }
    CString name = ReadProcFile("/proc/" + std::to_string(process) + "/comm");
    text::Trim(name);
    return "process " + std::to_string(process) + (name.empty() ? "" : " (" + name + ")");
  }
  return {};
}

} // namespace kest
