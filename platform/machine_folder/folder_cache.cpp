#include "platform/machine_folder/folder_cache.h"

#include "platform/machine_folder/host_listing.h"
#include "platform/text/code_page.h"

#include <cerrno>
#include <ctime>
#include <exception>
#include <fcntl.h>

namespace kest {
namespace {

// Descriptors kept at a time; far below what a process may have, so that packages and files find room beside them.
constexpr std::size_t kMostOpen = 200;
// Reading so many names once a moment costs less than two looks for each change made in it.
constexpr std::size_t kFewNames = 512;

CString KeyOf(const WindowsPath& path, std::size_t count) {
  CString key = {path.drive, ':'};
  for (std::size_t i = 0; i < count; ++i) {
    key += '\\';
    key += path.parts[i];
  }
  if (count == 0) {
    key += '\\';
  }
  return key;
}

} // namespace

void FolderCache::SetMounts(std::vector<const FolderMount*> mounts) {
  Forget();
  m_mounts = std::move(mounts);
}

void FolderCache::Forget() {
  m_aliases.clear();
  m_folders.clear();
  m_open = 0;
}

const FolderMount* FolderCache::FindMount(const WindowsPath& path, std::size_t count) const {
  for (const bool exact : {true, false}) {
    for (const FolderMount* mount : m_mounts) {
      bool fits = mount->drive == path.drive && mount->parts.size() <= count && mount->root.IsOpen();
      for (std::size_t i = 0; fits && i < mount->parts.size(); ++i) {
        fits = exact ? mount->parts[i] == path.parts[i]
                     : FoldName(mount->parts[i], m_codePage) == FoldName(path.parts[i], m_codePage);
      }
      if (fits) {
        return mount;
      }
    }
  }
  return nullptr;
}

std::int64_t FolderCache::GetMoment() const {
  timespec now{};
  if (!m_trusting || clock_gettime(CLOCK_MONOTONIC_COARSE, &now) != 0) {
    return 0;
  }
  constexpr std::int64_t kEpochs = 1 << 16;
  return (std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000 + 1) * kEpochs + m_epoch % kEpochs;
}

bool FolderCache::FindAlias(const CString& key, FoundFolder& found) {
  const auto it = m_aliases.find(key);
  if (it == m_aliases.end()) {
    return false;
  }
  Alias& alias = it->second;
  const std::int64_t moment = GetMoment();
  if (!alias.folder->descriptor || moment == 0 || alias.checked != moment) {
    const bool isThere = alias.folder->descriptor &&
                         fstatat(alias.mount->root.Get(), alias.relative.c_str(), &alias.info, 0) == 0 &&
                         IdentityOf(alias.info) == alias.folder->identity;
    if (!isThere) {
      m_aliases.erase(it);
      return false;
    }
    alias.checked = moment;
  }
  found.info = alias.info;
  found.folder = alias.folder;
  found.descriptor = alias.folder->descriptor;
  found.mount = alias.mount;
  found.relative = alias.relative;
  found.storedPath = alias.storedPath;
  return true;
}

std::optional<MachineError> FolderCache::Find(const WindowsPath& path, std::size_t count, FoundFolder& found) {
  const CString key = KeyOf(path, count);
  if (FindAlias(key, found)) {
    return std::nullopt;
  }
  const FolderMount* mount = FindMount(path, count);
  if (mount == nullptr && m_mountFailure != 0) {
    return DescribeErrno(m_mountFailure, key);
  }
  if (mount == nullptr) {
    return MachineError{MachineError::Kind::kNotFound, key, "there is no such drive, or the folder was not opened"};
  }
  HostDescriptor descriptor;
  int failure = 0;
  if (count == mount->parts.size()) {
    found.mount = mount;
    found.relative = ".";
    found.storedPath = CString{mount->drive, ':'};
    for (const CString& part : mount->parts) {
      found.storedPath += '\\' + part;
    }
    found.storedPath += mount->parts.empty() ? "\\" : "";
    descriptor = HostDescriptor(openat(mount->root.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    failure = descriptor.IsOpen() ? 0 : errno;
  } else {
    FoundFolder parent;
    if (auto error = Find(path, count - 1, parent)) {
      return error;
    }
    failure = Enter(parent, path.parts[count - 1], descriptor, found);
  }
  if (failure == 0) {
    failure = Keep(key, std::move(descriptor), found);
  }
  return failure == 0 ? std::nullopt : std::optional(DescribeErrno(failure, key));
}

bool FolderCache::FindFolderOf(std::string_view path, FoundFolder& found, std::string_view& name) {
  constexpr std::size_t kRoot = 3;
  const std::size_t cut = path.rfind('\\');
  // a backslash after such a byte may be the second half of a character
  if (cut == std::string_view::npos || cut < kRoot || static_cast<unsigned char>(path[cut - 1]) >= 0x80) {
    return false;
  }
  name = path.substr(cut + 1);
  m_spelling.assign(path.substr(0, cut));
  return FindAlias(m_spelling, found);
}

int FolderCache::Enter(const FoundFolder& parent, std::string_view name, HostDescriptor& descriptor,
                       FoundFolder& found) {
  struct stat info {};
  CString stored;
  const int failure = FindName(parent, ToDisk(name), stored, info);
  if (failure != 0 || stored.empty()) {
    return failure != 0 ? failure : ENOENT;
  }
  found.mount = parent.mount;
  found.relative = parent.relative == "." ? stored : parent.relative + "/" + stored;
  found.storedPath = parent.storedPath + (parent.storedPath.back() == '\\' ? "" : "\\") + FromDisk(stored);
  if (S_ISDIR(info.st_mode)) {
    descriptor = HostDescriptor(openat(parent.Get(), stored.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  } else if (S_ISLNK(info.st_mode)) {
    descriptor = HostDescriptor(OpenBeneath(parent.mount->root.Get(), found.relative.c_str(), O_RDONLY | O_DIRECTORY));
  } else {
    return ENOTDIR;
  }
  return descriptor.IsOpen() ? 0 : errno;
}

int FolderCache::Keep(const CString& key, HostDescriptor descriptor, FoundFolder& found) {
  if (fstat(descriptor.Get(), &found.info) != 0) {
    return errno;
  }
  std::unique_ptr<KnownFolder>& slot = m_folders[IdentityOf(found.info)];
  if (!slot) {
    slot = std::make_unique<KnownFolder>();
    slot->identity = IdentityOf(found.info);
  }
  if (!slot->descriptor) {
    GiveUpOthers(slot.get());
    slot->descriptor = std::make_shared<HostDescriptor>(std::move(descriptor));
    ++m_open;
  }
  found.folder = slot.get();
  found.descriptor = slot->descriptor;
  m_aliases.insert_or_assign(
      key, Alias{found.folder, found.mount, found.relative, found.storedPath, found.info, GetMoment()});
  return 0;
}

void FolderCache::GiveUpOthers(const KnownFolder* keep) {
  if (m_open < kMostOpen) {
    return;
  }
  for (auto& [identity, folder] : m_folders) {
    if (folder.get() != keep) {
      folder->descriptor.reset();
    }
  }
  m_open = 0;
}

int FolderCache::FindName(const FoundFolder& folder, std::string_view name, CString& stored, struct stat& info) {
  KnownFolder& known = *folder.folder;
  const std::int64_t moment = GetMoment();
  const bool namesHold = known.namesKnown && moment != 0 && known.namesChecked == moment;
  stored.clear();
  if (namesHold && !known.names.contains(KeyOfName(name))) {
    return 0;
  }
  CString given(name);
  if (fstatat(folder.Get(), given.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0) {
    stored = std::move(given);
    return 0;
  }
  if (errno != ENOENT) {
    return errno;
  }
  struct stat now {};
  if (fstat(folder.Get(), &now) != 0) {
    return errno;
  }
  if (!known.namesKnown || known.isDateOver || !SameTime(known.namesDate, now.st_mtim)) {
    if (const int code = ReadNames(known, now.st_mtim); code != 0) {
      return code;
    }
  }
  known.namesChecked = moment;
  const auto it = known.names.find(KeyOfName(name));
  if (it == known.names.end()) {
    return 0;
  }
  if (fstatat(folder.Get(), it->second.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT ? 0 : errno;
  }
  stored = it->second;
  return 0;
}

int FolderCache::ReadNames(KnownFolder& folder, const timespec& date) {
  ++m_reads;
  folder.names.clear();
  folder.hasTwins = false;
  folder.namesKnown = false;
  const int code = ForEachEntry(folder.descriptor->Get(), [&](const dirent& entry) {
    AddName(folder, entry.d_name);
    return true;
  });
  if (code != 0) {
    folder.names.clear();
    return code;
  }
  folder.namesDate = date;
  folder.isDateOver = false;
  folder.namesKnown = true;
  return 0;
}

CString FolderCache::KeyOfName(std::string_view name) const {
  return IsPlainName(name) ? FoldName(name, m_codePage) : FoldName(FromDisk(name), m_codePage);
}

void FolderCache::AddName(KnownFolder& folder, const CString& name) {
  const auto [it, isNew] = folder.names.try_emplace(KeyOfName(name), name);
  if (!isNew && it->second != name) {
    folder.hasTwins = true;
    it->second = std::min(it->second, name);
  }
}

void FolderCache::BeginChange(const FoundFolder& folder) { BeginChangeOf(folder.folder->identity, folder.Get()); }

void FolderCache::BeginChangeOf(HostIdentity folder, int descriptor) {
  const auto it = m_folders.find(folder);
  if (it == m_folders.end() || !it->second->namesKnown || IsToBeReadAnew(*it->second)) {
    return;
  }
  KnownFolder& known = *it->second;
  struct stat now {};
  if (known.isDateOver || fstat(descriptor, &now) != 0 || !SameTime(now.st_mtim, known.namesDate)) {
    known.namesKnown = false; // another program changed it: what it did must not pass for ours
  } else {
    known.namesChecked = GetMoment();
  }
}

/// Whether a change needs no look: the names were checked in this moment, and reading them when it is over is cheap.
bool FolderCache::IsToBeReadAnew(const KnownFolder& folder) const {
  const std::int64_t moment = GetMoment();
  return moment != 0 && folder.namesChecked == moment && folder.names.size() <= kFewNames;
}

void FolderCache::Added(const FoundFolder& folder, const CString& name) {
  AddedTo(folder.folder->identity, folder.Get(), name);
}

void FolderCache::AddedTo(HostIdentity folder, int descriptor, const CString& name) {
  const auto it = m_folders.find(folder);
  if (it == m_folders.end() || !it->second->namesKnown) {
    return;
  }
  try {
    AddName(*it->second, name);
    AcceptDate(*it->second, descriptor);
  } catch (const std::exception&) {
    it->second->namesKnown = false; // the change is made: nobody may hear that it failed
  }
}

void FolderCache::Removed(const FoundFolder& folder, const CString& name) {
  KnownFolder& known = *folder.folder;
  if (!known.namesKnown) {
    return;
  }
  try {
    const auto it = known.names.find(KeyOfName(name));
    if (it != known.names.end() && it->second == name) {
      known.names.erase(it);
    }
    if (known.hasTwins) {
      known.namesKnown = false; // the name left may be the one that this one hid
    } else {
      AcceptDate(known, folder.Get());
    }
  } catch (const std::exception&) {
    known.namesKnown = false;
  }
}

void FolderCache::AcceptDate(KnownFolder& folder, int descriptor) {
  struct stat now {};
  if (IsToBeReadAnew(folder)) {
    folder.isDateOver = true;
    return;
  }
  folder.namesKnown = !folder.isDateOver && fstat(descriptor, &now) == 0;
  folder.namesDate = now.st_mtim;
  folder.namesChecked = GetMoment();
}

} // namespace kest
