// The operations that change the machine.
#include "desktop/engine_room.h"

#include "desktop/engine_facts.h"

#include <utility>

namespace kest::desktop {
namespace {

using Operation = OperationReport::Operation;
using Failure = OperationReport::Failure;

// Of an operation that never began.
OperationReport Empty(Operation operation, Failure failure) {
  OperationReport report;
  report.operation = operation;
  report.failure = failure;
  return report;
}

} // namespace

void EngineRoom::PostOperation(Operation operation, Work work, const QString& accepted) {
  const int ticket = ++m_lastTicket;
  Post([=, this, work = std::move(work)] {
    m_ui->Begin(accepted);
    OperationReport report = Empty(operation, Failure::kDeclined);
    if (!m_manager) {
      report.failure = Failure::kNotFound;
    } else if (ticket > m_cancelledTicket) { // one that was queued when the user cancelled never begins
      report = work();
      while (report.failure == Failure::kLocked && m_ui->WaitForLock(Shown(m_machine->GetWriter()))) {
        report = work();
      }
      m_readState = m_machine->GetChangeMark().state;
    }
    ResultFacts result = FactsOf(report);
    result.operation = static_cast<int>(operation);
    result.notices = m_ui->TakeNotices();
    m_doneTicket = ticket;
    emit Finished(result);
  });
}

void EngineRoom::Install(const QString& file, const QString& product, const QString& accepted) {
  PostOperation(
      Operation::kInstall,
      [=, this] {
        const CString path = ReachFile(file, false);
        if (path.empty()) {
          return Empty(Operation::kInstall, Failure::kNotFound);
        }
        InstallOptions options;
        options.product = FindProduct(*m_manager, product);
        static_cast<void>(m_manager->Install(path, options)); // the report has it all
        return m_manager->GetLastReport();
      },
      accepted);
}

void EngineRoom::Remove(const QString& product, const QByteArray& path) {
  PostOperation(Operation::kUninstall, [=, this] {
    const Found found = Find(product, path);
    if (!found.extension) {
      return Empty(Operation::kUninstall, Failure::kNotFound);
    }
    int restart = 0;
    const int result =
        m_manager->UninstallExtension(found.product, found.extension, true, false, true, true, true, restart, true);
    // The record left the catalogue with a success and is ours then.
    const std::unique_ptr<CKestExtension> gone(result == 0 ? found.extension : nullptr);
    return m_manager->GetLastReport();
  });
}

void EngineRoom::SetEnabled(const QString& product, const QByteArray& path, bool enabled) {
  const Operation operation = enabled ? Operation::kEnable : Operation::kDisable;
  PostOperation(operation, [=, this] {
    const Found found = Find(product, path);
    if (!found.extension) {
      return Empty(operation, Failure::kNotFound);
    }
    if (found.extension->IsEnabled() == enabled) {
      return Empty(operation, Failure::kNone);
    }
    if (enabled) {
      m_manager->EnableExtension(found.product, found.extension);
    } else {
      m_manager->DisableExtension(found.product, found.extension, true);
    }
    return m_manager->GetLastReport();
  });
}

void EngineRoom::Repair(const QString& product, const QByteArray& path) {
  PostOperation(Operation::kRepair, [=, this] {
    const Found found = Find(product, path);
    if (!found.extension) {
      return Empty(Operation::kRepair, Failure::kNotFound);
    }
    m_manager->RepairExtension(found.product, found.extension, {});
    return m_manager->GetLastReport();
  });
}

void EngineRoom::Pack(const QString& description, const QString& package) {
  PostOperation(Operation::kPackage, [=, this] {
    const CString from = ReachFile(description, false);
    const CString to = ReachFile(package, true);
    if (from.empty() || to.empty()) {
      return Empty(Operation::kPackage, Failure::kNotFound);
    }
    m_manager->CreatePackage(from.c_str(), to.c_str(), nullptr, false, true, true);
    return m_manager->GetLastReport();
  });
}

void EngineRoom::Import(const QString& from, const QString& to, const QList<QByteArray>& paths) {
  PostOperation(Operation::kImport, [=, this] {
    const CKestProduct* source = FindProduct(*m_manager, from);
    const CKestProduct* target = FindProduct(*m_manager, to);
    CKestTypedList<CKestExtension*> extensions;
    for (const QByteArray& path : paths) {
      if (CKestExtension* extension = m_manager->FindByPath(path.constData())) {
        extensions.Append(extension);
      }
    }
    if (!source || !target || extensions.IsEmpty()) {
      return Empty(Operation::kImport, Failure::kNotFound);
    }
    m_manager->Import(source, target, extensions);
    return m_manager->GetLastReport();
  });
}

void EngineRoom::Undo(int number) {
  PostOperation(Operation::kUndo, [=, this] {
    m_manager->UndoOperation(number);
    return m_manager->GetLastReport();
  });
}

} // namespace kest::desktop
