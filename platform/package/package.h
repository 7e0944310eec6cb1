#pragma once

#include "platform/machine/machine.h"
#include "platform/text/path.h"

#include <functional>
#include <memory>
#include <vector>

namespace kest {

/// What a package may hold at the most. A reader refuses more with -2.
struct PackageLimits {
  std::uint64_t entries = 100000;            ///< files in one package
  std::uint64_t bytesPerFile = 256ull << 20; ///< of one file, unpacked
  std::uint64_t bytesInAll = 512ull << 20;   ///< of all files, unpacked
  std::uint64_t usualRatio = 100;            ///< files that unpack to more than so many times their size ...
  std::uint64_t bytesInflated = 64ull << 20; ///< ... have so many bytes in all, unpacked
};

/// One entry, as the directory of the package tells it.
struct PackageEntry {
  CString name;           ///< backslashes
  std::uint64_t size = 0; ///< unpacked
  CKestDateTime date;     ///< last-write time
};

/// Told of each file that was unpacked whole: its number in the order of the package, and the SHA-256 of its bytes in
/// hexadecimal digits.
using UnpackedFile = std::function<void(std::size_t number, const CString& hash)>;

/// A package (.kep): a ZIP archive of plain files, the description first. Results: 0, or a code: -3 unreadable
/// (missing, no rights, a disk error), -2 damaged or refused (hostile names, sizes, links), 1 not a package at all, 2 a
/// file or folder could not be written. The package stays open from the first reading call to the end of the object.
class KEST_API CKestPackage {
public:
  /// What the operations answer.
  enum Result : int { kGood = 0, kDamaged = -2, kUnreadable = -3, kNotAPackage = 1, kCannotWrite = 2 };

  /// No access yet.
  explicit CKestPackage(const char* path);
  ~CKestPackage();
  CKestPackage(const CKestPackage&) = delete;
  CKestPackage& operator=(const CKestPackage&) = delete;

  // ---- writing
  /// Starts a package at the path, replacing the (empty) file there when it is finished.
  [[nodiscard]] int Create(const char* path);
  /// With trailing backslash; case is ignored when names are cut by it.
  void SetRelativeRoot(const CString& folder);
  /// Adds a plain file with its modification time. Relative: named by its path below the root, else by its file name
  /// alone. A name already packed is kept and gives 0. `off` is always false.
  [[nodiscard]] int PackFile(const char* path, bool relative, bool off);
  /// The same under a given name (either kind of slash).
  [[nodiscard]] int PackFile(const char* entryName, const char* path, bool relative, bool off);
  /// Completes the file. False: nothing usable was written.
  [[nodiscard]] bool Finish();

  // ---- reading
  static void SetLimits(const PackageLimits& limits); ///< for the packages opened from now on
  /// Names in the order of packing. Judges every name and size first; nothing is returned on failure.
  [[nodiscard]] int UnPackFileNames(std::vector<CString>& names);
  /// Everything in the package, in its order; a Result.
  [[nodiscard]] int GetEntries(std::vector<PackageEntry>& entries);
  /// Writes all files below the folder (which should be private): subfolders are made, files of the same name
  /// replaced, dates restored, links never followed; nothing lands outside. A failure may leave files below the folder.
  /// `stop` (may be empty) is asked before each file: true ends the unpacking with kCannotWrite.
  /// `unpacked` may be empty; then nothing is hashed.
  [[nodiscard]] int UnPackTo(const CString& folder, const std::function<bool()>& stop = {},
                             const UnpackedFile& unpacked = {});
  /// Unpacks everything to nowhere: refuses what UnPackTo would refuse, whatever the disk.
  [[nodiscard]] int Check();
  /// Unpacks one entry into memory (at most `limit` bytes).
  [[nodiscard]] int UnPackToMemory(const CString& name, std::uint64_t limit, CString& content);
  /// Why the last call did not give 0, in words; empty after success.
  [[nodiscard]] const CString& GetProblem() const;

private:
  struct Writer;
  struct Reader;
  int OpenReader();
  CString m_path;
  CString m_root;
  CString m_problem;
  std::unique_ptr<Writer> m_writer;
  std::unique_ptr<Reader> m_reader;
};

} // namespace kest
