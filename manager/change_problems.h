#pragma once

#include "manager/operation_report.h"
#include "products/product.h"

namespace kest {

/// What a product found wrong with a change, in words for the report: the file by its place in the configuration, what
/// it lacks, the change, and what to do. The kind of failure comes from the machine where it had a part in it.
[[nodiscard]] OperationReport::Problem DescribeChangeProblem(const ConfigProblem& problem, const CKestProduct& product,
                                                             const CKestExtension& extension);

} // namespace kest
