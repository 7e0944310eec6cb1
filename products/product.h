#pragma once

#include "platform/containers.h"
#include "platform/machine.h"
#include "platform/messages.h"
#include "platform/path.h"
#include "platform/values.h"

namespace kest {

class CKestExtension;
class CKestExtensionInstallStep;
class CKestExtensionManagerUI;

/// One thing that went wrong while configuration or help changes were applied or taken back.
struct ConfigProblem {
  int code = 0;          ///< CKestConfigChange::ErrorCode, or CKestHelpChange::ErrorCode when `help` is set
  bool help = false;     ///< it is about a help file
  bool critical = false; ///< the operation was stopped by it
  bool declined = false; ///< the user gave up waiting for a file in use
  CString path;          ///< the file that was to be changed; empty when none was reached
  CString change;        ///< the change in words, a line for each object; empty when about the file as a whole
  Message message = Message::kConfigurationFailed; ///< what the user was told, with its arguments
  std::vector<text::Argument> arguments;
  MachineError error; ///< what the machine said; kNone when it had no part in it
};

/// One host product in one version: where it is, what runs, how destinations map to its folders, and how configuration
/// changes are applied to it. The manager owns its products; everyone else borrows them.
class KEST_API CKestProduct {
public:
  enum OperationType : int { Install = 0, Uninstall = 1, Enable = 2, Disable = 3 };

  virtual ~CKestProduct() = default;

  /// Finds the product (running process, then registry) and sets its folders; not found: IsInstalled stays false.
  virtual void Initialize() {}
  virtual void Terminate() {}
  /// Sets the install folder and derives every other folder. A user name selects that user's configuration on a
  /// multi-user system; an empty one the default selection.
  virtual void SetPaths(const CString& installFolder, const CString& userName);
  virtual void GetName(CString& name) const = 0;
  virtual void GetConfigurationFolderName(CString& name) const;
  /// The extensions folder below a bin path, with a trailing backslash.
  virtual void GetExtensionsFolderFor(const CKestPath& binPath, CKestPath& out) const = 0;
  [[nodiscard]] virtual bool IsInstalled() const = 0;
  [[nodiscard]] virtual bool IsRunning() const = 0;
  virtual void GetInstallFolder(CString& folder) const = 0;
  /// The folder of the executable, as SetPaths wants it: the install folder, but for products that answer
  /// GetInstallFolder with a folder of the user.
  virtual void GetProgramFolder(CString& folder) const;
  virtual void GetExtensionsFolder(CString& folder) const = 0;
  virtual void GetSharedExtensionsFolder(CString& folder) const;
  [[nodiscard]] virtual bool BelongsTo(const char* path) const = 0;
  [[nodiscard]] virtual bool CanDelete(const char* path) const = 0;
  /// Tells the running product to reload its extensions.
  virtual void Refresh() const = 0;
  [[nodiscard]] virtual bool RequiresRestart(const char* path, bool installing) const = 0;
  [[nodiscard]] virtual bool RequiresRestart(CKestExtension* extension, bool installing) const = 0;
  /// The name on the Bazaar, the maker's on-line market.
  virtual void GetBazaarName(CString& name) const = 0;
  [[nodiscard]] virtual bool IsSupported() const = 0;
  virtual void GetVersion(CKestVersionNumber& version) const = 0;
  /// Whether an extension that declares this name and version may be installed here.
  [[nodiscard]] virtual bool Supports(const char* productName, const char* version) const = 0;
  virtual void GetProductFamily(CString& family) const = 0;
  [[nodiscard]] virtual bool IsInProductFamily(const CKestProduct& other) const;
  [[nodiscard]] virtual int GetAppSignature() const { return 0; }
  [[nodiscard]] virtual double GetAppSignatureVersion() const = 0;
  virtual void GetAppRegKey(CString& key) const;
  virtual void GetAppRegValName(CString& name) const;
  virtual void GetAppRegPaths(CKestTypedList<CKestString>& paths) const;
  virtual void MassageDestination(CString& destination) const;
  virtual void MassageExtension(CKestExtension* extension) const;
  virtual void DetermineExecutableFileName(const CString& installFolder);
  virtual void GetExecutableFileName(CString& name) const;
  [[nodiscard]] virtual bool IsFolderPartOfInstall(const CString& folder, CString& installFolder) const;
  virtual void GetDebugExecutableFileName(CString& name) const;
  virtual void GetTransientFolders(CKestTypedList<CKestString>& names) const;
  virtual void GetTransientFileExtensions(CKestTypedList<CKestString>& extensions) const;
  [[nodiscard]] virtual bool SupportsMultiUser() const { return false; }
  [[nodiscard]] virtual bool SupportsMultiUserAdmin() const { return false; }
  /// Fills the map from the product's destination tokens (lower case) to folders.
  virtual void MapTokens(const CString& destination, const CString& userFolder, CKestTokenMap& tokens) const = 0;
  /// Applies or takes back the extension's configuration changes. 0, or -1: the caller undoes the journal. Steps are
  /// appended to `steps`; the host has been told.
  [[nodiscard]] virtual int ProcessConfigChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps,
                                                 CKestExtensionManagerUI* ui, const CKestExtension* extension,
                                                 OperationType operation) const;
  [[nodiscard]] virtual int ProcessHelpChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps,
                                               CKestExtensionManagerUI* ui, const CKestExtension* extension,
                                               OperationType operation) const;
  /// What the last call of the two found wrong, critical or not, in order; empty after a call without a problem. Good
  /// until the next call of either.
  [[nodiscard]] const std::vector<ConfigProblem>& GetConfigProblems() const { return m_configProblems; }

  /// The installed extensions, enabled and disabled: a new list with new records, both the caller's. Null when the
  /// product is not installed or has none.
  [[nodiscard]] CKestTypedList<CKestExtension*>* GetExtensions() const;
  /// Loads every description of one folder into the list (new records, the caller's); those that do not load are
  /// skipped.
  void AddExtensionsFrom(const CKestPath& folder, bool enabled, bool shared,
                         CKestTypedList<CKestExtension*>* list) const;
  [[nodiscard]] bool GetSharedBinPath(CKestPath& path) const;
  [[nodiscard]] bool GetCurrentUserBinPath(CKestPath& path) const;
  [[nodiscard]] bool GetUserBinPathFor(const CKestString& userName, CKestPath& path) const;
  [[nodiscard]] bool GetAllUserBinPaths(CKestTypedList<CKestString>& paths) const;

  // the same as values
  [[nodiscard]] CString GetName() const;
  [[nodiscard]] CString GetConfigurationFolderName() const;
  [[nodiscard]] CString GetInstallFolder() const;
  [[nodiscard]] CString GetProgramFolder() const;
  [[nodiscard]] CString GetExtensionsFolder() const;
  [[nodiscard]] CString GetExecutableFileName() const;

  /// Forgets which files were backed up: an operation begins.
  static void ClearBackedUpFileList();
  /// The list as it stands, and putting it back: an operation inside another leaves it as it found it.
  [[nodiscard]] static CKestTypedList<CString> GetBackedUpFiles();
  static void SetBackedUpFiles(CKestTypedList<CString> files);
  /// Forgets the class-wide bin paths (another machine comes into force).
  static void ResetBinPaths();

protected:
  static void AddBackUpFile(const CString& path);
  [[nodiscard]] static bool BackUpFileExists(const CString& path);

  mutable std::vector<ConfigProblem> m_configProblems;

private:
  void BuildBinPath(const CString& root, CKestPath& out) const;
  static CKestTypedList<CString> m_backedUpFiles;
  static CKestPath m_sharedBinPath;
  static CKestPath m_currentUserBinPath;
};

} // namespace kest
