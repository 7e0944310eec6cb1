#include "platform/machine_folder/host_descriptor.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kest {

void HostDescriptor::Reset() {
  if (m_fd >= 0) {
    const int keep = errno;
    close(m_fd);
    m_fd = -1;
    errno = keep;
  }
}

int OpenBeneath(int root, const char* path, int flags) {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  const int fd = static_cast<int>(syscall(SYS_openat2, root, path, &how, sizeof how));
  if (fd < 0 && (errno == ENOSYS || errno == EPERM)) {
    errno = ELOOP; // a kernel that cannot keep us below the root: no link is followed
  }
  return fd;
}

constexpr std::size_t kLargestWhole = std::size_t{512} << 20;

bool ReadWhole(int fd, CString& content) {
  struct stat info {};
  if (fstat(fd, &info) != 0) {
    return false;
  }
  content.resize(static_cast<std::size_t>(info.st_size));
  std::size_t have = 0;
  while (true) {
    if (have > kLargestWhole) {
      errno = EFBIG;
      return false;
    }
    if (have == content.size()) {
      content.resize(have + 4096); // grown meanwhile, or a file of no stated size
    }
    const ssize_t count = pread(fd, content.data() + have, content.size() - have, static_cast<off_t>(have));
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0) {
      content.resize(have);
      return count == 0;
    }
    have += static_cast<std::size_t>(count);
  }
}

bool WriteWhole(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(fd, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) {
      return false;
    }
    bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  return true;
}

MachineError DescribeErrno(int code, const CString& path) {
  using Kind = MachineError::Kind;
  struct Row {
    int code;
    Kind kind;
    const char* reason;
  };
  static constexpr std::array kRows = {
      Row{ENOENT, Kind::kNotFound, "no such file or folder"},
      Row{ENOTDIR, Kind::kNotFound, "a part of the path is not a folder"},
      Row{EEXIST, Kind::kExists, "the name is taken"},
      Row{EISDIR, Kind::kExists, "a folder has the name"},
      Row{EACCES, Kind::kAccess, "no permission"},
      Row{EPERM, Kind::kAccess, "no permission"},
      Row{EROFS, Kind::kAccess, "the file system is read-only"},
      Row{ENOSPC, Kind::kDiskFull, "no space left on device"},
      Row{EDQUOT, Kind::kDiskFull, "the user's share of the disk is used up"},
      Row{ENOTEMPTY, Kind::kNotEmpty, "the folder is not empty"},
      Row{ETXTBSY, Kind::kInUse, "the program is running"},
      Row{EBUSY, Kind::kInUse, "in use"},
      Row{EWOULDBLOCK, Kind::kInUse, "another program holds it open"},
      Row{ELOOP, Kind::kRefused, "a link leads out of the drive"},
      Row{EXDEV, Kind::kRefused, "it lies outside the drive, or on another volume"},
      Row{ENAMETOOLONG, Kind::kRefused, "a name is too long"},
  };
  for (const Row& row : kRows) {
    if (row.code == code) {
      return {row.kind, path, row.reason};
    }
  }
  return {Kind::kOther, path, std::strerror(code)};
}

} // namespace kest
