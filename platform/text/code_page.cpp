#include "platform/text/code_page.h"

#include "platform/text/shift_jis.h"

#include <array>
#include <optional>
#include <string>

namespace kest {
namespace {

constexpr int kUtf8 = 65001;
constexpr char16_t kStrayByte = 0xDC00; // plus the byte

// Characters of the Western code page at 0x80 to 0x9F; the five holes keep their own numbers.
constexpr std::array<char16_t, 32> kWestern = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                               0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                               0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                               0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

bool IsAscii(std::string_view bytes) {
  for (const char c : bytes) {
    if ((static_cast<unsigned char>(c) & 0x80U) != 0) {
      return false;
    }
  }
  return true;
}

bool IsStray(char16_t unit) { return unit >= kStrayByte + 0x80 && unit <= kStrayByte + 0xFF; }

void AppendUtf8(std::string& out, char32_t c) {
  const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | (c >> 6));
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | (c >> 12));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | (c >> 18));
    put(0x80 | ((c >> 12) & 0x3F));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

void AppendUnits(std::u16string& out, char32_t c) {
  if (c >= 0x10000) {
    out.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
  } else {
    out.push_back(static_cast<char16_t>(c));
  }
}

/// Length of the UTF-8 character at the start of `bytes` and the character; 0 when it is none.
std::size_t DecodeUtf8(std::string_view bytes, char32_t& c) {
  const auto at = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned first = at(0);
  const std::size_t length = first < 0x80                    ? 1
                             : first >= 0xF0 && first < 0xF5 ? 4
                             : first >= 0xE0 && first < 0xF0 ? 3
                             : first >= 0xC2 && first < 0xE0 ? 2
                                                             : 0;
  if (length == 0 || length > bytes.size()) {
    return 0;
  }
  c = length == 1 ? first : first & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0U) != 0x80U) {
      return 0;
    }
    c = (c << 6) | (at(i) & 0x3FU);
  }
  const bool overlong = (length == 3 && c < 0x800) || (length == 4 && (c < 0x10000 || c > 0x10FFFF));
  return overlong || (c >= 0xD800 && c <= 0xDFFF) ? 0 : length;
}

/// The character at units[at], which moves behind it.
char32_t NextCharacter(std::u16string_view units, std::size_t& at) {
  const char32_t high = units[at++];
  if (high >= 0xD800 && high < 0xDC00 && at < units.size() && units[at] >= 0xDC00 && units[at] < 0xE000) {
    return 0x10000 + ((high - 0xD800) << 10) + (char32_t{units[at++]} - 0xDC00);
  }
  return high;
}

CString AsUtf8(std::u16string_view units) {
  CString out;
  for (std::size_t at = 0; at < units.size();) {
    const char32_t c = NextCharacter(units, at);
    if (c < 0x10000 && IsStray(static_cast<char16_t>(c))) {
      out.push_back(static_cast<char>(static_cast<unsigned char>(c - kStrayByte)));
    } else {
      AppendUtf8(out, c);
    }
  }
  return out;
}

std::u16string FromUtf8(std::string_view bytes) {
  std::u16string out;
  for (std::size_t at = 0; at < bytes.size();) {
    char32_t c = 0;
    const std::size_t length = DecodeUtf8(bytes.substr(at), c);
    AppendUnits(out, length == 0 ? kStrayByte + static_cast<unsigned char>(bytes[at]) : c);
    at += length == 0 ? 1 : length;
  }
  return out;
}

std::u16string FromShiftJis(std::string_view bytes) {
  std::u16string out;
  ShiftJis table;
  for (std::size_t at = 0; at < bytes.size();) {
    const auto byte = static_cast<unsigned char>(bytes[at]);
    const std::size_t length = IsLeadByteOf(932, bytes[at]) && at + 1 < bytes.size() ? 2 : 1;
    const char16_t unit = byte < 0x80 ? byte : table.ToUnit(bytes.substr(at, length));
    // Some characters stand in the code page twice; the spelling that would come back as the other one counts as
    // stray bytes.
    if (byte < 0x80) {
      out.push_back(unit);
      ++at;
    } else if (unit != 0 && table.ToBytes(unit) == bytes.substr(at, length)) {
      out.push_back(unit);
      at += length;
    } else {
      out.push_back(static_cast<char16_t>(kStrayByte + byte));
      ++at;
    }
  }
  return out;
}

std::optional<CString> ToShiftJis(std::u16string_view units) {
  CString out;
  ShiftJis table;
  for (const char16_t unit : units) {
    if (unit < 0x80) {
      out.push_back(static_cast<char>(unit));
    } else if (IsStray(unit)) {
      out.push_back(static_cast<char>(static_cast<unsigned char>(unit - kStrayByte)));
    } else {
      // a character that only looks like this one is none: a yen sign would come as a backslash
      const std::string bytes = table.ToBytes(unit);
      if (bytes.empty() || table.ToUnit(bytes) != unit) {
        return std::nullopt;
      }
      out += bytes;
    }
  }
  return out;
}

std::u16string FromWestern(std::string_view bytes) {
  std::u16string out;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    out.push_back(byte >= 0x80 && byte < 0xA0 ? kWestern[byte - 0x80U] : byte);
  }
  return out;
}

std::optional<CString> ToWestern(std::u16string_view units) {
  CString out;
  for (const char16_t unit : units) {
    unsigned byte = unit;
    if (unit >= 0x100 || (unit >= 0x80 && unit < 0xA0)) {
      byte = 0;
      for (std::size_t i = 0; i < kWestern.size() && byte == 0; ++i) {
        byte = kWestern[i] == unit ? static_cast<unsigned>(0x80 + i) : 0;
      }
      if (byte == 0) {
        return std::nullopt;
      }
    }
    out.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
  }
  return out;
}

} // namespace

bool IsLeadByteOf(int codePage, char c) {
  const auto byte = static_cast<unsigned char>(c);
  return codePage == 932 && ((byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC));
}

CString FoldName(std::string_view name, int codePage) {
  CString folded(name);
  for (std::size_t i = 0; i < folded.size(); ++i) {
    if (IsLeadByteOf(codePage, folded[i])) {
      ++i;
    } else if (folded[i] >= 'A' && folded[i] <= 'Z') {
      folded[i] = static_cast<char>(folded[i] + ('a' - 'A'));
    }
  }
  return folded;
}

std::u16string ToUtf16(std::string_view bytes, int codePage) {
  if (IsAscii(bytes)) {
    return {bytes.begin(), bytes.end()};
  }
  return codePage == kUtf8 ? FromUtf8(bytes) : codePage == 932 ? FromShiftJis(bytes) : FromWestern(bytes);
}

CString FromUtf16(std::u16string_view units, int codePage) {
  if (codePage == kUtf8) {
    return AsUtf8(units);
  }
  const std::optional<CString> bytes = codePage == 932 ? ToShiftJis(units) : ToWestern(units);
  return bytes ? *bytes : AsUtf8(units);
}

} // namespace kest
