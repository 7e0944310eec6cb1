#include "menus/shortcut_model.h"

#include "menus/menus_writer.h"

namespace kest {
namespace {

using Field = MenusNode::Field;

constexpr Field kListFields[] = {Field::kId, Field::kPlatform, Field::kApp};
constexpr Field kShortcutFields[] = {Field::kKey,      Field::kFile,    Field::kArguments, Field::kId,
                                     Field::kPlatform, Field::kCommand, Field::kApp,       Field::kName,
                                     Field::kEnabled,  Field::kChecked};

} // namespace

CKestExtensionShortcut::CKestExtensionShortcut(const CKestExtensionShortcut* other) : CKestExtensionShortcut() {
  Merge(other);
}

void CKestExtensionShortcut::Merge(const CKestExtensionShortcut* other) {
  if (!other || other == this) {
    return;
  }
  MergeFields(*other, kShortcutFields);
  m_flag = other->m_flag;
  m_dynamic = other->m_dynamic;
}

void CKestExtensionShortcut::BuildXml(int level, CString& text) const { MenusWriter(text).Write(*this, level); }

CKestExtensionShortcutList::CKestExtensionShortcutList(const CKestExtensionShortcutList* other)
    : CKestExtensionShortcutList() {
  Merge(other);
}

void CKestExtensionShortcutList::Merge(const CKestExtensionShortcutList* other) {
  if (other && other != this) {
    MergeFields(*other, kListFields);
  }
}

CKestExtensionShortcut* CKestExtensionShortcutList::FindShortcut(std::string_view id) const {
  if (id.empty()) {
    return nullptr;
  }
  for (const auto& child : GetChildren()) {
    auto* shortcut = dynamic_cast<CKestExtensionShortcut*>(child.get());
    if (shortcut && text::EqualNoCase(shortcut->GetID(), id)) {
      return shortcut;
    }
  }
  return nullptr;
}

void CKestExtensionShortcutList::BuildXml(int level, CString& text) const { MenusWriter(text).Write(*this, level); }

} // namespace kest
