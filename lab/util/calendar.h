// Dates and times of day. In UTC they are reckoned in 64 bits, as time_t may have
// fewer; local time needs time_t.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

namespace lab {

struct utc_time {
  std::int64_t year = 1970;
  int month = 1;  // 1 to 12
  int day = 1;    // 1 to 31
  int hour = 0;
  int minute = 0;
  int second = 0;
};

// The second that holds `time_ms`, in ms since the epoch, also before it.
utc_time utc_of(std::int64_t time_ms);

// Seconds since the epoch, for a year of at most four digits. None for a date or
// time that there is not, such as February 30.
std::optional<std::int64_t> seconds_of(utc_time const& time);

// The local time of `time_ms`, in ms since the epoch. None beyond what time_t
// holds: 32 bits end in 2038.
std::optional<std::tm> local_time_of(std::int64_t time_ms);

}  // namespace lab
