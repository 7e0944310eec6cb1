#include "platform/text/windows_path.h"

#include "platform/text/code_page.h"

namespace kest {
namespace {

constexpr std::size_t kLongestPath = 4096;

bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

} // namespace

bool IsComponentAllowed(std::string_view component, CString& reason) {
  if (component.empty() || component == "." || component == "..") {
    reason = "a component is \".\" or \"..\"";
    return false;
  }
  for (const char c : component) {
    if (static_cast<unsigned char>(c) < 0x20 || c == ':' || c == '/' || c == 0x7F) {
      reason = "a name holds a colon, a slash or a control byte";
      return false;
    }
  }
  return true;
}

bool ParseWindowsPath(std::string_view text, int codePage, WindowsPath& path, CString& reason) {
  if (text.size() < 3 || !IsLetter(text[0]) || text[1] != ':' || text[2] != '\\') {
    reason = text.empty() ? "the path is empty" : "the path is not absolute";
    return false;
  }
  if (text.size() > kLongestPath) {
    reason = "the path is too long";
    return false;
  }
  path.drive = static_cast<char>(text[0] >= 'a' ? text[0] - ('a' - 'A') : text[0]);
  path.parts.clear();
  std::size_t start = 3;
  for (std::size_t i = 3; i <= text.size(); ++i) {
    const bool isAscii = i == text.size() || static_cast<unsigned char>(text[i]) < 0x80;
    if (!isAscii && IsLeadByteOf(codePage, text[i]) && i + 1 < text.size()) {
      ++i;
      continue;
    }
    if (i < text.size() && text[i] != '\\') {
      continue;
    }
    if (i > start) {
      const std::string_view part = text.substr(start, i - start);
      if (!IsComponentAllowed(part, reason)) {
        return false;
      }
      path.parts.push_back(part);
    }
    path.endsInBackslash = i == start;
    start = i + 1;
  }
  return true;
}

} // namespace kest
