#include "platform/text/path_component.h"

#include <algorithm>
#include <array>

namespace kest {

namespace {

// What is wrong with a byte of a name.
constexpr const char* JudgeByte(char c) {
  if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
    return "has a control byte";
  }
  switch (c) {
  case ':':
    return "has a colon";
  case '"':
    return "has a quote";
  case '*':
  case '?':
  case '<':
  case '>':
  case '|':
    return "has a character that no file name may have";
  default:
    return nullptr;
  }
}

// Bytes that are neither wrong nor the first half of a character.
constexpr auto kPlain = [] {
  std::array<bool, 256> plain{};
  for (std::size_t byte = 0x20; byte < 0x7F; ++byte) {
    plain[byte] = JudgeByte(static_cast<char>(byte)) == nullptr;
  }
  return plain;
}();

// A digit, or one of the raised ones that a PC takes for it: in UTF-8, or in a code page of single bytes.
bool IsPortNumber(std::string_view text) {
  constexpr std::string_view kRaised = "\xB9\xB2\xB3";
  if (text.size() == 2) {
    return text[0] == '\xC2' && kRaised.find(text[1]) != std::string_view::npos;
  }
  constexpr int kFirstOfWindows = 1250;
  return text.size() == 1 && ((text[0] >= '0' && text[0] <= '9') || (text::GetCodePage() >= kFirstOfWindows &&
                                                                     kRaised.find(text[0]) != std::string_view::npos));
}

bool IsDeviceName(std::string_view component) {
  if (std::string_view("cpanlCPANL").find(component[0]) == std::string_view::npos) {
    return false; // none of them begins so
  }
  std::string_view stem = component.substr(0, component.find('.'));
  stem = stem.substr(0, stem.find_last_not_of(' ') + 1);
  static constexpr std::array<std::string_view, 7> kDevices = {"con",    "prn",     "aux",   "nul",
                                                               "conin$", "conout$", "clock$"};
  if (std::any_of(kDevices.begin(), kDevices.end(),
                  [&](std::string_view device) { return text::EqualNoCase(stem, device); })) {
    return true;
  }
  return stem.size() >= 4 && IsPortNumber(stem.substr(3)) &&
         (text::StartsWithNoCase(stem, "com") || text::StartsWithNoCase(stem, "lpt"));
}

} // namespace

const char* JudgePathComponent(std::string_view component) {
  if (component.empty()) {
    return "has an empty component";
  }
  constexpr std::size_t kLongest = 255;
  if (component.size() > kLongest) {
    return "has a component of more than 255 bytes";
  }
  if (component == "." || component == "..") {
    return "has a component \".\" or \"..\"";
  }
  if (component.back() == '.' || component.back() == ' ') {
    return "has a component that ends in a dot or a blank";
  }
  if (IsDeviceName(component)) {
    return "is that of a device";
  }
  for (std::size_t at = 0; at < component.size(); ++at) {
    if (kPlain[static_cast<unsigned char>(component[at])]) {
      continue;
    }
    if (const char* reason = JudgeByte(component[at])) {
      return reason;
    }
    at += static_cast<unsigned char>(component[at]) >= 0x80 && text::IsLeadByte(component[at]) ? 1 : 0;
  }
  return nullptr;
}

} // namespace kest
