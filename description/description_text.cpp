// The conversions between the text of a description and the text of a record.

#include "description/extension.h"

#include <array>
#include <utility>

namespace kest {

namespace {

using Replacement = std::pair<std::string_view, std::string_view>;

template <std::size_t Count> void ReplaceEach(CString& text, const std::array<Replacement, Count>& replacements) {
  for (const auto& [from, to] : replacements) {
    text::ReplaceAll(text, from, to);
  }
}

constexpr auto kReverted = std::to_array<Replacement>({
    {"&amp;", "&"},
    {"&lt;%", "<%"},
    {"%&gt;", "%>"},
    {"+&lt;", "+<"},
    {"+&gt;", "+>"},
    {"&apos;", "'"},
});

constexpr auto kCleanedUp = std::to_array<Replacement>({
    {"&amp;", "&"},
    {"&apos;", "'"},
    {"+&lt;", "+<"},
    {"+&gt;", "+>"},
    {"  ", " "},
    {"\r\n\r\n", "\r\n"},
    {"\r\r", "\r"},
    {"\n\n", "\n"},
    {"<BR>", "<br>"},
    {" <br>", "<br>"},
    {"<br> ", "<br>"},
    {"<br>\r\n", "<br>"},
    {"<br>\r", "<br>"},
    {"<br>\n", "<br>"},
    {"\r", "<br>"},
    {"\n", "<br>"},
});

constexpr auto kWritten = std::to_array<Replacement>({
    {"&nbsp", "*nbsp"},
    {"&", "&amp"},
    {"*nbsp", "&nbsp"},
    {"<br>", "<br>\r\n"},
    {"+<", "+&lt"},
    {"+>", "+&gt"},
});

// Whether the byte stands beside one with which it needs an escape.
bool HasNeighbour(std::string_view text, char c, std::string_view before, std::string_view after) {
  for (std::size_t at = text.find(c); at != std::string_view::npos; at = text.find(c, at + 1)) {
    if (at > 0 && before.find(text[at - 1]) != std::string_view::npos) {
      return true;
    }
    if (at + 1 < text.size() && after.find(text[at + 1]) != std::string_view::npos) {
      return true;
    }
  }
  return false;
}

} // namespace

bool CKestExtension::NeedsNoConversion(std::string_view text) {
  return text.find('&') == std::string_view::npos && text.find('\'') == std::string_view::npos &&
         !HasNeighbour(text, '%', "<", ">") && !HasNeighbour(text, '+', "", "<>");
}

void CKestExtension::ConvertBadXml(CString& line) {
  if (NeedsNoConversion(line)) {
    return;
  }
  CString converted;
  converted.reserve(line.size() + line.size() / 4 + 16);
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    const char before = i > 0 ? line[i - 1] : '\0';
    const char after = i + 1 < line.size() ? line[i + 1] : '\0';
    if (c == '&') {
      converted += "&amp;";
    } else if (c == '\'') {
      converted += "&apos;";
    } else if (c == '<' && (after == '%' || before == '+')) {
      converted += "&lt;";
    } else if (c == '>' && (before == '%' || before == '+')) {
      converted += "&gt;";
    } else {
      converted += c;
    }
  }
  line.swap(converted);
}

void CKestExtension::RevertBadXml(CString& text) {
  if (text.find('&') != CString::npos) {
    ReplaceEach(text, kReverted);
  }
}

void CKestExtension::CleanUpText(CString& text) {
  text::Trim(text);
  ReplaceEach(text, kCleanedUp);
}

void CKestExtension::OutputText(const CString& value, const CString& tag, const CString& indent, CString& text) {
  CString converted = value;
  ReplaceEach(converted, kWritten);
  const CString lineEnd = "\r\n" + indent;
  text += lineEnd + "<" + tag + ">";
  text += lineEnd + "<![CDATA[";
  text += lineEnd + converted;
  text += lineEnd + "]]>";
  text += lineEnd + "</" + tag + ">\r\n";
}

} // namespace kest
