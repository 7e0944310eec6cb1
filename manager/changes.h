#pragma once

#include "manager/manager_state.h"

namespace kest {

/// Lets the product apply or take back the extension's configuration changes, then its help changes, through the
/// journal. False when one fails: the user has been told, and the report says what.
[[nodiscard]] bool ProcessChanges(CKestExtensionManager::State& state, const CKestProduct& product,
                                  const CKestExtension& extension, CKestProduct::OperationType operation);

/// The files that they are about, whether there or not.
[[nodiscard]] std::vector<CString> ListConfigurationFiles(const CKestProduct& product, const CKestExtension& extension);

/// Asked before an operation changes anything: false, and told, when one of these files may not be replaced. What a
/// program holds is waited for when its turn comes, and read-only marks are taken off.
[[nodiscard]] bool MayChangeConfiguration(CKestExtensionManager::State& state, const CKestProduct& product,
                                          const CKestExtension& extension);

} // namespace kest
