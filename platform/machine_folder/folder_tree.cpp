#include "platform/machine_folder/folder_tree.h"

#include "platform/machine_folder/host_listing.h"

namespace kest {
namespace {

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

} // namespace kest
