// Hours as the subcommands show them, and which of them a stream knows about.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/recorder/recorder.h"
#include "lab/volume/layout.h"

namespace stlab {

inline constexpr std::int64_t day_milliseconds = 24 * lab::hour_milliseconds;

// "2026-11-21 07:00", in UTC.
std::string utc_text(std::int64_t time_ms);

// The stream's periods that overlap so many hours from `start_ms` on.
std::vector<lab::period> periods_from(lab::recorder const& in, lab::stream const& of,
                                      std::int64_t start_ms, std::int64_t hours);

std::vector<std::int64_t> ids_of(std::vector<lab::period> const& periods);

// The earliest hour that can be recorded. What leaked is recycled up to the
// stream's earliest period only, so none may come before it.
std::int64_t first_recordable_hour(lab::recorder const& in, lab::stream const& of);

}  // namespace stlab
