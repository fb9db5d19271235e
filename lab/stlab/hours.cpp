#include "lab/stlab/hours.h"

#include <array>
#include <cstdio>
#include <limits>
#include <optional>

#include "lab/util/calendar.h"

namespace stlab {

std::string utc_text(std::int64_t time_ms) {
  lab::utc_time const utc = lab::utc_of(time_ms);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%lld-%02d-%02d %02d:%02d",
                static_cast<long long>(utc.year), utc.month, utc.day, utc.hour, utc.minute);
  return text.data();
}

std::vector<lab::period> periods_from(lab::recorder const& in, lab::stream const& of,
                                      std::int64_t start_ms, std::int64_t hours) {
  return in.periods(of, {start_ms, start_ms + hours * lab::hour_milliseconds - 1});
}

std::vector<std::int64_t> ids_of(std::vector<lab::period> const& periods) {
  std::vector<std::int64_t> ids;
  ids.reserve(periods.size());
  for (lab::period const& each : periods) ids.push_back(each.id);
  return ids;
}

std::int64_t first_recordable_hour(lab::recorder const& in, lab::stream const& of) {
  std::optional<std::int64_t> const leaked = in.latest_leaked_hour(of);
  return leaked ? *leaked + lab::hour_milliseconds : std::numeric_limits<std::int64_t>::min();
}

}  // namespace stlab
