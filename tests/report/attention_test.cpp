#include "report/attention.h"

#include <gtest/gtest.h>

#include <limits>

namespace report {
namespace {

constexpr std::int64_t hour_ms = 3'600'000;
constexpr std::int64_t day_ms = 24 * hour_ms;
constexpr std::int64_t noon_ms = 1'795'262'400'000;  // 2026-11-21 12:00 UTC

volume sound_volume(std::string const& name) {
  volume of;
  of.name = name;
  of.total_mb = 64;
  of.used_mb = 38;
  of.state_name = "ACTIVE";
  of.measured = measuring::done;
  of.preallocated_mb = 26;
  of.lost_mb = 0;
  return of;
}

space sound_space(std::string const& name) {
  space of;
  of.name = name;
  of.status_name = "Normal";
  return of;
}

stream with_periods(std::int32_t number, std::vector<period> periods) {
  stream of;
  of.type_name = "NR";
  of.recording_type = 4;
  of.number = number;
  of.asked = true;
  of.periods = std::move(periods);
  return of;
}

// A channel that has recorded an hour at noon of each of the last `days` days.
channel sound_channel(std::int32_t number, int days = 3) {
  channel of;
  of.number = number;
  std::vector<period> periods;
  for (int day = days - 1; day >= 0; --day) {
    std::int64_t const start = noon_ms - day * day_ms;
    periods.push_back({start, start + hour_ms, "id"});
  }
  of.streams = {with_periods(0, periods)};
  return of;
}

// "code subject: text" of each.
std::vector<std::string> needs_of(value const& of, std::optional<int> expected_days = {}) {
  std::vector<std::string> lines;
  for (attention const& each : attention_of(of, expected_days)) {
    lines.push_back(std::string(code_of(each.what)) + " " + each.subject + ": " + each.text);
  }
  return lines;
}

using lines = std::vector<std::string>;

TEST(attention, a_sound_recorder_needs_none) {
  value of;
  of.spaces = {sound_space("Storage1")};
  of.volumes = {sound_volume("vol1")};
  of.channels = {sound_channel(1)};
  EXPECT_EQ(needs_of(of), lines());
  EXPECT_EQ(needs_of({}), lines());
}

TEST(attention, a_leak_says_what_is_lost) {
  value of;
  of.volumes = {sound_volume("vol1")};
  of.volumes[0].leak = true;
  of.volumes[0].lost_mb = 7;
  EXPECT_EQ(needs_of(of), (lines{"leak volume vol1: lost 7 MB of 64 MB (10.9 %)"}));
  of.volumes[0].total_mb = 0;
  EXPECT_EQ(needs_of(of), (lines{"leak volume vol1: lost 7 MB of 0 MB"}));
  of.volumes[0].total_mb = std::numeric_limits<std::int64_t>::min();
  of.volumes[0].lost_mb = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(needs_of(of), (lines{"leak volume vol1: lost 9223372036854775807 MB of "
                                 "-9223372036854775808 MB"}));
}

TEST(attention, a_volume_that_is_not_measured) {
  value of;
  of.volumes = {sound_volume("vol1"), sound_volume("vol2")};
  of.volumes[0].measured = measuring::failed;
  of.volumes[1].measured = measuring::not_mounted;
  EXPECT_EQ(needs_of(of),
            (lines{"not-mounted volume vol2: its folder cannot be entered",
                   "not-measured volume vol1: du could not measure what is preallocated"}));
}

TEST(attention, a_volume_is_active_or_stands_by) {
  for (std::int32_t const state : {0, 1}) {
    value of;
    of.volumes = {sound_volume("vol1")};
    of.volumes[0].state = state;
    EXPECT_EQ(needs_of(of), lines()) << state;
  }
  for (std::int32_t const state : {-1, 2, 3, 4, 5, 6, 7, 9}) {
    value of;
    of.volumes = {sound_volume("vol1")};
    of.volumes[0].state = state;
    of.volumes[0].state_name = "NAME";
    EXPECT_EQ(needs_of(of), (lines{"volume-state volume vol1: its state is " +
                                   std::to_string(state) + " [NAME]"}));
  }
  value of;
  of.volumes = {sound_volume("vol1")};
  of.volumes[0].state = 8;
  of.volumes[0].state_name = "";
  EXPECT_EQ(needs_of(of), (lines{"volume-state volume vol1: its state is 8"}));
}

TEST(attention, a_space_is_normal_or_being_worked_on) {
  for (std::int32_t const status : {0, 1, 2, 3}) {
    value of;
    of.spaces = {sound_space("Storage1")};
    of.spaces[0].status = status;
    EXPECT_EQ(needs_of(of), lines()) << status;
  }
  for (std::int32_t const status : {-1, 4, 5, 6, 7, 8, 9, 10}) {
    value of;
    of.spaces = {sound_space("Storage1")};
    of.spaces[0].status = status;
    of.spaces[0].status_name = "NAME";
    EXPECT_EQ(needs_of(of), (lines{"space-state space Storage1: its status is " +
                                   std::to_string(status) + " [NAME]"}));
  }
}

TEST(attention, periods_without_an_id_are_counted_for_each_channel) {
  value of;
  of.channels = {sound_channel(1), sound_channel(4)};
  of.channels[1].streams[0].periods[1].storage_id = {};
  EXPECT_EQ(needs_of(of), (lines{"null-id channel 4: 1 period without a storage id: NR S00"}));
  of.channels[1].streams.push_back(
      with_periods(3, {{noon_ms, noon_ms + 1, ""}, {noon_ms, noon_ms + 2, ""}}));
  EXPECT_EQ(needs_of(of),
            (lines{"null-id channel 4: 3 periods without a storage id: NR S00, NR S03"}));
}

TEST(attention, a_channel_without_a_recording) {
  value of;
  of.channels = {sound_channel(1)};
  of.channels[0].streams.clear();
  // Also when days are expected: it is told once.
  EXPECT_EQ(needs_of(of, 3), (lines{"nothing-recorded channel 1: it has no recording"}));
}

TEST(attention, nothing_is_said_of_streams_that_could_not_be_asked) {
  value of;
  of.channels = {sound_channel(1, 1), sound_channel(2)};
  stream unasked;
  of.channels[0].streams.push_back(unasked);
  of.channels[1].streams = {unasked};
  EXPECT_EQ(needs_of(of, 1000), lines());
}

TEST(attention, a_channel_that_keeps_fewer_days_than_expected) {
  value of;
  of.channels = {sound_channel(7, 3)};
  auto const needs = attention_of(of, 4);
  ASSERT_EQ(needs.size(), 1U);
  EXPECT_EQ(needs[0].what, concern::too_few_days);
  EXPECT_EQ(needs[0].subject, "channel 7");
}

TEST(attention, days_are_kept_as_expected) {
  value of;
  of.channels = {sound_channel(7, 3)};
  EXPECT_EQ(needs_of(of, 3), lines());
  EXPECT_EQ(needs_of(of, 4),
            (lines{"too-few-days channel 7: it keeps 3 days, and 4 are expected"}));
}

TEST(attention, answers_that_make_no_sense) {
  value of;
  of.problems = {"one", "two"};
  EXPECT_EQ(needs_of(of),
            (lines{"unreasonable-answer service: one", "unreasonable-answer service: two"}));
}

TEST(attention, the_worst_comes_first) {
  value of;
  of.problems = {"one"};
  of.spaces = {sound_space("Storage1")};
  of.spaces[0].status = 5;
  of.volumes = {sound_volume("vol1"), sound_volume("vol2"), sound_volume("vol3"),
                sound_volume("vol4")};
  of.volumes[0].measured = measuring::failed;
  of.volumes[1].leak = true;
  of.volumes[2].state = 7;
  of.volumes[3].measured = measuring::not_mounted;
  of.channels = {sound_channel(1), sound_channel(2), sound_channel(3, 1)};
  of.channels[0].streams[0].periods[0].storage_id = {};
  of.channels[1].streams.clear();
  std::string codes;
  for (attention const& each : attention_of(of, 2)) {
    if (each.subject != "channel 1" || each.what != concern::too_few_days) {
      codes += std::string(code_of(each.what)) + " ";
    }
  }
  EXPECT_EQ(codes,
            "not-mounted space-state volume-state leak nothing-recorded too-few-days null-id "
            "not-measured unreasonable-answer ");
}

TEST(exit_status, follows_from_what_was_asked_and_what_was_found) {
  value of;
  EXPECT_EQ(exit_status_of(of), 0);
  of.needs = {{concern::leak, "volume vol1", "lost"}};
  EXPECT_EQ(exit_status_of(of), 1);
  of.not_asked = {"the volumes"};
  EXPECT_EQ(exit_status_of(of), 3);
  of.needs.clear();
  EXPECT_EQ(exit_status_of(of), 3);
}

}  // namespace
}  // namespace report
