#pragma once

#include "products/shipped_product.h"

namespace kest {

/// The animation tool.
class KEST_API CKestMarlin : public CKestShippedProduct {
public:
  /// False while the product runs.
  [[nodiscard]] bool CanDelete(const char* path) const override;

protected:
  using CKestShippedProduct::CKestShippedProduct;
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

private:
  CKestPath m_programFolder;
};

} // namespace kest
