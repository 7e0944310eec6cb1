#pragma once

#include "platform/machine/machine.h"
#include "platform/messages/messages.h"
#include "platform/text/containers.h"
#include "platform/text/path.h"
#include "platform/text/values.h"

namespace kest {

class CKestExtension;
class CKestExtensionInstallStep;
class CKestExtensionManagerUI;

/// One thing that went wrong while configuration or help changes were applied or taken back.
struct ConfigProblem {
  int code = 0;          ///< CKestConfigChange::ErrorCode, or CKestHelpChange::ErrorCode when `help` is set
  bool help = false;     ///< it is about a help file
  bool critical = false; ///< the operation was stopped by it
  bool noChange = false; ///< `change` is an element that no change is made of
  bool declined = false; ///< the user gave up waiting for a file in use
  CString path;          ///< the file that was to be changed; empty when none was reached
  CString change;        ///< the change in words, a line for each object; empty when about the file as a whole
  Message message = Message::kConfigurationFailed; ///< what the user was told, with its arguments
  std::vector<text::Argument> arguments;           ///< of the message
  MachineError error;                              ///< what the machine said; kNone when it had no part in it
};

/// One host product in one version: where it is, what runs, how destinations map to its folders, and how configuration
/// changes are applied to it. The manager owns its products; everyone else borrows them.
class KEST_API CKestProduct {
public:
  /// On whose behalf changes are processed.
  enum OperationType : int { Install = 0, Uninstall = 1, Enable = 2, Disable = 3 };

  virtual ~CKestProduct() = default;

  /// Finds the product (running process, then registry) and sets its folders; not found: IsInstalled stays false.
  virtual void Initialize() {}
  virtual void Terminate() {} ///< the product is about to be freed
  /// Sets the install folder and derives every other folder. A user name selects that user's configuration on a
  /// multi-user system; an empty one the default selection.
  virtual void SetPaths(const CString& installFolder, const CString& userName);
  virtual void GetName(CString& name) const = 0; ///< as shown to users, with its version: "Tidemark Nova"
  /// Name of the folder that holds the configuration; empty for products without one.
  virtual void GetConfigurationFolderName(CString& name) const;
  /// The extensions folder below a bin path, with a trailing backslash.
  virtual void GetExtensionsFolderFor(const CKestPath& binPath, CKestPath& out) const = 0;
  [[nodiscard]] virtual bool IsInstalled() const = 0;       ///< whether Initialize or SetPaths found it
  [[nodiscard]] virtual bool IsRunning() const = 0;         ///< whether its executable is among the processes now
  virtual void GetInstallFolder(CString& folder) const = 0; ///< empty when the product is not installed
  /// Where descriptions are put, with a trailing backslash.
  virtual void GetExtensionsFolder(CString& folder) const = 0;
  /// The one that all users share; empty when there is no second one.
  virtual void GetSharedExtensionsFolder(CString& folder) const;
  /// Whether the path lies in its install folder, or in the user folder of its configuration.
  [[nodiscard]] virtual bool BelongsTo(const char* path) const = 0;
  /// Whether the file at the path may go now; a running product may hold it.
  [[nodiscard]] virtual bool CanDelete(const char* path) const = 0;
  /// Tells the running product to reload its extensions.
  virtual void Refresh() const = 0;
  /// Whether the running product has to restart to see the file come or go.
  [[nodiscard]] virtual bool RequiresRestart(const char* path, bool installing) const = 0;
  /// The same for a whole extension.
  [[nodiscard]] virtual bool RequiresRestart(CKestExtension* extension, bool installing) const = 0;
  /// The name on the Bazaar, the maker's on-line market.
  virtual void GetBazaarName(CString& name) const = 0;
  [[nodiscard]] virtual bool IsSupported() const = 0;             ///< whether extensions can be installed into it
  virtual void GetVersion(CKestVersionNumber& version) const = 0; ///< of the product found
  /// Whether an extension that declares this name and version may be installed here.
  [[nodiscard]] virtual bool Supports(const char* productName, const char* version) const = 0;
  /// What its versions have in common: "Tidemark", "Prism", ... Vantage is a Tidemark.
  virtual void GetProductFamily(CString& family) const = 0;
  [[nodiscard]] virtual bool IsInProductFamily(const CKestProduct& other) const; ///< whether both are of one family
  /// A number by which the system knows the product; 0 for none.
  [[nodiscard]] virtual int GetAppSignature() const { return 0; }
  /// The least file version of an executable that counts as it.
  [[nodiscard]] virtual double GetAppSignatureVersion() const = 0;
  /// Registry key by which it is found; left alone by products that are found otherwise.
  virtual void GetAppRegKey(CString& key) const;
  virtual void GetAppRegValName(CString& name) const; ///< value of that key that holds the folder
  /// Registry values that may hold its folder, in the order in which they are tried.
  virtual void GetAppRegPaths(CKestTypedList<CKestString>& paths) const;
  /// Changes a destination that the product places otherwise: its folder, never the file's name.
  virtual void MassageDestination(CString& destination) const;
  /// Brings a record that was written for an older product into the shape of this one.
  virtual void MassageExtension(CKestExtension* extension) const;
  /// Chooses among the names that the executable may have.
  virtual void DetermineExecutableFileName(const CString& installFolder);
  virtual void GetExecutableFileName(CString& name) const; ///< without folder
  /// Whether a folder lies in an install of it; `installFolder` is set to that when it does.
  [[nodiscard]] virtual bool IsFolderPartOfInstall(const CString& folder, CString& installFolder) const;
  virtual void GetDebugExecutableFileName(CString& name) const; ///< the same for the maker's own builds
  /// Names of folders that do not keep a folder from being removed.
  virtual void GetTransientFolders(CKestTypedList<CKestString>& names) const;
  /// Extensions of files that do not keep a folder from being removed.
  virtual void GetTransientFileExtensions(CKestTypedList<CKestString>& extensions) const;
  /// Whether it keeps a configuration for each user.
  [[nodiscard]] virtual bool SupportsMultiUser() const { return false; }
  /// Whether one user's configuration may be the shared one.
  [[nodiscard]] virtual bool SupportsMultiUserAdmin() const { return false; }
  /// Fills the map from the product's destination tokens (lower case) to folders.
  virtual void MapTokens(const CString& destination, const CString& userFolder, CKestTokenMap& tokens) const = 0;
  /// Applies or takes back the extension's configuration changes. 0, or -1: the caller undoes the journal. Steps are
  /// appended to `steps`; the host has been told.
  [[nodiscard]] virtual int ProcessConfigChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps,
                                                 CKestExtensionManagerUI* ui, const CKestExtension* extension,
                                                 OperationType operation) const;
  /// The same for its help changes.
  [[nodiscard]] virtual int ProcessHelpChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps,
                                               CKestExtensionManagerUI* ui, const CKestExtension* extension,
                                               OperationType operation) const;
  // Behind the operations whose order is fixed: a host may derive products of its own.
  /// The folder of the executable, as SetPaths wants it: the install folder, but for products that answer
  /// GetInstallFolder with a folder of the user.
  virtual void GetProgramFolder(CString& folder) const;

  /// What the last call of ProcessConfigChanges or ProcessHelpChanges found wrong, critical or not, in order; empty
  /// after a call without a problem. Good until the next call of either.
  [[nodiscard]] const std::vector<ConfigProblem>& GetConfigProblems() const { return m_configProblems; }

  /// The installed extensions, enabled and disabled: a new list with new records, both the caller's. Null when the
  /// product is not installed or has none.
  [[nodiscard]] CKestTypedList<CKestExtension*>* GetExtensions() const;
  /// Loads every description of one folder into the list (new records, the caller's); those that do not load are
  /// skipped.
  void AddExtensionsFrom(const CKestPath& folder, bool enabled, bool shared,
                         CKestTypedList<CKestExtension*>* list) const;
  /// Folder of the configuration that all share; false when there is none.
  [[nodiscard]] bool GetSharedBinPath(CKestPath& path) const;
  /// Folder of the current user's configuration; false when there is none.
  [[nodiscard]] bool GetCurrentUserBinPath(CKestPath& path) const;
  /// Folder of the configuration of the user named; false for an unknown one.
  [[nodiscard]] bool GetUserBinPathFor(const CKestString& userName, CKestPath& path) const;
  /// Folders of every user's configuration, in order; false when they cannot be told.
  [[nodiscard]] bool GetAllUserBinPaths(CKestTypedList<CKestString>& paths) const;

  // the same as values
  [[nodiscard]] CString GetName() const;                    ///< as shown to users
  [[nodiscard]] CString GetConfigurationFolderName() const; ///< as above
  [[nodiscard]] CString GetInstallFolder() const;           ///< as above
  [[nodiscard]] CString GetProgramFolder() const;           ///< as above
  [[nodiscard]] CString GetExtensionsFolder() const;        ///< as above
  [[nodiscard]] CString GetExecutableFileName() const;      ///< as above

  /// Forgets which files were backed up: an operation begins.
  static void ClearBackedUpFileList();
  /// The list as it stands, and putting it back: an operation inside another leaves it as it found it.
  [[nodiscard]] static CKestTypedList<CString> GetBackedUpFiles();
  static void SetBackedUpFiles(CKestTypedList<CString> files);
  /// Forgets the class-wide bin paths (another machine comes into force).
  static void ResetBinPaths();

protected:
  static void AddBackUpFile(const CString& path);                  ///< notes that the operation has backed the file up
  [[nodiscard]] static bool BackUpFileExists(const CString& path); ///< whether the operation has backed the file up

  mutable std::vector<ConfigProblem> m_configProblems; ///< of the last processing

private:
  void BuildBinPath(const CString& root, CKestPath& out) const;
  static CKestTypedList<CString> m_backedUpFiles;
  static CKestPath m_sharedBinPath;
  static CKestPath m_currentUserBinPath;
};

} // namespace kest
