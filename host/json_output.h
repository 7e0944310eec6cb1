#pragma once

#include "host/exit_code.h"
#include "platform/text/text.h"

#include <nlohmann/json.hpp>

#include <string>

namespace kest {
class CKestExtension;
class CKestProduct;
class CKestExtensionManager;
class HostedMachine;
} // namespace kest

namespace kest::host {

/// Keys stay in the order in which they were put in.
using Json = nlohmann::ordered_json;

/// A document of a schema: {"schema": "kest.<name>/1", "ok": ok, ...}.
[[nodiscard]] Json MakeDocument(const char* name, bool ok);
/// {"windows": ..., "host": ...}; null for an empty path.
[[nodiscard]] Json PathJson(HostedMachine* machine, const CString& windowsPath);
/// The number, keyword and label of an extension's type.
[[nodiscard]] Json TypeJson(const CKestExtensionManager& manager, const CKestExtension& extension);
/// What `kest list` says of one extension.
[[nodiscard]] Json ExtensionJson(const CKestExtensionManager& manager, HostedMachine* machine,
                                 const CKestProduct* product, const CKestExtension& extension);
/// The document as it is printed, with its line end.
[[nodiscard]] std::string Printed(const Json& document);

} // namespace kest::host
