// Reports that the writers are tried on.
#pragma once

#include <cstdint>
#include <string>

#include "report/model.h"

namespace sample {

inline constexpr std::int64_t hour_ms = std::int64_t{3600} * 1000;
inline constexpr std::int64_t day_ms = 24 * hour_ms;

// "2026-11-22 07:30" by UTC, in ms since the epoch.
std::int64_t ms_of(std::string const& moment);

report::period recorded(std::int64_t start_ms, std::int64_t end_ms, std::string const& id = "1");

// Two spaces, four volumes, three channels: one volume leaks, one is not mounted, one
// could not be measured, a channel has a gap, another one periods without id.
report::value small();

// As small() two days before: the leak is not there yet, a volume is still mounted,
// another one has gone since.
report::value small_before();

// With what st would do.
report::value with_preview();

// Nothing at all, and nothing wrong.
report::value empty();

// Hourly periods on four streams of each channel, now and then an hour missing.
report::value large(int channels, int days);

// The greatest and least numbers, names full of what has a meaning elsewhere, long ones,
// periods that end before they start.
report::value lying();

}  // namespace sample
