// The local days and moments of the process's time zone (TZ). Seconds and milliseconds
// since the epoch have 64 bits on every machine; what its time_t cannot hold is unknown.
#pragma once

#include <cstdint>
#include <string>

namespace report {

// One local day, numbered from 1970-01-01 on: its first second, and the first of the
// next one. A day that the clocks left out has no seconds.
struct local_day {
  std::int64_t number = 0;
  std::int64_t start_s = 0;
  std::int64_t end_s = 0;
};

// Whether the day of this moment, and the days beside it, can be told. 1970 to 9999.
bool is_known_moment(std::int64_t ms) noexcept;

// Of a known moment. Asks the system only when `near`, a day known already, does not
// hold it and is not the day before.
local_day day_holding(std::int64_t seconds, local_day const& near = {});

// The day of that number, with the same help.
local_day day_of_number(std::int64_t number, local_day const& near = {});

// "2026-11-22".
std::string date_text(std::int64_t day_number);

// "2026-11-22", and "2026-11-22 07:30"; "?" for an unknown moment.
std::string local_date(std::int64_t ms);
std::string local_moment(std::int64_t ms);

}  // namespace report
