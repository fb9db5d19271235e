#include <gtest/gtest.h>

#include <limits>
#include <list>

#include "commands/leak.h"
#include "commands/recycling.h"

namespace {

std::list<time_period> periods(std::initializer_list<std::int64_t> starts) {
  std::list<time_period> all;
  for (std::int64_t const start : starts) all.emplace_back().start_time = start;
  return all;
}

struct walk {
  int result;
  std::int64_t end = 5;
};

walk walk_over(std::initializer_list<std::int64_t> starts, std::size_t count) {
  walk done{};
  done.result = st::span_end_before(periods(starts), count, &done.end);
  return done;
}

TEST(span_end_before, is_a_millisecond_before_the_earliest_start) {
  EXPECT_EQ(walk_over({1700000000000, 1690000000000}, 2).end, 1689999999999);
  EXPECT_EQ(walk_over({1690000000000, 1700000000000}, 2).end, 1689999999999);
  EXPECT_EQ(walk_over({3, 1, 2}, 3).end, 0);
  EXPECT_EQ(walk_over({3, 1, 2}, 3).result, 0);
}

TEST(span_end_before, takes_the_first_start_as_it_is) {
  EXPECT_EQ(walk_over({1700000000000}, 1).end, 1699999999999);
  EXPECT_EQ(walk_over({0}, 1).end, -1);
  EXPECT_EQ(walk_over({-10, 4}, 2).end, -11);
  EXPECT_EQ(walk_over({std::numeric_limits<std::int64_t>::max()}, 1).end,
            std::numeric_limits<std::int64_t>::max() - 1);
}

TEST(span_end_before, stays_at_the_least_time) {
  constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(walk_over({5, least}, 2).end, least);
  EXPECT_EQ(walk_over({5, least}, 2).result, 0);
  EXPECT_EQ(walk_over({least + 1}, 1).end, least);
}

TEST(span_end_before, a_count_that_is_never_reached_gives_minus_1_and_leaves_the_end) {
  for (std::size_t const count : {3U, 4U, 1000U}) {
    walk const done = walk_over({1, 2}, count);
    EXPECT_EQ(done.result, -1) << count;
    EXPECT_EQ(done.end, 5) << count;
  }
  EXPECT_EQ(walk_over({1, 2}, 0).result, -1);
  EXPECT_EQ(walk_over({1, 2}, 0).end, 5);
  EXPECT_EQ(walk_over({}, 1).result, -1);
  EXPECT_EQ(walk_over({}, 0).result, -1);
  EXPECT_EQ(walk_over({}, 0).end, 5);
}

TEST(is_leak, is_strictly_more_than_5_percent) {
  EXPECT_FALSE(st::is_leak(50, 1000));
  EXPECT_TRUE(st::is_leak(51, 1000));
  EXPECT_FALSE(st::is_leak(51, 1030));
  EXPECT_TRUE(st::is_leak(52, 1030));
  EXPECT_FALSE(st::is_leak(0, 0));
  EXPECT_FALSE(st::is_leak(-1, 0));
  EXPECT_FALSE(st::is_leak(-1, 1000));
}

TEST(is_leak, decides_in_double_and_not_in_integers) {
  // 2^53 + 1 of 20 * 2^53: as doubles they are exactly 5 %.
  EXPECT_FALSE(st::is_leak(9007199254740993, 180143985094819840));
  EXPECT_TRUE(st::is_leak(9007199254740994, 180143985094819840));
  EXPECT_TRUE(st::is_leak(0, -10));
}

TEST(lost_size, that_cannot_be_reckoned_is_the_least_value) {
  using limits = std::numeric_limits<std::int64_t>;
  EXPECT_EQ(st::lost_size(1000, limits::max(), 1), limits::min());
  EXPECT_EQ(st::lost_size(1000, limits::min(), -1), limits::min());
  EXPECT_EQ(st::lost_size(limits::max(), -1, 0), limits::min());
  EXPECT_EQ(st::lost_size(limits::min(), 1, 0), limits::min());
}

TEST(lost_size, is_what_neither_used_nor_preallocated_accounts_for) {
  EXPECT_EQ(st::lost_size(1000, 900, 49), 51);
  EXPECT_EQ(st::lost_size(1000, 900, 200), -100);
  EXPECT_EQ(st::lost_size(0, 10, 10), -20);
  EXPECT_EQ(st::lost_size(8796093022208, 4398046511104, 2097151), 4398044413953);
}

}  // namespace
