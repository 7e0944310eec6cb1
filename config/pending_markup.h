#pragma once

#include "platform/xml/xml_object.h"

namespace kest {

/// Collects markup that the parser reports in pieces (document type, instructions). Returns the object when a piece
/// completes one, else null. White space and the declaration that the product's own writer makes are dropped.
[[nodiscard]] std::unique_ptr<CKestXmlMisc> CollectMarkup(CString& pending, std::string_view piece);

} // namespace kest
