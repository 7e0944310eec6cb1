#pragma once

namespace kest {

class CKestExtension;

/// Rewrites an extension that was made for older web editors in place, for version 6: reference content, folders of
/// server models, insert-bar buttons for its object pages, server models of its change sets. Depends on the record
/// alone; run on its own result it changes nothing more.
void ConvertForVersion6(CKestExtension& extension);

} // namespace kest
