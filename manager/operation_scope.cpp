#include "manager/operation_scope.h"

#include "description/description_index.h"
#include "journal/catalogue_steps.h"
#include "journal/delete_steps.h"
#include "journal/history.h"
#include "journal/private_steps.h"
#include "platform/machine/os.h"

#include <algorithm>
#include <exception>
#include <new>
#include <unordered_set>

namespace kest {
namespace {

// The lock in short turns, so that a wait for it can be cancelled. One at least: who only reads has it for a moment,
// too, to see whether an operation was interrupted.
WriterLock WaitForLock(CKestExtensionManager::State& state) {
  constexpr std::int64_t kTurn = 100;
  Machine& machine = CKestOS::GetMachine();
  const std::int64_t wait = std::max(state.lockWait, kTurn);
  const std::int64_t end = machine.MonotonicMilliseconds() + wait;
  for (std::int64_t left = wait;; left = end - machine.MonotonicMilliseconds()) {
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
  state.note = HistoryNote{};
  state.replacedRecords.clear();
  state.cancelRequested.store(false, std::memory_order_relaxed);
  state.knownFolders.clear();
  state.placement.Forget();
  CKestOS::GetMachine().ClearLastError();
  CKestOS::GetMachine().ForgetUnanswered();
  CKestOS::GetMachine().ForgetFolders();
}

// Who does not know all that is installed would take what is missing for what nobody needs.
bool CheckThatAllWasRead(CKestExtensionManager::State& state) {
  for (const MachineError* error : {&state.unread, &state.unreadCatalogue}) {
    if (error->kind != MachineError::Kind::kNone) {
      state.FailByError(*error, CString(), "what is installed on the machine could not all be read");
      return false;
    }
  }
  return true;
}

// What had to be read at the start need not be at the next. A failed operation leaves no trace, not even this.
void RefreshIndexes(const CKestExtensionManager::State& state) {
  std::vector<CKestExtension*> records;
  for (const auto& [product, list] : state.catalogue.All()) {
    records.insert(records.end(), list.begin(), list.end());
  }
  DescriptionIndex::Refresh(records);
}

const char* WordOf(OperationReport::Operation operation) {
  switch (operation) {
  case OperationReport::Operation::kInstall:
    return "install";
  case OperationReport::Operation::kUninstall:
    return "uninstall";
  case OperationReport::Operation::kDisable:
    return "disable";
  case OperationReport::Operation::kEnable:
    return "enable";
  case OperationReport::Operation::kImport:
    return "import";
  case OperationReport::Operation::kUndo:
    return "undo";
  case OperationReport::Operation::kRepair:
    return "repair";
  case OperationReport::Operation::kNone:
  case OperationReport::Operation::kPackage:
    break;
  }
  return nullptr;
}

// What earlier operations left there has had its time.
void DropOldTrash(OperationReport& report) {
  std::vector<TrashEntry> dropped;
  history::DropTrash(history::ReadLimits(), dropped); // what stays has another chance after the next operation
  for (const TrashEntry& entry : dropped) {
    ++report.trashDropped;
    report.trashDroppedBytes += entry.bytes;
  }
}

} // namespace

OperationScope::OperationScope(State& state, OperationReport::Operation operation)
    : m_state(state), m_outermost(state.depth == 0), m_exceptions(std::uncaught_exceptions()) {
  if (m_outermost) {
    StartReport(state, operation);
    const WriterLock lock = WaitForLock(state);
    m_locked = lock.held;
    m_mayWrite = lock.held;
    const MachineError refused = CKestOS::GetMachine().GetLastError();
    if (!lock.held && lock.holder.empty() && refused.kind != MachineError::Kind::kNone &&
        refused.kind != MachineError::Kind::kInUse) {
      state.FailByError(refused, CString(), "the machine cannot be changed");
    } else if (!lock.held) {
      const CString holder = lock.holder.empty() ? CString("another process") : lock.holder;
      state.Fail(OperationReport::Failure::kLocked, CString(), "the machine is being changed by " + holder, 0,
                 "try again when it has finished");
    } else if (!CheckThatAllWasRead(state)) {
      m_mayWrite = false;
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
  const bool isDone = m_state.report.Succeeded() && std::uncaught_exceptions() == m_exceptions;
  AfterDone([this] {
    SettleReport(m_state.report);
    for (OperationReport& part : m_state.report.parts) {
      SettleReport(part);
    }
  });
  if (!m_locked) {
    return;
  }
  if (isDone) {
    AfterDone([this] { RefreshIndexes(m_state); });
    if (WordOf(m_state.report.operation) != nullptr) {
      AfterDone([this] { DropOldTrash(m_state.report); });
    }
  }
  if (!m_state.journal.GetLeftovers().empty() && !m_state.report.rolledBack) {
    CKestOS::KeepTempFolder();
  } else {
    AfterDone([] { CKestOS::RemoveTempFolder(); });
  }
  CKestOS::GetMachine().UnlockWriter();
}

StepScope::StepScope(State& state, const CString& operation, JournalScope::Kind kind)
    : m_state(state), m_kept(state.report.kept.size()), m_scope(state.journal, kind, operation) {}

StepScope::~StepScope() {
  if (m_open) {
    RollBack();
  }
}

/// Files that changes to the products' configuration were about: they alone are backed up and made anew in place.
static std::vector<CString> FindConfiguration(const CKestInstallJournal& journal) {
  std::vector<CString> paths;
  for (const CKestExtensionInstallStep* step : journal) {
    if (dynamic_cast<const CInstallBackupFile*>(step) != nullptr ||
        dynamic_cast<const CInstallNewFile*>(step) != nullptr) {
      paths.push_back(step->GetTarget());
    }
  }
  return paths;
}

/// What the steps have done, whoever made them. The engine's own records are nobody's business.
void StepScope::NoteEffects(const std::vector<StepEffect>& effects) {
  OperationReport& report = m_state.report;
  CString own;
  const bool hasOwn = history::GetFolder(own);
  for (MergedEffect& one : MergeEffects(effects)) {
    OperationEffect& effect = one.effect;
    if (one.marked || (hasOwn && text::StartsWithNoCase(WithBackslash(effect.path), own))) {
      continue;
    }
    if (one.isBackup) {
      report.leftovers.push_back({std::move(effect.path), CString(), "backup copy"});
    } else if (effect.existed != effect.exists) {
      (effect.exists ? report.created : report.deleted).push_back(std::move(effect.path));
    } else if (effect.exists && !effect.isFolder) {
      report.changed.push_back(std::move(effect.path));
    }
  }
}

HistoryNote StepScope::MakeNote() const {
  const OperationReport& report = m_state.report;
  HistoryNote note = m_state.note;
  note.line = StepRecord();
  note.line.SetKind(HistoryNote::kKind);
  CString folder;
  CString user;
  if (CKestOS::GetCurrentUserAppDataPath(folder) && CKestOS::ExtractUserName(WithBackslash(folder) + "x", user)) {
    note.line.Add("user", user);
  }
  note.line.Add("operation", WordOf(report.operation));
  for (const auto& [name, value] : {std::pair{"extension", &report.extension},
                                    {"author", &report.author},
                                    {"version", &report.version},
                                    {"product", &report.product},
                                    {"replaced", &report.replaced},
                                    {"replaced-version", &report.replacedVersion}}) {
    if (!value->empty()) {
      note.line.Add(name, *value);
    }
  }
  note.line.Add("result", "done");
  if (report.undoes != 0) {
    note.line.Add("undoes", std::to_string(report.undoes));
  }
  return note;
}

bool StepScope::Commit() {
  if (const MachineError open = CKestOS::GetMachine().GetUnanswered(); open.kind != MachineError::Kind::kNone) {
    // whoever asked went on without knowing, so what was done may not be what had to be done
    m_state.FailByError(open, CString(), "something on the machine could not be looked at");
    return false;
  }
  if (m_state.report.failure != OperationReport::Failure::kNone) {
    return false; // what was called failed is not done
  }
  std::vector<StepEffect> effects;
  std::vector<CString> values;
  if (m_scope.IsLast() && m_state.undoing == 0) {
    m_scope.CollectEffects(effects); // a commit releases the steps
    m_scope.CollectRegistryValues(values);
    m_state.report.configuration = FindConfiguration(m_state.journal);
  }
  if (m_scope.IsOutermost() && WordOf(m_state.report.operation) != nullptr) {
    m_scope.SetNote(MakeNote());
  }
  const bool outermost = m_scope.IsOutermost();
  if (!m_scope.Commit()) {
    const MachineError error = CKestOS::GetMachine().GetLastError();
    const CString what = "what was done could not be brought to the disk";
    m_state.FailByError(error, CString(), what);
    if (outermost) {
      m_state.Ui().NoticeText(Message{0}, what + (error.reason.empty() ? "" : ": " + error.reason) + '.');
    }
    return false;
  }
  m_open = false;
  AfterDone([&] { // a report that lacks something is told of an operation that is done
    NoteEffects(effects);
    m_state.report.registry.insert(m_state.report.registry.end(), values.begin(), values.end());
  });
  if (outermost && m_scope.IsRecordMissing()) {
    AfterDone([this] {
      m_state.Note({OperationReport::Failure::kOther, CString(),
                    "the history of the machine could not be written: the operation cannot be undone later", 0,
                    CString(), CString(), false});
    });
  }
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
  report.kept.resize(m_kept);
  if (!complete) {
    report.rolledBack = false;
    AfterDone([&] {
      for (const auto& leftover : m_state.journal.GetLeftovers()) {
        report.leftovers.push_back({leftover.path, leftover.backup, "not restored"});
      }
    });
  }
}

void NoteThrown(CKestExtensionManager::State& state, const std::exception& thrown) {
  using Failure = OperationReport::Failure;
  const bool isMemory = dynamic_cast<const std::bad_alloc*>(&thrown) != nullptr;
  OperationReport& report = state.report;
  const bool isFirst = report.failure == Failure::kNone;
  if (isFirst) {
    report.failure = isMemory ? Failure::kNoMemory : Failure::kOther;
  }
  AfterDone([&] {
    const CString reason = isMemory ? CString("there is not enough memory") : CString(thrown.what());
    const CString next = isMemory ? CString("close other programs and try again") : CString();
    report.problems.insert(isFirst ? report.problems.begin() : report.problems.end(),
                           {report.failure, CString(), reason, 0, next, CString(), true});
  });
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
