#include "menus/line_repairs.h"

#include <array>
#include <span>

namespace kest {
namespace {

struct Repair {
  std::string_view text;
  std::string_view becomes;
};

/// What makes a line well-formed, in this order.
constexpr std::array<Repair, 6> kEscapes{
    {{"&", "&amp;"}, {"<%", "&lt;%"}, {"%>", "%&gt;"}, {"+<", "+&lt;"}, {"+>", "+&gt;"}, {"/>;", "/>"}}};

/// The bare attribute word; between the quotes of a value it is text.
constexpr std::string_view kDynamic = " dynamic=\"true\" ";
constexpr std::array<std::string_view, 4> kBareWords{" dynamic ", "\tdynamic\t", "\tdynamic ", " dynamic\t"};

/// Lines that some releases of the products shipped.
constexpr std::array<Repair, 12> kBroken{{
    {") />", " />"},
    {")\t/>", " />"},
    {"<menu name=\"_Window\" id=\"TMMenu_MainSite_Window\"/>", "<menu name=\"_Window\" id=\"TMMenu_MainSite_Window\">"},
    {"Titles.htm\"  id=\"TMMenu_MainSite_Window\">", "Titles.htm\"  id=\"TMMenu_MainSite_Window\" />"},
    {"command=\"tm.getDocumentDOM().editAttribute('ID')\"\"", "command=\"tm.getDocumentDOM().editAttribute('ID')\""},
    {"<menu name=\"Form O_bject\" id=\"TMMenu_Insert_FormObject\" />",
     "<menu name=\"Form O_bject\" id=\"TMMenu_Insert_FormObject\" >"},
    {"<menu name=\"Frame_s\" id=\"TMMenu_Insert_Frames\" />", "<menu name=\"Frame_s\" id=\"TMMenu_Insert_Frames\" >"},
    {"<menu name=\"_Media\" id=\"TMMenu_Insert_Media\" />", "<menu name=\"_Media\" id=\"TMMenu_Insert_Media\" >"},
    {"<menu name=\"_Head\" id=\"TMMenu_Insert_Head\" />", "<menu name=\"_Head\" id=\"TMMenu_Insert_Head\" >"},
    {"<menu name=\"_Characters\" id=\"TMMenu_Insert_Characters\" />",
     "<menu name=\"_Characters\" id=\"TMMenu_Insert_Characters\" >"},
    {"\"\"Enregis_trer la carte du site,,,\"\"", "\"Enregis_trer la carte du site,,,\""},
    {"*#\"\t\" strNamedFormat=", "*#\"\tstrNamedFormat="},
}};

/// The characters at which some repair may apply; what stands around each decides.
constexpr std::string_view kSigns = "&%+;)y<T'E#";

constexpr std::array<bool, 256> MakeSigns() {
  std::array<bool, 256> signs{};
  for (const char c : kSigns)
    signs[static_cast<unsigned char>(c)] = true;
  return signs;
}
constexpr std::array<bool, 256> kIsSign = MakeSigns();

bool Follows(std::string_view text, std::size_t at, std::string_view next) {
  return text.substr(at, next.size()) == next;
}

/// Whether the sign at `at` may begin, or be part of, something to repair.
bool IsSuspect(std::string_view text, std::size_t at) {
  const char before = at > 0 ? text[at - 1] : '\0';
  const char after = at + 1 < text.size() ? text[at + 1] : '\0';
  switch (text[at]) {
  case '&':
    return true;
  case '%':
    return before == '<' || after == '>';
  case '+':
    return after == '<' || after == '>';
  case ';':
    return before == '>';
  case ')':
    return after == ' ' ? Follows(text, at, ") />") : after == '\t';
  case 'y':
    return before == 'd' && Follows(text, at, "ynamic");
  case '<':
    return after == 'm' && (Follows(text, at, "<menu name=\"_") || Follows(text, at, "<menu name=\"F"));
  case 'T':
    return after == 'i' && Follows(text, at, "Titles.htm\"  id");
  case '\'':
    return after == ')' && Follows(text, at, "')\"\"");
  case 'E':
    return before == '"' && Follows(text, at, "Enregis");
  case '#':
    return before == '*' && after == '"';
  default:
    return false;
  }
}

/// Makes attributes of the bare word outside values; what lies between `="` and the next double quote is left alone.
void RepairBareWord(CString& line, std::string_view word) {
  if (line.find(word) == CString::npos)
    return;
  CString out;
  std::size_t at = 0;
  while (at < line.size()) {
    const std::size_t value = line.find("=\"", at);
    const std::size_t end = value == CString::npos ? line.size() : value + 2;
    CString outside = line.substr(at, end - at);
    text::ReplaceAll(outside, word, kDynamic);
    out += outside;
    const std::size_t close = value == CString::npos ? line.size() : line.find('"', end);
    const std::size_t next = close == CString::npos ? line.size() : close;
    if (next > end)
      out.append(line, end, next - end);
    at = next;
    if (value == CString::npos)
      break;
  }
  line = std::move(out);
}

/// Whether some repair may apply, that of ampersands aside unless it counts.
bool HasSuspect(std::string_view text, bool ampersandsCount) {
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  for (const char* at = begin;; ++at) {
    while (at != end && !kIsSign[static_cast<unsigned char>(*at)])
      ++at;
    if (at == end)
      return false;
    if (IsSuspect(text, static_cast<std::size_t>(at - begin)) && (ampersandsCount || *at != '&'))
      return true;
  }
}

} // namespace

bool MayNeedRepair(std::string_view text) { return HasSuspect(text, true); }

void RepairMenuLine(CString& line) {
  if (!MayNeedRepair(line))
    return;
  // most lines that need a repair need this one alone
  text::ReplaceAll(line, kEscapes.front().text, kEscapes.front().becomes);
  if (!HasSuspect(line, false))
    return;
  for (const Repair& repair : std::span(kEscapes).subspan(1))
    text::ReplaceAll(line, repair.text, repair.becomes);
  for (const std::string_view word : kBareWords)
    RepairBareWord(line, word);
  for (const Repair& repair : kBroken)
    text::ReplaceAll(line, repair.text, repair.becomes);
}

void RevertMenuLine(CString& value) {
  text::ReplaceAll(value, kDynamic, kBareWords.front());
  // what ends in ">;" is not told apart from what lost its semicolon
  for (std::size_t i = kEscapes.size() - 1; i-- > 0;)
    text::ReplaceAll(value, kEscapes[i].becomes, kEscapes[i].text);
}

} // namespace kest
