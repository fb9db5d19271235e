#include "lab/stlab/hours.h"

#include <ctime>
#include <limits>
#include <optional>

namespace stlab {

std::string utc_text(std::int64_t time_ms) {
  auto const seconds = static_cast<std::time_t>(time_ms / 1000 - (time_ms % 1000 < 0 ? 1 : 0));
  std::tm parts{};
  if (::gmtime_r(&seconds, &parts) == nullptr) return "out of range";
  char text[40];
  std::size_t const length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts);
  return {text, length};
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
