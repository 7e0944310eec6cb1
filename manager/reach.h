#pragma once

#include "journal/record_judge.h"
#include "products/product.h"

#include <memory>
#include <vector>

namespace kest {

/// The places that operations on these products change as a rule.
[[nodiscard]] Reach FindReach(const std::vector<std::unique_ptr<CKestProduct>>& products);
/// The same for the machine in force before its products are known.
[[nodiscard]] Reach FindReachOfMachine();

} // namespace kest
