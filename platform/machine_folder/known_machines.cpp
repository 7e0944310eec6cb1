#include "platform/machine_folder/known_machines.h"

#include "platform/text/sealed_line.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace kest {
namespace {

constexpr const char* kList = "machines";
constexpr const char* kNewList = "machines.new";
constexpr off_t kLongestList = 4 << 20;
constexpr std::size_t kMostMachines = 1000;
constexpr std::size_t kMostPlaces = 200;
constexpr std::size_t kFirstPlace = 3;

bool IsOursAlone(int fd) {
  struct stat info {};
  return fstat(fd, &info) == 0 && info.st_uid == geteuid() && (info.st_mode & 0022) == 0;
}

/// Makes the folder with what is missing above it. Not open when it is not the user's own.
HostDescriptor OpenDataFolder(bool make) {
  const CString path = KnownMachines::GetDataFolder();
  if (path.empty()) {
    return {};
  }
  for (std::size_t at = path.find('/', 1); make; at = path.find('/', at + 1)) {
    (void)mkdir(path.substr(0, at).c_str(), 0700); // there already, or the opening fails
    if (at == CString::npos) {
      break;
    }
  }
  HostDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return folder.IsOpen() && IsOursAlone(folder.Get()) ? std::move(folder) : HostDescriptor();
}

/// False when there is a list that cannot be relied on.
bool ReadList(int folder, CString& text) {
  const HostDescriptor file(openat(folder, kList, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file.IsOpen()) {
    return errno == ENOENT;
  }
  struct stat info {};
  return fstat(file.Get(), &info) == 0 && S_ISREG(info.st_mode) && info.st_size <= kLongestList &&
         IsOursAlone(file.Get()) && ReadWhole(file.Get(), text);
}

CString FirstFields(const KnownMachines::Identity& machine) {
  return std::to_string(machine.drive.device) + '\t' + std::to_string(machine.drive.inode) + '\t' +
         sealed_line::Escape(machine.path);
}

bool IsSameOrBelow(std::string_view path, std::string_view place) {
  return text::StartsWithNoCase(path, place) && (path.size() == place.size() || path[place.size()] == '\\');
}

} // namespace

CString KnownMachines::GetDataFolder() {
  const char* const data = std::getenv("XDG_DATA_HOME");
  if (data != nullptr && *data == '/') {
    return CString(data) + "/kest";
  }
  const char* const home = std::getenv("HOME");
  return home != nullptr && *home == '/' ? CString(home) + "/.local/share/kest" : CString();
}

KnownMachines::KnownMachines(Identity machine) : m_machine(std::move(machine)) {
  CString text;
  const HostDescriptor folder = OpenDataFolder(false);
  if (folder.IsOpen() && ReadList(folder.Get(), text)) {
    Read(text, nullptr);
  }
}

bool KnownMachines::HasPlace(std::string_view path) const {
  return std::any_of(m_places.begin(), m_places.end(),
                     [path](const CString& place) { return IsSameOrBelow(path, place); });
}

void KnownMachines::Read(std::string_view text, std::vector<CString>* others) {
  const CString own = FirstFields(m_machine);
  for (std::size_t end; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1)) {
    std::string_view body;
    if (!sealed_line::Unseal(text.substr(0, end), body)) {
      continue;
    }
    if (!body.starts_with(own) || (body.size() > own.size() && body[own.size()] != '\t')) {
      if (others != nullptr) {
        others->emplace_back(body);
      }
      continue;
    }
    m_isKnown = true;
    std::vector<CString> places;
    const auto fields = sealed_line::SplitFields(body);
    for (std::size_t i = kFirstPlace; i < fields.size(); ++i) {
      CString place;
      if (sealed_line::Unescape(fields[i], place)) {
        places.push_back(std::move(place));
      }
    }
    AddPlaces(places);
  }
}

void KnownMachines::AddPlaces(const std::vector<CString>& places) {
  for (const CString& place : places) {
    if (!place.empty() && !HasPlace(place)) {
      std::erase_if(m_places, [&place](const CString& known) { return IsSameOrBelow(known, place); });
      m_places.push_back(place);
    }
  }
  if (m_places.size() > kMostPlaces) {
    m_places.erase(m_places.begin(), m_places.end() - kMostPlaces);
  }
}

void KnownMachines::Note(const std::vector<CString>& places) {
  m_isKnown = true;
  AddPlaces(places);
  const HostDescriptor folder = OpenDataFolder(true);
  CString text;
  if (!folder.IsOpen() || flock(folder.Get(), LOCK_EX) != 0 || !ReadList(folder.Get(), text)) {
    return;
  }
  std::vector<CString> lines;
  Read(text, &lines); // another process may have added to it
  if (lines.size() >= kMostMachines) {
    lines.erase(lines.begin(), lines.end() - (kMostMachines - 1));
  }
  CString own = FirstFields(m_machine);
  for (const CString& place : m_places) {
    own += '\t' + sealed_line::Escape(place);
  }
  lines.push_back(std::move(own));
  text.clear();
  for (const CString& line : lines) {
    text += sealed_line::Seal(line);
  }
  (void)unlinkat(folder.Get(), kNewList, 0); // of a process that died in here
  const HostDescriptor file(openat(folder.Get(), kNewList, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (file.IsOpen() && WriteWhole(file.Get(), text) && fsync(file.Get()) == 0) {
    (void)renameat(folder.Get(), kNewList, folder.Get(), kList);
  }
}

} // namespace kest
