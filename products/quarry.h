#pragma once

#include "products/product.h"

namespace kest {

/// The server-graphics product: found by its registry entry alone.
class KEST_API CKestQuarry : public CKestProduct {
public:
  void Initialize() override;
  /// The user name is not used.
  void SetPaths(const CString& installFolder, const CString& userName) override;
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
  void GetVersion(CKestVersionNumber& version) const override;
  [[nodiscard]] bool Supports(const char* productName, const char* version) const override;
  void GetProductFamily(CString& family) const override;
  [[nodiscard]] bool IsFolderPartOfInstall(const CString& folder, CString& installFolder) const override;
  void MapTokens(const CString& destination, const CString& userFolder, CKestTokenMap& tokens) const override;
  using CKestProduct::GetExtensionsFolder;
  using CKestProduct::GetInstallFolder;

private:
  CKestPath m_installFolder;
  CKestPath m_extensionsFolder;
  CKestVersionNumber m_version;
};

class KEST_API CKestQuarry2 : public CKestQuarry {
public:
  void GetName(CString& name) const override;
  [[nodiscard]] bool IsSupported() const override;
  [[nodiscard]] int GetAppSignature() const override;
  [[nodiscard]] double GetAppSignatureVersion() const override;
  void GetAppRegKey(CString& key) const override;
  void GetAppRegValName(CString& name) const override;
  using CKestProduct::GetName;
};

} // namespace kest
