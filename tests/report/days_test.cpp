// Days, hours and gaps in local time.
#include "report/days.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <numeric>

#include "environment.h"
#include "report/calendar.h"
#include "sample.h"

namespace {

using report::days_of;
using report::kept_by;
using sample::day_ms;
using sample::hour_ms;
using sample::ms_of;
using sample::recorded;

class days : public testing::Test {
 protected:
  days() { in_zone("UTC"); }
  ~days() override { in_zone("UTC"); }

  static void in_zone(char const* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
};

// Where the clock changes at two in the morning, and where it does at midnight.
constexpr char const* at_two = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr char const* at_midnight = "<-03>3<-02>,M10.3.0/0,M2.3.0/0";

int sum_of(report::day const& of) {
  return std::accumulate(of.recorded_s.begin(), of.recorded_s.end(), 0);
}

TEST_F(days, an_hour_holds_the_seconds_that_are_recorded_in_it) {
  auto const noon = ms_of("2026-11-22 12:00");
  auto const found = days_of({recorded(noon - hour_ms / 2, noon + hour_ms + 1)}, 10);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].date, "2026-11-22");
  EXPECT_EQ(found[0].start_ms, ms_of("2026-11-22 00:00"));
  EXPECT_EQ(found[0].end_ms, ms_of("2026-11-23 00:00"));
  ASSERT_EQ(found[0].recorded_s.size(), 24U);
  EXPECT_EQ(found[0].recorded_s[11], 1800);
  EXPECT_EQ(found[0].recorded_s[12], 3600);
  EXPECT_EQ(found[0].recorded_s[13], 1) << "a begun second counts";
  EXPECT_EQ(sum_of(found[0]), 5401);
}

TEST_F(days, what_overlaps_does_not_count_twice) {
  auto const noon = ms_of("2026-11-22 12:00");
  auto const found =
      days_of({recorded(noon, noon + hour_ms), recorded(noon, noon + hour_ms),
               recorded(noon + 1, noon + 2), recorded(noon - 10, noon + hour_ms / 2)},
              10);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].recorded_s[12], 3600);
  EXPECT_EQ(found[0].recorded_s[11], 1);
}

TEST_F(days, a_period_that_ends_at_midnight_is_not_on_the_next_day) {
  auto const midnight = ms_of("2026-11-22 00:00");
  EXPECT_EQ(days_of({recorded(midnight - 1, midnight)}, 10).size(), 1U);
  EXPECT_EQ(days_of({recorded(midnight - 1, midnight + 1)}, 10).size(), 2U);
  EXPECT_EQ(kept_by({recorded(midnight - 1, midnight)}).days, 1);
  EXPECT_EQ(kept_by({recorded(midnight - 1, midnight + 1)}).days, 2);
}

TEST_F(days, without_id_is_told_of_the_hours_that_it_touches) {
  auto const noon = ms_of("2026-11-22 12:00");
  auto const found = days_of({recorded(noon - hour_ms, noon), recorded(noon, noon + hour_ms, ""),
                              recorded(noon + hour_ms, noon + 2 * hour_ms)},
                             10);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_FALSE(found[0].without_id[11]);
  EXPECT_TRUE(found[0].without_id[12]);
  EXPECT_FALSE(found[0].without_id[13]);
}

TEST_F(days, between_recordings_have_their_place_and_the_latest_ones_stay) {
  auto const noon = ms_of("2026-11-22 12:00");
  std::vector<report::period> const two{recorded(noon - 5 * day_ms, noon - 5 * day_ms + 1),
                                        recorded(noon, noon + 1)};
  auto const all = days_of(two, 10);
  ASSERT_EQ(all.size(), 6U);
  EXPECT_EQ(all[0].date, "2026-11-17");
  EXPECT_EQ(sum_of(all[1]), 0);
  auto const latest = days_of(two, 2);
  ASSERT_EQ(latest.size(), 2U);
  EXPECT_EQ(latest[0].date, "2026-11-21");
  EXPECT_EQ(latest[1].date, "2026-11-22");
  EXPECT_TRUE(days_of(two, 0).empty());
  EXPECT_TRUE(days_of({}, 10).empty());
}

TEST_F(days, of_a_changed_clock_have_23_and_25_hours) {
  in_zone(at_two);
  for (auto const& [date, hours] :
       {std::pair{"2026-03-29", 23U}, std::pair{"2026-10-25", 25U}, std::pair{"2026-10-26", 24U}}) {
    auto const noon = ms_of(std::string(date) + " 12:00");
    auto const found = days_of({recorded(noon - 2 * day_ms, noon + 2 * day_ms)}, 10);
    ASSERT_EQ(found.size(), 5U);
    EXPECT_EQ(found[2].date, date);
    EXPECT_EQ(found[2].recorded_s.size(), hours);
    EXPECT_EQ(sum_of(found[2]), static_cast<int>(hours) * 3600);
    EXPECT_EQ(found[1].end_ms, found[2].start_ms);
    EXPECT_EQ(found[2].end_ms, found[3].start_ms);
    EXPECT_EQ(kept_by({recorded(noon - 2 * day_ms, noon + 2 * day_ms)}).days, 5);
  }
}

TEST_F(days, without_a_midnight_begin_at_one) {
  in_zone(at_midnight);
  auto const noon = ms_of("2026-10-18 15:00");
  auto const found = days_of({recorded(noon - day_ms, noon + day_ms)}, 10);
  ASSERT_EQ(found.size(), 3U);
  EXPECT_EQ(found[1].date, "2026-10-18");
  EXPECT_EQ(found[1].start_ms, ms_of("2026-10-18 03:00"));
  EXPECT_EQ(found[1].recorded_s.size(), 23U);
  EXPECT_EQ(found[2].recorded_s.size(), 24U);
  auto const back = ms_of("2026-02-15 15:00");
  auto const longer = days_of({recorded(back - 2 * day_ms, back)}, 10);
  ASSERT_EQ(longer.size(), 3U);
  EXPECT_EQ(longer[1].recorded_s.size(), 25U);
}

TEST_F(days, follow_each_other_in_every_zone) {
  for (char const* zone : {"UTC", at_two, at_midnight, "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
                           "NST3:30NDT,M4.1.0/0:01,M10.5.0/0:01", "X-24", "X24"}) {
    in_zone(zone);
    auto const first = ms_of("2025-12-20 11:00");
    auto const found = days_of({recorded(first, first + 400 * day_ms)}, 1000);
    ASSERT_GE(found.size(), 400U) << zone;
    for (std::size_t i = 1; i < found.size(); ++i) {
      EXPECT_EQ(found[i - 1].end_ms, found[i].start_ms) << zone << " " << found[i].date;
      EXPECT_LT(found[i - 1].date, found[i].date) << zone;
      auto const seconds = (found[i].end_ms - found[i].start_ms) / 1000;
      bool const is_whole = i + 1 < found.size();
      EXPECT_TRUE(!is_whole || sum_of(found[i]) == seconds) << zone << " " << found[i].date;
    }
  }
}

TEST_F(days, periods_that_make_no_sense_are_left_out) {
  constexpr auto least = std::numeric_limits<std::int64_t>::min();
  constexpr auto most = std::numeric_limits<std::int64_t>::max();
  std::vector<report::period> const bad{recorded(2000, 1000), recorded(-1, 1000),
                                        recorded(0, most),    recorded(least, most),
                                        recorded(most, most), recorded(most, least)};
  EXPECT_TRUE(days_of(bad, 10).empty());
  EXPECT_EQ(kept_by(bad).days, 0);
  EXPECT_EQ(kept_by(bad).oldest_ms, 0);
  EXPECT_EQ(report::local_moment(least), "?");
  EXPECT_EQ(report::local_moment(most), "?");
}

TEST_F(days, an_empty_period_lies_on_its_day) {
  auto const midnight = ms_of("2026-11-22 00:00");
  auto const found = days_of({recorded(midnight, midnight, "")}, 10);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].date, "2026-11-22");
  EXPECT_EQ(sum_of(found[0]), 0);
  EXPECT_TRUE(found[0].without_id[0]);
  EXPECT_EQ(kept_by({recorded(midnight, midnight)}).days, 1);
}

TEST_F(days, a_period_of_8000_years_takes_no_longer_than_the_limit_allows) {
  if (sizeof(std::time_t) < 8) {
    auto const all = days_of({recorded(0, ms_of("2038-01-15 00:00"))}, 3);
    EXPECT_EQ(all.size(), 3U);
    EXPECT_TRUE(days_of({recorded(0, 253402300799000)}, 3).empty());
    return;
  }
  std::vector<report::period> const long_one{recorded(0, 253402300799000)};
  auto const found = days_of(long_one, 3);
  ASSERT_EQ(found.size(), 3U);
  EXPECT_EQ(found[2].date, "9999-12-31");
  EXPECT_EQ(sum_of(found[1]), 86400);
  EXPECT_EQ(kept_by(long_one).days, 2932897);
  EXPECT_EQ(kept_by(long_one).days_with_recordings, 2932897);
  EXPECT_EQ(kept_by(long_one).days_with_gaps, 0);
}

TEST_F(days, a_hundred_thousand_periods_in_any_order) {
  std::vector<report::period> many;
  for (std::int64_t i = 0; i < 100000; ++i) {
    auto const start = ms_of("2020-01-01 00:00") + (i * 7919 % 100000) * 10 * 60 * 1000;
    many.push_back(recorded(start, start + std::int64_t{5} * 60 * 1000));
  }
  auto const found = days_of(many, 1000);
  ASSERT_EQ(found.size(), 695U);
  EXPECT_EQ(sum_of(found[0]), 12 * 3600);
  EXPECT_EQ(kept_by(many).days_with_recordings, 695);
  EXPECT_EQ(kept_by(many).days_with_gaps, 0);
}

TEST_F(days, a_gap_is_an_hour_between_recordings_of_which_nothing_is_recorded) {
  auto const noon = ms_of("2026-11-22 12:00");
  auto const gaps = [&](std::int64_t from, std::int64_t to) {
    return kept_by({recorded(noon - 5 * day_ms, from), recorded(to, noon + day_ms)}).days_with_gaps;
  };
  EXPECT_EQ(gaps(noon, noon + hour_ms), 1);
  EXPECT_EQ(gaps(noon, noon + hour_ms - 1), 0);
  EXPECT_EQ(gaps(noon + 1, noon + hour_ms), 0);
  EXPECT_EQ(gaps(noon - hour_ms / 2, noon + hour_ms / 2), 0);
  EXPECT_EQ(gaps(noon - day_ms, noon), 2);
  EXPECT_EQ(gaps(noon - 4 * day_ms, noon), 5);
  EXPECT_EQ(gaps(ms_of("2026-11-21 23:00"), ms_of("2026-11-22 00:30")), 1);
  EXPECT_EQ(gaps(ms_of("2026-11-21 23:30"), ms_of("2026-11-22 01:00")), 1);
}

TEST_F(days, two_gaps_of_a_day_make_one_day_with_gaps) {
  auto const noon = ms_of("2026-11-22 12:00");
  auto const found = kept_by({recorded(noon - day_ms, noon - 4 * hour_ms),
                              recorded(noon - 2 * hour_ms, noon - hour_ms),
                              recorded(noon + hour_ms, noon + 2 * hour_ms)});
  EXPECT_EQ(found.days_with_gaps, 1);
  EXPECT_EQ(found.days, 2);
  EXPECT_EQ(found.days_with_recordings, 2);
  EXPECT_EQ(found.oldest_ms, noon - day_ms);
  EXPECT_EQ(found.latest_ms, noon + 2 * hour_ms);
}

TEST_F(days, with_recordings_are_counted_once) {
  auto const noon = ms_of("2026-11-22 12:00");
  auto const found = kept_by({recorded(noon, noon + hour_ms), recorded(noon + 2, noon + 3),
                              recorded(noon + 2 * hour_ms, noon + 3 * hour_ms),
                              recorded(noon - 9 * day_ms, noon - 8 * day_ms)});
  EXPECT_EQ(found.days, 10);
  EXPECT_EQ(found.days_with_recordings, 3);
  EXPECT_EQ(found.days_with_gaps, 9);
}

TEST_F(days, the_days_of_the_list_are_those_that_are_counted) {
  in_zone(at_two);
  std::uint32_t seed = 7;
  auto const next = [&](std::uint32_t below) {
    seed = seed * 1664525U + 1013904223U;
    return (seed >> 8U) % below;
  };
  for (int round = 0; round < 200; ++round) {
    std::vector<report::period> some;
    std::int64_t const first = ms_of("2026-10-20 03:17");
    for (std::uint32_t i = 0; i < 1 + next(40); ++i) {
      auto const start = first + std::int64_t{next(14 * 96)} * 15 * 60 * 1000;
      some.push_back(recorded(start, start + std::int64_t{1 + next(20)} * 15 * 60 * 1000));
    }
    auto const list = days_of(some, 100);
    auto const found = kept_by(some);
    EXPECT_EQ(static_cast<int>(list.size()), found.days);
    int with_recordings = 0;
    int with_gaps = 0;
    for (auto const& day : list) {
      with_recordings += sum_of(day) > 0 ? 1 : 0;
      bool has_gap = false;
      for (std::size_t hour = 0; hour < day.recorded_s.size(); ++hour) {
        auto const start = day.start_ms + static_cast<std::int64_t>(hour) * hour_ms;
        has_gap |= day.recorded_s[hour] == 0 && start >= found.oldest_ms &&
                   start + hour_ms <= found.latest_ms;
      }
      with_gaps += has_gap ? 1 : 0;
    }
    EXPECT_EQ(with_recordings, found.days_with_recordings);
    EXPECT_EQ(with_gaps, found.days_with_gaps) << "round " << round;
  }
}

TEST_F(days, of_a_channel_are_those_of_all_its_streams) {
  auto const noon = ms_of("2026-11-22 12:00");
  report::channel of;
  for (std::size_t streams : {3U, 40U}) {
    of.streams.resize(streams);
    std::vector<report::period> all;
    for (std::size_t i = 0; i < streams; ++i) {
      auto const start = noon + static_cast<std::int64_t>(i * 7 % streams) * hour_ms;
      of.streams[i].periods = {recorded(start, start + hour_ms), recorded(start - 1, start)};
      all.insert(all.end(), of.streams[i].periods.begin(), of.streams[i].periods.end());
    }
    EXPECT_EQ(kept_by_channel(of).oldest_ms, noon - 1);
    EXPECT_EQ(kept_by_channel(of).days_with_gaps, 0);
    EXPECT_EQ(kept_by_channel(of).days, kept_by(all).days);
    EXPECT_EQ(days_of_channel(of, 10).size(), days_of(all, 10).size());
    EXPECT_EQ(sum_of(days_of_channel(of, 10)[0]), sum_of(days_of(all, 10)[0]));
  }
}

}  // namespace
