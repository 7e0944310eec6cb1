#pragma once

#include "journal/install_step.h"
#include "journal/record_judge.h"
#include "platform/machine/machine.h"

#include <functional>
#include <memory>

namespace kest {

struct HistoryNote;

/// The journal of the operation in progress: owns its steps, and is the one place that appends, does, releases and
/// undoes them. While a scope is open every step is also a line of the journal file in this process's private folder,
/// so that the next start can undo what a dead process left.
///
/// Order: Prepare, the line (on the disk before the first Do of a pass), Do. Commit: everything touched is brought to
/// the disk, then the mark "done", then Release of the steps, then the private folder goes.
class KEST_API CKestInstallJournal : public CKestTypedVector<CKestExtensionInstallStep*> {
public:
  CKestInstallJournal();
  ~CKestInstallJournal() override; ///< undoes what no scope released
  CKestInstallJournal(const CKestInstallJournal&) = delete;
  CKestInstallJournal& operator=(const CKestInstallJournal&) = delete;

  /// Appends the step, owned from now on, and does it. 0, or its failure. Take no reference into the journal across it.
  int Run(std::unique_ptr<CKestExtensionInstallStep> step);
  /// A pass: the steps are prepared and their lines written and synced as a whole; then each is run by RunNext in the
  /// order given here. -1 when the lines cannot be brought to the disk: nothing of the pass may be done. A step that
  /// cannot be prepared fails when its turn comes.
  [[nodiscard]] int Plan(std::vector<std::unique_ptr<CKestExtensionInstallStep>> steps);
  /// Does the next planned step; it enters the journal first. -1 when it fails (RetryLast does it again), and when no
  /// step is left.
  int RunNext();
  /// Does the last step that was run once more (its first backup is kept).
  int RetryLast();
  /// Ends the pass that was planned last; a step never run is dropped. A scope that ends ends its passes.
  void EndPass();

  /// Whether the last operation's undo left something undone, and what is kept where. Emptied when the next outermost
  /// scope opens.
  struct Leftover {
    CString path;   ///< what could not be restored
    CString backup; ///< where its old state is kept; empty when there is none
  };
  [[nodiscard]] const std::vector<Leftover>& GetLeftovers() const; ///< what could not be taken back; borrowed

  /// The places that operations change as a rule; borrowed. The user's own list gets the folder of a step elsewhere
  /// before the step is done. Null: none is noted.
  void SetReach(const Reach* reach);

  /// Turns the journal file off (the bench compares); steps still undo in memory.
  static void SetDurable(bool durable);

private:
  friend class JournalScope;
  struct State;
  std::unique_ptr<State> m_state;
};

/// Appends a step to a vector that may or may not be a CKestInstallJournal, and does it. The products' way in. In a
/// plain vector the caller undoes, releases and frees. -1 without a vector.
KEST_API int AppendAndDo(CKestTypedVector<CKestExtensionInstallStep*>* steps,
                         std::unique_ptr<CKestExtensionInstallStep> step);

/// The steps that one operation appends: undone by the destructor unless committed. Scopes nest. An inner scope that
/// commits hands its steps to the scope around it (they are released, or undone, with that one), unless it is `kFinal`:
/// then they are released for good, whatever becomes of the outer operation. A scope opened while another one is being
/// undone is final whatever was asked for.
///
/// The outermost scope holds the writer lock of the machine (the caller usually has it already and can say who has it
/// otherwise; without the lock every step fails), forgets what was learned of folders, and at its end removes the
/// temporary folder of the process. So open it before anything is put there, a package unpacked for instance, and
/// finish with what lies there before it ends; a TempFolderHold keeps the folder longer.
class KEST_API JournalScope {
public:
  /// Whether a scope hands its steps to the one around it, or keeps what it did for good.
  enum class Kind { kOrdinary, kFinal };
  /// `operation` is what a recovery will call it, e.g. "install Table Tools"; of an inner scope it is not used.
  explicit JournalScope(CKestInstallJournal& journal, Kind kind = Kind::kOrdinary, const CString& operation = {});
  ~JournalScope();
  JournalScope(const JournalScope&) = delete;
  JournalScope& operator=(const JournalScope&) = delete;

  /// False when what was done could not be brought to the disk: the scope is still open and will be undone.
  [[nodiscard]] bool Commit();
  /// Undoes the scope's own steps from last to first, releases and frees them. True when everything was restored; else
  /// the journal's leftovers say what was not, and what undo needs is kept for the next start.
  bool RollBack();
  /// Whether the scope holds steps.
  [[nodiscard]] bool HasSteps() const;
  [[nodiscard]] bool IsOutermost() const; ///< whether no other scope is open around it
  /// Whether its steps are released when it commits, and not handed to a scope around it.
  [[nodiscard]] bool IsLast() const;
  /// What its own steps have done so far, for every step before it is released.
  void CollectEffects(std::vector<StepEffect>& effects) const;
  void CollectRegistryValues(std::vector<CString>& values) const; ///< those that its own steps have written so far
  /// Names the operation once more is known of it (the extension's name). Before the first step.
  void SetOperation(const CString& operation);
  /// Has the machine's history tell of the operation once it is done. Of an inner scope it is not used.
  void SetNote(HistoryNote note);
  /// After Commit: whether the history was to tell of the operation and cannot.
  [[nodiscard]] bool IsRecordMissing() const;

private:
  bool TakeBack();
  void Close();

  CKestInstallJournal& m_journal;
  std::size_t m_mark;
  std::size_t m_passMark;
  long m_firstNumber;
  Kind m_kind;
  bool m_open = true;
};

/// What a start found of operations that a dead process left.
struct RecoveryReport {
  /// One interrupted operation.
  struct Entry {
    CString operation;     ///< what the journal file says of it, e.g. "install Table Tools"; empty when unreadable
    bool finished = false; ///< it had been done: only its clean-up was completed
    std::vector<CString> restored;                        ///< what was changed back
    std::vector<CKestInstallJournal::Leftover> leftovers; ///< not empty: undo is incomplete, everything needed is kept
    CString refused; ///< why nothing of it was run and all of it was left; empty when it was run
  };
  std::vector<Entry> entries; ///< in the order in which they were met
  /// The user never changed anything in this machine, so that nothing was done: what is said to be restored is what
  /// would be.
  bool isForeign = false;
};

/// How to recover.
struct RecoveryOptions {
  std::function<Reach()> findReach{}; ///< asked once something is to be undone; none: all of the machine's own drives
  bool trustMachine = false; ///< the user says that the machine is to be relied on, and has seen what would be done
};

/// Undoes what dead processes left, newest first. Does nothing while another process holds the writer lock, or while an
/// operation of this process is open. May be interrupted and run again.
///
/// Only what this user's operations can have left is believed: folders that are the user's alone, on a machine that the
/// user changed before, whose every step is about a place that an operation reaches (RecordJudge). Any other journal is
/// left as it is and named.
KEST_API RecoveryReport RecoverInterruptedOperations(const RecoveryOptions& options = {});

} // namespace kest
