#include "manager/tag_scan.h"

#include <algorithm>

namespace kest {
namespace {

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Where the next tag or comment begins.
std::size_t FindTag(std::string_view text, std::size_t from) {
  while ((from = text.find('<', from)) != std::string_view::npos) {
    if (from + 1 < text.size() && (IsLetter(text[from + 1]) || text[from + 1] == '/' || text[from + 1] == '!')) {
      return from;
    }
    ++from;
  }
  return text.size();
}

} // namespace

bool TagScan::Next() {
  for (;;) {
    m_rest.remove_prefix(FindTag(m_rest, 0));
    if (m_rest.starts_with("<!--")) {
      const std::size_t end = m_rest.find("-->");
      m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 3);
      continue;
    }
    if (m_rest.empty()) {
      return false;
    }
    const std::string_view whole = m_rest.substr(0, FindTag(m_rest, 1));
    m_rest.remove_prefix(whole.size());
    const auto* const end =
        std::find_if(whole.begin() + 2, whole.end(), [](char c) { return IsBlank(c) || c == '>' || c == '/'; });
    m_name = whole.substr(1, static_cast<std::size_t>(end - whole.begin()) - 1);
    m_tag = whole.substr(m_name.size() + 1);
    const std::size_t close = m_tag.rfind('>');
    m_isClosed = close != std::string_view::npos && close > 0 && m_tag[close - 1] == '/';
    return true;
  }
}

std::string_view TagScan::Get(std::string_view attribute) const {
  for (std::size_t at = 1; at + attribute.size() < m_tag.size(); ++at) {
    at = m_tag.find('=', at);
    if (at == std::string_view::npos) {
      return {};
    }
    std::size_t end = at;
    while (end > 0 && IsBlank(m_tag[end - 1])) {
      --end;
    }
    const std::size_t begin = end >= attribute.size() ? end - attribute.size() : 0;
    const bool isWhole = begin > 0 && (IsBlank(m_tag[begin - 1]) || m_tag[begin - 1] == '"');
    if (!isWhole || !text::EqualNoCase(m_tag.substr(begin, end - begin), attribute)) {
      continue;
    }
    const std::size_t quote = m_tag.find_first_not_of(" \t\r\n", at + 1);
    if (quote == std::string_view::npos || (m_tag[quote] != '"' && m_tag[quote] != '\'')) {
      continue;
    }
    const std::size_t close = std::min(m_tag.find(m_tag[quote], quote + 1), m_tag.size());
    return text::Trimmed(m_tag.substr(quote + 1, close - quote - 1));
  }
  return {};
}

} // namespace kest
