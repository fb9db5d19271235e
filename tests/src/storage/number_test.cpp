#include "storage/number.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <string>

namespace {

constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();

TEST(number_from_text, reads_the_leading_number) {
  EXPECT_EQ(st::number_from_text("0"), 0);
  EXPECT_EQ(st::number_from_text("12"), 12);
  EXPECT_EQ(st::number_from_text("-1"), -1);
  EXPECT_EQ(st::number_from_text("+7"), 7);
  EXPECT_EQ(st::number_from_text(" 12x"), 12);
  EXPECT_EQ(st::number_from_text("\t\n 5"), 5);
  EXPECT_EQ(st::number_from_text("12 34"), 12);
}

TEST(number_from_text, is_0_without_a_number) {
  for (char const* const text : {"", "abc", " ", "-", "+", "--1", "x1", ".5"}) {
    EXPECT_EQ(st::number_from_text(text), 0) << text;
  }
}

TEST(number_from_text, is_decimal_only) {
  EXPECT_EQ(st::number_from_text("0x10"), 0);
  EXPECT_EQ(st::number_from_text("010"), 10);
  EXPECT_EQ(st::number_from_text("1e3"), 1);
}

TEST(number_from_text, keeps_the_limits_of_32_bits) {
  EXPECT_EQ(st::number_from_text("2147483647"), highest);
  EXPECT_EQ(st::number_from_text("-2147483648"), lowest);
}

TEST(number_from_text, saturates_beyond_the_limits_of_32_bits) {
  for (char const* const text :
       {"2147483648", "4294967295", "4294967296", "4294967297", "9223372036854775807",
        "9223372036854775808", "18446744073709551615", "18446744073709551616",
        "999999999999999999999999999999999999"}) {
    EXPECT_EQ(st::number_from_text(text), highest) << text;
    EXPECT_EQ(st::number_from_text((std::string("-") + text).c_str()), lowest) << text;
  }
}

TEST(gigabytes, truncate_toward_zero) {
  EXPECT_EQ(st::gigabytes(0), 0);
  EXPECT_EQ(st::gigabytes(1023), 0);
  EXPECT_EQ(st::gigabytes(1024), 1);
  EXPECT_EQ(st::gigabytes(2047), 1);
  EXPECT_EQ(st::gigabytes(1907729), 1863);
  EXPECT_EQ(st::gigabytes(-1023), 0);
  EXPECT_EQ(st::gigabytes(-1025), -1);
  EXPECT_EQ(st::gigabytes(std::numeric_limits<std::int64_t>::max()), 9007199254740991);
}

std::string shown(std::int64_t used, std::int64_t total) {
  char text[64];
  std::snprintf(text, sizeof text, "%2.2f", static_cast<double>(st::use_percentage(used, total)));
  return text;
}

TEST(use_percentage, is_used_times_100_by_total) {
  EXPECT_EQ(shown(1000000, 1907729), "52.42");
  EXPECT_EQ(shown(0, 1024), "0.00");
  EXPECT_EQ(shown(512, 2048), "25.00");
  EXPECT_EQ(shown(2048, 1024), "200.00");
  EXPECT_EQ(shown(1, 3), "33.33");
  EXPECT_EQ(shown(-1, 2), "-50.00");
}

TEST(use_percentage, is_single_precision_all_the_way) {
  // In double it is 99.8550016..., which shows as 99.86.
  EXPECT_EQ(shown(3974963, 3980735), "99.85");
  EXPECT_EQ(st::use_percentage(1000000, 1907729), 1000000.0F * 100.0F / 1907729.0F);
  // 16777217 is no float: it counts as 16777216.
  EXPECT_EQ(st::use_percentage(16777217, 16777216), 100.0F);
  EXPECT_EQ(st::use_percentage(16777216, 16777217), 100.0F);
}

// Both reckoned by the compiler, to which a signed overflow is an error.
TEST(saturating_difference, is_the_least_value_where_a_step_does_not_fit) {
  using limits = std::numeric_limits<std::int64_t>;
  constexpr std::int64_t below = st::saturating_difference(limits::min(), 1);
  constexpr std::int64_t above = st::saturating_difference(limits::max(), -1);
  constexpr std::int64_t sum_above = st::saturating_difference(-1000, limits::max(), 1);
  constexpr std::int64_t sum_below = st::saturating_difference(-1000, limits::min(), -1);
  EXPECT_EQ(below, limits::min());
  EXPECT_EQ(above, limits::min());
  EXPECT_EQ(sum_above, limits::min());
  EXPECT_EQ(sum_below, limits::min());
}

TEST(saturating_difference, takes_the_sum_of_both_and_not_one_after_the_other) {
  using limits = std::numeric_limits<std::int64_t>;
  EXPECT_EQ(st::saturating_difference(1000, 900, 49), 51);
  EXPECT_EQ(st::saturating_difference(5, 1), 4);
  EXPECT_EQ(st::saturating_difference(limits::max(), -5, 10), limits::max() - 5);
  EXPECT_EQ(st::saturating_difference(limits::min() + 1, 1), limits::min());
}

TEST(wrapping_sum, passes_from_either_limit_to_the_other) {
  using limits = std::numeric_limits<std::int64_t>;
  constexpr std::int64_t above = st::wrapping_sum(limits::max(), 1);
  constexpr std::int64_t below = st::wrapping_sum(limits::min(), -1);
  EXPECT_EQ(above, limits::min());
  EXPECT_EQ(below, limits::max());
  EXPECT_EQ(st::wrapping_sum(1536, -36), 1500);
}

TEST(shown_channel, counts_from_1_and_wraps) {
  constexpr std::int32_t after_highest = st::shown_channel(highest);
  EXPECT_EQ(after_highest, lowest);
  EXPECT_EQ(st::shown_channel(std::int32_t{0}), 1);
  EXPECT_EQ(st::shown_channel(std::int32_t{-1}), 0);
  EXPECT_EQ(st::shown_channel(std::numeric_limits<std::uint32_t>::max()), 0);
}

TEST(use_percentage, of_a_total_of_0_is_infinite_or_a_nan_without_sign) {
  EXPECT_EQ(shown(1, 0), "inf");
  EXPECT_EQ(shown(-1, 0), "-inf");
  EXPECT_EQ(shown(0, 0), "nan");
}

}  // namespace
