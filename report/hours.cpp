#include "report/hours.h"

#include <algorithm>
#include <cstdint>

namespace report {

namespace {

constexpr int nearly_whole_s = 3540;

hour kind_of(day const& in, std::size_t at) {
  int const recorded = in.recorded_s[at];
  if (recorded == 0) return hour::unknown;
  std::int64_t const rest_ms = in.end_ms - in.start_ms - static_cast<std::int64_t>(at) * hour_ms;
  bool const is_short = rest_ms < hour_ms;  // where a clock was changed by half an hour
  return is_short || recorded >= nearly_whole_s ? hour::recorded : hour::partly;
}

// Calls mark(hour&) for what lies between the first and the last recorded hour.
template <typename Mark>
void between_recorded(hour_grid& grid, Mark mark) {
  auto const is_recorded = [](hour each) { return each != hour::unknown; };
  auto const is_used = [&](std::vector<hour> const& day) {
    return std::any_of(day.begin(), day.end(), is_recorded);
  };
  auto const first = std::find_if(grid.begin(), grid.end(), is_used);
  auto const last = std::find_if(grid.rbegin(), grid.rend(), is_used).base();
  for (auto day = first; day < last; ++day) {
    bool const is_last = day + 1 == last;
    auto const from =
        day == first ? std::find_if(day->begin(), day->end(), is_recorded) : day->begin();
    auto const to =
        is_last ? std::find_if(day->rbegin(), day->rend(), is_recorded).base() : day->end();
    std::for_each(from, to, mark);
  }
}

}  // namespace

hour_grid grid_of(std::vector<day> const& days, gaps which) {
  hour_grid grid;
  for (day const& each : days) {
    auto& row = grid.emplace_back();
    for (std::size_t at = 0; at < each.recorded_s.size(); ++at) row.push_back(kind_of(each, at));
  }
  if (which == gaps::told) {
    between_recorded(grid, [](hour& each) {
      if (each == hour::unknown) each = hour::missing;
    });
  }
  return grid;
}

std::size_t count_of(hour_grid const& grid, hour kind) {
  std::size_t count = 0;
  for (auto const& day : grid) {
    count += static_cast<std::size_t>(std::count(day.begin(), day.end(), kind));
  }
  return count;
}

}  // namespace report
