#pragma once

#include "platform/machine_folder/folder_cache.h"

namespace kest {

/// Where a finished file is put.
struct HostTarget {
  std::shared_ptr<HostDescriptor> folder;
  HostIdentity folderIdentity;
  CString name;     ///< stored name of what is replaced, else the name as given
  CString path;     ///< Windows path, for error messages
  int staging = -1; ///< a folder, borrowed, where a file may stand for a moment before it replaces another; on the same
                    ///< volume, else -1
};

/// A file that has no name until it is finished, so that whatever happens before leaves nothing behind.
class UnnamedFile {
public:
  /// 0, or an errno.
  [[nodiscard]] int Open(const HostTarget& target, mode_t mode);
  [[nodiscard]] int Get() const { return m_file.Get(); }
  /// Gives it its name: in place of what has it, or only if nothing has. 0, or an errno; on failure nothing has
  /// changed.
  [[nodiscard]] int Place(const HostTarget& target, bool mayReplace);
  /// Removes it unless it was placed.
  void Drop(const HostTarget& target);

private:
  HostDescriptor m_file;
  CString m_name; ///< in the target's folder, on file systems that have no files without a name
};

/// Contents, read-only mark and last-write time of an open file to another. 0, or an errno.
[[nodiscard]] int CopyContents(int from, const struct stat& info, int to);

/// Gives an open file the owner and group of the one that it replaces, as far as the user may. 0, or an errno.
[[nodiscard]] int KeepOwner(const struct stat& old, int file);

/// Stays valid when the machine goes first.
class HostFileOwner {
public:
  virtual ~HostFileOwner() = default;
  virtual bool Fail(int code, const CString& path) = 0;
  virtual Answer CannotTell(int code, const CString& path) = 0;
  virtual FolderCache& GetFolders() = 0;
};

/// An open file of a machine folder.
class HostFile : public MachineFile {
public:
  HostFile(std::shared_ptr<HostFileOwner> owner, HostDescriptor file, HostTarget target, OpenMode mode);
  /// A file for reading that was this long when it was opened, a moment ago.
  HostFile(std::shared_ptr<HostFileOwner> owner, HostDescriptor file, HostTarget target, std::uint64_t size);
  /// A file that takes its place on Close.
  HostFile(std::shared_ptr<HostFileOwner> owner, UnnamedFile file, HostTarget target);
  ~HostFile() override;
  HostFile(const HostFile&) = delete;
  HostFile& operator=(const HostFile&) = delete;

  std::int64_t Read(char* buffer, std::size_t count) override;
  std::int64_t ReadAt(std::uint64_t offset, char* buffer, std::size_t count) override;
  bool Write(const char* bytes, std::size_t count) override;
  bool WriteAt(std::uint64_t offset, const char* bytes, std::size_t count) override;
  bool GetSize(std::uint64_t& size) override;
  bool SetDate(const CKestDateTime& date) override;
  bool Sync() override;
  bool Close() override;

private:
  [[nodiscard]] int Get() const { return m_mode == OpenMode::kReplace ? m_unnamed.Get() : m_file.Get(); }
  bool Fail(int code);
  [[nodiscard]] int Finish();

  std::shared_ptr<HostFileOwner> m_owner;
  HostDescriptor m_file;
  UnnamedFile m_unnamed;
  HostTarget m_target;
  OpenMode m_mode;
  std::optional<std::uint64_t> m_sizeAtOpen; ///< until it is asked for, or the file is read
  bool m_hasDate = false;
  CKestDateTime m_date;
  bool m_failed = false;
  bool m_closed = false;
};

} // namespace kest
