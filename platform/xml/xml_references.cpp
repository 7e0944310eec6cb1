#include "platform/xml/xml_references.h"

namespace kest {

namespace {

constexpr std::string_view kProtected = "&#xE000;";
constexpr unsigned kLargestByte = 255;
constexpr std::size_t kLongestName = 64;

bool IsNameByte(char c) {
  const char lower = text::ToLower(c);
  return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == ':' || c == '-' || c == '.' ||
         (static_cast<unsigned char>(c) & 0x80u) != 0;
}

// Value of the digits between "&#" and ";", capped; -1 when they are none.
int NumberOf(std::string_view digits) {
  unsigned base = 10;
  if (digits.starts_with('x')) {
    base = 16;
    digits.remove_prefix(1);
  }
  if (digits.empty()) {
    return -1;
  }
  unsigned value = 0;
  for (const char c : digits) {
    const char lower = text::ToLower(c);
    unsigned digit = base;
    if (c >= '0' && c <= '9') {
      digit = static_cast<unsigned>(c - '0');
    } else if (base == 16 && lower >= 'a' && lower <= 'f') {
      digit = static_cast<unsigned>(lower - 'a') + 10;
    }
    if (digit >= base) {
      return -1;
    }
    value = value > kLargestByte ? value : value * base + digit;
  }
  return static_cast<int>(value);
}

struct NamedByte {
  std::string_view name;
  char byte;
};
constexpr NamedByte kNamed[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};

// Whether the "&" at the start of `text` begins a reference that the parser would not decode. Anything that is no
// reference at all is left for the parser to complain about.
bool IsForeignReference(std::string_view text, int largest) {
  const Reference reference = FindReference(text.substr(0, kLongestName + 2));
  return reference.kind == Reference::Kind::kForeign ||
         (reference.kind == Reference::Kind::kByte && static_cast<unsigned char>(reference.byte) > largest);
}

} // namespace

Reference FindReference(std::string_view text) {
  std::size_t end = 1;
  const bool number = text.size() > 1 && text[1] == '#';
  end += number;
  while (end < text.size() && end <= kLongestName && IsNameByte(text[end])) {
    ++end;
  }
  if (end >= text.size() || text[end] != ';') {
    return {};
  }
  using Kind = Reference::Kind;
  if (number) {
    const int value = NumberOf(text.substr(2, end - 2));
    const Kind kind = value < 0 ? Kind::kNone : value > static_cast<int>(kLargestByte) ? Kind::kForeign : Kind::kByte;
    return {kind, kind == Kind::kByte ? static_cast<char>(value) : '\0', end + 1};
  }
  const std::string_view name = text.substr(1, end - 1);
  for (const NamedByte& named : kNamed) {
    if (named.name == name) {
      return {Kind::kByte, named.byte, end + 1};
    }
  }
  return {name.empty() ? Kind::kNone : Kind::kForeign, '\0', end + 1};
}

bool ProtectReferences(std::string_view text, int largest, CString& out) {
  bool found = false;
  std::size_t copied = 0;
  for (std::size_t at = text.find('&'); at != std::string_view::npos; at = text.find('&', at + 1)) {
    if (!IsForeignReference(text.substr(at), largest)) {
      continue;
    }
    if (!found) {
      out.clear();
      out.reserve(text.size() + text.size() / 8);
      found = true;
    }
    out += text.substr(copied, at - copied);
    out += kProtected;
    copied = at + 1;
  }
  if (found) {
    out += text.substr(copied);
  }
  return found;
}

CString RestoreReferences(std::string_view text) {
  CString restored(text);
  text::ReplaceAll(restored, kProtected, "&");
  return restored;
}

void AppendBytesOf(std::string_view utf8, CString& out) {
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    if (lead < 0x80u) {
      out += utf8[i];
    } else if (lead < 0xE0u && i + 1 < utf8.size()) {
      const auto trail = static_cast<unsigned char>(utf8[++i]);
      out += static_cast<char>(((lead & 0x03u) << 6u) | (trail & 0x3Fu));
    } else {
      out += kKeptReference;
      i += 2;
    }
  }
}

bool StartsWithEncodingMark(std::string_view bytes) {
  return bytes.starts_with("\xEF\xBB\xBF") || bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xFF\xFE");
}

int CountLineEnds(std::string_view text) {
  int count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    count += text[i] == '\n' || (text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n'));
  }
  return count;
}

CString BytesOf(std::string_view utf8) {
  CString bytes;
  bytes.reserve(utf8.size());
  AppendBytesOf(utf8, bytes);
  return bytes;
}

} // namespace kest
