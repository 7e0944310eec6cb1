#pragma once

#include "products/shipped_product.h"

namespace kest {

/// The server-graphics product: found by its registry entry alone.
class KEST_API CKestQuarry : public CKestShippedProduct {
public:
  /// The user name is not used.
  void SetPaths(const CString& installFolder, const CString& userName) override;
  void Initialize() override;
  [[nodiscard]] bool IsRunning() const override; ///< never
  [[nodiscard]] bool RequiresRestart(const char* path, bool installing) const override;
  [[nodiscard]] bool RequiresRestart(CKestExtension* extension, bool installing) const override;
  [[nodiscard]] bool IsFolderPartOfInstall(const CString& folder, CString& installFolder) const override;

protected:
  using CKestShippedProduct::CKestShippedProduct;
};

class KEST_API CKestQuarry2 : public CKestQuarry {
public:
  CKestQuarry2();
};

} // namespace kest
