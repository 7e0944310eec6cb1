#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"
#include "platform/text/values.h"

#include <cstdint>
#include <vector>

namespace kest {

/// One operation that changed the machine, as the machine's history tells it.
struct HistoryEntry {
  long number = 0;         ///< 1 for the first
  CKestDateTime time;      ///< when it was done
  CString user;            ///< who did it; empty when unknown
  CString operation;       ///< "install", "uninstall", "disable", "enable", "import", "undo" or "repair"
  CString extension;       ///< name
  CString author;          ///< name
  CString version;         ///< dotted
  CString product;         ///< name
  CString replaced;        ///< name of the extension that was replaced or disabled; empty when none
  CString replacedVersion; ///< dotted; empty when none
  CString result;          ///< "done"
  long undoes = 0;         ///< of an undo: the number of the operation that it took back; else 0
  CString kept;            ///< folder of what it replaced and deleted; empty when the trash has it no more
};

/// The machine's history, oldest first; each number once.
struct History {
  std::vector<HistoryEntry> entries; ///< those that could be read
  std::size_t unreadable = 0; ///< lines that are damaged, said twice or of a kind that is not known here: passed over
  std::size_t lost = 0;       ///< operations that the trash keeps something of, whose lines are gone or damaged
  bool isComplete = true;     ///< false: the history or the trash is there, perhaps, and could not be read
};

/// One entry of the trash: what one operation replaced and deleted.
struct TrashEntry {
  long number = 0;         ///< of the operation
  CKestDateTime time;      ///< when it was done
  std::uint64_t bytes = 0; ///< of what is kept
  CString folder;          ///< where it lies, without trailing backslash
};

/// How long and how much the trash keeps.
struct TrashLimits {
  static constexpr long kDays = 30;        ///< unless the machine's settings say otherwise
  static constexpr long kMegabytes = 1024; ///< unless the machine's settings say otherwise
  long days = kDays;                       ///< older entries go
  long megabytes = kMegabytes;             ///< the oldest go until the rest has no more than so many
};

/// What one operation did to one path.
struct OperationEffect {
  CString path;          ///< windows path
  bool isFolder = false; ///< of a folder only coming and going is told
  bool existed = false;  ///< before the operation
  bool exists = false;   ///< after it
  bool readOnly = false; ///< it had the mark before
  CString kept;          ///< where the file that was there lies; empty when that is nowhere
  CString keptHash;      ///< of that file; empty when unknown
  CString package;       ///< the package that has the file that was there; empty when none
  CString entry;         ///< its name in there
  CKestDateTime date;    ///< last write of a file that a package has
  CString hash;          ///< of the file after the operation
  CString whyForGood;    ///< why it stays when the operation is undone; empty when it does not
};

/// What the machine keeps of operations that are over: a line for each in "history.log", and in a folder of the trash
/// the record of what it did, with the files that it replaced and deleted. All of it lies in the folder "Kest" of the
/// application data of all users. Readers need no lock: a line counts when it is whole, and an entry of the trash
/// appears in one rename.
namespace history {

/// The folder, with a trailing backslash; false when the machine has no such place.
[[nodiscard]] KEST_API bool GetFolder(CString& folder);
[[nodiscard]] KEST_API History Read(); ///< every line that is whole
/// The effects of the operation that an entry of the trash is about, in the order in which they came. False, and none,
/// when the record is missing or not whole.
[[nodiscard]] KEST_API bool ReadEffects(const CString& trashFolder, std::vector<OperationEffect>& effects);
/// Oldest first. False, and none, when the trash cannot be listed.
[[nodiscard]] KEST_API bool ListTrash(std::vector<TrashEntry>& trash);
/// From "settings.txt" in the folder: lines "trash-days = N" and "trash-megabytes = N"; what is missing or makes no
/// sense is the default.
[[nodiscard]] KEST_API TrashLimits ReadLimits();
/// Those that the limits leave no room for: too old, or beyond the size, the oldest first. As ListTrash.
[[nodiscard]] KEST_API bool SelectTrash(const TrashLimits& limits, std::vector<TrashEntry>& selected);
/// Drops those, under the writer's lock; `dropped` gets what could be removed. False when that is not all, or when the
/// trash cannot be listed.
KEST_API bool DropTrash(const TrashLimits& limits, std::vector<TrashEntry>& dropped);

} // namespace history

} // namespace kest
