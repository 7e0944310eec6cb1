#include "host/terminal/table_printer.h"

#include "host/terminal/text_width.h"

#include <algorithm>
#include <numeric>

namespace kest::host {
namespace {

constexpr int kGap = 2;
constexpr int kNarrowest = 6;

int Sum(const std::vector<int>& widths) {
  return std::accumulate(widths.begin(), widths.end(), kGap * (static_cast<int>(widths.size()) - 1));
}

// Makes columns narrower until the row fits, then leaves columns out: the last ones first, as the first one names the
// row.
void Shrink(std::vector<int>& widths, int width) {
  int surplus = Sum(widths) - width;
  for (auto column = widths.rbegin(); column != widths.rend() && surplus > 0; ++column) {
    const int taken = std::clamp(*column - kNarrowest, 0, surplus);
    *column -= taken;
    surplus -= taken;
  }
  while (widths.size() > 1 && Sum(widths) > width) {
    widths.pop_back();
  }
}

} // namespace

std::string TablePrinter::Print(int width) const {
  std::vector<int> widths(m_rows.front().size(), 0);
  for (const auto& row : m_rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], DisplayWidth(row[i]));
    }
  }
  if (width > 0) {
    Shrink(widths, width);
  }
  std::string out;
  for (const auto& row : m_rows) {
    std::string line;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      const std::string cell = FitToWidth(row[i], widths[i]);
      line += PadToWidth(cell, widths[i] + (i + 1 < widths.size() ? kGap : 0));
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out += line + "\n";
  }
  return out;
}

} // namespace kest::host
