#include "platform/text/nearest.h"

#include "platform/text/text.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace kest::text {

namespace {
constexpr std::size_t kLongest = 64;
constexpr std::size_t kNear = 2;
} // namespace

std::size_t EditDistance(std::string_view a, std::string_view b) {
  if (a.size() >= kLongest || b.size() >= kLongest) {
    return std::max(a.size(), b.size());
  }
  std::vector<std::size_t> before;
  std::vector<std::size_t> last;
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t i = 0; i < a.size(); ++i) {
    before = std::exchange(last, row);
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      row[j + 1] = std::min({last[j] + (a[i] != b[j]), last[j + 1] + 1, row[j] + 1});
      if (i > 0 && j > 0 && a[i] == b[j - 1] && a[i - 1] == b[j]) {
        row[j + 1] = std::min(row[j + 1], before[j - 1] + 1);
      }
    }
  }
  return row.back();
}

bool IsNear(std::string_view given, std::string_view known) {
  const std::size_t distance = EditDistance(Lower(given), Lower(known));
  return distance <= std::min(kNear, known.size() / 2);
}

} // namespace kest::text
