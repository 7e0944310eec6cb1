#include "platform/machine_folder/registry_text.h"

#include "platform/text/code_page.h"

#include <cstdio>

namespace kest {
namespace {

constexpr int kUtf8 = 65001;
constexpr std::string_view kControlLetters = ".......abtnvfr.............e...."; // by code, "." for none

int DigitOf(char c) {
  return c >= '0' && c <= '9'   ? c - '0'
         : c >= 'a' && c <= 'f' ? c - 'a' + 10
         : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                : 99;
}

/// Up to `most` digits of the base at `at`; nothing when there is none.
std::optional<unsigned> TakeNumber(std::string_view line, std::size_t& at, int base, int most) {
  unsigned value = 0;
  int count = 0;
  for (; count < most && at < line.size() && DigitOf(line[at]) < base; ++count, ++at) {
    value = value * static_cast<unsigned>(base) + static_cast<unsigned>(DigitOf(line[at]));
  }
  return count == 0 ? std::nullopt : std::optional(value);
}

/// The character that the escape behind a backslash means.
char16_t TakeEscape(std::string_view line, std::size_t& at) {
  const char c = line[at];
  if (c == 'x') {
    std::size_t digits = at + 1;
    if (const auto value = TakeNumber(line, digits, 16, 4)) {
      at = digits;
      return static_cast<char16_t>(*value);
    }
  } else if (c >= '0' && c <= '7') {
    return static_cast<char16_t>(*TakeNumber(line, at, 8, 3));
  } else if (const std::size_t code = kControlLetters.find(c); c != '.' && code != std::string_view::npos) {
    ++at;
    return static_cast<char16_t>(code);
  }
  ++at;
  return static_cast<unsigned char>(c);
}

std::optional<std::u16string> ReadHexBytes(std::string_view digits) {
  std::string bytes;
  for (std::size_t at = 0; at < digits.size();) {
    const char c = digits[at];
    if (c == ',' || c == '\\' || c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      ++at;
    } else if (const auto byte = TakeNumber(digits, at, 16, 2)) {
      bytes.push_back(static_cast<char>(static_cast<unsigned char>(*byte)));
    } else {
      return std::nullopt;
    }
  }
  std::u16string units;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    units.push_back(
        static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8)));
  }
  return units;
}

} // namespace

CString EscapeRegistryText(std::u16string_view units, std::string_view delimiters) {
  CString out;
  for (std::size_t i = 0; i < units.size(); ++i) {
    const char16_t unit = units[i];
    const char next = i + 1 < units.size() && units[i + 1] < 0x80 ? static_cast<char>(units[i + 1]) : '\0';
    char buffer[8];
    if (unit > 126) {
      std::snprintf(buffer, sizeof buffer, DigitOf(next) < 16 ? "\\x%04x" : "\\x%x", static_cast<unsigned>(unit));
      out += buffer;
    } else if (unit < 32 && kControlLetters[unit] != '.') {
      out += '\\';
      out += kControlLetters[unit];
    } else if (unit < 32) {
      std::snprintf(buffer, sizeof buffer, next >= '0' && next <= '7' ? "\\%03o" : "\\%o", static_cast<unsigned>(unit));
      out += buffer;
    } else {
      const char c = static_cast<char>(unit);
      if (c == '\\' || delimiters.find(c) != std::string_view::npos) {
        out += '\\';
      }
      out += c;
    }
  }
  return out;
}

std::optional<std::u16string> UnescapeRegistryText(std::string_view line, std::size_t& at, char delimiter) {
  std::u16string units;
  while (at < line.size() && line[at] != delimiter) {
    if (line[at] == '\\') {
      if (++at == line.size()) {
        return std::nullopt;
      }
      units.push_back(TakeEscape(line, at));
    } else if ((static_cast<unsigned char>(line[at]) & 0x80U) == 0) {
      units.push_back(static_cast<unsigned char>(line[at++]));
    } else {
      const std::size_t start = at;
      while (at < line.size() && (static_cast<unsigned char>(line[at]) & 0x80U) != 0) {
        ++at;
      }
      units += ToUtf16(line.substr(start, at - start), kUtf8);
    }
  }
  if (at >= line.size()) {
    return std::nullopt;
  }
  ++at;
  return units;
}

std::optional<std::u16string> ReadRegistryData(std::string_view written) {
  std::optional<std::u16string> units;
  for (const std::string_view prefix : {"\"", "str(1):\"", "str(2):\""}) {
    std::size_t at = prefix.size();
    if (!units && written.starts_with(prefix)) {
      units = UnescapeRegistryText(written, at, '"');
    }
  }
  for (const std::string_view prefix : {"hex(1):", "hex(2):"}) {
    if (!units && written.starts_with(prefix)) {
      units = ReadHexBytes(written.substr(prefix.size()));
    }
  }
  if (units) {
    units->resize(std::min(units->size(), units->find(u'\0'))); // what follows the terminator is no text
  }
  return units;
}

} // namespace kest
