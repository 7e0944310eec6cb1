#include "platform/machine_folder/folder_tree.h"

#include "platform/machine_folder/host_listing.h"

#include <sys/stat.h>

namespace kest {
namespace {

constexpr std::uint64_t kUnchangeable = STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND;

// Folders below this are first moved up to the top of the tree.
constexpr int kDeepest = 32;

/// Empties one tree; `m_top` is its root.
class Remover {
public:
  explicit Remover(int top) : m_top(top) {}

  void Empty(int folder, int depth) {
    errno = ForEachEntry(folder, [&](const dirent& entry) {
      if (unlinkat(folder, entry.d_name, 0) != 0) {
        errno == EISDIR || errno == EPERM ? RemoveFolder(folder, entry.d_name, depth) : Note();
      }
      return true;
    });
    Note();
  }
  [[nodiscard]] bool TakeMoved() { return std::exchange(m_moved, false); }
  [[nodiscard]] int GetFailure() const { return m_failure; }

private:
  void RemoveFolder(int parent, const CString& name, int depth) {
    if (depth >= kDeepest) {
      const CString moved = "~" + std::to_string(getpid()) + "-" + std::to_string(++m_counter);
      m_moved = renameat2(parent, name.c_str(), m_top, moved.c_str(), RENAME_NOREPLACE) == 0 || m_moved;
      return;
    }
    HostDescriptor folder(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder.IsOpen() && errno == EACCES && fchmodat(parent, name.c_str(), 0700, 0) == 0) {
      folder = HostDescriptor(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    }
    if (folder.IsOpen()) {
      Empty(folder.Get(), depth + 1);
      folder.Reset();
    }
    if (unlinkat(parent, name.c_str(), AT_REMOVEDIR) != 0 && errno != ENOENT && !m_moved) {
      Note();
    }
  }
  void Note() { m_failure = m_failure != 0 ? m_failure : errno; }

  int m_top;
  bool m_moved = false;
  unsigned m_counter = 0;
  int m_failure = 0;
};

} // namespace

int RemoveFolderTree(int parent, const CString& name) {
  const HostDescriptor top(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!top.IsOpen()) {
    return errno;
  }
  Remover remover(top.Get());
  do {
    remover.Empty(top.Get(), 0);
  } while (remover.TakeMoved());
  if (unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0) {
    return 0;
  }
  return remover.GetFailure() != 0 ? remover.GetFailure() : errno;
}

int FindFolderPin(int folder) {
  struct statx info {};
  if (statx(folder, "", AT_EMPTY_PATH, STATX_TYPE, &info) != 0) {
    return errno == ENOSYS ? 0 : errno;
  }
  return (info.stx_attributes & kUnchangeable) != 0 ? EPERM : 0;
}

int FindPin(int folder, const char* name, mode_t* mode, uid_t user) {
  struct statx entry {};
  if (statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE | STATX_MODE | STATX_UID, &entry) != 0) {
    return errno == ENOSYS ? 0 : errno;
  }
  if (mode != nullptr) {
    *mode = entry.stx_mode;
  }
  if ((entry.stx_attributes & kUnchangeable) != 0) {
    return EPERM;
  }
  if ((entry.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) {
    return EBUSY;
  }
  struct stat above {};
  if (user == 0 || entry.stx_uid == user) {
    return 0;
  }
  if (fstat(folder, &above) != 0) {
    return errno;
  }
  return (above.st_mode & S_ISVTX) != 0 && above.st_uid != user ? EPERM : 0;
}

int FindPinBelow(int folder, uid_t user) {
  int pin = 0;
  const int listed = ForEachEntry(folder, [&](const dirent& entry) {
    pin = FindPin(folder, entry.d_name, nullptr, user);
    if (pin == 0 && (entry.d_type == DT_DIR || entry.d_type == DT_UNKNOWN)) {
      const HostDescriptor below(openat(folder, entry.d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
      pin = below.IsOpen() ? FindPinBelow(below.Get(), user) : errno == ENOTDIR || errno == ELOOP ? 0 : errno;
    }
    return pin == 0;
  });
  return pin != 0 ? pin : listed;
}

} // namespace kest
