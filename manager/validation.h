#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"

#include <functional>
#include <string_view>
#include <vector>

namespace kest {

class CKestExtension;
class CKestExtensionManager;
class CKestProduct;

/// Something in a description that will not do what its author meant.
struct ValidationFinding {
  /// An error: an install fails, or something is left out of it for certain.
  enum class Severity { kError, kWarning };
  Severity severity = Severity::kError; ///< how much is lost
  int line = 0;                         ///< of the description, 1-based; 0: about no line
  const char* rule;                     ///< "unknown-attribute"; the same from version to version, never freed
  CString text;                         ///< one sentence without its full stop, names as the description writes them
};

/// What is to be checked.
struct ValidationSubject {
  std::string_view description; ///< its bytes
  /// Whether the file that an entry names as its source is there; null: nobody looks. It is named as in a package: with
  /// backslashes, without folders ".".
  std::function<bool(const CString& source)> hasFile;
  /// A product that was found, to be asked whether it takes the extension. Borrowed; null: no product is asked.
  const CKestProduct* product = nullptr;
  /// The manager that found the product, for what only the machine can tell: what is there already and whose it is.
  /// Borrowed; null: only the product itself is asked.
  const CKestExtensionManager* manager = nullptr;
  std::string_view fileName{}; ///< of the description; empty when not known
};

/// What is wrong with a description, in the order of its lines; empty when all is in order. Loads it into `record` and
/// gives the code of the load (CKestExtension::kLoaded when it loads, and then everything is looked at; else the one
/// finding is why not). Changes nothing. A description with thousands of mistakes gives the first thousand.
[[nodiscard]] KEST_API std::vector<ValidationFinding> ValidateDescription(const ValidationSubject& subject,
                                                                          CKestExtension& record, int& loadCode);

/// What the code of a load that failed means, as the end of a sentence.
[[nodiscard]] KEST_API CString DescribeLoadCode(int loadCode);

} // namespace kest
