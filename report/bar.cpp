#include "report/bar.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace report {

namespace {

using parts = std::array<double, 4>;

// Whole cells by the parts' shares: the largest remainders get what rounding left over.
std::array<int, 4> apportioned(parts const& sizes, double total, int cells) {
  std::array<int, 4> count{};
  parts remainder{};
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    double const exact = sizes[i] / total * cells;
    count[i] = static_cast<int>(std::floor(exact));
    remainder[i] = exact - count[i];
  }
  for (int left = cells - std::accumulate(count.begin(), count.end(), 0); left > 0; --left) {
    auto const most = std::max_element(remainder.begin(), remainder.end()) - remainder.begin();
    ++count[static_cast<std::size_t>(most)];
    remainder[static_cast<std::size_t>(most)] = -1;
  }
  return count;
}

// A small part takes its one cell from the largest.
void show_small_ones(parts const& sizes, std::array<int, 4>& count) {
  for (std::size_t i = 0; i < 3; ++i) {
    if (!(sizes[i] > 0) || count[i] > 0) continue;
    int& largest = *std::max_element(count.begin(), count.end());
    if (largest < 2) return;
    --largest;
    count[i] = 1;
  }
}

double size_of(std::int64_t mb) noexcept {
  return static_cast<double>(std::max<std::int64_t>(mb, 0));
}

bar bar_from(double used, double preallocated, double lost, double total, int cells) {
  double const known = used + preallocated + lost;
  double const whole = std::max(total, known);
  if (cells <= 0) return {};
  if (!(whole > 0)) return {0, 0, 0, cells};
  parts const sizes{used, preallocated, lost, whole - known};
  auto count = apportioned(sizes, whole, cells);
  show_small_ones(sizes, count);
  return {count[0], count[1], count[2], count[3]};
}

}  // namespace

bar bar_of(volume const& of, int cells) {
  if (of.measured == measuring::not_mounted) return {0, 0, 0, std::max(cells, 0)};
  return bar_from(size_of(of.used_mb), size_of(of.preallocated_mb.value_or(0)),
                  size_of(of.lost_mb.value_or(0)), size_of(of.total_mb), cells);
}

bar bar_of(space const& of, int cells) {
  return bar_from(size_of(of.used_mb), 0, 0, size_of(of.total_mb), cells);
}

}  // namespace report
