// The days and hours of a channel's recordings, in the local time of the process.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "report/model.h"

namespace report {

inline constexpr std::int64_t hour_ms = std::int64_t{3600} * 1000;

// One local day. Hours are counted from its beginning: 23 to 25 of them where the
// clock is changed.
struct day {
  std::string date;              // "2026-11-22"
  std::int64_t start_ms = 0;     // its first moment
  std::int64_t end_ms = 0;       // the first moment of the next one
  std::vector<int> recorded_s;   // of each hour, how many seconds are recorded
  std::vector<bool> without_id;  // of each hour, whether a period without id lies in it
};

// How long a channel, or one of its streams, keeps recordings.
struct kept {
  std::int64_t oldest_ms = 0;    // start of the oldest period
  std::int64_t latest_ms = 0;    // end of the latest one
  int days = 0;                  // local days from the oldest to the latest, both counted
  int days_with_recordings = 0;  // those of them on which something is recorded
  // Those on which an hour is missing: one that lies between the oldest and the latest
  // moment, and of which nothing is recorded.
  int days_with_gaps = 0;
};

// Every day from the first to the last on which one of the periods lies, at most
// `limit` of them, counted from the last. Periods that end before they start, and
// those before 1970 or after 9999, are left out.
std::vector<day> days_of(std::vector<period> const& periods, std::size_t limit);

// The same of all streams of a channel together.
std::vector<day> days_of_channel(channel const& of, std::size_t limit);

// All zero without a period.
kept kept_by(std::vector<period> const& periods);

// The same of all streams of a channel together.
kept kept_by_channel(channel const& of);

}  // namespace report
