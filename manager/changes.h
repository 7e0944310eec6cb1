#pragma once

#include "manager/manager_state.h"

namespace kest {

/// Lets the product apply or take back the extension's configuration changes, then its help changes, through the
/// journal. False when one fails: the user has been told, and the report says what.
[[nodiscard]] bool ProcessChanges(CKestExtensionManager::State& state, const CKestProduct& product,
                                  const CKestExtension& extension, CKestProduct::OperationType operation);

} // namespace kest
