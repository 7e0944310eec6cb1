#include "menus/line_repairs.h"

#include <array>
#include <cstdint>
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

/// Two neighbours without which no repair but that of ampersands applies, and what else must stand around them.
struct Sign {
  std::string_view first;
  std::string_view second;         ///< one of these follows
  std::string_view text = {};      ///< at the first
  std::string_view preceding = {}; ///< ends before the first
};
constexpr std::array<Sign, 12> kSigns{{
    {"<", "%"},
    {"%", ">"},
    {"+", "<>"},
    {">", ";"},
    {")", " ", ") />"},
    {")", "\t"},
    {"d", "y", "dynamic"},
    {"\"", "_F", {}, "<menu name="},
    {"T", "i", "Titles.htm\"  id"},
    {"'", ")", "')\"\""},
    {"\"", "E", "\"Enregis"},
    {"*", "#", "*#\""},
}};

/// By character: which signs have it as their first, or second, neighbour.
using SignMasks = std::array<std::uint16_t, 256>;
constexpr SignMasks MakeMasks(std::string_view Sign::*neighbour) {
  SignMasks masks{};
  for (std::size_t i = 0; i < kSigns.size(); ++i) {
    for (const char c : kSigns[i].*neighbour) {
      masks[static_cast<unsigned char>(c)] |= static_cast<std::uint16_t>(1u << i);
    }
  }
  return masks;
}
constexpr SignMasks kFirst = MakeMasks(&Sign::first);
constexpr SignMasks kSecond = MakeMasks(&Sign::second);

/// Whether a sign of those in the mask, its neighbours at `at` and behind, is a suspect.
bool IsSuspect(std::string_view line, std::size_t at, unsigned mask) {
  for (std::size_t i = 0; i < kSigns.size(); ++i) {
    const Sign& sign = kSigns[i];
    if ((mask >> i & 1u) != 0 && line.substr(at, sign.text.size()) == sign.text &&
        line.substr(0, at).ends_with(sign.preceding)) {
      return true;
    }
  }
  return false;
}

/// Where the rest of a value ends that began on a line before: its quote follows no equals sign. 0 when the line does
/// not begin in a value.
std::size_t SkipRestOfValue(std::string_view line) {
  const std::size_t quote = line.find('"');
  if (quote == std::string_view::npos) {
    return 0;
  }
  const std::size_t before = line.substr(0, quote).find_last_not_of(" \t");
  return before != std::string_view::npos && line[before] == '=' ? 0 : quote + 1;
}

/// Makes attributes of the bare word outside values; what lies between `="` and the next double quote is left alone.
void RepairBareWord(CString& line, std::string_view word) {
  if (line.find(word) == CString::npos) {
    return;
  }
  std::size_t at = SkipRestOfValue(line);
  CString out = line.substr(0, at);
  while (at < line.size()) {
    const std::size_t value = line.find("=\"", at);
    const std::size_t end = value == CString::npos ? line.size() : value + 2;
    CString outside = line.substr(at, end - at);
    text::ReplaceAll(outside, word, kDynamic);
    out += outside;
    const std::size_t close = value == CString::npos ? line.size() : line.find('"', end);
    const std::size_t next = close == CString::npos ? line.size() : close;
    if (next > end) {
      out.append(line, end, next - end);
    }
    at = next;
    if (value == CString::npos) {
      break;
    }
  }
  line = std::move(out);
}

/// Whether some repair may apply, that of ampersands aside.
bool HasSuspect(std::string_view text) {
  unsigned first = 0;
  for (const char& c : text) {
    const unsigned found = first & kSecond[static_cast<unsigned char>(c)];
    if (found != 0 && IsSuspect(text, static_cast<std::size_t>(&c - text.data()) - 1, found)) {
      return true;
    }
    first = kFirst[static_cast<unsigned char>(c)];
  }
  return false;
}

} // namespace

bool MayNeedRepair(std::string_view text) { return text.find('&') != std::string_view::npos || HasSuspect(text); }

void RepairMenuLine(CString& line) {
  if (!MayNeedRepair(line)) {
    return;
  }
  // most lines that need a repair need this one alone
  text::ReplaceAll(line, kEscapes.front().text, kEscapes.front().becomes);
  if (!HasSuspect(line)) {
    return;
  }
  for (const Repair& repair : std::span(kEscapes).subspan(1)) {
    text::ReplaceAll(line, repair.text, repair.becomes);
  }
  for (const std::string_view word : kBareWords) {
    RepairBareWord(line, word);
  }
  for (const Repair& repair : kBroken) {
    text::ReplaceAll(line, repair.text, repair.becomes);
  }
}

void RevertMenuLine(CString& value) {
  text::ReplaceAll(value, kDynamic, kBareWords.front());
  // what ends in ">;" is not told apart from what lost its semicolon
  for (std::size_t i = kEscapes.size() - 1; i-- > 0;) {
    text::ReplaceAll(value, kEscapes[i].becomes, kEscapes[i].text);
  }
}

} // namespace kest
