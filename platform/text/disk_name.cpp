#include "platform/text/disk_name.h"

#include "platform/text/code_page.h"
#include "platform/text/utf8.h"

#include <algorithm>

namespace kest {

namespace {

constexpr int kUtf8 = 65001;

} // namespace

bool IsPlainName(std::string_view name) {
  return std::none_of(name.begin(), name.end(), [](char c) { return (static_cast<unsigned char>(c) & 0x80U) != 0; });
}

CString ToDiskName(std::string_view name, int codePage) {
  return IsPlainName(name) || text::IsUtf8(name) ? CString(name) : FromUtf16(ToUtf16(name, codePage), kUtf8);
}

CString FromDiskName(std::string_view name, int codePage) {
  if (IsPlainName(name)) {
    return CString(name);
  }
  CString bytes = FromUtf16(ToUtf16(name, kUtf8), codePage);
  const bool isOther = text::IsUtf8(bytes) || (text::IsUtf8(name) && ToDiskName(bytes, codePage) != name);
  return isOther ? CString(name) : bytes;
}

} // namespace kest
