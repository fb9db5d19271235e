#include "lab/util/calendar.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <limits>
#include <string>

namespace {

constexpr std::int64_t day_ms = 86'400'000;

std::string text_of(lab::utc_time const& time) {
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), "%lld-%02d-%02d %02d:%02d:%02d",
                static_cast<long long>(time.year), time.month, time.day, time.hour, time.minute,
                time.second);
  return text.data();
}

std::string utc(std::int64_t time_ms) { return text_of(lab::utc_of(time_ms)); }

TEST(calendar, tells_any_moment_in_utc) {
  EXPECT_EQ("1970-01-01 00:00:00", utc(0));
  EXPECT_EQ("1969-12-31 23:59:59", utc(-1));
  EXPECT_EQ("2026-11-21 07:30:59", utc(1'795'246'259'999));
  EXPECT_EQ("2038-01-19 03:14:08", utc(2'147'483'648'000));
  EXPECT_EQ("2100-02-28 23:59:59", utc(4'107'542'399'000));
  EXPECT_EQ("2100-03-01 00:00:00", utc(4'107'542'400'000));
  EXPECT_EQ("0001-01-01 00:00:00", "000" + utc(-62'135'596'800'000));
  EXPECT_EQ("9999-12-31 23:59:59", utc(253'402'300'799'999));
  EXPECT_EQ("292278994-08-17 07:12:55", utc(std::numeric_limits<std::int64_t>::max()));
  EXPECT_EQ("-292275055-05-16 16:47:04", utc(std::numeric_limits<std::int64_t>::min()));
}

TEST(calendar, counts_the_days_of_400_years_one_by_one) {
  std::int64_t const first_ms = lab::seconds_of({1900, 1, 1, 0, 0, 0}).value() * 1000;
  EXPECT_EQ(-2'208'988'800'000, first_ms);
  std::array<int, 13> const lengths{0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  lab::utc_time expected{1900, 1, 1, 12, 0, 0};
  for (int day = 0; day <= 146'097; ++day) {
    lab::utc_time const told = lab::utc_of(first_ms + day * day_ms + day_ms / 2);
    ASSERT_EQ(text_of(expected), text_of(told));
    ASSERT_EQ((first_ms + day * day_ms + day_ms / 2) / 1000, lab::seconds_of(told));
    bool const is_leap =
        expected.year % 4 == 0 && (expected.year % 100 != 0 || expected.year % 400 == 0);
    int const leap_day = expected.month == 2 && is_leap ? 1 : 0;
    if (++expected.day <= lengths.at(static_cast<std::size_t>(expected.month)) + leap_day) continue;
    expected.day = 1;
    if (++expected.month <= 12) continue;
    expected.month = 1;
    ++expected.year;
  }
}

TEST(calendar, knows_no_date_that_there_is_not) {
  for (lab::utc_time const& none : {lab::utc_time{2026, 2, 29, 0, 0, 0},
                                    {2100, 2, 29, 0, 0, 0},
                                    {2026, 13, 1, 0, 0, 0},
                                    {2026, 0, 1, 0, 0, 0},
                                    {2026, 1, 0, 0, 0, 0},
                                    {2026, 4, 31, 0, 0, 0},
                                    {2026, 1, 1, 24, 0, 0},
                                    {2026, 1, 1, 0, 60, 0},
                                    {2026, 1, 1, 0, 0, 60},
                                    {2026, 99, 99, 99, 99, 99}}) {
    EXPECT_EQ(std::nullopt, lab::seconds_of(none)) << text_of(none);
  }
  EXPECT_EQ(951'782'400, lab::seconds_of({2000, 2, 29, 0, 0, 0}));
}

TEST(calendar, has_local_times_as_far_as_time_t_counts) {
  EXPECT_EQ(138, lab::local_time_of(2'147'483'647'999).value().tm_year);
  bool const is_short = sizeof(std::time_t) == 4;
  EXPECT_EQ(!is_short, lab::local_time_of(2'147'483'648'000).has_value());
  EXPECT_EQ(!is_short, lab::local_time_of(-2'147'483'648'001).has_value());
  EXPECT_EQ(69, lab::local_time_of(-1).value().tm_year);
}

}  // namespace
