#pragma once

#include "menus/menus_file.h"

namespace kest {

/// Text of a payload comment as it stands, and is looked for, in a menu-format file.
[[nodiscard]] CString CommentText(const CKestXmlComment& payload);
/// A copy of a payload comment in the form of a menu-format file.
[[nodiscard]] std::unique_ptr<CKestXmlObject> CopyComment(const CKestXmlComment& payload);
/// A name as a menu-format file has it. A menu marks its access key with "_": an "&" that does the same becomes one;
/// "&&" and references stay.
[[nodiscard]] CString MenuName(std::string_view name);
/// What a user reads for a payload object: its kind, and its name or id in quotes.
[[nodiscard]] CString PayloadWords(const CKestXmlObject& payload);
/// Attribute name="value" after a blank.
void BuildAttribute(std::string_view name, std::string_view value, CString& text);

} // namespace kest
