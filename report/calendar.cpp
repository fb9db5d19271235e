#include "report/calendar.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <limits>

namespace report {

namespace {

constexpr std::int64_t day_s = 86400;
constexpr std::int64_t end_of_9999_s = 253402300800;

// No local clock is further than this from a day's beginning by UTC.
constexpr std::int64_t widest_change_s = 26 * std::int64_t{3600};

// Days since 1970-01-01 of a date of the Gregorian calendar, and back. Years are counted
// from March, so that the leap day is the last one.
std::int64_t number_of_date(std::int64_t year, int month, int day) noexcept {
  std::int64_t const from_march = month > 2 ? year : year - 1;
  std::int64_t const era = (from_march >= 0 ? from_march : from_march - 399) / 400;
  std::int64_t const year_of_era = from_march - era * 400;
  std::int64_t const day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  std::int64_t const day_of_era =
      year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

struct date {
  std::int64_t year;
  int month;
  int day;
};

date date_of_number(std::int64_t number) noexcept {
  std::int64_t const shifted = number + 719468;
  std::int64_t const era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
  std::int64_t const day_of_era = shifted - era * 146097;
  std::int64_t const year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  std::int64_t const day_of_year =
      day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  std::int64_t const month = (5 * day_of_year + 2) / 153;
  return {year_of_era + era * 400 + (month < 10 ? 0 : 1),
          static_cast<int>(month < 10 ? month + 3 : month - 9),
          static_cast<int>(day_of_year - (153 * month + 2) / 5 + 1)};
}

std::tm local_of(std::int64_t seconds) noexcept {
  auto const time = static_cast<std::time_t>(seconds);
  std::tm local{};
  localtime_r(&time, &local);
  return local;
}

std::int64_t date_at(std::int64_t seconds) noexcept {
  std::tm const local = local_of(seconds);
  return number_of_date(std::int64_t{local.tm_year} + 1900, local.tm_mon + 1, local.tm_mday);
}

bool is_midnight(std::int64_t seconds, std::int64_t number) noexcept {
  std::tm const local = local_of(seconds);
  return local.tm_hour == 0 && local.tm_min == 0 && local.tm_sec == 0 &&
         number_of_date(std::int64_t{local.tm_year} + 1900, local.tm_mon + 1, local.tm_mday) ==
             number;
}

// The first second in (before, at] that is of this day or a later one, which `at` is.
std::int64_t first_second(std::int64_t number, std::int64_t before, std::int64_t at) noexcept {
  while (at - before > 1) {
    std::int64_t const middle = before + (at - before) / 2;
    (date_at(middle) >= number ? at : before) = middle;
  }
  return at;
}

// A day begins at midnight, where the clock has one: else at the change that left it out.
std::int64_t start_of(std::int64_t number, std::int64_t guess) noexcept {
  if (is_midnight(guess, number)) return guess;
  std::int64_t const noon_by_utc = number * day_s + day_s / 2;
  std::int64_t const offset = std::int64_t{local_of(noon_by_utc).tm_gmtoff};
  std::int64_t const midnight = number * day_s - offset;
  if (is_midnight(midnight, number) && date_at(midnight - 1) < number) return midnight;
  return first_second(number, number * day_s - widest_change_s, number * day_s + widest_change_s);
}

}  // namespace

bool is_known_moment(std::int64_t ms) noexcept {
  constexpr std::int64_t most = std::numeric_limits<std::time_t>::max();
  constexpr std::int64_t known_s =
      most < end_of_9999_s + 4 * day_s ? most - 4 * day_s : end_of_9999_s;
  return ms >= 0 && ms / 1000 < known_s;
}

local_day day_of_number(std::int64_t number, local_day const& near) {
  bool const is_next = number == near.number + 1 && near.end_s > near.start_s;
  if (number == near.number && near.end_s > near.start_s) return near;
  std::int64_t const start = is_next ? near.end_s : start_of(number, number * day_s);
  return {number, start, start_of(number + 1, start + day_s)};
}

local_day day_holding(std::int64_t seconds, local_day const& near) {
  if (near.start_s <= seconds && seconds < near.end_s) return near;
  bool const is_next = near.end_s <= seconds && seconds < near.end_s + day_s / 2;
  local_day found = day_of_number(is_next ? near.number + 1 : date_at(seconds), near);
  // Where a clock was put back over midnight, an hour bears the date of the day before.
  while (seconds >= found.end_s) found = day_of_number(found.number + 1, found);
  while (seconds < found.start_s) found = day_of_number(found.number - 1);
  return found;
}

std::string date_text(std::int64_t day_number) {
  date const of = date_of_number(day_number);
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%04lld-%02d-%02d", static_cast<long long>(of.year),
                of.month, of.day);
  return text.data();
}

std::string local_date(std::int64_t ms) {
  return is_known_moment(ms) ? date_text(date_at(ms / 1000)) : "?";
}

std::string local_moment(std::int64_t ms) {
  if (!is_known_moment(ms)) return "?";
  std::tm const local = local_of(ms / 1000);
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), " %02d:%02d", local.tm_hour, local.tm_min);
  return local_date(ms) + text.data();
}

}  // namespace report
