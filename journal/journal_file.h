#pragma once

#include "journal/step_record.h"

#include "platform/machine/machine.h"

#include <map>
#include <memory>
#include <set>
#include <vector>

namespace kest {

/// The journal file of one operation, as it is written.
///
/// One line an entry, each sealed with a check sum, fields between tabs. The first field tells what the line is:
/// - `kest-journal 1  number  seconds  operation`: the header: version, number of the operation in its process, when it
///   began
/// - `F  folder`: a private folder on another volume, before it is made
/// - `S  number  first  kind  name=value ...`: a step; `first` is the number of the first step of the same write
/// - `U  number`: the step was undone, or dropped before it was done
/// - `R  first  last`: the steps were released for good by an operation inside this one
/// - `D`: all is done and on the disk: only the clean-up is left
/// - `B`: a D before it does not hold: the operation is being undone
/// - `X`: all is undone: only the clean-up is left
///
/// The lines of a pass, which go out in one write, are on the disk before its first step is done, and the header with
/// the first of them. So a write that was cut short, or lost pages with the power, is the last one with
/// steps, and none of its steps was begun: a damaged line with nothing after it but lines of the same write, or marks
/// of an undo, is passed over. A damaged line that a later write follows was whole once and its step may have been
/// done; then the steps that can be read are undone, and the loss is reported.
class KEST_API JournalFile {
public:
  /// Starts the file; false when it cannot be made. The header is brought to the disk with what is added first.
  [[nodiscard]] bool Create(const CString& path, const CString& operation);
  /// Goes on in the file of a dead process; `endsInLine` false ends its torn line first.
  [[nodiscard]] bool OpenToAppend(const CString& path, bool endsInLine);
  [[nodiscard]] bool IsOpen() const { return m_file != nullptr; }
  /// A write or a sync failed: no further step may be begun on this file.
  [[nodiscard]] bool IsBroken() const { return m_broken; }
  [[nodiscard]] const CString& GetPath() const { return m_path; }
  void Close();

  /// Puts a line into the next write.
  void Add(std::string_view body);
  [[nodiscard]] long AddStep(const StepRecord& record, long first);
  void AddUndone(long number) { Add("U\t" + std::to_string(number)); }
  /// Number that the next step gets.
  [[nodiscard]] long GetNextNumber() const { return m_nextNumber; }
  /// Writes what was added. False: the file may end in a torn line, and nothing that was added counts.
  [[nodiscard]] bool Write();
  /// Write, and then brings the file and the given paths to the disk.
  [[nodiscard]] bool WriteAndSync(std::vector<CString> alsoSync = {});
  /// Where the next line that is added will stand.
  [[nodiscard]] std::uint64_t GetEnd() const { return m_size + m_pending.size(); }
  /// Writes a line over one of the same length that stands at `offset`: on a full disk, where nothing can be added.
  [[nodiscard]] bool OverwriteAndSync(std::uint64_t offset, std::string_view body);

private:
  CString m_path;
  std::unique_ptr<MachineFile> m_file;
  CString m_pending;
  std::uint64_t m_size = 0; ///< of what was written whole
  long m_nextNumber = 0;
  bool m_torn = false;
  bool m_broken = false;
  bool m_folderSynced = false;
};

/// A journal file as it is read.
struct JournalContent {
  enum class Status {
    kGood,
    kEmpty,      ///< no complete header: the process died before the first step
    kForeign,    ///< not a journal of this version
    kUnreadable, ///< the file cannot be read
  };
  Status status = Status::kEmpty;
  CString operation;
  long number = 0;
  long long seconds = 0;
  std::vector<CString> folders;
  std::map<long, CString> steps; ///< number -> text of the record
  std::set<long> closed;         ///< undone, dropped, or released for good
  bool done = false;
  bool rolledBack = false;
  bool endsInLine = true;
  /// A line is damaged that is not of the last write: a step may have been done of which nothing is known.
  bool damaged = false;
};

/// Reads the text of a journal file. Takes any text.
[[nodiscard]] KEST_API JournalContent ParseJournal(std::string_view text);
[[nodiscard]] KEST_API JournalContent ReadJournal(const CString& path);

} // namespace kest
