#include "manager/operation_scope.h"

#include "description/description_index.h"
#include "journal/catalogue_steps.h"
#include "journal/delete_steps.h"
#include "platform/machine/os.h"

#include <algorithm>
#include <unordered_set>

namespace kest {
namespace {

// The lock in short turns, so that a wait for it can be cancelled.
WriterLock WaitForLock(CKestExtensionManager::State& state) {
  constexpr std::int64_t kTurn = 100;
  Machine& machine = CKestOS::GetMachine();
  const std::int64_t end = machine.MonotonicMilliseconds() + state.lockWait;
  for (std::int64_t left = state.lockWait;; left = end - machine.MonotonicMilliseconds()) {
    WriterLock lock = machine.LockWriter(std::min(std::max<std::int64_t>(left, 0), kTurn));
    if (lock.held || machine.GetLastError().kind != MachineError::Kind::kInUse || left <= kTurn ||
        state.IsCancelled()) {
      return lock;
    }
  }
}

// What was taken away and put back by one operation was changed; what was written was not kept.
void SettleReport(OperationReport& report) {
  if (report.deleted.empty() && report.kept.empty()) {
    return;
  }
  std::unordered_set<CString> written;
  std::unordered_set<CString> folders;
  for (const CString& path : report.created) {
    written.insert(text::Lower(path));
    folders.insert(text::Lower(WithoutBackslash(CKestPath(path).GetFolder())));
  }
  std::unordered_set<CString> again;
  std::erase_if(report.deleted, [&](const CString& path) {
    const CString key = text::Lower(path);
    return written.count(key) != 0 && (again.insert(key), true);
  });
  std::erase_if(report.created, [&](const CString& path) {
    const CString key = text::Lower(path);
    if (again.count(key) == 0) {
      return false;
    }
    if (folders.count(key) == 0) { // a folder is what it was
      report.changed.push_back(path);
    }
    return true;
  });
  for (const CString& path : report.changed) {
    written.insert(text::Lower(path));
  }
  std::erase_if(report.kept, [&](const OperationReport::Kept& kept) {
    return !written.insert(text::Lower(kept.path)).second; // named twice, too
  });
}

void StartReport(CKestExtensionManager::State& state, OperationReport::Operation operation) {
  state.report = OperationReport{};
  state.report.operation = operation;
  state.replacedRecords.clear();
  state.cancelRequested.store(false, std::memory_order_relaxed);
  state.knownFolders.clear();
  state.placement.Forget();
  CKestOS::GetMachine().ClearLastError();
  CKestOS::GetMachine().ForgetFolders();
}

// What had to be read at the start need not be at the next. A failed operation leaves no trace, not even this.
void RefreshIndexes(const CKestExtensionManager::State& state) {
  std::vector<CKestExtension*> records;
  for (const auto& [product, list] : state.catalogue.All()) {
    records.insert(records.end(), list.begin(), list.end());
  }
  DescriptionIndex::Refresh(records);
}

} // namespace

OperationScope::OperationScope(State& state, OperationReport::Operation operation)
    : m_state(state), m_outermost(state.depth == 0) {
  if (m_outermost) {
    StartReport(state, operation);
    const WriterLock lock = WaitForLock(state);
    m_locked = lock.held;
    m_mayWrite = lock.held;
    if (!lock.held) {
      const CString holder = lock.holder.empty() ? CString("another process") : lock.holder;
      state.Fail(OperationReport::Failure::kLocked, CString(), "the machine is being changed by " + holder, 0,
                 "try again when it has finished");
    }
  } else {
    m_backedUp = CKestProduct::GetBackedUpFiles();
  }
  ++state.depth;
}

OperationScope::~OperationScope() {
  --m_state.depth;
  CKestProduct::SetBackedUpFiles(std::move(m_backedUp));
  if (!m_outermost) {
    return;
  }
  SettleReport(m_state.report);
  for (OperationReport& part : m_state.report.parts) {
    SettleReport(part);
  }
  if (m_locked) {
    if (m_state.report.Succeeded()) {
      RefreshIndexes(m_state);
    }
    if (!m_state.journal.GetLeftovers().empty() && !m_state.report.rolledBack) {
      CKestOS::KeepTempFolder();
    } else {
      CKestOS::RemoveTempFolder();
    }
    CKestOS::GetMachine().UnlockWriter();
  }
}

StepScope::StepScope(State& state, const CString& operation, JournalScope::Kind kind)
    : m_state(state), m_created(state.report.created.size()), m_changed(state.report.changed.size()),
      m_deleted(state.report.deleted.size()), m_kept(state.report.kept.size()),
      m_scope(state.journal, kind, operation) {}

StepScope::~StepScope() {
  if (m_open) {
    RollBack();
  }
}

/// Configuration files that the products changed, and the copies that are left beside them on purpose.
void StepScope::NoteBackupCopies() {
  OperationReport& report = m_state.report;
  for (const CKestExtensionInstallStep* step : m_state.journal) {
    const auto* backup = dynamic_cast<const CInstallBackupFile*>(step);
    if (backup == nullptr) {
      continue;
    }
    const bool known = std::any_of(report.leftovers.begin(), report.leftovers.end(),
                                   [&](const auto& one) { return one.path == backup->GetCopy(); });
    if (!known) {
      report.changed.push_back(backup->GetTarget());
      report.leftovers.push_back({backup->GetCopy(), CString(), "backup copy"});
    }
  }
}

bool StepScope::Commit() {
  NoteBackupCopies();
  if (!m_scope.Commit()) {
    m_state.FailByMachine(CString(), "what was done could not be brought to the disk");
    return false;
  }
  m_open = false;
  return true;
}

void StepScope::RollBack() {
  m_open = false;
  const std::size_t before = m_state.journal.GetCount();
  ++m_state.undoing;
  const bool complete = m_scope.RollBack();
  --m_state.undoing;
  m_state.knownFolders.clear();
  OperationReport& report = m_state.report;
  report.undoneSteps += static_cast<int>(before - m_state.journal.GetCount());
  report.created.resize(m_created);
  report.changed.resize(m_changed);
  report.deleted.resize(m_deleted);
  report.kept.resize(m_kept);
  if (!complete) {
    report.rolledBack = false;
    for (const auto& leftover : m_state.journal.GetLeftovers()) {
      report.leftovers.push_back({leftover.path, leftover.backup, "not restored"});
    }
  }
}

int ChangeRecord(CKestExtensionManager::State& state, CKestExtension& record, bool enabled, const CString& path) {
  auto restore = [&record, old = record.GetPath(), wasEnabled = record.IsEnabled()] {
    record.SetPath(old);
    record.SetEnabled(wasEnabled);
  };
  const int result = RunStep<CInstallRestoreState>(state.journal, std::move(restore));
  if (result == 0) {
    record.SetPath(path);
    record.SetEnabled(enabled);
  }
  return result;
}

} // namespace kest
