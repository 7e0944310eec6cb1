#pragma once

#include "config/config_change.h"
#include "config/help_change.h"
#include "products/shipped_product.h"

namespace kest {

class ConfigRun;

/// What web editors have beside the rest. One row a class, in tidemark.cpp and vantage.cpp.
struct WebEditorConstants {
  ProductConstants product;
  const char* debugExecutable;                ///< empty when there is none
  std::span<const char* const> registryPaths; ///< tried in order: key, backslash, value name
  bool multiUser;                             ///< keeps its configuration per user where the machine has several
};

/// The web-page editors and their application-server edition.
class KEST_API CKestTidemark : public CKestShippedProduct {
public:
  void Initialize() override;
  void SetPaths(const CString& installFolder, const CString& userName) override;
  void GetConfigurationFolderName(CString& name) const override;
  void GetSharedExtensionsFolder(CString& folder) const override;
  [[nodiscard]] bool BelongsTo(const char* path) const override;
  void Refresh() const override;
  using CKestShippedProduct::RequiresRestart;
  [[nodiscard]] bool RequiresRestart(CKestExtension* extension, bool installing) const override;
  [[nodiscard]] bool Supports(const char* productName, const char* version) const override;
  void GetAppRegPaths(CKestTypedList<CKestString>& paths) const override;
  void GetDebugExecutableFileName(CString& name) const override;
  void GetTransientFolders(CKestTypedList<CKestString>& names) const override;
  void GetTransientFileExtensions(CKestTypedList<CKestString>& extensions) const override;
  [[nodiscard]] bool SupportsMultiUser() const override;
  [[nodiscard]] bool SupportsMultiUserAdmin() const override;
  void MapTokens(const CString& destination, const CString& userFolder, CKestTokenMap& tokens) const override;
  [[nodiscard]] int ProcessConfigChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps,
                                         CKestExtensionManagerUI* ui, const CKestExtension* extension,
                                         OperationType operation) const override;
  [[nodiscard]] int ProcessHelpChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps, CKestExtensionManagerUI* ui,
                                       const CKestExtension* extension, OperationType operation) const override;
  using CKestProduct::GetConfigurationFolderName;

protected:
  /// The row must outlive the product.
  explicit CKestTidemark(const WebEditorConstants& constants);

  /// Applies or takes back one set. True: the operation must stop. Messages are added to `errorText`.
  [[nodiscard]] bool ProcessConfigChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps,
                                          CKestExtensionManagerUI* ui, const CKestConfigChanges* changes,
                                          OperationType operation, CString& errorText, int& criticalCount,
                                          int& nonCriticalCount) const;
  [[nodiscard]] bool ProcessHelpChanges(CKestTypedVector<CKestExtensionInstallStep*>* steps,
                                        CKestExtensionManagerUI* ui, const CKestHelpChanges* changes,
                                        OperationType operation, CString& errorText, int& criticalCount,
                                        int& nonCriticalCount) const;
  /// Adds the message of a code to the text, once, on a line of its own.
  void AddConfigError(CString& errorText, CKestConfigChange::ErrorCode code, const char* detail) const;
  void AddHelpError(CString& errorText, CKestHelpChange::ErrorCode code, const char* detail) const;

private:
  friend class ConfigRun;

  [[nodiscard]] bool FindEditor(FoundProgram& found);
  [[nodiscard]] bool FindInRegistry(FoundProgram& found);
  void SetUserFolders(const CString& userName);

  const WebEditorConstants& m_constants;
  CKestPath m_userFolder; ///< holds this user's configuration folder; else the install folder
  CKestPath m_configurationFolder;
  CKestPath m_sharedConfigurationFolder; ///< in the install folder
  CKestPath m_helpFolder;
  CKestPath m_sharedExtensionsFolder;
  bool m_userConfigurationSelected = false; ///< SetPaths named a user on a multi-user system
};

class KEST_API CKestTidemark3 : public CKestTidemark {
public:
  CKestTidemark3();
  void MapTokens(const CString& destination, const CString& userFolder, CKestTokenMap& tokens) const override;
};

class KEST_API CKestTidemark4 : public CKestTidemark {
public:
  CKestTidemark4();
  void MapTokens(const CString& destination, const CString& userFolder, CKestTokenMap& tokens) const override;
};

/// Keeps its configuration per user where the machine has several.
class KEST_API CKestTidemark6 : public CKestTidemark {
public:
  CKestTidemark6();
  /// Rewrites an extension made for versions 3 and 4, or for the application-server edition, in place: destinations,
  /// server models, insert bar. Run on its own result it changes nothing more.
  void MassageExtension(CKestExtension* extension) const override;
};

} // namespace kest
