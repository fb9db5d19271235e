#include "lab/util/calendar.h"

#include <tuple>

namespace lab {

namespace {

constexpr std::int64_t seconds_a_day = 86400;
// Years are counted from March 1 of the year 0, so that a leap day is a year's
// last; after 400 of them dates repeat.
constexpr std::int64_t days_in_400_years = 146'097;
constexpr std::int64_t first_of_march_to_epoch = 719'468;

std::int64_t floor_of(std::int64_t dividend, std::int64_t divisor) {
  return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
}

std::int64_t days_to(utc_time const& date) {
  std::int64_t const year = date.year - (date.month <= 2 ? 1 : 0);
  std::int64_t const month = (date.month + 9) % 12;  // from March on
  std::int64_t const day_of_year = (153 * month + 2) / 5 + date.day - 1;
  return 365 * year + floor_of(year, 4) - floor_of(year, 100) + floor_of(year, 400) + day_of_year -
         first_of_march_to_epoch;
}

void set_date(utc_time& time, std::int64_t days) {
  std::int64_t const since = days + first_of_march_to_epoch;
  std::int64_t const rounds = floor_of(since, days_in_400_years);
  std::int64_t const day = since - rounds * days_in_400_years;
  std::int64_t const year = (day - day / 1460 + day / 36'524 - day / 146'096) / 365;
  std::int64_t const day_of_year = day - (365 * year + year / 4 - year / 100);
  std::int64_t const month = (5 * day_of_year + 2) / 153;
  time.day = static_cast<int>(day_of_year - (153 * month + 2) / 5) + 1;
  time.month = static_cast<int>(month < 10 ? month + 3 : month - 9);
  time.year = rounds * 400 + year + (time.month <= 2 ? 1 : 0);
}

auto fields(utc_time const& of) {
  return std::tuple(of.year, of.month, of.day, of.hour, of.minute, of.second);
}

}  // namespace

utc_time utc_of(std::int64_t time_ms) {
  std::int64_t const seconds = floor_of(time_ms, 1000);
  std::int64_t const days = floor_of(seconds, seconds_a_day);
  auto const second_of_day = static_cast<int>(seconds - days * seconds_a_day);
  utc_time time;
  set_date(time, days);
  time.hour = second_of_day / 3600;
  time.minute = second_of_day / 60 % 60;
  time.second = second_of_day % 60;
  return time;
}

std::optional<std::int64_t> seconds_of(utc_time const& time) {
  std::int64_t const seconds = days_to(time) * seconds_a_day + std::int64_t{time.hour} * 3600 +
                               std::int64_t{time.minute} * 60 + time.second;
  // What is out of range has been counted over into another date or time.
  if (fields(utc_of(seconds * 1000)) != fields(time)) return std::nullopt;
  return seconds;
}

std::optional<std::tm> local_time_of(std::int64_t time_ms) {
  std::int64_t const seconds = floor_of(time_ms, 1000);
  auto const time = static_cast<std::time_t>(seconds);
  std::tm local{};
  if (time != seconds || localtime_r(&time, &local) == nullptr) return std::nullopt;
  return local;
}

}  // namespace lab
