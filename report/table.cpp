#include "report/table.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace report {

namespace {

constexpr int between = 2;

int sum_of(std::vector<int> const& widths) {
  auto const used = std::count_if(widths.begin(), widths.end(), [](int each) { return each > 0; });
  int const sum = std::accumulate(widths.begin(), widths.end(), 0);
  return sum + between * std::max(static_cast<int>(used) - 1, 0);
}

std::string line_of(std::vector<std::string> const& cells, std::vector<int> const& widths,
                    std::vector<table::column> const& columns, layout const& in) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (widths[i] == 0) continue;
    if (!line.empty()) line.append(between, ' ');
    line += fitted(cells[i], widths[i], columns[i].side, in);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

}  // namespace

table::table(std::vector<column> columns) : columns_(std::move(columns)) {}

void table::add(std::vector<std::string> row) {
  row.resize(columns_.size());
  rows_.push_back(std::move(row));
}

std::vector<int> table::widths(layout const& in) const {
  std::vector<int> widths;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    int widest = width_of(columns_[i].title);
    for (auto const& row : rows_) widest = std::max(widest, width_of(row[i]));
    widths.push_back(std::max(widest, 1));
  }
  for (std::size_t i = columns_.size(); i-- > 0 && sum_of(widths) > in.columns;) {
    if (columns_[i].may_go) widths[i] = 0;
  }
  while (sum_of(widths) > in.columns) {
    int& widest = *std::max_element(widths.begin(), widths.end());
    if (widest <= 1) break;
    --widest;
  }
  return widths;
}

std::string table::text(layout const& in) const {
  std::vector<int> const fit = widths(in);
  std::vector<std::string> titles;
  for (column const& each : columns_) titles.push_back(each.title);
  std::string lines = painted(line_of(titles, fit, columns_, in), style::faint, in) + "\n";
  for (auto const& row : rows_) lines += line_of(row, fit, columns_, in) + "\n";
  return lines;
}

}  // namespace report
