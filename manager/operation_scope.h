#pragma once

#include "manager/manager_state.h"

#include <exception>

namespace kest {

/// One public operation in progress. The outermost takes the right to write, starts a new report, and at its end
/// removes the private folder and gives the right back. Each leaves the list of backed-up files as it found it.
class OperationScope {
public:
  using State = CKestExtensionManager::State;
  OperationScope(State& state, OperationReport::Operation operation);
  ~OperationScope();
  OperationScope(const OperationScope&) = delete;
  OperationScope& operator=(const OperationScope&) = delete;

  /// False when another process has the right to write; the report says so.
  [[nodiscard]] bool MayWrite() const { return m_mayWrite; }
  [[nodiscard]] bool IsOutermost() const { return m_outermost; }

private:
  State& m_state;
  bool m_outermost;
  bool m_mayWrite = true;
  bool m_locked = false;
  int m_exceptions; ///< under way when it was opened
  CKestTypedList<CString> m_backedUp;
};

/// The steps of one operation with their part of the report; taken back by the destructor unless committed.
class StepScope {
public:
  using State = CKestExtensionManager::State;
  /// `operation` is what a recovery calls it, e.g. "install Table Tools".
  StepScope(State& state, const CString& operation, JournalScope::Kind kind = JournalScope::Kind::kOrdinary);
  ~StepScope();
  StepScope(const StepScope&) = delete;
  StepScope& operator=(const StepScope&) = delete;

  /// False, with the reason in the report: the scope is still open and will be taken back.
  [[nodiscard]] bool Commit();
  void RollBack();
  void SetOperation(const CString& operation) { m_scope.SetOperation(operation); }
  [[nodiscard]] bool HasSteps() const { return m_scope.HasSteps(); }

private:
  void NoteEffects(const std::vector<StepEffect>& effects);
  [[nodiscard]] HistoryNote MakeNote() const;

  State& m_state;
  std::size_t m_kept;
  bool m_open = true;
  JournalScope m_scope;
};

/// Runs what comes after an operation that is done, or taken back: it cannot fail any more, least of all for want of
/// memory to tell of it.
template <class Body> void AfterDone(const Body& body) {
  try {
    body();
  } catch (const std::exception&) {
    return;
  }
}

/// The report says that the operation failed by that.
void NoteThrown(CKestExtensionManager::State& state, const std::exception& thrown);

/// Runs a public operation: what is thrown in it, for want of memory as a rule, ends it like any other failure. It then
/// answers `failed`.
template <class Result, class Body>
Result Guarded(CKestExtensionManager::State& state, Result failed, const Body& body) {
  try {
    return body();
  } catch (const std::exception& thrown) {
    NoteThrown(state, thrown);
    return failed;
  }
}

/// Runs a step of class `Step` made of these arguments. 0, or its failure.
template <class Step, class... Arguments> int RunStep(CKestInstallJournal& journal, Arguments&&... arguments) {
  return journal.Run(std::make_unique<Step>(std::forward<Arguments>(arguments)...));
}

/// Changes a catalogued record (borrowed) so that it comes back with the files when the operation is undone. 0, or -1.
int ChangeRecord(CKestExtensionManager::State& state, CKestExtension& record, bool enabled, const CString& path);

/// Puts a value back at the end of a block.
template <class T> class Restored {
public:
  explicit Restored(T& value) : m_value(value), m_old(value) {}
  ~Restored() { m_value = std::move(m_old); }
  Restored(const Restored&) = delete;
  Restored& operator=(const Restored&) = delete;

private:
  T& m_value;
  T m_old;
};

} // namespace kest
