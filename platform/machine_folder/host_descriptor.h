#pragma once

#include "platform/machine/machine.h"

#include <sys/stat.h>
#include <utility>

namespace kest {

/// A descriptor of this system, closed with its owner.
class HostDescriptor {
public:
  HostDescriptor() = default;
  explicit HostDescriptor(int fd) : m_fd(fd) {}
  HostDescriptor(HostDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
  HostDescriptor& operator=(HostDescriptor&& other) noexcept {
    if (this != &other) {
      Reset();
      m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
  }
  ~HostDescriptor() { Reset(); }
  [[nodiscard]] bool IsOpen() const { return m_fd >= 0; }
  [[nodiscard]] int Get() const { return m_fd; }
  void Reset();

private:
  int m_fd = -1;
};

/// Which thing on a disk, whatever its name.
struct HostIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  bool operator==(const HostIdentity&) const = default;
};
[[nodiscard]] inline HostIdentity IdentityOf(const struct stat& info) { return {info.st_dev, info.st_ino}; }

[[nodiscard]] inline bool SameTime(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/// Opens `path` below `root`; links on the way are followed as long as they stay below `root`. -1 and errno otherwise.
[[nodiscard]] int OpenBeneath(int root, const char* path, int flags);

/// The whole of a file from its start; false with errno on failure.
[[nodiscard]] bool ReadWhole(int fd, CString& content);
/// All of it; false with errno on failure.
[[nodiscard]] bool WriteWhole(int fd, std::string_view bytes);

/// What an errno means to a user.
[[nodiscard]] MachineError DescribeErrno(int code, const CString& path);

} // namespace kest
