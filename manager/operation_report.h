#pragma once

#include "manager/clashes.h"
#include "platform/text/text.h"

#include <cstdint>
#include <vector>

namespace kest {

/// What the last operation did, or why it did nothing. Made for hosts: everything an error message or a summary needs,
/// without asking the machine again. Paths are Windows paths.
struct OperationReport {
  /// What was done.
  enum class Operation { kNone, kInstall, kUninstall, kDisable, kEnable, kPackage, kImport, kUndo, kRepair };

  /// Why an operation failed; a host makes its exit code of it.
  enum class Failure {
    kNone,
    kDeclined,           ///< the user said no, cancelled, or gave up a question
    kNotFound,           ///< the file, product or extension is not there
    kUnsupportedProduct, ///< no product here supports the extension
    kBadPackage,         ///< unreadable, damaged or refused package
    kBadDescription,     ///< unreadable, incomplete or refused description
    kInUse,              ///< a file is held open by a program
    kNoPermission,       ///< the user may not write there
    kLocked,             ///< another process is changing the machine
    kDiskFull,
    kAlreadyThere, ///< the same extension is enabled already
    kNoMemory,
    kOther,
  };

  /// Why a file stays.
  enum class Why { kShared, kFont, kSystemFile, kUserAnswer };

  /// A file that was left as it was.
  struct Kept {
    CString path;           ///< windows path
    Why why = Why::kShared; ///< what it was left for
    CString holder;         ///< of a shared file: name of the extension that has it, too; else empty
  };

  /// One thing that went wrong.
  struct Problem {
    Failure kind = Failure::kOther; ///< for exit codes
    CString path;                   ///< what it is about; empty when about no file
    CString reason;                 ///< one sentence part in plain words
    int message = 0;                ///< number of the text the user was shown; 0 when none
    CString next;                   ///< what to do about it, one sentence part; empty when nothing is known
    CString change;    ///< the configuration or help change that it is about, in words; empty when about none
    bool fatal = true; ///< the operation failed by it; else it was only noted
  };

  /// What lies on the machine beyond what was asked for.
  struct Leftover {
    CString path;   ///< windows path
    CString backup; ///< where the old state is kept when `path` could not be restored; else empty
    CString why;    ///< "backup copy", or "not restored"
  };

  Operation operation = Operation::kNone; ///< which one the report is about
  CString extension;                      ///< name; empty when not known yet
  CString version;                        ///< dotted
  CString author;                         ///< name; empty when not known yet
  CString product;                        ///< name; empty when none was chosen
  CString replaced;                       ///< name of the extension that was replaced or disabled; empty when none
  CString replacedVersion;                ///< its version, dotted
  long undoes = 0;                        ///< of an undo: the number of the operation that it takes back

  std::vector<CString> created;  ///< files and folders that were not there before
  std::vector<CString> changed;  ///< files that were there and have new content
  std::vector<CString> deleted;  ///< files and folders that are gone
  std::vector<CString> registry; ///< values that were written: root, key and name
  /// Those of `changed` and `created` that are configuration files of the product.
  std::vector<CString> configuration;
  std::vector<Kept> kept;          ///< files that were left as they were
  std::vector<Problem> problems;   ///< in the order in which they were met
  std::vector<Leftover> leftovers; ///< see Leftover
  std::vector<Clash> clashes;      ///< of an install: what the extension met, and what of it has no effect

  bool restartProduct = false; ///< the running product has to restart
  bool restartMachine = false; ///< the machine has to restart

  std::size_t trashDropped = 0;        ///< entries of the trash that went, since they were too old or too many
  std::uint64_t trashDroppedBytes = 0; ///< what they held

  Failure failure = Failure::kNone; ///< kNone after success
  bool rolledBack = true;           ///< after a failure: everything is as it was (see leftovers when not)
  int undoneSteps = 0;              ///< after a failure: how many steps were taken back

  /// Of an import: one report for each extension, in the order of the list.
  std::vector<OperationReport> parts;

  [[nodiscard]] bool Succeeded() const { return failure == Failure::kNone; } ///< whether nothing failed
};

/// What an uninstall would do with the files of an extension; made without changing anything.
struct UninstallPreview {
  /// One file.
  struct Entry {
    CString path;                                             ///< windows path
    bool stays = false;                                       ///< whether an uninstall leaves it
    OperationReport::Why why = OperationReport::Why::kShared; ///< of a file that stays
    CString holder;                                           ///< as that of a kept file
    bool returns = false;                                     ///< what stood there before the extension comes back
    bool lostOriginal = false; ///< something stood there, and its copy is gone or changed: it does not
  };
  std::vector<Entry> files;       ///< files that exist, in the order of the description
  std::vector<CString> missing;   ///< places where a file of the extension should be and is not
  std::vector<CString> described; ///< the installed description (and package of a disabled extension)
  bool restartProduct = false;    ///< the running product would have to restart
};

} // namespace kest
