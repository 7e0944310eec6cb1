#include "host/terminal/unified_diff.h"

#include <algorithm>
#include <fmt/format.h>

namespace kest::host {
namespace {

using Lines = std::vector<std::string_view>;
using Kind = DiffLine::Kind;

constexpr std::size_t kContext = 3;
// Two files that have less in common than this many steps can find are told as one place: what is left is all new.
constexpr std::ptrdiff_t kMostSteps = 2000;

/// Lines with their ends.
Lines Split(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return lines;
}

std::string_view WithoutEnd(std::string_view line) {
  line.remove_suffix(line.ends_with('\n') ? 1 : 0);
  line.remove_suffix(line.ends_with('\r') ? 1 : 0);
  return line;
}

const char* EndOf(std::string_view line) {
  return line.ends_with("\r\n") ? " [CR LF]"
         : line.ends_with('\n') ? " [LF]"
         : line.ends_with('\r') ? " [CR]"
                                : " [no end]";
}

/// One step from before to after.
struct Edit {
  Kind kind;
  std::size_t before; ///< index of the line there, or where it would stand
  std::size_t after;
};

/// The shortest way from one to the other, by its furthest reaching paths.
std::vector<Edit> FindEdits(const Lines& before, const Lines& after, std::size_t skip, std::size_t keep) {
  const auto n = static_cast<std::ptrdiff_t>(before.size() - skip - keep);
  const auto m = static_cast<std::ptrdiff_t>(after.size() - skip - keep);
  const auto a = [&](std::ptrdiff_t i) { return before[skip + static_cast<std::size_t>(i)]; };
  const auto b = [&](std::ptrdiff_t i) { return after[skip + static_cast<std::size_t>(i)]; };
  const auto edit = [&](Kind kind, std::ptrdiff_t x, std::ptrdiff_t y) {
    return Edit{kind, skip + static_cast<std::size_t>(x), skip + static_cast<std::size_t>(y)};
  };
  std::vector<std::vector<std::ptrdiff_t>> reached; // by steps: x on each diagonal from -d to d
  std::vector<std::ptrdiff_t> last{0, 0, 0};
  std::ptrdiff_t d = 0;
  bool isFound = false;
  for (; !isFound && d <= std::min(n + m, kMostSteps); ++d) {
    std::vector<std::ptrdiff_t> now(static_cast<std::size_t>(2 * d + 1));
    for (std::ptrdiff_t k = -d; k <= d && !isFound; k += 2) {
      const auto at = [&](std::ptrdiff_t diagonal) { return last[static_cast<std::size_t>(diagonal + d - 1)]; };
      const bool isDown = d > 0 && (k == -d || (k != d && at(k - 1) < at(k + 1)));
      std::ptrdiff_t x = d == 0 ? 0 : isDown ? at(k + 1) : at(k - 1) + 1;
      while (x < n && x - k < m && a(x) == b(x - k)) {
        ++x;
      }
      now[static_cast<std::size_t>(k + d)] = x;
      isFound = x >= n && x - k >= m;
    }
    reached.push_back(now);
    last = std::move(now);
  }
  std::vector<Edit> edits;
  std::ptrdiff_t x = n;
  std::ptrdiff_t y = m;
  if (!isFound) {
    for (; y > 0; --y) {
      edits.push_back(edit(Kind::kNew, n, y - 1));
    }
    for (; x > 0; --x) {
      edits.push_back(edit(Kind::kGone, x - 1, 0));
    }
  }
  for (std::ptrdiff_t step = d - 1; isFound && step >= 0; --step) {
    const std::ptrdiff_t k = x - y;
    std::ptrdiff_t fromX = 0;
    bool isDown = false;
    if (step > 0) {
      const std::vector<std::ptrdiff_t>& old = reached[static_cast<std::size_t>(step - 1)];
      const auto at = [&](std::ptrdiff_t diagonal) { return old[static_cast<std::size_t>(diagonal + step - 1)]; };
      isDown = k == -step || (k != step && at(k - 1) < at(k + 1));
      fromX = isDown ? at(k + 1) : at(k - 1) + 1;
    }
    for (; x > fromX; --x, --y) {
      edits.push_back(edit(Kind::kSame, x - 1, y - 1));
    }
    if (step > 0) {
      edits.push_back(isDown ? edit(Kind::kNew, x, y - 1) : edit(Kind::kGone, x - 1, y));
      (isDown ? y : x) -= 1;
    }
  }
  std::reverse(edits.begin(), edits.end());
  return edits;
}

std::string Range(std::size_t begin, std::size_t count) {
  const std::size_t first = count == 0 ? begin : begin + 1;
  return count == 1 ? std::to_string(first) : fmt::format("{},{}", first, count);
}

} // namespace

std::vector<DiffLine> UnifiedDiff(std::string_view name, std::string_view before, std::string_view after) {
  std::vector<DiffLine> out;
  if (before == after) {
    return out;
  }
  const Lines old = Split(before);
  const Lines now = Split(after);
  const std::size_t least = std::min(old.size(), now.size());
  std::size_t skip = 0;
  while (skip < least && old[skip] == now[skip]) {
    ++skip;
  }
  std::size_t keep = 0;
  while (keep < least - skip && old[old.size() - 1 - keep] == now[now.size() - 1 - keep]) {
    ++keep;
  }
  std::vector<Edit> edits;
  for (std::size_t i = skip - std::min(skip, kContext); i < skip; ++i) {
    edits.push_back({Kind::kSame, i, i});
  }
  for (const Edit& edit : FindEdits(old, now, skip, keep)) {
    edits.push_back(edit);
  }
  for (std::size_t i = keep; i > keep - std::min(keep, kContext); --i) {
    edits.push_back({Kind::kSame, old.size() - i, now.size() - i});
  }
  out.push_back({Kind::kFile, fmt::format("--- {}", before.empty() ? "(not there)" : name)});
  out.push_back({Kind::kFile, fmt::format("+++ {}", after.empty() ? "(gone)" : name)});
  std::vector<std::string_view> goneTexts;
  std::vector<std::string_view> newTexts;
  for (const Edit& edit : edits) {
    if (edit.kind == Kind::kGone) {
      goneTexts.push_back(WithoutEnd(old[edit.before]));
    } else if (edit.kind == Kind::kNew) {
      newTexts.push_back(WithoutEnd(now[edit.after]));
    }
  }
  std::sort(goneTexts.begin(), goneTexts.end());
  std::sort(newTexts.begin(), newTexts.end());
  for (std::size_t i = 0; i < edits.size();) {
    while (i < edits.size() && edits[i].kind == Kind::kSame) {
      ++i;
    }
    if (i == edits.size()) {
      break;
    }
    const std::size_t begin = i - std::min(i, kContext);
    std::size_t end = i;
    for (std::size_t same = 0; i < edits.size() && same <= 2 * kContext; ++i) {
      same = edits[i].kind == Kind::kSame ? same + 1 : 0;
      end = edits[i].kind == Kind::kSame ? end : i + 1;
    }
    end = std::min(end + kContext, edits.size());
    i = end;
    std::size_t oldCount = 0;
    std::size_t newCount = 0;
    for (std::size_t at = begin; at < end; ++at) {
      oldCount += edits[at].kind != Kind::kNew ? 1 : 0;
      newCount += edits[at].kind != Kind::kGone ? 1 : 0;
    }
    out.push_back({Kind::kPlace, fmt::format("@@ -{} +{} @@", Range(edits[begin].before, oldCount),
                                             Range(edits[begin].after, newCount))});
    for (std::size_t at = begin; at < end; ++at) {
      const Edit& edit = edits[at];
      const std::string_view line = edit.kind == Kind::kNew ? now[edit.after] : old[edit.before];
      const std::string_view text = WithoutEnd(line);
      const auto& others = edit.kind == Kind::kNew ? goneTexts : newTexts;
      const bool isOnlyTheEnd = edit.kind != Kind::kSame && std::binary_search(others.begin(), others.end(), text);
      const char sign = edit.kind == Kind::kSame ? ' ' : edit.kind == Kind::kNew ? '+' : '-';
      out.push_back({edit.kind, fmt::format("{}{}{}", sign, text, isOnlyTheEnd ? EndOf(line) : "")});
      if (!line.ends_with('\n') && !isOnlyTheEnd) {
        out.push_back({Kind::kSame, "\\ No newline at end of file"});
      }
    }
  }
  return out;
}

} // namespace kest::host
