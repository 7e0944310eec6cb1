#pragma once

#include "products/shipped_product.h"

namespace kest {

/// The server-graphics product: found by its registry entry alone.
class KEST_API CKestQuarry : public CKestShippedProduct {
public:
  void Initialize() override;
  [[nodiscard]] bool IsRunning() const override; ///< never
  [[nodiscard]] bool IsFolderPartOfInstall(const CString& folder, CString& installFolder) const override;

protected:
  using CKestShippedProduct::CKestShippedProduct;
};

class KEST_API CKestQuarry2 : public CKestQuarry {
public:
  CKestQuarry2();
};

} // namespace kest
