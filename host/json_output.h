#pragma once

#include "host/exit_code.h"
#include "platform/text/text.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>
#include <vector>

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

/// Lists of a document that may be too long to be held as JSON: their elements are made when it is printed. What makes
/// them owns what it needs.
class LongLists {
public:
  using Take = std::function<void(const Json&)>;
  using Source = std::function<void(const Take&)>;

  /// What stands for the list in the document.
  [[nodiscard]] Json Add(Source source);
  /// The document with its lists and its line end, in pieces, given to `print`.
  void Print(const Json& document, const std::function<void(std::string_view)>& print) const;

private:
  std::vector<Source> m_sources;
};

} // namespace kest::host
