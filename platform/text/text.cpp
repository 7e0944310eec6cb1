#include "platform/text/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <vector>

namespace kest::text {

namespace {

constexpr int kShiftJis = 932;
constexpr std::string_view kBlanks = " \t\r\n\v\f";
// A width or a precision of a host's text has no reason to be larger; unbounded it would be a way to fill the memory.
constexpr std::size_t kMostWidth = 1024;

int g_codePage = 0;

bool HasLeadBytes() { return g_codePage == kShiftJis; }

constexpr std::array<char, 256> MakeFoldTable() {
  std::array<char, 256> table{};
  for (int i = 0; i < 256; ++i) {
    table[static_cast<std::size_t>(i)] = static_cast<char>(i >= 'A' && i <= 'Z' ? i + ('a' - 'A') : i);
  }
  return table;
}
constexpr std::array<char, 256> kFold = MakeFoldTable();

unsigned char Folded(char c) { return static_cast<unsigned char>(kFold[static_cast<unsigned char>(c)]); }

// Walks a text byte by byte and tells which bytes are second halves, where the code page has such.
class FoldingReader {
public:
  explicit FoldingReader(std::string_view value) : m_value(value), m_hasLeadBytes(HasLeadBytes()) {}

  [[nodiscard]] bool AtEnd() const { return m_at == m_value.size(); }
  unsigned char Next() {
    const char c = m_value[m_at++];
    if (!m_hasLeadBytes) {
      return Folded(c);
    }
    if (m_isTrail) {
      m_isTrail = false;
      return static_cast<unsigned char>(c);
    }
    m_isTrail = IsLeadByte(c);
    return Folded(c);
  }

private:
  std::string_view m_value;
  std::size_t m_at = 0;
  bool m_hasLeadBytes;
  bool m_isTrail = false;
};

std::size_t CharacterLength(std::string_view value, std::size_t at) {
  return IsLeadByte(value[at]) && at + 1 < value.size() ? 2 : 1;
}

// Both texts begin with a whole character.
bool MatchesAt(std::string_view value, std::size_t at, std::string_view needle) {
  return value.size() - at >= needle.size() && EqualNoCase(value.substr(at, needle.size()), needle);
}

std::size_t FindFolded(std::string_view value, std::string_view needle, std::size_t from) {
  if (from > value.size() || value.size() - from < needle.size()) {
    return std::string_view::npos;
  }
  if (needle.empty()) {
    return from;
  }
  const unsigned char first = Folded(needle[0]);
  const std::size_t last = value.size() - needle.size();
  const bool leads = HasLeadBytes();
  for (std::size_t at = from; at <= last; at += leads ? CharacterLength(value, at) : 1) {
    if (Folded(value[at]) == first && MatchesAt(value, at, needle)) {
      return at;
    }
  }
  return std::string_view::npos;
}

template <class Find> void ReplaceFound(CString& value, std::string_view from, std::string_view to, const Find& find) {
  if (from.empty()) {
    return;
  }
  std::size_t found = find(0);
  if (found == CString::npos) {
    return;
  }
  CString result;
  result.reserve(value.size() + (to.size() > from.size() ? to.size() - from.size() : 0));
  std::size_t copied = 0;
  while (found != CString::npos) {
    result.append(value, copied, found - copied).append(to);
    copied = found + from.size();
    found = find(copied);
  }
  result.append(value, copied);
  value = std::move(result);
}

// One "%..." of a format.
struct Specifier {
  std::size_t position = 0; // 1-based, 0: the next one
  bool leftAligned = false;
  bool zeros = false;
  std::size_t width = 0;
  std::size_t precision = CString::npos;
  char conversion = 0;
};

std::size_t ReadNumber(std::string_view format, std::size_t& at) {
  std::size_t number = 0;
  while (at < format.size() && format[at] >= '0' && format[at] <= '9') {
    number = std::min<std::size_t>(number * 10 + static_cast<std::size_t>(format[at] - '0'), kMostWidth);
    ++at;
  }
  return number;
}

bool IsConversion(char c) { return std::string_view("diouxXeEfFgGaAcCsSpn").find(c) != std::string_view::npos; }

// Reads what follows a "%"; false, and `at` left alone, when that is plain text.
bool ReadSpecifier(std::string_view format, std::size_t& at, Specifier& specifier) {
  std::size_t i = at;
  const std::size_t digits = i;
  if (const std::size_t position = ReadNumber(format, i); i > digits && i < format.size() && format[i] == '$') {
    specifier.position = position;
    ++i;
  } else {
    i = digits;
  }
  // a blank is no flag here: "50% and" is a sentence
  for (; i < format.size() && std::string_view("-+#0").find(format[i]) != std::string_view::npos; ++i) {
    specifier.leftAligned |= format[i] == '-';
    specifier.zeros |= format[i] == '0';
  }
  const auto skipStar = [&] {
    const bool star = i < format.size() && format[i] == '*';
    i += star ? 1 : 0;
    return star;
  };
  if (!skipStar()) {
    specifier.width = ReadNumber(format, i);
  }
  if (i < format.size() && format[i] == '.') {
    ++i;
    if (!skipStar()) {
      specifier.precision = ReadNumber(format, i);
    }
  }
  while (i < format.size() && std::string_view("hlLqjzt").find(format[i]) != std::string_view::npos) {
    ++i;
  }
  if (i == format.size() || !IsConversion(format[i])) {
    return false;
  }
  specifier.conversion = format[i];
  at = i + 1;
  return true;
}

// At most `length` bytes, never half a character.
std::string_view Cut(std::string_view value, std::size_t length) {
  if (length >= value.size()) {
    return value;
  }
  if (!HasLeadBytes()) {
    return value.substr(0, length);
  }
  std::size_t at = 0;
  while (at < length && at + CharacterLength(value, at) <= length) {
    at += CharacterLength(value, at);
  }
  return value.substr(0, at);
}

void AppendPadded(CString& out, const Specifier& specifier, std::string_view value, bool isNumber) {
  const std::size_t missing = specifier.width > value.size() ? specifier.width - value.size() : 0;
  if (specifier.leftAligned) {
    out.append(value).append(missing, ' ');
  } else if (specifier.zeros && isNumber) {
    const std::size_t sign = !value.empty() && value[0] == '-' ? 1 : 0;
    out.append(value.substr(0, sign)).append(missing, '0').append(value.substr(sign));
  } else {
    out.append(missing, ' ').append(value);
  }
}

void AppendArgument(CString& out, const Specifier& specifier, const Argument& argument) {
  if (const auto* string = std::get_if<CString>(&argument)) {
    if (specifier.conversion == 's') {
      AppendPadded(out, specifier, Cut(*string, specifier.precision), false);
    }
    return;
  }
  const char c = specifier.conversion;
  if (c == 'd' || c == 'i' || c == 'u') {
    AppendPadded(out, specifier, std::to_string(std::get<long long>(argument)), true);
  }
}

} // namespace

void ReplaceAll(CString& value, std::string_view from, std::string_view to) {
  ReplaceFound(value, from, to, [&](std::size_t at) { return value.find(from, at); });
}

void ReplaceAllNoCase(CString& value, std::string_view from, std::string_view to) {
  ReplaceFound(value, from, to, [&](std::size_t at) { return FindFolded(value, from, at); });
}

std::string_view Trimmed(std::string_view value) {
  const std::size_t first = value.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return value.substr(first, value.find_last_not_of(kBlanks) - first + 1);
}

void Trim(CString& value) {
  const std::string_view kept = Trimmed(value);
  if (kept.size() != value.size()) {
    value = CString(kept);
  }
}

char ToLower(char c) { return kFold[static_cast<unsigned char>(c)]; }

CString Lower(std::string_view value) {
  CString result(value.size(), '\0');
  if (!HasLeadBytes()) {
    std::transform(value.begin(), value.end(), result.begin(), [](char c) { return static_cast<char>(Folded(c)); });
    return result;
  }
  FoldingReader reader(value);
  for (char& c : result) {
    c = static_cast<char>(reader.Next());
  }
  return result;
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && (a == b || CompareNoCase(a, b) == 0);
}

int CompareNoCase(std::string_view a, std::string_view b) {
  FoldingReader left(a);
  FoldingReader right(b);
  while (!left.AtEnd() && !right.AtEnd()) {
    const int difference = left.Next() - right.Next();
    if (difference != 0) {
      return difference;
    }
  }
  return (left.AtEnd() ? 0 : 1) - (right.AtEnd() ? 0 : 1);
}

bool StartsWithNoCase(std::string_view value, std::string_view prefix) {
  return value.size() >= prefix.size() && EqualNoCase(value.substr(0, prefix.size()), prefix);
}

bool EndsWithNoCase(std::string_view value, std::string_view suffix) {
  if (value.size() < suffix.size()) {
    return false;
  }
  const std::size_t begin = value.size() - suffix.size();
  // a suffix that would begin inside a character is none
  std::size_t at = 0;
  while (HasLeadBytes() && at < begin) {
    at += CharacterLength(value, at);
  }
  return (!HasLeadBytes() || at == begin) && EqualNoCase(value.substr(begin), suffix);
}

int FindNoCase(std::string_view value, std::string_view needle, std::size_t from) {
  const std::size_t found = FindFolded(value, needle, from);
  return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

bool IsTruthy(std::string_view value) {
  return !value.empty() && std::string_view("1YyTt").find(value[0]) != std::string_view::npos;
}

void SetCodePage(int codePage) { g_codePage = codePage; }

int GetCodePage() { return g_codePage; }

bool IsLeadByte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return HasLeadBytes() && ((byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC));
}

std::size_t FindLastBackslash(std::string_view path) {
  if (!HasLeadBytes()) {
    return path.rfind('\\');
  }
  std::size_t last = std::string_view::npos;
  for (std::size_t at = 0; at < path.size(); at += CharacterLength(path, at)) {
    if (path[at] == '\\') {
      last = at;
    }
  }
  return last;
}

std::size_t FindBackslash(std::string_view path, std::size_t from) {
  if (!HasLeadBytes()) {
    return path.find('\\', from);
  }
  for (std::size_t at = from; at < path.size(); at += CharacterLength(path, at)) {
    if (path[at] == '\\') {
      return at;
    }
  }
  return std::string_view::npos;
}

CString Format(std::string_view format, std::span<const Argument> arguments) {
  CString result;
  result.reserve(format.size() + 64);
  std::size_t next = 0;
  std::size_t at = 0;
  while (at < format.size()) {
    const std::size_t percent = std::min(format.find('%', at), format.size());
    result.append(format, at, percent - at);
    if (percent == format.size()) {
      break;
    }
    at = percent + 1;
    if (at < format.size() && format[at] == '%') {
      result.push_back('%');
      ++at;
      continue;
    }
    Specifier specifier;
    if (!ReadSpecifier(format, at, specifier)) {
      result.push_back('%');
      continue;
    }
    const std::size_t index = specifier.position > 0 ? specifier.position - 1 : next++;
    if (index < arguments.size()) {
      AppendArgument(result, specifier, arguments[index]);
    }
  }
  return result;
}

CString Format(std::string_view format, std::initializer_list<Argument> arguments) {
  return Format(format, std::span<const Argument>(arguments.begin(), arguments.size()));
}

} // namespace kest::text
