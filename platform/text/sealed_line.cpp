#include "platform/text/sealed_line.h"

#include <cstdint>

namespace kest {

namespace {

constexpr std::size_t kSumDigits = 16;
constexpr char kHexDigits[] = "0123456789ABCDEF";

int HexValue(char c) {
  const std::string_view digits(kHexDigits, 16);
  const std::size_t at = digits.find(c);
  return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

// Each byte goes through a step that can be reversed, so two texts that differ in one byte never have one sum.
std::uint64_t SumOf(std::string_view text) {
  std::uint64_t sum = 14695981039346656037ull;
  for (const char c : text) {
    sum = (sum ^ static_cast<unsigned char>(c)) * 1099511628211ull;
  }
  return sum;
}

CString SumText(std::string_view text) {
  std::uint64_t sum = SumOf(text);
  CString digits(kSumDigits, '0');
  for (std::size_t i = kSumDigits; i-- > 0; sum >>= 4) {
    digits[i] = kHexDigits[sum & 15];
  }
  return digits;
}

bool NeedsEscape(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7f || c == '%';
}

} // namespace

namespace sealed_line {

CString Escape(std::string_view value) {
  CString text;
  text.reserve(value.size());
  for (const char c : value) {
    if (NeedsEscape(c)) {
      const auto byte = static_cast<unsigned char>(c);
      text += '%';
      text += kHexDigits[byte >> 4];
      text += kHexDigits[byte & 15];
    } else {
      text += c;
    }
  }
  return text;
}

bool Unescape(std::string_view text, CString& value) {
  value.clear();
  value.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      if (NeedsEscape(text[i])) {
        return false;
      }
      value += text[i];
      continue;
    }
    if (i + 2 >= text.size()) {
      return false;
    }
    const int high = HexValue(text[i + 1]);
    const int low = HexValue(text[i + 2]);
    if (high < 0 || low < 0) {
      return false;
    }
    value += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return true;
}

CString Seal(std::string_view body) {
  CString line(body);
  line += '\t';
  line += SumText(body);
  line += '\n';
  return line;
}

bool Unseal(std::string_view line, std::string_view& body) {
  if (line.size() < kSumDigits + 1 || line[line.size() - kSumDigits - 1] != '\t') {
    return false;
  }
  body = line.substr(0, line.size() - kSumDigits - 1);
  return SumText(body) == line.substr(line.size() - kSumDigits);
}

std::vector<std::string_view> SplitFields(std::string_view body) {
  std::vector<std::string_view> fields;
  for (;;) {
    const std::size_t tab = body.find('\t');
    fields.push_back(body.substr(0, tab));
    if (tab == std::string_view::npos) {
      return fields;
    }
    body.remove_prefix(tab + 1);
  }
}

bool ParseNumber(std::string_view text, long& value) {
  constexpr std::size_t kMostDigits = 9;
  if (text.empty() || text.size() > kMostDigits) {
    return false;
  }
  value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') {
      return false;
    }
    value = value * 10 + (c - '0');
  }
  return true;
}

} // namespace sealed_line

} // namespace kest
