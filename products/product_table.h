#pragma once

#include "products/product.h"

#include <memory>
#include <span>

namespace kest {

struct ProductMaker {
  const char* name;
  std::unique_ptr<CKestProduct> (*make)();
};

/// The products that can be made by name, in the order in which names are tried; one class may stand under two names.
[[nodiscard]] KEST_API std::span<const ProductMaker> GetNamedProducts();
/// The products that a manager serves, in its order.
[[nodiscard]] KEST_API std::span<const ProductMaker> GetServedProducts();

/// A product by its name (any letter case) that has looked for itself on the machine; a folder that is not empty
/// replaces what it found. Null for a name that is not in the table.
[[nodiscard]] KEST_API std::unique_ptr<CKestProduct> CreateProduct(const CString& name, const CString& installFolder);
/// One of each served product, not initialized.
[[nodiscard]] KEST_API std::vector<std::unique_ptr<CKestProduct>> MakeServedProducts();

} // namespace kest
