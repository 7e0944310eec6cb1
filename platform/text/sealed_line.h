#pragma once

#include "platform/text/export.h"
#include "platform/text/text.h"

#include <vector>

namespace kest {

/// Lines of files that only we write: fields between tabs, and a check sum at the end.
namespace sealed_line {

/// Control bytes and "%" as "%XX", so that a text holds neither a tab nor a line end.
[[nodiscard]] KEST_API CString Escape(std::string_view value);
[[nodiscard]] KEST_API bool Unescape(std::string_view text, CString& value);
/// `body` with its check sum and the line end. Any change of one byte is noticed by Unseal.
[[nodiscard]] KEST_API CString Seal(std::string_view body);
/// Writes a line of named fields to the end of a text: "kind TAB name=value TAB ...", values escaped, sealed.
class KEST_API Writer {
public:
  /// `text` must outlive it.
  Writer(CString& text, std::string_view kind);
  void Add(std::string_view name, std::string_view value);
  void Finish(); ///< the check sum and the line end; once, after the last field

private:
  CString& m_text;
  std::size_t m_begin;
};
/// `line` without its line end. False when the check sum does not fit.
[[nodiscard]] KEST_API bool Unseal(std::string_view line, std::string_view& body);
/// Splits at tabs.
[[nodiscard]] KEST_API std::vector<std::string_view> SplitFields(std::string_view body);
/// Digits alone, at most 9 of them.
[[nodiscard]] KEST_API bool ParseNumber(std::string_view text, long& value);

} // namespace sealed_line

} // namespace kest
