// The hours of a stream as areas of a picture: a column for each day, a row for each hour.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "report/days.h"

namespace report {

enum class hour { unknown, recorded, partly, missing };

// Rows [first_hour, end_hour) of the columns [first_day, end_day).
struct hour_area {
  std::size_t first_day;
  std::size_t end_day;
  std::size_t first_hour;
  std::size_t end_hour;
};

// What is known of each hour of each day.
using hour_grid = std::vector<std::vector<hour>>;

// An hour of which less than a minute is missing counts as recorded. One between the first
// and the last recorded hour is missing, unless gaps are no news; outside it is unknown.
enum class gaps { told, no_news };
hour_grid grid_of(std::vector<day> const& days, gaps which);

// How many hours are of that kind.
std::size_t count_of(hour_grid const& grid, hour kind);

// The areas that the hours chosen by is_in(day, hour) cover; equal runs of following days
// are one area.
template <typename Chosen>
std::vector<hour_area> areas_of(std::vector<day> const& days, Chosen is_in) {
  std::vector<hour_area> done;
  std::vector<hour_area> open;
  for (std::size_t at = 0; at < days.size(); ++at) {
    std::vector<hour_area> next;
    std::size_t const hours = days[at].recorded_s.size();
    std::size_t known = 0;
    for (std::size_t from = 0; from < hours; ++from) {
      if (!is_in(at, from)) continue;
      std::size_t to = from;
      while (to < hours && is_in(at, to)) ++to;
      while (known < open.size() && open[known].first_hour < from) done.push_back(open[known++]);
      bool const goes_on =
          known < open.size() && open[known].first_hour == from && open[known].end_hour == to;
      next.push_back({goes_on ? open[known++].first_day : at, at + 1, from, to});
      from = to;
    }
    done.insert(done.end(), open.begin() + static_cast<std::ptrdiff_t>(known), open.end());
    open = std::move(next);
  }
  done.insert(done.end(), open.begin(), open.end());
  return done;
}

}  // namespace report
