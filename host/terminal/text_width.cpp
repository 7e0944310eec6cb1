#include "host/terminal/text_width.h"

#include "platform/text/text.h"
#include "platform/text/utf8.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace kest::host {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

// Characters that stand on the one before them, or show nothing.
constexpr Range kZeroWidth[] = {
    {0x0300, 0x036F},   {0x0483, 0x0489},   {0x0591, 0x05BD}, {0x05BF, 0x05BF}, {0x05C1, 0x05C2}, {0x05C4, 0x05C5},
    {0x0610, 0x061A},   {0x064B, 0x065F},   {0x0670, 0x0670}, {0x06D6, 0x06DC}, {0x06DF, 0x06E4}, {0x0900, 0x0902},
    {0x093C, 0x093C},   {0x0941, 0x0948},   {0x094D, 0x094D}, {0x0E31, 0x0E31}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E},
    {0x1160, 0x11FF},   {0x1AB0, 0x1AFF},   {0x1DC0, 0x1DFF}, {0x200B, 0x200F}, {0x202A, 0x202E}, {0x2060, 0x2069},
    {0x20D0, 0x20FF},   {0x302A, 0x302D},   {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF},
    {0x1F3FB, 0x1F3FF}, {0xE0100, 0xE01EF},
};
constexpr Range kWide[] = {
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2329, 0x232A},   {0x23E9, 0x23EC},   {0x2614, 0x2615},
    {0x2648, 0x2653},   {0x26A1, 0x26A1},   {0x26C4, 0x26C5},   {0x2705, 0x2705},   {0x2728, 0x2728},
    {0x274C, 0x274C},   {0x2753, 0x2755},   {0x2757, 0x2757},   {0x2795, 0x2797},   {0x2B1B, 0x2B1C},
    {0x2B50, 0x2B50},   {0x2E80, 0x303E},   {0x3041, 0x33FF},   {0x3400, 0x4DBF},   {0x4E00, 0x9FFF},
    {0xA000, 0xA4CF},   {0xA960, 0xA97F},   {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},
    {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},   {0x16FE0, 0x18AFF}, {0x1B000, 0x1B2FF}, {0x1F004, 0x1F004},
    {0x1F18E, 0x1F18E}, {0x1F191, 0x1F19A}, {0x1F200, 0x1F320}, {0x1F32D, 0x1F3FA}, {0x1F400, 0x1F64F},
    {0x1F680, 0x1F6FF}, {0x1F7E0, 0x1F7EB}, {0x1F90C, 0x1F9FF}, {0x1FA70, 0x1FAFF}, {0x20000, 0x3FFFD},
};

template <std::size_t n> bool IsIn(const Range (&table)[n], char32_t c) {
  const auto at =
      std::upper_bound(std::begin(table), std::end(table), c, [](char32_t x, const Range& r) { return x < r.first; });
  return at != std::begin(table) && c <= std::prev(at)->last;
}

constexpr char32_t kBroken = 0xFFFFFFFF;

// The character at the front of the text, which is not empty; `length` becomes its bytes.
char32_t Decode(std::string_view text, std::size_t& length) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  length = 1;
  const std::uint8_t first = byte(0);
  if (first < 0x80) {
    return first;
  }
  const std::size_t count = first >= 0xF0 && first < 0xF5   ? 4
                            : first >= 0xE0 && first < 0xF0 ? 3
                            : first >= 0xC2 && first < 0xE0 ? 2
                                                            : 0;
  if (count == 0 || text.size() < count) {
    return kBroken;
  }
  char32_t c = first & (0x7Fu >> count);
  for (std::size_t i = 1; i < count; ++i) {
    if ((byte(i) & 0xC0) != 0x80) {
      return kBroken;
    }
    c = (c << 6) | (byte(i) & 0x3Fu);
  }
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  if (c < kLeast[count] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
    return kBroken;
  }
  length = count;
  return c;
}

int WidthOf(char32_t c) {
  if (c == kBroken) {
    return 1;
  }
  if (c < 0x300) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) ? 0 : 1;
  }
  return IsIn(kZeroWidth, c) ? 0 : IsIn(kWide, c) ? 2 : 1;
}

} // namespace

int DisplayWidth(std::string_view utf8) {
  int width = 0;
  for (std::size_t at = 0, length = 0; at < utf8.size(); at += length) {
    width += WidthOf(Decode(utf8.substr(at), length));
  }
  return width;
}

std::string FitToWidth(std::string_view utf8, int width) {
  if (DisplayWidth(utf8) <= width) {
    return std::string(utf8);
  }
  std::size_t at = 0;
  for (int used = 0; at < utf8.size();) {
    std::size_t length = 0;
    used += WidthOf(Decode(utf8.substr(at), length));
    if (used > width - 1) {
      break;
    }
    at += length;
  }
  return width > 0 ? std::string(utf8.substr(0, at)) + "…" : std::string();
}

std::string WrapToWidth(std::string_view utf8, int width) {
  std::string out;
  std::size_t lineStart = 0; // in `out`
  std::size_t blank = 0;     // behind the last blank of the line in `out`; 0: it has none
  int used = 0;
  for (std::size_t at = 0, length = 0; at < utf8.size(); at += length) {
    const char32_t c = Decode(utf8.substr(at), length);
    if (c == '\n') {
      out += '\n';
      lineStart = out.size();
      blank = 0;
      used = 0;
      continue;
    }
    const int wide = c == '\t' ? 8 - used % 8 : WidthOf(c);
    if (used + wide > width && c == ' ') {
      out.erase(std::max(out.find_last_not_of(' ') + 1, lineStart)); // blanks that end a line are none
      out += '\n';
      lineStart = out.size();
      blank = 0;
      used = 0;
      continue;
    }
    if (used + wide > width && out.size() > lineStart) {
      const std::size_t cut = blank > lineStart ? blank : out.size();
      const std::string rest = out.substr(cut);
      out.erase(cut);
      out.erase(std::max(out.find_last_not_of(' ') + 1, lineStart));
      out += '\n';
      lineStart = out.size();
      out += rest;
      blank = 0;
      used = DisplayWidth(rest);
    }
    out += utf8.substr(at, length);
    used += wide;
    if (c == ' ') {
      blank = out.size();
    }
  }
  return out;
}

std::string PadToWidth(std::string_view utf8, int width) {
  const int blanks = width - DisplayWidth(utf8);
  return std::string(utf8) + std::string(static_cast<std::size_t>(std::max(blanks, 0)), ' ');
}

std::string ToUtf8(std::string_view bytes) { return text::ToUtf8(bytes); }

std::string ForTerminal(std::string_view utf8, bool keepLines) {
  std::string out;
  for (std::size_t at = 0, length = 0; at < utf8.size(); at += length) {
    const char32_t c = Decode(utf8.substr(at), length);
    const bool reorders = (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) || c == 0x200E || c == 0x200F;
    if (c == '\n' || c == '\t') {
      out += keepLines ? static_cast<char>(c) : ' ';
    } else if (c == kBroken) {
      out += "\xEF\xBF\xBD";
    } else if (c >= 0x20 && !(c >= 0x7F && c < 0xA0) && !reorders) {
      out += utf8.substr(at, length);
    }
  }
  return out;
}

std::string Shown(std::string_view bytes) { return ForTerminal(ToUtf8(bytes)); }

std::string PlainText(std::string_view bytes) {
  std::string plain = ToUtf8(bytes);
  for (const auto& [entity, character] :
       {std::pair{"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}, {"&amp;", "&"}}) {
    text::ReplaceAll(plain, entity, character);
  }
  return plain;
}

std::string ShownText(std::string_view bytes) { return ForTerminal(PlainText(bytes)); }

} // namespace kest::host
