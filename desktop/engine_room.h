#pragma once

#include "desktop/bridge_ui.h"
#include "desktop/facts.h"

#include "kest/kest.h"

#include <QObject>
#include <QThread>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace kest::desktop {

/// The engine in a thread of its own. Every operation returns at once and is done in the order of the calls; what comes
/// of it arrives as a signal, as plain values.
class EngineRoom : public QObject {
  Q_OBJECT

public:
  EngineRoom();
  /// Cancels what is in progress, waits until it was taken back, and ends the thread.
  ~EngineRoom() override;

  [[nodiscard]] BridgeUi& GetUi() { return *m_ui; }
  /// Whether an operation that changes the machine is queued or in progress.
  [[nodiscard]] bool IsBusy() const { return m_doneTicket != m_lastTicket; }

  // ---- looking
  void Open(const QString& folder);
  void SelectUser(const QString& user);
  /// Takes back what Opened left because the user never changed this machine; then Opened again.
  void RecoverTrusting();
  void List(const QString& product);
  /// As List, when another process has changed the machine since it was read.
  void ListIfChanged(const QString& product);
  /// Twice: at once, and when its files were compared with its install. Earlier calls that wait are forgotten.
  void ReadDetails(const QString& product, const QByteArray& path);
  void ReadHistory();
  void PreviewInstall(const QString& file, const QString& product);
  void PreviewRemoval(const QString& product, const QByteArray& path);
  void Check(const QString& file, const QString& product);

  // ---- operations
  /// `file` is a path on this system; an empty product leaves the choice to the engine. `accepted`: the agreement that
  /// the user has accepted already.
  void Install(const QString& file, const QString& product, const QString& accepted);
  void Remove(const QString& product, const QByteArray& path);
  void SetEnabled(const QString& product, const QByteArray& path, bool enabled);
  void Repair(const QString& product, const QByteArray& path);
  void Pack(const QString& description, const QString& package);
  void Import(const QString& from, const QString& to, const QList<QByteArray>& paths);
  void Undo(int number); ///< 0: the last one
  /// Asks the operation in progress to end, declines its question, and drops the operations that wait.
  void Cancel();

signals:
  void Opened(const kest::desktop::MachineFacts& machine);
  void Listed(const QString& product, const QList<kest::desktop::ExtensionFacts>& rows);
  void DetailsRead(const kest::desktop::DetailFacts& details);
  void HistoryRead(const QList<kest::desktop::HistoryFacts>& operations);
  void InstallPreviewed(const kest::desktop::PreviewFacts& preview);
  void RemovalPreviewed(const kest::desktop::RemovalFacts& removal);
  void Checked(const kest::desktop::CheckFacts& findings);
  void Finished(const kest::desktop::ResultFacts& result);

private:
  using Work = std::function<OperationReport()>;
  /// An extension and the product that it is installed in; both null when it is there no more.
  struct Found {
    const CKestProduct* product = nullptr;
    CKestExtension* extension = nullptr;
  };

  void Post(std::function<void()> work);
  void PostOperation(OperationReport::Operation operation, Work work, const QString& accepted = {});
  void RequestCancel();

  // in the engine's thread
  void OpenHere(const QString& folder, const QString& user);
  void Close();
  [[nodiscard]] std::vector<CKestProduct*> GetProducts(const CKestExtensionManager& manager) const;
  [[nodiscard]] const CKestProduct* FindProduct(const CKestExtensionManager& manager, const QString& name) const;
  [[nodiscard]] Found Find(const QString& product, const QByteArray& path) const;
  [[nodiscard]] CString ReachFile(const QString& file, bool writable);
  [[nodiscard]] MachineFacts DescribeMachine(const QString& folder);
  void Look(CKestExtensionManager& manager, const QString& product, PreviewFacts& preview);

  QThread m_thread;
  QObject* m_inside = nullptr; ///< lives in the thread; work is posted to it
  std::unique_ptr<BridgeUi> m_ui;
  // Operations are numbered as they are asked for.
  std::atomic<int> m_lastTicket = 0;
  std::atomic<int> m_doneTicket = 0;
  std::atomic<int> m_cancelledTicket = 0; ///< it and all before it are not to begin any more
  std::atomic<int> m_detailsWanted = 0;
  QMutex m_managerMutex; ///< between cancelling, and making and freeing the manager
  std::unique_ptr<MachineFolder> m_machine;
  std::unique_ptr<CKestExtensionManager> m_manager;
  CString m_readState; ///< the machine's mark when the catalogue was read
};

} // namespace kest::desktop

Q_DECLARE_METATYPE(kest::desktop::ExtensionFacts)
Q_DECLARE_METATYPE(kest::desktop::HistoryFacts)
