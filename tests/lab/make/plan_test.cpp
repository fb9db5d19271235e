#include "lab/make/plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "engine_test.h"
#include "lab/make/make.h"

namespace {

lab::make_options defaults() {
  lab::make_options options;
  options.now_ms = support::now + 1234;
  return options;
}

TEST(make_plan, ids_differ_in_their_first_31_characters) {
  auto options = defaults();
  options.channels = 64;
  auto const plan = lab::plan_recorder(options);
  std::set<std::string> beginnings;
  for (auto const& volume : plan.volumes) {
    EXPECT_EQ(32U, volume.sid_text.size());
    beginnings.insert(volume.sid_text.substr(0, 31));
  }
  for (auto const& channel : plan.channels) {
    EXPECT_EQ(32U, channel.sid.size());
    beginnings.insert(channel.sid.substr(0, 31));
  }
  EXPECT_EQ(4U + 64U, beginnings.size());
  for (auto const& space : plan.spaces) {
    EXPECT_EQ(36U, space.sid.size());
    EXPECT_EQ(36U, space.uuid.size());
  }
}

TEST(make_plan, names_count_over_all_spaces) {
  auto const plan = lab::plan_recorder(defaults());
  ASSERT_EQ(2U, plan.spaces.size());
  EXPECT_EQ("Storage1", plan.spaces[0].name);
  EXPECT_EQ("Storage2", plan.spaces[1].name);
  ASSERT_EQ(4U, plan.volumes.size());
  EXPECT_EQ("vol3", plan.volumes[2].name);
  EXPECT_EQ(1, plan.volumes[2].space);
}

TEST(make_plan, channels_go_round_spaces_before_volumes) {
  auto const plan = lab::plan_recorder(defaults());
  ASSERT_EQ(4U, plan.channels.size());
  EXPECT_EQ(std::vector<int>{0}, plan.channels[0].volumes);
  EXPECT_EQ(std::vector<int>{2}, plan.channels[1].volumes);
  EXPECT_EQ(std::vector<int>{1}, plan.channels[2].volumes);
  EXPECT_EQ(std::vector<int>{3}, plan.channels[3].volumes);
}

TEST(make_plan, recordings_are_whole_past_hours_within_the_days) {
  auto const plan = lab::plan_recorder(defaults());
  ASSERT_FALSE(plan.recordings.empty());
  for (auto const& recording : plan.recordings) {
    EXPECT_EQ(0, recording.hour_ms % support::hour);
    EXPECT_LE(recording.hour_ms + support::hour, support::now);
    EXPECT_GE(recording.hour_ms, support::now - 3 * support::day);
  }
}

TEST(make_plan, most_recordings_are_normal_ones_and_every_kind_occurs) {
  auto const plan = lab::plan_recorder(defaults());
  std::map<std::pair<int, int>, std::size_t> counts;
  for (auto const& recording : plan.recordings) {
    ++counts[{recording.recording_type, recording.stream}];
  }
  EXPECT_EQ(5U, counts.size());
  EXPECT_GT((counts[{4, 0}]), plan.recordings.size() / 3);
}

TEST(make_plan, units_are_given_out_once_and_leave_room) {
  auto const plan = lab::plan_recorder(defaults());
  std::map<int, int> given;
  for (int volume = 0; volume < 4; ++volume) {
    auto const& recorded = plan.volumes[static_cast<std::size_t>(volume)].recorded;
    for (int const recording : recorded) {
      int const channel = plan.recordings[static_cast<std::size_t>(recording)].channel;
      EXPECT_EQ(volume, plan.channels[static_cast<std::size_t>(channel)].volumes.at(0));
      ++given[recording];
    }
    EXPECT_LE(recorded.size(), 38U) << "volume " << volume;
    EXPECT_GT(recorded.size(), 10U) << "volume " << volume;
  }
  for (std::size_t recording = 0; recording < plan.recordings.size(); ++recording) {
    EXPECT_EQ(plan.recordings[recording].units, given[static_cast<int>(recording)]) << recording;
  }
}

TEST(make_plan, another_seed_makes_another_recorder) {
  auto options = defaults();
  auto const one = lab::plan_recorder(options);
  options.seed = 2;
  auto const other = lab::plan_recorder(options);
  EXPECT_NE(one.volumes[0].sid_text, other.volumes[0].sid_text);
  EXPECT_NE(one.spaces[0].uuid, other.spaces[0].uuid);
}

TEST(make_plan, options_out_of_range_are_named) {
  auto const expect_refused = [](int lab::make_options::*option, int value,
                                 std::string const& told) {
    auto options = defaults();
    options.*option = value;
    EXPECT_EQ(told, support::failure_of([&] { lab::plan_recorder(options); }));
  };
  using options = lab::make_options;
  expect_refused(&options::spaces, 0, "the number of spaces must be 1 to 64, not 0");
  expect_refused(&options::volumes, -1, "the number of volumes a space must be 1 to 64, not -1");
  expect_refused(&options::unit_mb, 0, "the unit size in MB must be 1 to 1024, not 0");
  expect_refused(&options::unit_mb, 3, "the volume size must be a multiple of the unit size");
  expect_refused(&options::volume_mb, 0, "the volume size in MB must be 1 to 1048576, not 0");
  expect_refused(&options::channels, 0, "the number of channels must be 1 to 256, not 0");
  expect_refused(&options::days, -1, "the number of days must be 0 to 3650, not -1");
}

TEST(make_plan, tiny_volumes_can_hold_nothing) {
  auto options = defaults();
  options.volume_mb = 1;
  auto const plan = lab::plan_recorder(options);
  EXPECT_TRUE(plan.recordings.empty());
}

}  // namespace
