#include "platform/text/sealed_line.h"

#include <algorithm>
#include <array>
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

std::array<char, kSumDigits> SumText(std::string_view text) {
  std::uint64_t sum = SumOf(text);
  std::array<char, kSumDigits> digits{};
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

static void AppendEscaped(CString& text, std::string_view value) {
  while (!value.empty()) {
    const auto end = std::find_if(value.begin(), value.end(), NeedsEscape);
    const auto plain = static_cast<std::size_t>(end - value.begin());
    text.append(value.substr(0, plain));
    value.remove_prefix(plain);
    if (!value.empty()) {
      const auto byte = static_cast<unsigned char>(value.front());
      text += '%';
      text += kHexDigits[byte >> 4];
      text += kHexDigits[byte & 15];
      value.remove_prefix(1);
    }
  }
}

CString Escape(std::string_view value) {
  CString text;
  AppendEscaped(text, value);
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
  const auto sum = SumText(body);
  line += '\t';
  line.append(sum.data(), sum.size());
  line += '\n';
  return line;
}

Writer::Writer(CString& text, std::string_view kind) : m_text(text), m_begin(text.size()) { m_text += kind; }

void Writer::Add(std::string_view name, std::string_view value) {
  m_text += '\t';
  m_text += name;
  m_text += '=';
  AppendEscaped(m_text, value);
}

void Writer::Finish() {
  const auto sum = SumText(std::string_view(m_text).substr(m_begin));
  m_text += '\t';
  m_text.append(sum.data(), sum.size());
  m_text += '\n';
}

bool Unseal(std::string_view line, std::string_view& body) {
  if (line.size() < kSumDigits + 1 || line[line.size() - kSumDigits - 1] != '\t') {
    return false;
  }
  body = line.substr(0, line.size() - kSumDigits - 1);
  const auto sum = SumText(body);
  return std::string_view(sum.data(), sum.size()) == line.substr(line.size() - kSumDigits);
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
