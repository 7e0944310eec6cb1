#pragma once

#include "platform/machine/machine.h"
#include "platform/text/path.h"

namespace kest {

/// A file that is read, or written anew. Bytes as they are.
class KEST_API CKestFile {
public:
  CKestFile() = default;
  ~CKestFile();
  CKestFile(const CKestFile&) = delete;
  CKestFile& operator=(const CKestFile&) = delete;

  /// False when it cannot be opened; CKestOS::GetMachine().GetLastError() says why.
  [[nodiscard]] bool OpenForRead(const CString& path);
  /// An existing file is seen as emptied; on disk it is replaced by Close.
  [[nodiscard]] bool OpenForWrite(const CString& path);
  /// Bytes read; 0 at the end and on failure.
  [[nodiscard]] int Read(char* buffer, int count);
  /// Bytes written: `count`, or 0 on failure.
  int Write(const char* bytes, int count);
  /// Writes exactly the text; adds no line end.
  bool WriteLine(std::string_view text);
  /// False when anything written may be missing; then the old file is intact.
  [[nodiscard]] bool Close();

  /// The most that ReadAll takes when it is not told otherwise.
  static constexpr std::uint64_t kMostInMemory = 256ull << 20;
  /// The whole file at once; false, `content` untouched, when it cannot be read or is longer than `limit` bytes.
  [[nodiscard]] static bool ReadAll(const CString& path, CString& content, std::uint64_t limit = kMostInMemory);
  /// Written beside and put in place in one move; false leaves the old file as it was.
  [[nodiscard]] static bool WriteAll(const CString& path, std::string_view content);

private:
  std::unique_ptr<MachineFile> m_file;
  CString m_pending;
  bool m_failed = false;
};

/// Walks the entries of one folder that match a pattern; the folder is read once, by FindFirst.
class KEST_API CKestFileFinder {
public:
  /// A folder with a pattern ("C:\x\*.*" is everything, "C:\x\*.kei"), or one file's path. Names sorted without regard
  /// to case. False when nothing matches or the folder is missing.
  [[nodiscard]] bool FindFirst(const CString& pattern);
  [[nodiscard]] bool FindNext(); ///< steps to the next file; false when there is none
  /// Name as stored on disk, without folder.
  void GetFileName(CString& out) const;
  [[nodiscard]] const CString& GetFileName() const;
  /// Real folders only, not links.
  [[nodiscard]] bool IsFolder() const;

private:
  std::vector<FolderEntry> m_entries;
  std::size_t m_at = 0;
};

} // namespace kest
