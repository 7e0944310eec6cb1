#pragma once

#include "platform/forwarding_machine.h"

#include <map>
#include <optional>
#include <set>

namespace kest::fuzz {

/// A machine of files and folders that lie in memory; every other call fails. Names are found in any case. Paths that
/// are not plain are refused, as a machine folder does.
class MemoryMachine : public ForwardingMachine {
public:
  MemoryMachine();

  static constexpr const char* kTempRoot = "C:\\windows\\temp";

  /// The file with its folders; false when it cannot be there.
  bool Put(const CString& path, CString content);
  [[nodiscard]] const CString* Find(const CString& path) const;
  /// Every file and folder with contents, for comparisons.
  [[nodiscard]] CString Describe() const;
  [[nodiscard]] std::size_t GetBytes() const;
  /// Paths (files, and folders with a trailing backslash) that were changed, in lower case.
  [[nodiscard]] const std::set<CString>& GetChanged() const { return m_changed; }

  bool FileExists(const CString& path) override;
  bool GetFileSize(const CString& path, std::uint64_t& size) override;
  std::unique_ptr<MachineFile> Open(const CString& path, OpenMode mode) override;
  bool CopyFile(const CString& from, const CString& to) override;
  bool DeleteFile(const CString& path) override;
  bool MoveFile(const CString& from, const CString& to) override;
  bool ReplaceFile(const CString& from, const CString& to) override;
  bool LinkFile(const CString& existing, const CString& to) override;
  bool MoveFileToTrash(const CString& path) override;
  bool MoveFolderToTrash(const CString& path, const CString& label) override;
  bool IsFileReadOnly(const CString& path) override;
  bool SetFileReadOnly(const CString& path, bool readOnly) override;
  bool CanUpdateFile(const CString& path) override;
  bool GetFileDateTime(const CString& path, CKestDateTime& date) override;
  bool SetFileDateTime(const CString& path, const CKestDateTime& date) override;
  CString GetStoredPath(const CString& path) override;
  bool DirectoryExists(const CString& path) override;
  bool CreateDirectory(const CString& path) override;
  bool CreatePrivateDirectory(const CString& path) override;
  bool RemoveDirectory(const CString& path) override;
  bool MoveEmptyFolder(const CString& from, const CString& to) override;
  bool MoveFolder(const CString& from, const CString& to) override;
  bool RemoveTree(const CString& path) override;
  bool ListFolder(const CString& path, std::vector<FolderEntry>& entries) override;
  bool SameVolume(const CString& a, const CString& b) override;
  bool SyncPaths(const std::vector<CString>& paths) override;
  WriterLock LockWriter(std::int64_t milliseconds) override;
  bool GetTempRoot(CString& path) override;

private:
  friend class MemoryFile;
  struct File {
    CString content;
    bool readOnly = false;
    CKestDateTime date;
  };
  /// The key of a path; nothing for one that the machine refuses.
  [[nodiscard]] static std::optional<CString> KeyOf(const CString& path);
  /// The same for a change, which is noted.
  std::optional<CString> Change(const CString& path);
  [[nodiscard]] bool HasParent(const CString& key) const;
  bool Fail(MachineError::Kind kind);
  bool PutAt(const CString& path, File file, bool mayReplace);

  std::map<CString, File> m_files;
  std::set<CString> m_folders; ///< without a trailing backslash
  std::set<CString> m_changed;
  MachineError m_error;

public:
  MachineError GetLastError() override { return m_error; }
  void ClearLastError() override { m_error = {}; }
};

} // namespace kest::fuzz
