#pragma once

#include "platform/machine_folder/host_descriptor.h"
#include "platform/text/disk_name.h"
#include "platform/text/windows_path.h"

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace kest {

/// A host folder that Windows paths with a certain beginning stand for: a drive, or a folder given by the user.
struct FolderMount {
  char drive = 0;
  std::vector<CString> parts; ///< components of the Windows path that belong to the mount itself
  CString hostPath;
  bool writable = true;
  bool isDrive = true; ///< of the machine; else a folder that a user opened
  HostDescriptor root;
};

/// Names of one folder that were learned. Shared by all spellings of its path.
struct KnownFolder {
  HostIdentity identity;
  std::shared_ptr<HostDescriptor> descriptor; ///< given up now and then, entered again when wanted
  bool namesKnown = false;
  bool hasTwins = false;                      ///< two names differ in letter case alone
  timespec namesDate{};                       ///< last-write time of the folder that the names belong to
  bool isDateOver = false;                    ///< we changed it since and have not looked: read anew after the moment
  std::int64_t namesChecked = 0;              ///< moment at which that time was seen to hold
  std::unordered_map<CString, CString> names; ///< folded to stored; of two that differ in case alone the first by bytes
};

/// A folder that was found, good for the call at hand.
struct FoundFolder {
  KnownFolder* folder = nullptr;
  std::shared_ptr<HostDescriptor> descriptor;
  const FolderMount* mount = nullptr;
  CString relative;    ///< names on the disk below the mount, joined by "/"; "." for its root
  CString storedPath;  ///< Windows path in its stored spelling, without trailing backslash but for "X:\"
  struct stat info {}; ///< as it is now
  [[nodiscard]] int Get() const { return descriptor->Get(); }
};

/// Finds real names for Windows names and keeps what it learned. Everything is entered by descriptor and never through
/// a link that leaves its mount; what is kept is checked against the disk before each use, so that a folder exchanged
/// for another between two calls is entered anew. While this process is the machine's one writer a check holds for one
/// moment, a tick of the system's coarse clock (some milliseconds): a folder exchanged within it is entered by its
/// descriptor, which leads nowhere else. Names of a small folder that we change are read anew when the moment is over,
/// instead of looking before and after each change whether it was the only one.
class FolderCache {
public:
  FolderCache() = default;
  FolderCache(const FolderCache&) = delete;
  FolderCache& operator=(const FolderCache&) = delete;

  void SetCodePage(int codePage) { m_codePage = codePage; }
  [[nodiscard]] int GetCodePage() const { return m_codePage; }
  /// A name of the engine as the disk has it, and back. All other names here are those of the disk but for paths, which
  /// are the engine's.
  [[nodiscard]] CString ToDisk(std::string_view name) const { return ToDiskName(name, m_codePage); }
  [[nodiscard]] CString FromDisk(std::string_view name) const { return FromDiskName(name, m_codePage); }
  /// The spelling that the name of a file or folder has once it is on the disk and found again.
  [[nodiscard]] CString AsFound(std::string_view name) const { return FromDisk(ToDisk(name)); }
  /// Mounts are looked for in the order given. They must live as long as they are in here.
  void SetMounts(std::vector<const FolderMount*> mounts);
  /// Some mounts could not be found out about, for this errno: a path in none of the others is not known to be missing.
  void SetMountFailure(int code) { m_mountFailure = code; }
  void Forget();
  /// Whether a check holds for a moment.
  void SetTrusting(bool trusting) { m_trusting = trusting; }
  /// To be called when we took a folder away: no check made before holds any longer.
  void ForgetChecks() { ++m_epoch; }

  /// The mount that the first `count` components of a path lie in; null when there is none.
  [[nodiscard]] const FolderMount* FindMount(const WindowsPath& path, std::size_t count) const;
  /// The folder that the first `count` components of a path name. What went wrong, else nothing.
  [[nodiscard]] std::optional<MachineError> Find(const WindowsPath& path, std::size_t count, FoundFolder& found);

  /// The folder of a file, if it was found under this very spelling before; `name` is what follows it, not looked at.
  /// False: nothing is known, and the path has to be taken apart.
  [[nodiscard]] bool FindFolderOf(std::string_view path, FoundFolder& found, std::string_view& name);

  /// How `name`, as ToDisk gives it, is stored in the folder: itself if it is there as given, else the name that
  /// differs in letter case alone, else empty. `info` describes the entry (links are not followed) when `stored` is not
  /// empty. 0, or the errno of what kept us from finding out; then `stored` says nothing.
  [[nodiscard]] int FindName(const FoundFolder& folder, std::string_view name, CString& stored, struct stat& info);

  /// Between these two our own change of a folder's entries takes place; names learned stay good through it.
  void BeginChange(const FoundFolder& folder);
  void Added(const FoundFolder& folder, const CString& name);
  void Removed(const FoundFolder& folder, const CString& name);
  /// The same for a folder known by its identity (a file that is closed long after it was opened).
  void BeginChangeOf(HostIdentity folder, int descriptor);
  void AddedTo(HostIdentity folder, int descriptor, const CString& name);

  /// How often the names of a folder were read.
  [[nodiscard]] std::uint64_t GetFolderReads() const { return m_reads; }
  /// Changes with the coarse clock and with each folder that we take away; 0 when checks do not hold at all.
  [[nodiscard]] std::int64_t GetMoment() const;

private:
  struct Alias {
    KnownFolder* folder;
    const FolderMount* mount;
    CString relative;
    CString storedPath;
    struct stat info {};
    std::int64_t checked = 0; ///< moment at which the path led to the folder; 0 for never
  };
  struct IdentityHash {
    std::size_t operator()(const HostIdentity& id) const {
      return std::hash<std::uint64_t>{}(static_cast<std::uint64_t>(id.inode) * 31U +
                                        static_cast<std::uint64_t>(id.device));
    }
  };
  [[nodiscard]] bool FindAlias(const CString& key, FoundFolder& found);
  [[nodiscard]] int Enter(const FoundFolder& parent, std::string_view name, HostDescriptor& descriptor,
                          FoundFolder& found);
  [[nodiscard]] int Keep(const CString& key, HostDescriptor descriptor, FoundFolder& found);
  void GiveUpOthers(const KnownFolder* keep);
  [[nodiscard]] int ReadNames(KnownFolder& folder, const timespec& date);
  void AddName(KnownFolder& folder, const CString& name);
  /// Two names of a folder are the same when these are.
  [[nodiscard]] CString KeyOfName(std::string_view name) const;
  [[nodiscard]] bool IsToBeReadAnew(const KnownFolder& folder) const;
  void AcceptDate(KnownFolder& folder, int descriptor);

  int m_codePage = 0;
  int m_mountFailure = 0;
  std::vector<const FolderMount*> m_mounts;
  std::unordered_map<CString, Alias> m_aliases; ///< by the path as it was given
  std::unordered_map<HostIdentity, std::unique_ptr<KnownFolder>, IdentityHash> m_folders;
  std::size_t m_open = 0;
  bool m_trusting = false;
  std::int64_t m_epoch = 0;
  std::uint64_t m_reads = 0;
  CString m_spelling; ///< of FindFolderOf, kept for its memory
};

} // namespace kest
