#include "config/text_lines.h"

#include <algorithm>

namespace kest {

TextLine LineFrom(std::string_view content, std::size_t start) {
  const std::size_t feed = std::min(content.find('\n', start), content.size());
  const bool withReturn = feed > start && feed < content.size() && content[feed - 1] == '\r';
  return {start, withReturn ? feed - 1 : feed, std::min(feed + 1, content.size())};
}

TextLine LineAround(std::string_view content, std::size_t at) {
  const std::size_t before = at == 0 ? std::string_view::npos : content.rfind('\n', at - 1);
  return LineFrom(content, before == std::string_view::npos ? 0 : before + 1);
}

void EndLastLine(CString& content) {
  if (!content.empty() && content.back() != '\n') {
    content += kLineEnd;
  }
}

} // namespace kest
