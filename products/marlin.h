#pragma once

#include "products/product.h"

namespace kest {

struct FoundProgram;

/// What tells one animation tool from another. One row a class, in marlin.cpp.
struct AnimationToolConstants {
  const char* name;
  double signatureVersion;
  int signature; ///< four characters
  const char* registryKey;
};

/// The animation tool.
class KEST_API CKestMarlin : public CKestProduct {
public:
  void Initialize() override;
  /// The user name is not used.
  void SetPaths(const CString& installFolder, const CString& userName) override;
  void GetName(CString& name) const override;
  void GetExtensionsFolderFor(const CKestPath& binPath, CKestPath& out) const override;
  [[nodiscard]] bool IsInstalled() const override;
  [[nodiscard]] bool IsRunning() const override;
  void GetInstallFolder(CString& folder) const override;
  void GetExtensionsFolder(CString& folder) const override;
  [[nodiscard]] bool BelongsTo(const char* path) const override;
  /// False while the product runs.
  [[nodiscard]] bool CanDelete(const char* path) const override;
  void Refresh() const override;
  [[nodiscard]] bool RequiresRestart(const char* path, bool installing) const override;
  [[nodiscard]] bool RequiresRestart(CKestExtension* extension, bool installing) const override;
  void GetBazaarName(CString& name) const override;
  [[nodiscard]] bool IsSupported() const override;
  void GetVersion(CKestVersionNumber& version) const override;
  [[nodiscard]] bool Supports(const char* productName, const char* version) const override;
  void GetProductFamily(CString& family) const override;
  [[nodiscard]] int GetAppSignature() const override;
  [[nodiscard]] double GetAppSignatureVersion() const override;
  void GetAppRegKey(CString& key) const override;
  void GetAppRegValName(CString& name) const override;
  void GetExecutableFileName(CString& name) const override;
  void MapTokens(const CString& destination, const CString& userFolder, CKestTokenMap& tokens) const override;
  using CKestProduct::GetExecutableFileName;
  using CKestProduct::GetExtensionsFolder;
  using CKestProduct::GetInstallFolder;
  using CKestProduct::GetName;

protected:
  /// The row must outlive the product.
  explicit CKestMarlin(const AnimationToolConstants& constants);

  CString m_name;
  CKestPath m_installFolder;
  CKestPath m_programFolder;
  CKestPath m_configurationFolder;
  CKestPath m_extensionsFolder;
  CKestVersionNumber m_version;

private:
  const AnimationToolConstants& m_constants;
};

class KEST_API CKestMarlin5 : public CKestMarlin {
public:
  CKestMarlin5();
};

/// Keeps its configuration with the user, and calls that folder its install folder.
class KEST_API CKestMarlin6 : public CKestMarlin {
public:
  enum ConfigPathType : int { kProgram = 0, kUser = 1, kFirstRun = 2 };

  CKestMarlin6();
  /// Creates the user's configuration folders when they are missing.
  void SetPaths(const CString& installFolder, const CString& userName) override;
  void GetProgramFolder(CString& folder) const override;
  [[nodiscard]] bool SupportsMultiUser() const override;
  void MassageDestination(CString& destination) const override;

  /// The folder that holds the configuration of that kind, with trailing backslash. False when there is none; `out` is
  /// left alone when the machine cannot tell the user's folder.
  [[nodiscard]] virtual bool GetCurrentUserPath(CString& out, ConfigPathType type) const;
  /// The configuration folder of that kind, then the folder that the host's text `resourceId` names.
  virtual void GetConfigurationPath(CString& out, unsigned int resourceId, bool create, ConfigPathType type) const;
  /// The configuration folder of that kind, with trailing backslash; empty when the machine cannot tell it. Made when
  /// `create` is set. For kUser the folders above it are made in any case.
  virtual void GetConfigurationPath(CString& out, bool create, ConfigPathType type) const;
  using CKestProduct::GetProgramFolder;
};

} // namespace kest
