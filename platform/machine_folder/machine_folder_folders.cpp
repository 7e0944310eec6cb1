#include "platform/machine/listing_order.h"
#include "platform/machine/shared_lock.h"
#include "platform/machine_folder/folder_tree.h"
#include "platform/machine_folder/host_listing.h"
#include "platform/machine_folder/machine_folder.h"
#include "platform/machine_folder/machine_folder_state.h"
#include "platform/text/code_page.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <sys/file.h>
#include <sys/statvfs.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <unordered_set>

// Folders, volumes, durability and the right to write.

namespace kest {
namespace {

using Kind = MachineError::Kind;

// From so many paths on, one flush of each volume costs far less than one a file; below, what others have yet to write
// to a volume is not waited for.
constexpr std::size_t kManyPaths = 32;

/// Brings files and folders to the disk, each once.
class Flush {
public:
  /// Adds an open file or folder. Its write-back starts now.
  void Add(HostDescriptor descriptor, const struct stat& info) {
    if (!m_known.insert({info.st_dev, info.st_ino}).second) {
      return;
    }
    if (S_ISREG(info.st_mode)) {
      (void)sync_file_range(descriptor.Get(), 0, 0, SYNC_FILE_RANGE_WRITE);
      m_files.push_back(std::move(descriptor));
    } else {
      m_folders.push_back(std::move(descriptor));
    }
  }

  [[nodiscard]] int Wait() {
    for (const auto* list : {&m_files, &m_folders}) {
      for (const HostDescriptor& descriptor : *list) {
        if (fsync(descriptor.Get()) != 0) {
          return errno;
        }
      }
    }
    return 0;
  }

private:
  std::set<std::pair<dev_t, ino_t>> m_known;
  std::vector<HostDescriptor> m_files;
  std::vector<HostDescriptor> m_folders;
};

/// 0, ENOTEMPTY, or why it cannot be told.
int LookIfEmpty(int folder) {
  bool isEmpty = true;
  const int code = ForEachEntry(folder, [&isEmpty](const dirent&) { return isEmpty = false; });
  return code != 0 || isEmpty ? code : ENOTEMPTY;
}

/// The folder that a file lies in; the path itself when it ends in a backslash or has none.
std::string_view FolderOf(std::string_view path) {
  const std::size_t cut = text::FindLastBackslash(path);
  return cut == std::string_view::npos ? path : path.substr(0, cut + 1);
}

/// The two ends of a folder's rename, both to be changed; the target is free.
bool FindFolderMove(MachineFolder::State& state, const CString& from, const CString& to, FoundEntry& source,
                    FoundEntry& target) {
  if (!state.FindEntry(from, source, false, true) || !state.FindEntry(to, target, false, true) ||
      !state.MayChange(source.folder, from) || !state.MayChange(target.folder, to)) {
    return false;
  }
  if (!source.IsFolder()) {
    return state.Fail(source.Exists() ? ENOTDIR : ENOENT, from);
  }
  return !target.Exists() || state.Fail(EEXIST, to);
}

/// On failure errno says why.
bool RenameFolder(MachineFolder::State& state, const FoundFolder& from, const CString& name, const FoundFolder& to,
                  const CString& newName) {
  FolderCache& folders = state.GetFolders();
  folders.BeginChange(from);
  folders.BeginChange(to);
  folders.ForgetChecks();
  if (renameat2(from.Get(), name.c_str(), to.Get(), newName.c_str(), RENAME_NOREPLACE) != 0) {
    return false;
  }
  folders.Removed(from, name);
  folders.Added(to, newName);
  return true;
}

} // namespace

// ---- folders
// ----------------------------------------------------------------------------------------------------------

Answer MachineFolder::DirectoryExists(const CString& path) {
  FoundFolder found;
  return m_state->FindFolder(path, found, true) ? Answer::kYes : m_state->AnswerForMiss();
}

bool MachineFolder::CreateDirectory(const CString& path) {
  WindowsPath parsed;
  FoundFolder folder;
  std::size_t count = 0;
  if (!m_state->FindDeepest(path, parsed, folder, count)) {
    return false;
  }
  FolderCache& folders = m_state->GetFolders();
  for (; count < parsed.parts.size(); ++count) {
    struct stat info {};
    const CString name = folders.ToDisk(parsed.parts[count]);
    CString stored;
    if (const int code = folders.FindName(folder, name, stored, info); code != 0) {
      return m_state->Fail(code, path);
    }
    if (!stored.empty() && !S_ISDIR(info.st_mode)) {
      return m_state->Fail(Kind::kExists, path, "a file has the name");
    }
    if (stored.empty()) {
      if (!m_state->MayChange(folder, path)) {
        return false;
      }
      folders.BeginChange(folder);
      if (mkdirat(folder.Get(), name.c_str(), 0777) != 0) {
        return m_state->Fail(errno, path);
      }
      folders.Added(folder, name);
    }
    FoundFolder next;
    if (auto failure = folders.Find(parsed, count + 1, next)) {
      return m_state->Fail(failure->kind, path, failure->reason);
    }
    folder = std::move(next);
  }
  return true;
}

bool MachineFolder::CreatePrivateDirectory(const CString& path) {
  FoundEntry entry;
  if (!m_state->FindEntry(path, entry, false, true) || !m_state->MayChange(entry.folder, path)) {
    return false;
  }
  if (entry.Exists()) {
    return m_state->Fail(EEXIST, path);
  }
  // all that needs memory comes first: what was made is remembered
  const CString& parent = entry.folder.storedPath;
  CString stored = parent + (parent.size() == 3 ? "" : "\\") + m_state->GetFolders().FromDisk(entry.name) + '\\';
  m_state->privateFolders.reserve(m_state->privateFolders.size() + 1);
  m_state->GetFolders().BeginChange(entry.folder);
  if (mkdirat(entry.folder.Get(), entry.name.c_str(), kPrivateMode) != 0) {
    return m_state->Fail(errno, path);
  }
  m_state->GetFolders().Added(entry.folder, entry.name);
  m_state->privateFolders.push_back(std::move(stored));
  return true;
}

bool MachineFolder::RemoveDirectory(const CString& path) {
  FoundEntry entry;
  if (!m_state->FindEntry(path, entry, false, true) || !m_state->MayChange(entry.folder, path)) {
    return false;
  }
  if (!entry.IsFolder()) {
    return m_state->Fail(entry.Exists() ? ENOTDIR : ENOENT, path);
  }
  m_state->GetFolders().BeginChange(entry.folder);
  m_state->GetFolders().ForgetChecks();
  if (unlinkat(entry.folder.Get(), entry.stored.c_str(), AT_REMOVEDIR) != 0) {
    return m_state->Fail(errno, path);
  }
  m_state->GetFolders().Removed(entry.folder, entry.stored);
  return true;
}

bool MachineFolder::MoveEmptyFolder(const CString& from, const CString& to) {
  FoundEntry source;
  FoundEntry target;
  if (!FindFolderMove(*m_state, from, to, source, target)) {
    return false;
  }
  // looked into by descriptor before and after, since somebody may put a file there meanwhile
  const HostDescriptor folder(
      openat(source.folder.Get(), source.stored.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!folder.IsOpen()) {
    return m_state->Fail(errno, from);
  }
  if (const int code = LookIfEmpty(folder.Get()); code != 0) {
    return m_state->Fail(code, from);
  }
  if (!RenameFolder(*m_state, source.folder, source.stored, target.folder, target.name)) {
    return m_state->Fail(errno, from);
  }
  const int code = LookIfEmpty(folder.Get());
  if (code != 0 && RenameFolder(*m_state, target.folder, target.name, source.folder, source.stored)) {
    return m_state->Fail(code, from);
  }
  return true;
}

bool MachineFolder::MoveFolder(const CString& from, const CString& to) {
  FoundEntry source;
  FoundEntry target;
  if (!FindFolderMove(*m_state, from, to, source, target)) {
    return false;
  }
  int pin = 0;
  if (!m_state->IsInPrivateFolder(source)) {
    const HostDescriptor folder(
        openat(source.folder.Get(), source.stored.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    pin = folder.IsOpen() ? FindPinBelow(folder.Get()) : errno;
  }
  return pin != 0 ? m_state->Fail(pin, from)
                  : (RenameFolder(*m_state, source.folder, source.stored, target.folder, target.name) ||
                     m_state->Fail(errno, from));
}

bool MachineFolder::RemoveTree(const CString& path) {
  FoundEntry entry;
  if (!m_state->FindEntry(path, entry, false, true) || !m_state->MayChange(entry.folder, path)) {
    return false;
  }
  if (!entry.IsFolder()) {
    return m_state->Fail(entry.Exists() ? ENOTDIR : ENOENT, path);
  }
  m_state->GetFolders().BeginChange(entry.folder);
  m_state->GetFolders().ForgetChecks();
  const int code = RemoveFolderTree(entry.folder.Get(), entry.stored);
  if (code != 0) {
    return m_state->Fail(code, path);
  }
  m_state->GetFolders().Removed(entry.folder, entry.stored);
  return true;
}

bool MachineFolder::MoveFolderToTrash(const CString& path, const CString& label) {
  FoundEntry entry;
  if (!m_state->FindEntry(path, entry, false, true) || !m_state->MayChange(entry.folder, path)) {
    return false;
  }
  if (!entry.IsFolder()) {
    return m_state->Fail(entry.Exists() ? ENOTDIR : ENOENT, path);
  }
  return m_state->MoveToTrash(entry, label);
}

Answer MachineFolder::ListFolder(const CString& path, std::vector<FolderEntry>& entries) {
  entries.clear();
  FoundFolder folder;
  if (!m_state->FindFolder(path, folder)) {
    return m_state->AnswerForMiss();
  }
  std::vector<FoldedEntry> folded;
  int typeFailure = 0;
  const int listFailure = ForEachEntry(folder.Get(), [&](const dirent& entry) {
    const CString name = m_state->GetFolders().FromDisk(entry.d_name);
    struct stat info {};
    mode_t type = entry.d_type == DT_DIR ? S_IFDIR : entry.d_type == DT_LNK ? S_IFLNK : S_IFREG;
    if (entry.d_type == DT_UNKNOWN) {
      if (fstatat(folder.Get(), entry.d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
        typeFailure = errno == ENOENT ? 0 : errno;
        return typeFailure == 0; // gone meanwhile, or not to be told
      }
      type = info.st_mode & S_IFMT;
    }
    folded.emplace_back(FoldName(name, m_state->GetFolders().GetCodePage()),
                        FolderEntry{name, type == S_IFDIR, type == S_IFLNK});
    return true;
  });
  if (const int code = listFailure != 0 ? listFailure : typeFailure; code != 0) {
    return m_state->CannotTell(code, path);
  }
  AppendInOrder(std::move(folded), entries);
  return Answer::kYes;
}

// ---- volumes, durability
// ----------------------------------------------------------------------------------------------

bool MachineFolder::SameVolume(const CString& a, const CString& b) {
  WindowsPath parsed;
  FoundFolder first;
  FoundFolder second;
  std::size_t count = 0;
  return m_state->FindDeepest(a, parsed, first, count, true) && m_state->FindDeepest(b, parsed, second, count, true) &&
         first.folder->identity.device == second.folder->identity.device;
}

bool MachineFolder::GetFreeSpace(const CString& path, std::uint64_t& bytes) {
  WindowsPath parsed;
  FoundFolder folder;
  std::size_t count = 0;
  struct statvfs info {};
  if (!m_state->FindDeepest(path, parsed, folder, count)) {
    return false;
  }
  if (fstatvfs(folder.Get(), &info) != 0) {
    return m_state->Fail(errno, path);
  }
  bytes = std::uint64_t{info.f_bavail} * info.f_frsize;
  return true;
}

bool MachineFolder::SyncPaths(const std::vector<CString>& paths) {
  if (paths.size() > kManyPaths) {
    return m_state->SyncVolumes(paths);
  }
  Flush flush;
  for (const CString& path : paths) {
    WindowsPath parsed;
    FoundFolder folder;
    std::size_t count = 0;
    struct stat info {};
    if (!m_state->FindDeepest(path, parsed, folder, count)) {
      if (m_state->error.kind == Kind::kNotFound) {
        continue;
      }
      return false;
    }
    // the folder itself, or the one whose list of names holds the file, or no longer holds it
    HostDescriptor descriptor(openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.IsOpen() || fstat(descriptor.Get(), &info) != 0) {
      return m_state->Fail(errno, path);
    }
    flush.Add(std::move(descriptor), info);
    FoundEntry entry;
    const bool isFile = count + 1 == parsed.parts.size() && m_state->FindEntry(path, entry, true, true) &&
                        entry.Exists() && S_ISREG(entry.info.st_mode);
    if (isFile) {
      descriptor = m_state->OpenFile(entry, O_RDONLY, info);
      if (!descriptor.IsOpen()) {
        return false;
      }
      flush.Add(std::move(descriptor), info);
    }
  }
  const int code = flush.Wait();
  return code == 0 || m_state->Fail(code, paths.empty() ? CString() : paths.front());
}

void MachineFolder::StartSync(const CString& path) {
  WindowsPath parsed;
  FoundFolder folder;
  std::size_t count = 0;
  if (!m_state->FindDeepest(path, parsed, folder, count, true)) {
    return;
  }
  // a description of its own, so that the one who waits later is told of what went wrong
  const int fd = openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    return;
  }
  try {
    std::thread([fd] {
      (void)syncfs(fd);
      close(fd);
    }).detach();
  } catch (const std::system_error&) {
    close(fd); // no thread to be had: then all of it is waited for later
  }
}

/// Flushes every volume that one of the paths lies on. Each folder is looked for once, whatever it holds.
bool MachineFolder::State::SyncVolumes(const std::vector<CString>& paths) {
  std::set<dev_t> volumes;
  std::unordered_set<std::string_view> seen;
  for (const CString& path : paths) {
    const std::string_view place = FolderOf(path);
    WindowsPath parsed;
    FoundFolder folder;
    std::size_t count = 0;
    if (!seen.insert(place).second) {
      continue;
    }
    if (!FindDeepest(CString(place), parsed, folder, count)) {
      if (error.kind == Kind::kNotFound) {
        continue;
      }
      return false;
    }
    if (volumes.insert(folder.info.st_dev).second && syncfs(folder.Get()) != 0) {
      return Fail(errno, path);
    }
  }
  return true;
}

WriterLock MachineFolder::LockWriter(std::int64_t milliseconds) {
  State& state = *m_state;
  if (state.lockCount > 0 && state.lockOwner == getpid()) {
    ++state.lockCount;
    return {true, {}};
  }
  // An open description of its own: the lock goes with it, however the process ends.
  state.lock =
      HostDescriptor(state.root.IsOpen() ? openat(state.root.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1);
  if (!state.lock.IsOpen()) {
    (void)state.Fail(state.root.IsOpen() ? errno : ENOENT, state.hostFolder);
    return {};
  }
  const std::int64_t end = MonotonicMilliseconds() + std::max<std::int64_t>(milliseconds, 0);
  for (;;) {
    int code = flock(state.lock.Get(), LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
    const bool isPrefix = code == 0;
    code = isPrefix ? state.LockPrefix(F_OFD_SETLK, state.prefixLock) : code;
    if (code == 0) {
      break;
    }
    const bool isOver = MonotonicMilliseconds() >= end;
    if ((code != EWOULDBLOCK && code != EINTR) || isOver) {
      CString holder;
      if (code == EWOULDBLOCK || code == EINTR) {
        holder = GetWriter();
        (void)state.Fail(Kind::kInUse, state.hostFolder,
                         (holder.empty() ? CString("another program") : holder) + " is changing this machine");
      } else {
        (void)state.Fail(code, isPrefix ? CString(shared_lock::kFile) : state.hostFolder);
      }
      state.lock.Reset();
      return {false, std::move(holder)};
    }
    if (isPrefix) {
      flock(state.lock.Get(), LOCK_UN); // whoever else waits is not kept from it meanwhile
    }
    AllowBackgroundProcessing();
  }
  if (!state.IsTrashUsable()) {
    state.prefixLock.Reset();
    state.lock.Reset();
    return {};
  }
  state.lockCount = 1;
  state.lockOwner = getpid();
  state.GetFolders().SetTrusting(true);
  return {true, {}};
}

void MachineFolder::SetBriefTrust(bool trusting) {
  m_state->isTrustingBriefly = trusting;
  m_state->GetFolders().SetTrusting(trusting || m_state->lockCount > 0);
}

void MachineFolder::UnlockWriter() {
  State& state = *m_state;
  if (state.lockCount > 0 && state.lockOwner == getpid() && --state.lockCount == 0) {
    state.GetFolders().SetTrusting(state.isTrustingBriefly);
    state.prefixLock.Reset();
    state.lock.Reset();
  }
}

void MachineFolder::ForgetFolders() { m_state->GetFolders().Forget(); }

} // namespace kest
