#include "host/terminal/table_printer.h"

#include "host/terminal/text_width.h"

#include <algorithm>
#include <numeric>

namespace kest::host {
namespace {

constexpr int kGap = 2;
constexpr int kNarrowest = 6;

// Takes columns away until the row fits or nothing more can be taken: the last ones first, as the first one names the
// row.
void Shrink(std::vector<int>& widths, int width) {
  const int gaps = kGap * (static_cast<int>(widths.size()) - 1);
  int surplus = std::accumulate(widths.begin(), widths.end(), gaps) - width;
  for (auto column = widths.rbegin(); column != widths.rend() && surplus > 0; ++column) {
    const int taken = std::clamp(*column - kNarrowest, 0, surplus);
    *column -= taken;
    surplus -= taken;
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
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string cell = FitToWidth(row[i], widths[i]);
      line += PadToWidth(cell, widths[i] + (i + 1 < row.size() ? kGap : 0));
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out += line + "\n";
  }
  return out;
}

} // namespace kest::host
