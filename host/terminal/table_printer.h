#pragma once

#include <string>
#include <vector>

namespace kest::host {

/// Rows under headings. On a terminal the widest columns give way until a row fits; with width 0 nothing is ever cut.
class TablePrinter {
public:
  explicit TablePrinter(std::vector<std::string> headings) : m_rows{std::move(headings)} {}
  /// As many cells as there are headings, fit for a terminal.
  void AddRow(std::vector<std::string> cells) { m_rows.push_back(std::move(cells)); }
  /// Lines ended by line feeds; the headings first.
  [[nodiscard]] std::string Print(int width) const;

private:
  std::vector<std::vector<std::string>> m_rows;
};

} // namespace kest::host
