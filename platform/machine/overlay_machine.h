#pragma once

#include "platform/machine/forwarding_machine.h"
#include "platform/text/windows_names.h"

#include <memory>
#include <optional>

namespace kest {

/// A machine over another one, for looking at what an operation would do: the other one is only read. What is written
/// is kept in a private layer, and every question is answered as if it had been done below.
///
/// Who owns what: the machine below is the caller's and must live longer. The layer belongs to the overlay and ends
/// with it, with all that was written: its folders hold their names, a name holds its file or folder, files share their
/// bytes with copies of them until one is written. Bytes lie in memory up to a bound, then in a file without a name in
/// a temporary folder of this system. What was not changed stays where it is, also when it was moved or copied here:
/// the layer remembers where it lies below. A file that is open for writing takes its place by its path when it is
/// closed, so that what became of its folder meanwhile counts.
///
/// To be put in force before the machine is asked for a temporary folder.
///
/// What is not as on the machine below: nobody holds or waits for the right to write; nothing is brought to a disk; no
/// program is started, they are only remembered; a folder that is reached by two ways (through a link) is two folders
/// here once something in it was changed; the limits of a registry's texts are not known here. CanUpdateFile is asked
/// below, and so is whether the user may change a folder, once for each; but on a machine that this user may not
/// change at all both are judged by read-only marks and running programs alone, so that a look at it is worth
/// something.
class KEST_API OverlayMachine : public ForwardingMachine {
public:
  /// How much is kept where.
  struct Limits {
    std::uint64_t memory = 4ull << 20; ///< bytes of files that are kept in memory
    CString folder;                    ///< of this system, for what is more; empty: where temporary files lie
  };
  explicit OverlayMachine(Machine& below); ///< with the limits above; `below` is borrowed
  OverlayMachine(Machine& below, Limits limits);
  ~OverlayMachine() override;
  OverlayMachine(const OverlayMachine&) = delete;
  OverlayMachine& operator=(const OverlayMachine&) = delete;

  [[nodiscard]] Machine& GetBelow(); ///< borrowed

  // ---- what was done
  /// How a path differs from what lies below.
  struct Change {
    /// What became of it.
    enum class What { kNew, kChanged, kGone };
    CString path;           ///< windows path
    bool isFolder = false;  ///< whether it is a folder, or was one
    What what = What::kNew; ///< kChanged: other bytes, another date or mark
  };
  /// Net: a file that came and went is none. Of folders that came or went each thing in them, too. In the order of
  /// their names. False when something below could not be listed.
  [[nodiscard]] bool GetChanges(std::vector<Change>& changes);
  /// A registry value that was written or deleted.
  struct RegistryChange {
    RegistryRoot root = RegistryRoot::kLocalMachine; ///< which of the two
    CString key;                                     ///< as given
    CString name;                                    ///< as given
    std::optional<CString> data;                     ///< none: deleted
  };
  [[nodiscard]] const std::vector<RegistryChange>& GetRegistryChanges() const; ///< in the order in which it was done
  [[nodiscard]] const std::vector<CString>& GetStartedPrograms() const;        ///< command lines
  [[nodiscard]] const std::vector<CString>& GetFontResources() const; ///< fonts that were added and not removed
  [[nodiscard]] const std::vector<CString>& GetTrashed() const;       ///< names of what went to the trash
  [[nodiscard]] bool IsForeign(); ///< whether this user may not change the machine below at all

  // ---- Machine
  [[nodiscard]] Answer FileExists(const CString& path) override;
  [[nodiscard]] Answer GetFileSize(const CString& path, std::uint64_t& size) override;
  [[nodiscard]] std::unique_ptr<MachineFile> Open(const CString& path, OpenMode mode) override;
  [[nodiscard]] bool CopyFile(const CString& from, const CString& to) override;
  [[nodiscard]] bool DeleteFile(const CString& path) override;
  [[nodiscard]] bool MoveFile(const CString& from, const CString& to) override;
  [[nodiscard]] bool ReplaceFile(const CString& from, const CString& to) override;
  [[nodiscard]] bool LinkFile(const CString& existing, const CString& to) override;
  [[nodiscard]] Answer IsSameFile(const CString& a, const CString& b) override;
  [[nodiscard]] bool MoveFileToTrash(const CString& path) override;
  [[nodiscard]] bool MoveFolderToTrash(const CString& path, const CString& label) override;
  [[nodiscard]] Answer IsFileReadOnly(const CString& path) override;
  [[nodiscard]] bool SetFileReadOnly(const CString& path, bool readOnly) override;
  [[nodiscard]] bool CanUpdateFile(const CString& path) override;
  [[nodiscard]] Answer GetFileDateTime(const CString& path, CKestDateTime& date) override;
  [[nodiscard]] bool GetFileStamp(const CString& path, FileStamp& stamp) override;
  [[nodiscard]] bool SetFileDateTime(const CString& path, const CKestDateTime& date) override;
  [[nodiscard]] Answer GetFileVersion(const CString& path, CKestVersionNumber& version) override;
  [[nodiscard]] CString GetStoredPath(const CString& path) override;
  [[nodiscard]] Answer DirectoryExists(const CString& path) override;
  [[nodiscard]] bool CreateDirectory(const CString& path) override;
  [[nodiscard]] bool CreatePrivateDirectory(const CString& path) override;
  [[nodiscard]] bool RemoveDirectory(const CString& path) override;
  [[nodiscard]] bool MoveEmptyFolder(const CString& from, const CString& to) override;
  [[nodiscard]] bool MoveFolder(const CString& from, const CString& to) override;
  [[nodiscard]] bool RemoveTree(const CString& path) override;
  [[nodiscard]] Answer ListFolder(const CString& path, std::vector<FolderEntry>& entries) override;
  [[nodiscard]] bool SameVolume(const CString& a, const CString& b) override;
  [[nodiscard]] bool GetFreeSpace(const CString& path, std::uint64_t& bytes) override;
  [[nodiscard]] bool SyncPaths(const std::vector<CString>& paths) override;
  void StartSync(const CString& path) override;
  WriterLock LockWriter(std::int64_t milliseconds) override;
  void UnlockWriter() override;
  [[nodiscard]] PrivateFolder LookAtPrivateFolder(const CString& path) override;
  [[nodiscard]] bool IsOwn() override;
  void NoteOwn(const std::vector<CString>& places) override;
  [[nodiscard]] bool IsNotedPlace(const CString& path) override;
  void WinExec(const CString& commandLine) override;
  [[nodiscard]] Answer RegistryKeyExists(RegistryRoot root, const CString& key) override;
  [[nodiscard]] Answer ReadRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                          CString& data) override;
  [[nodiscard]] bool WriteRegistryString(RegistryRoot root, const CString& key, const CString& name,
                                         const CString& data) override;
  [[nodiscard]] bool DeleteRegistryValue(RegistryRoot root, const CString& key, const CString& name) override;
  [[nodiscard]] Answer EnumRegistryValues(RegistryRoot root, const CString& key,
                                          std::vector<RegistryValue>& values) override;
  bool AddFontResource(const CString& path) override;
  bool RemoveFontResource(const CString& path) override;
  void BroadcastFontChange() override;
  [[nodiscard]] MachineError GetLastError() override;
  void ClearLastError() override;
  [[nodiscard]] MachineError GetUnanswered() override;
  void ForgetUnanswered() override;

  struct State; ///< of the implementation alone

private:
  std::shared_ptr<State> m_state; ///< shared with the files that it has open
};

} // namespace kest
