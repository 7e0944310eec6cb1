#include "platform/machine_folder/host_file.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace kest {
namespace {

CString UniqueName(const char* stem) {
  static unsigned counter = 0;
  return CString(stem) + std::to_string(getpid()) + "-" + std::to_string(++counter) + ".tmp";
}

CString ProcPath(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

} // namespace

int UnnamedFile::Open(const HostTarget& target, mode_t mode) {
  m_file = HostDescriptor(openat(target.folder->Get(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, mode));
  if (m_file.IsOpen() || (errno != EOPNOTSUPP && errno != EISDIR && errno != ENOENT && errno != EINVAL)) {
    return m_file.IsOpen() ? 0 : errno;
  }
  do {
    m_name = UniqueName("~kest");
    m_file = HostDescriptor(
        openat(target.folder->Get(), m_name.c_str(), O_CREAT | O_EXCL | O_NOFOLLOW | O_RDWR | O_CLOEXEC, mode));
  } while (!m_file.IsOpen() && errno == EEXIST);
  return m_file.IsOpen() ? 0 : errno;
}

int UnnamedFile::Place(const HostTarget& target, bool mayReplace) {
  const int folder = target.folder->Get();
  if (!m_name.empty()) {
    const int result =
        renameat2(folder, m_name.c_str(), folder, target.name.c_str(), mayReplace ? 0 : RENAME_NOREPLACE);
    const int code = result == 0 ? 0 : errno;
    if (code == 0) {
      m_name.clear();
    }
    return code;
  }
  const CString self = ProcPath(m_file.Get());
  if (linkat(AT_FDCWD, self.c_str(), folder, target.name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
    return 0;
  }
  if (errno != EEXIST || !mayReplace) {
    return errno;
  }
  // A name must be had to replace another one. It stands for two calls, outside the drives where that can be.
  const int staging = target.staging >= 0 ? target.staging : folder;
  CString name;
  do {
    name = UniqueName("~kest");
    if (linkat(AT_FDCWD, self.c_str(), staging, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
      break;
    }
    if (errno != EEXIST) {
      return errno == ENOENT ? EIO : errno; // "not found" would tell of the target
    }
  } while (true);
  if (renameat(staging, name.c_str(), folder, target.name.c_str()) == 0) {
    return 0;
  }
  const int code = errno;
  unlinkat(staging, name.c_str(), 0);
  return code;
}

void UnnamedFile::Drop(const HostTarget& target) {
  if (!m_name.empty()) {
    unlinkat(target.folder->Get(), m_name.c_str(), 0);
    m_name.clear();
  }
  m_file.Reset();
}

int CopyContents(int from, const struct stat& info, int to) {
  if (ioctl(to, FICLONE, from) != 0) {
    bool inKernel = true;
    std::vector<char> buffer;
    while (true) {
      ssize_t count = inKernel ? copy_file_range(from, nullptr, to, nullptr, std::size_t{1} << 30, 0) : -1;
      if (inKernel && count < 0 && (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)) {
        inKernel = false;
        buffer.resize(std::size_t{1} << 18);
      }
      if (!inKernel) {
        count = read(from, buffer.data(), buffer.size());
        if (count > 0 && !WriteWhole(to, {buffer.data(), static_cast<std::size_t>(count)})) {
          return errno;
        }
      }
      if (count < 0 && errno != EINTR) {
        return errno;
      }
      if (count == 0) {
        break;
      }
    }
  }
  const timespec times[2] = {{0, UTIME_OMIT}, info.st_mtim};
  return fchmod(to, info.st_mode & 0777) == 0 && futimens(to, times) == 0 ? 0 : errno;
}

int KeepOwner(const struct stat& old, int file) {
  struct stat info {};
  if (fstat(file, &info) != 0) {
    return errno;
  }
  if (info.st_uid == old.st_uid && info.st_gid == old.st_gid) {
    return 0;
  }
  // whoever is not root may keep a group of his own at most, and has always replaced files of others by his own; root
  // cannot give a file to an owner whom this system does not know
  const uid_t owner = geteuid() == 0 ? old.st_uid : static_cast<uid_t>(-1);
  return fchown(file, owner, old.st_gid) == 0 || errno == EPERM || errno == EINVAL ? 0 : errno;
}

HostFile::HostFile(std::shared_ptr<HostFileOwner> owner, HostDescriptor file, HostTarget target, OpenMode mode)
    : m_owner(std::move(owner)), m_file(std::move(file)), m_target(std::move(target)), m_mode(mode) {}

HostFile::HostFile(std::shared_ptr<HostFileOwner> owner, HostDescriptor file, HostTarget target, std::uint64_t size)
    : m_owner(std::move(owner)), m_file(std::move(file)), m_target(std::move(target)), m_mode(OpenMode::kRead),
      m_sizeAtOpen(size) {}

HostFile::HostFile(std::shared_ptr<HostFileOwner> owner, UnnamedFile file, HostTarget target)
    : m_owner(std::move(owner)), m_unnamed(std::move(file)), m_target(std::move(target)), m_mode(OpenMode::kReplace) {}

HostFile::~HostFile() {
  if (!m_closed) {
    m_unnamed.Drop(m_target);
  }
}

bool HostFile::Fail(int code) {
  m_failed = true;
  return m_owner->Fail(code, m_target.path);
}

std::int64_t HostFile::Read(char* buffer, std::size_t count) {
  m_sizeAtOpen.reset();
  ssize_t result = 0;
  do {
    result = read(Get(), buffer, count);
  } while (result < 0 && errno == EINTR);
  if (result < 0) {
    (void)m_owner->CannotTell(errno, m_target.path);
  }
  return result;
}

std::int64_t HostFile::ReadAt(std::uint64_t offset, char* buffer, std::size_t count) {
  m_sizeAtOpen.reset();
  ssize_t result = 0;
  do {
    result = pread(Get(), buffer, count, static_cast<off_t>(offset));
  } while (result < 0 && errno == EINTR);
  if (result < 0) {
    (void)m_owner->CannotTell(errno, m_target.path);
  }
  return result;
}

bool HostFile::Write(const char* bytes, std::size_t count) {
  if (m_mode == OpenMode::kRead) {
    return m_owner->Fail(EACCES, m_target.path);
  }
  return WriteWhole(Get(), {bytes, count}) || Fail(errno);
}

bool HostFile::WriteAt(std::uint64_t offset, const char* bytes, std::size_t count) {
  if (m_mode == OpenMode::kRead || m_mode == OpenMode::kAppend) {
    return m_owner->Fail(EACCES, m_target.path);
  }
  while (count > 0) {
    const ssize_t written = pwrite(Get(), bytes, count, static_cast<off_t>(offset));
    if (written < 0 && errno != EINTR) {
      return Fail(errno);
    }
    const auto done = static_cast<std::size_t>(written > 0 ? written : 0);
    bytes += done;
    offset += done;
    count -= done;
  }
  return true;
}

bool HostFile::GetSize(std::uint64_t& size) {
  if (m_sizeAtOpen) {
    size = *m_sizeAtOpen;
    m_sizeAtOpen.reset();
    return true;
  }
  struct stat info {};
  if (fstat(Get(), &info) != 0) {
    return IsYes(m_owner->CannotTell(errno, m_target.path));
  }
  size = static_cast<std::uint64_t>(info.st_size);
  return true;
}

bool HostFile::SetDate(const CKestDateTime& date) {
  if (m_mode == OpenMode::kRead) {
    return m_owner->Fail(EACCES, m_target.path);
  }
  m_hasDate = true;
  m_date = date;
  return true;
}

bool HostFile::Sync() { return fsync(Get()) == 0 || Fail(errno); }

int HostFile::Finish() {
  if (m_hasDate) {
    const timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(m_date.GetSeconds()), 0}};
    if (futimens(Get(), times) != 0) {
      return errno;
    }
  }
  if (m_mode != OpenMode::kReplace) {
    return 0;
  }
  m_owner->GetFolders().BeginChangeOf(m_target.folderIdentity, m_target.folder->Get());
  const int code = m_unnamed.Place(m_target, true);
  if (code == 0) {
    m_owner->GetFolders().AddedTo(m_target.folderIdentity, m_target.folder->Get(), m_target.name);
  }
  return code;
}

bool HostFile::Close() {
  if (m_closed) {
    return !m_failed;
  }
  const bool wasGood = !m_failed;
  const int code = wasGood ? Finish() : 0;
  m_closed = true;
  if (code != 0) {
    (void)Fail(code);
  }
  m_unnamed.Drop(m_target);
  m_file.Reset();
  return !m_failed;
}

} // namespace kest
