// The conversions between the text of a description and the text of a record.

#include "config/text_level.h"
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

// What the byte at `i` of a raw line is to become; empty: it stays.
std::string_view EscapeAt(std::string_view line, std::size_t i) {
  const auto isAt = [&](std::size_t at, char c) { return at < line.size() && line[at] == c; };
  switch (line[i]) {
  case '&':
    return "&amp;";
  case '\'':
    return "&apos;";
  case '<':
    return isAt(i + 1, '%') || isAt(i - 1, '+') ? "&lt;" : "";
  case '>':
    return isAt(i - 1, '%') || isAt(i - 1, '+') ? "&gt;" : "";
  default:
    return {};
  }
}

// Which of the replacements of a clean-up can have anything to do: one look at the text instead of one for each.
class Contents {
public:
  explicit Contents(std::string_view text)
      : m_reference(Holds(text, '&')), m_return(Holds(text, '\r')), m_feed(Holds(text, '\n')), m_tag(Holds(text, '<')),
        m_blankBeforeTag(HasNeighbour(text, '<', " ", "")) {
    unsigned pairs = 0;
    for (std::size_t i = 1; i < text.size(); ++i) {
      pairs |= static_cast<unsigned>(text[i - 1] == ' ') & static_cast<unsigned>(text[i] == ' ');
    }
    m_blanks = pairs != 0;
  }

  [[nodiscard]] bool MayHold(std::string_view wanted) const {
    const bool inner = wanted.find('\r') == std::string_view::npos || m_return;
    switch (wanted.front()) {
    case '&':
    case '+':
      return m_reference;
    case '\r':
      return m_return;
    case '\n':
      return m_feed;
    case '<':
      return (m_tag || m_reference) && inner; // a reference may become a bracket
    default:
      return wanted == "  " ? m_blanks : m_blankBeforeTag;
    }
  }

private:
  static bool Holds(std::string_view text, char c) { return text.find(c) != std::string_view::npos; }

  bool m_reference;
  bool m_return;
  bool m_feed;
  bool m_tag;
  bool m_blankBeforeTag;
  bool m_blanks;
};

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
  std::size_t copied = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const std::string_view escape = EscapeAt(line, i);
    if (!escape.empty()) {
      converted.append(line, copied, i - copied);
      converted += escape;
      copied = i + 1;
    }
  }
  converted.append(line, copied);
  line.swap(converted);
}

void CKestExtension::RevertBadXml(CString& text) { RevertLineConversions(text); }

void CKestExtension::CleanUpText(CString& text) {
  text::Trim(text);
  const Contents contents(text);
  for (const auto& [from, to] : kCleanedUp) {
    if (contents.MayHold(from)) {
      text::ReplaceAll(text, from, to);
    }
  }
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
