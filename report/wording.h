// Sizes, shares, moments and streams in the words that the text and the page share.
#pragma once

#include <cstdint>
#include <string>

#include "report/days.h"
#include "report/model.h"

namespace report {

// "38 MB", "3.7 GB", "512 GB": in MB below 1 GB, then with one decimal below 100 GB.
std::string size_text(std::int64_t mb);

// "59.4 %"; "-" when the total is not positive or nothing sensible comes out.
std::string share_text(std::int64_t part, std::int64_t total);

// "1 volume", "2 volumes".
std::string count_text(std::size_t count, std::string const& one, std::string const& many);

// "NR S00".
std::string stream_text(std::string const& type_name, std::int32_t number);

// "2026-11-22 07:30 to 2026-11-22 08:30".
std::string span_text(std::int64_t start_ms, std::int64_t end_ms);

// Of all streams.
std::size_t periods_without_id(channel const& of);

// ", 4 with gaps, 2 periods without id", behind the days that a channel keeps; empty where
// it lacks nothing.
std::string lacks_text(channel const& of, kept const& has);

// What a channel has recorded on all spaces, in MB. Stays at the greatest or the least
// value when the sum does not fit.
std::int64_t recorded_mb(channel const& of) noexcept;

// "vol1, vol2"; "-" without one.
std::string volumes_text(channel const& of);

}  // namespace report
