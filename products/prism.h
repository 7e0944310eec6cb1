#pragma once

#include "products/product.h"

#include <span>

namespace kest {

/// What tells one graphics editor from another. One row a class, in prism.cpp.
struct GraphicsEditorConstants {
  const char* name;
  double signatureVersion;
  int signature; ///< four characters
  const char* registryKey;
  std::span<const char* const> executables; ///< the first that exists; the first one when none does
  const char* configurationFolder;
  const char* foreignConfigurationFolder; ///< what other versions call it
  bool supported;
};

/// The graphics editor.
class KEST_API CKestPrism : public CKestProduct {
public:
  void Initialize() override;
  /// The user name is not used.
  void SetPaths(const CString& installFolder, const CString& userName) override;
  void GetName(CString& name) const override;
  void GetConfigurationFolderName(CString& name) const override;
  void GetExtensionsFolderFor(const CKestPath& binPath, CKestPath& out) const override;
  [[nodiscard]] bool IsInstalled() const override;
  [[nodiscard]] bool IsRunning() const override;
  void GetInstallFolder(CString& folder) const override;
  void GetExtensionsFolder(CString& folder) const override;
  [[nodiscard]] bool BelongsTo(const char* path) const override;
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
  void MassageDestination(CString& destination) const override;
  void DetermineExecutableFileName(const CString& installFolder) override;
  void GetExecutableFileName(CString& name) const override;
  void MapTokens(const CString& destination, const CString& userFolder, CKestTokenMap& tokens) const override;
  virtual void SetVersion(CKestVersionNumber& version);
  using CKestProduct::GetConfigurationFolderName;
  using CKestProduct::GetExecutableFileName;
  using CKestProduct::GetExtensionsFolder;
  using CKestProduct::GetInstallFolder;
  using CKestProduct::GetName;

protected:
  /// The row must outlive the product.
  explicit CKestPrism(const GraphicsEditorConstants& constants);

private:
  const GraphicsEditorConstants& m_constants;
  CString m_name;
  CKestPath m_installFolder;
  CKestPath m_configurationFolder;
  CKestPath m_extensionsFolder;
  CKestVersionNumber m_version;
  CString m_executable;
};

class KEST_API CKestPrism3 : public CKestPrism {
public:
  CKestPrism3();
};

class KEST_API CKestPrism4 : public CKestPrism {
public:
  CKestPrism4();
};

class KEST_API CKestPrism6 : public CKestPrism {
public:
  CKestPrism6();
};

} // namespace kest
