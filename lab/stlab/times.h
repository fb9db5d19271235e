// Moments in ms since the epoch, as the subcommands count and show them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "lab/volume/layout.h"

namespace stlab {

inline constexpr std::int64_t day_milliseconds = 24 * lab::hour_milliseconds;

// "2026-11-21 07:00", in UTC.
std::string utc_text(std::int64_t time_ms);

// The seconds since the epoch of "2026-11-21", "2026-11-21 07:00" or
// "2026-11-21 07:00:30", a T in place of the blank: in UTC with a Z at its end,
// else in local time. None for anything else, and for what no clock shows.
std::optional<std::int64_t> seconds_of(std::string const& text);

// The start of the UTC hour that holds the local midnight `days_back` days
// before the one that began the local day of `time_ms`.
std::int64_t midnight_hour(std::int64_t time_ms, int days_back);

}  // namespace stlab
