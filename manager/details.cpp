#include "description/extension.h"
#include "manager/manager_state.h"

namespace kest {

void CKestExtensionManager::GetExtensionDetail(const CKestExtension* extension, CString& out) const {
  out.clear();
  if (extension == nullptr) {
    return;
  }
  out = extension->GetDesc();
  if (!out.empty() && !extension->GetUIAccess().empty()) {
    out += "\r\n\r\n";
  }
  out += extension->GetUIAccess();
  text::ReplaceAll(out, "<BR>", "\r\n");
  text::ReplaceAll(out, "<br>", "\r\n");
  text::ReplaceAll(out, "&nbsp;", " ");
  text::ReplaceAll(out, "&amp;nbsp;", " ");
}

} // namespace kest
