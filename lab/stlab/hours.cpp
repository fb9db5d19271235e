#include "lab/stlab/hours.h"

#include <algorithm>
#include <limits>

namespace stlab {

std::vector<lab::period> periods_in_hour(lab::recorder const& in, lab::stream const& of,
                                         std::int64_t hour_ms) {
  return in.periods(of, {hour_ms, hour_ms + lab::hour_milliseconds - 1});
}

std::int64_t first_recordable_hour(lab::recorder const& in, lab::stream const& of) {
  std::optional<std::int64_t> const leaked = in.latest_leaked_hour(of);
  return leaked ? *leaked + lab::hour_milliseconds : std::numeric_limits<std::int64_t>::min();
}

std::optional<std::int64_t> latest_empty_hour(lab::recorder const& in, lab::stream const& of,
                                              std::int64_t from_ms) {
  std::int64_t const first_ms = first_recordable_hour(in, of);
  std::int64_t hour_ms = lab::hour_of(from_ms);
  while (hour_ms >= first_ms) {
    auto const known = periods_in_hour(in, of, hour_ms);
    if (known.empty()) return hour_ms;
    auto const earliest = std::min_element(
        known.begin(), known.end(),
        [](auto const& one, auto const& other) { return one.start_ms < other.start_ms; });
    hour_ms = std::min(lab::hour_of(earliest->start_ms), hour_ms) - lab::hour_milliseconds;
  }
  return std::nullopt;
}

}  // namespace stlab
