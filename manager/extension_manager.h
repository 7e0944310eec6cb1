#pragma once

#include "journal/catalogue_operations.h"
#include "journal/history.h"
#include "journal/journal.h"
#include "manager/clashes.h"
#include "manager/explanation.h"
#include "manager/install_options.h"
#include "manager/operation_report.h"
#include "manager/owners.h"
#include "manager/repair.h"
#include "manager/verify.h"
#include "platform/messages/extension_manager_ui.h"
#include "platform/text/containers.h"
#include "platform/text/export.h"
#include "platform/text/path.h"
#include "platform/text/values.h"

#include <cstdint>
#include <memory>

namespace kest {

class CKestExtension;
class CKestProduct;
class HostUi;

/// The engine's public entry: the products of the machine in force, the catalogue of what is installed in each, and the
/// operations on extensions.
///
/// Order of use: construct, Init, Load, then anything. Owns its products and every record in the catalogue; what it
/// hands out is borrowed unless said otherwise. One thread. No call throws.
///
/// An operation that changes the machine takes the right to write first. When another process has it the operation
/// fails after a moment (or after the wait set with SetLockWait), changes nothing and shows nothing; GetLastReport says
/// who has it. A failed or cancelled operation takes back everything it did.
class KEST_API CKestExtensionManager : public CatalogueOperations {
public:
  /// `ui` is borrowed; with null, operations that need a host fail at once and do nothing.
  explicit CKestExtensionManager(CKestExtensionManagerUI* ui);
  /// Frees the catalogue's records (each once), then the products.
  ~CKestExtensionManager() override;
  CKestExtensionManager(const CKestExtensionManager&) = delete;
  CKestExtensionManager& operator=(const CKestExtensionManager&) = delete;

  void SetUI(CKestExtensionManagerUI* ui);              ///< borrowed, for the operations from now on; may be null
  [[nodiscard]] CKestExtensionManagerUI* GetUI() const; ///< the host's callback object, borrowed; may be null

  // ---- lifecycle
  /// Takes back what a process that died left behind (see GetRecoveryReport), finds the products, makes the extensions
  /// folders of those found. Called again it starts anew, with an empty catalogue. Always 0.
  int Init();
  /// Reads the installed descriptions of every product into the catalogue, in place of what was there; again, for two
  /// seconds at most, while another process changes the machine. Always 0.
  int Load();
  /// Whether nobody changed the machine while the catalogue was read; if not, it may be of a moment in between.
  [[nodiscard]] bool IsSettled() const;
  /// Recovers on a machine in which the user never changed anything, which Init leaves alone
  /// (RecoveryReport::isForeign); from then on the machine is relied on. Before Load. The report is
  /// GetRecoveryReport's.
  const RecoveryReport& RecoverTrusting();
  /// What kept Init or Load from seeing all products and all that is installed in them: then no operation changes
  /// anything. Of kind kNone as a rule.
  [[nodiscard]] const MachineError& GetUnread() const;
  /// What Init found of interrupted operations.
  [[nodiscard]] const RecoveryReport& GetRecoveryReport() const;
  /// How long an operation waits for another process that is changing the machine; 0 at first.
  void SetLockWait(std::int64_t milliseconds);
  /// How long a wait for a file in use polls before the user is asked again; 10,000 at first.
  void SetFileWait(std::int64_t milliseconds);

  /// Asks the operation in progress to end: it stops before the next file or phase, fails as declined
  /// (OperationReport::Failure::kDeclined) and takes everything back. Too late once everything is done, and forgotten
  /// when the next operation starts. May be called from a signal handler and from another thread.
  void RequestCancel() noexcept;

  // ---- catalogue
  /// Over the products in the order of their making; the iterator is the caller's, the products are not.
  [[nodiscard]] CKestTypedIterator<CKestProduct*>* CreateProductIterator() const;
  /// The same from last to first.
  [[nodiscard]] CKestTypedIterator<CKestProduct*>* CreateProductReverseIterator() const;
  /// Appends the product's records to `out`, in catalogue order; nothing for a product without a list.
  void GetExtensions(const CKestProduct* product, CKestTypedList<CKestExtension*>& out) const;
  /// Appends the record to the product's list and takes ownership; null is ignored.
  void AddExtension(const CKestProduct* product, CKestExtension* extension) override;
  void RestoreExtension(const CKestProduct* product, CKestExtension* extension) override;
  /// Takes every entry of the record out of the product's list; the record is the caller's from now on.
  void RemoveExtension(const CKestProduct* product, CKestExtension* extension);
  /// Whether a product that was found has this name, letter case aside.
  [[nodiscard]] bool IsProductInstalled(const char* name) const;
  /// The first record, over all products, whose description file is `path`, letter case aside; null when none.
  [[nodiscard]] CKestExtension* FindByPath(const char* path) const;
  /// The product's first enabled record of this name and author, letter case aside; null when none.
  [[nodiscard]] CKestExtension* FindEnabledByNameAndAuthor(const CKestProduct* product, const char* name,
                                                           const char* author) const;
  /// The label of an extension type; false, and the label left alone, for an unknown type.
  [[nodiscard]] bool GetTypeLabel(int type, CString& label) const;
  /// The text shown for a selected extension: description and access text, line breaks and blanks decoded. Empty for
  /// null.
  void GetExtensionDetail(const CKestExtension* extension, CString& out) const;

  /// Comparisons for sorted lists: negative, 0 or positive; 0 when either is null.
  [[nodiscard]] int CompareName(const CKestExtension* a, const CKestExtension* b) const;
  /// By version; older is less.
  [[nodiscard]] int CompareVersion(const CKestExtension* a, const CKestExtension* b) const;
  [[nodiscard]] int CompareType(const CKestExtension* a, const CKestExtension* b) const;   ///< by the label of the type
  [[nodiscard]] int CompareAuthor(const CKestExtension* a, const CKestExtension* b) const; ///< by the author's name
  /// Enabled ones first.
  [[nodiscard]] int CompareEnabled(const CKestExtension* a, const CKestExtension* b) const;

  /// A product by its name, letter case aside, that has looked for itself; with a folder it is taken to be there. The
  /// caller's; null for a name without a class.
  [[nodiscard]] static CKestProduct* CreateProduct(const CString& name, const CString& installFolder);

  // ---- operations
  /// Bits of `restartFlags`.
  enum RestartFlag : int { kRestartProduct = 1, kRestartMachine = 2 };

  /// Installs a package (.kep), or a description beside its files.
  ///
  /// `product`: in, the product wanted or null; out, the product chosen. `replaced` (may be null): out, the installed
  /// extension that was replaced, disabled or found equal; a replaced one may be read until the next operation starts
  /// and is never the caller's. `quiet`: neither agreement nor closing messages. `enroll`: into the catalogue, as an
  /// install; else as an enable, and the record is the caller's. `resolveTokens`: ask for folders. `restartFlags`: out.
  /// `keepProduct`: fail rather than choose another product. `acceptEqual`: null with `replaced` set when the same
  /// extension is enabled already. `progress`: drive the display.
  ///
  /// The new record, or null after a failure or a cancellation: then the machine is as before.
  CKestExtension* InstallExtension(const CKestProduct** product, const char* path, CKestExtension** replaced,
                                   bool quiet, bool enroll, bool resolveTokens, int& restartFlags, bool keepProduct,
                                   bool acceptEqual, bool progress);

  /// The same with names for what it is told: an install into the catalogue.
  [[nodiscard]] InstallResult Install(const CString& path, const InstallOptions& options = {});

  /// Takes an extension out of a product. `refresh`: a running product that needs no restart reloads. `quiet`: no
  /// closing message. `ownJournal`: finish (or take back) the steps here, else the caller does. `remove`: out of the
  /// catalogue too (the record is then the caller's). `deleteDisabled`: the copies set aside go too. `restart`: out, 1
  /// when the running product must restart. 0, or -1: then, with `ownJournal`, everything is as before.
  int UninstallExtension(const CKestProduct* product, CKestExtension* extension, bool refresh, bool quiet,
                         bool ownJournal, bool remove, bool deleteDisabled, int& restart, bool progress) override;
  /// Sets the extension's files aside as a package. 0, -1, or the code of the packaging that failed.
  int DisableExtension(const CKestProduct* product, CKestExtension* extension, bool progress) override;
  /// Installs a disabled extension again from its package. 0, or -1.
  int EnableExtension(const CKestProduct* product, CKestExtension* extension) override;

  /// Builds a package of a description and its files. `repackage`: of an installed extension, from where its files are
  /// in `product`. `portable`: names must suit the other platform too. 0, or a code: -4 several primary products, the
  /// load code of a description that does not load, the code of the package, else -1. An old package stays until the
  /// new one is complete.
  int CreatePackage(const char* description, const char* package, const CKestProduct* product, bool repackage,
                    bool progress, bool portable);
  /// Carries extensions of one product over to another. Always true; GetLastReport has a part for each.
  bool Import(const CKestProduct* from, const CKestProduct* to, const CKestTypedList<CKestExtension*>& extensions);

  /// Whether an extension in the catalogue other than `except` places a file at `path`; true as well when the
  /// description of one of them cannot be read any more.
  [[nodiscard]] bool IsFileReferenced(const CKestProduct* product, const char* path,
                                      const CKestExtension* except) const;
  /// Whether the description or one of the installed files that it lists is newer than `when`.
  [[nodiscard]] bool ExtensionHasFilesNewerThan(const CKestProduct* product, const char* descriptionPath,
                                                const CKestDateTime& when) const;

  // ---- what was done before
  /// The operations that changed the machine, oldest first. Reads what is there, also while another process changes it.
  [[nodiscard]] History GetHistory() const;
  /// What the operation of that number did, path by path; false when the trash has its record no more.
  [[nodiscard]] bool GetEffects(long number, std::vector<OperationEffect>& effects) const;
  /// Takes back what the operation of that number did (0: the last one), file by file, from what the trash keeps: then
  /// the machine is as it was before it. Not when a path that it touched has changed since, or what it replaced or
  /// deleted is kept no more; GetLastReport says why. An undo is an operation like any other, and can be undone.
  /// Afterwards the catalogue has been read anew: records borrowed from it are gone. 0, or -1: then nothing was
  /// changed.
  int UndoOperation(long number);
  /// What is kept of earlier operations, oldest first; none when it cannot be listed, which GetHistory tells.
  [[nodiscard]] std::vector<TrashEntry> GetTrash() const;
  /// Drops the entries of the trash that the limits leave no room for. 0, or -1 when another process is changing the
  /// machine, or something could not be removed.
  int EmptyTrash(const TrashLimits& limits, std::vector<TrashEntry>& dropped);

  /// Compares an installed extension with what its install left: its files and description by their content, its
  /// entries in configuration files by text and place. Reads alone. Without a record of the install, of a disabled
  /// extension and of null nothing is said to be as installed.
  [[nodiscard]] VerifyReport VerifyExtension(const CKestProduct* product, const CKestExtension* extension) const;

  /// Descriptions that were installed into the product, of null into any, and are in no catalogue: gone since
  /// (kMissing), or changed so that they cannot be read (kChanged). Reads the records of those alone.
  [[nodiscard]] std::vector<VerifyReport::Entry> FindLost(const CKestProduct* product) const;

  /// Puts back what is missing of an enabled extension: files by their recorded content from the package given, the
  /// trash or the package set aside, entries of configuration files by its changes. One operation, with its line in the
  /// history. What somebody changed stays unless `options.all`. What could not be put back is noted in GetLastReport.
  /// 0, or -1: then nothing was changed.
  int RepairExtension(const CKestProduct* product, CKestExtension* extension, const RepairOptions& options);

  /// The extensions in the catalogue that put the thing there, disabled ones for what lies aside of them alone. For a
  /// file only descriptions that list one of that name are read.
  [[nodiscard]] std::vector<Owner> FindOwners(OwnedThing thing, const CString& name) const;

  /// What an extension would meet in a product, and which parts of its description would have no effect there. Another
  /// version of it that is installed counts for nothing. Reads alone: each configuration file once, and the other
  /// descriptions only when something is met. An install has the same in its report.
  [[nodiscard]] std::vector<Clash> FindClashes(const ClashQuestion& question) const;

  /// Which of the products found would take the extension, and by which rules; where its files would go. The catalogue
  /// plays no part.
  [[nodiscard]] Explanation Explain(const CKestExtension& extension) const;

  // ---- for hosts
  /// Which files an uninstall would delete and which would stay. Empty for null.
  [[nodiscard]] UninstallPreview PreviewUninstall(const CKestProduct* product, const CKestExtension* extension) const;
  /// A copy of the extension with its files as the product installs them: one that was made for an older version may
  /// have more of them, and elsewhere. Without its changes.
  [[nodiscard]] CKestExtension GetConverted(const CKestProduct& product, const CKestExtension& extension) const;
  /// Where the extension's files are installed, for platform-fitting entries of the description as the product converts
  /// it, in order; entries without a place are left out.
  [[nodiscard]] std::vector<CString> GetInstalledFiles(const CKestProduct* product,
                                                       const CKestExtension* extension) const;
  /// What the last outermost operation did.
  [[nodiscard]] const OperationReport& GetLastReport() const;

  bool RestoreEnabledState(const CKestProduct* product, CKestExtension* extension) override;
  void KeepReplacedExtension(CKestExtension* extension) override;

  /// Everything behind the operations; for the sources of this folder and their tests.
  struct State;
  [[nodiscard]] State& GetState() { return *m_state; }

private:
  std::unique_ptr<State> m_state;
};

} // namespace kest
