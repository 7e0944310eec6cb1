#pragma once

#include "journal/operation_record.h"
#include "manager/catalogue.h"
#include "manager/extension_manager.h"
#include "manager/placement.h"
#include "platform/messages/host_ui.h"
#include "products/product.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

namespace kest {

/// What the operations share. One for each manager.
struct CKestExtensionManager::State {
  State(CKestExtensionManager& manager, CKestExtensionManagerUI* host);
  ~State();
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  CKestExtensionManager& owner;
  CKestExtensionManagerUI* ui; ///< borrowed; may be null
  std::vector<std::unique_ptr<CKestProduct>> products;
  std::map<int, CString, CKestMapIntLessThan> typeLabels;
  Catalogue catalogue;
  CString unpackFolder;    ///< where the sources of the description at hand lie, with trailing backslash
  CString descriptionName; ///< its file name
  CKestTokenMap folderKeywords;
  FilePlacement placement{products, folderKeywords, unpackFolder};
  CKestInstallJournal journal;
  Reach reach; ///< of the products served
  bool isSettled = true;

  RecoveryReport recovery;
  MachineError unread;          ///< what kept us from seeing all products when we started; kNone as a rule
  MachineError unreadCatalogue; ///< the same for what is installed in them
  OperationReport report;
  HistoryNote note; ///< what the history is going to know of the operation in progress beside the report
  std::vector<std::unique_ptr<CKestExtension>> replacedRecords; ///< readable until the next operation starts
  std::unordered_set<CString> knownFolders;                     ///< lower case, without trailing backslash: they exist
  std::int64_t lockWait = 0;
  std::int64_t fileWait = 10000;
  int depth = 0; ///< operations in progress, one inside the other
  std::atomic<bool> cancelRequested{false};
  int undoing = 0; ///< roll-backs in progress: they are never cut short

  [[nodiscard]] HostUi Ui() const { return HostUi(ui); }

  // ---- the start
  void Start();         ///< takes back what a dead process left, finds the products
  void ReadCatalogue(); ///< reads what is installed in them
  void
  ReadCatalogueOnce(Catalogue& into) const; ///< as it is at this moment; GetUnanswered() tells what could not be read

  // ---- products
  [[nodiscard]] CKestProduct* FindProduct(const CString& name, const CString& version) const;
  /// Lets every product serve this user; an empty name: the current one.
  void LoginAs(const CString& user);
  [[nodiscard]] CString GetDisabledFolder(const CKestProduct& product) const;
  /// In the product's extensions folder.
  [[nodiscard]] CString GetExtensionsPath(const CKestProduct& product, const CString& fileName) const;

  // ---- files in use, folders
  /// Null when no product claims the path.
  [[nodiscard]] const CKestProduct* FindOwner(const CString& path) const;
  [[nodiscard]] bool CanDeleteFile(const CString& path) const;
  /// The button pressed; -1 without a host.
  [[nodiscard]] int HelpUserFreeFile(const CString& path, bool anonymous);
  /// Busy display, and background processing until `ready` says yes, the time is over or the operation is cancelled.
  void WaitUntil(const std::function<bool()>& ready) const;
  /// Creates the folder and its missing parents through the journal; tells the user when it cannot.
  [[nodiscard]] bool EnsureFolderExists(const CString& folder);
  /// The same in two: the folders to create, upper ones first; then the message for one that could not be.
  [[nodiscard]] bool CollectMissingFolders(const CString& folder, std::vector<CString>& missing);
  void ReportFolderNotCreated(const CString& folder);

  // ---- cancelling
  /// Whether the operation has to end here because the host asked for it. Looked at between files and between phases.
  [[nodiscard]] bool WantsCancel() const { return undoing == 0 && cancelRequested.load(std::memory_order_relaxed); }
  /// The same; the report says so then.
  [[nodiscard]] bool IsCancelled();

  // ---- the report
  /// What the operation is about.
  void NameInReport(const CKestProduct& product, const CKestExtension& extension);
  /// Notes why the operation fails; the first reason counts.
  void Fail(OperationReport::Failure kind, const CString& path, const CString& reason, int message = 0,
            const CString& next = CString());
  /// The same for a problem that need not be fatal.
  void Note(OperationReport::Problem problem);
  /// The same, the kind and reason taken from the machine's last error where it has one.
  void FailByMachine(const CString& path, const CString& what, int message = 0);
  /// The same for an error that was remembered, since a question to the user may follow it.
  void FailByError(const MachineError& error, const CString& path, const CString& what, int message = 0);

  /// Whether all of the record's description is at hand now; else why not is noted.
  [[nodiscard]] bool HasWholeRecord(const CKestExtension& extension);
  /// Whether the description, or an installed file that it lists, is newer; nothing when the machine cannot tell.
  [[nodiscard]] std::optional<bool> HasFilesNewerThan(const CKestProduct& product, const CString& descriptionPath,
                                                      const CKestDateTime& when) const;

  // ---- per-user copies
  void CheckForUserLevelConflicts(const CKestProduct* product, const CKestExtension* extension,
                                  CKestTypedList<CKestString>& conflicts) const;
  bool RemoveUserLevelConflicts(const CKestProduct* product, const CKestTypedList<CKestString>& conflicts);
};

/// What kind of failure a refusal of the machine is.
[[nodiscard]] OperationReport::Failure FailureOf(const MachineError& error);

} // namespace kest
