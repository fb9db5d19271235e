#include <cstdlib>
#include <ctime>

#include "engine_test.h"
#include "lab/make/make.h"

namespace {

using support::day;
using support::hour;
using support::now;
using strings = std::vector<std::string>;

class queries : public support::engine_test {
 protected:
  ~queries() override { set_time_zone("UTC"); }

  static void set_time_zone(char const* name) {
    setenv("TZ", name, 1);
    tzset();
  }

  static lab::make_options recorded() {
    lab::make_options options;
    options.volume_mb = 16;
    options.days = 1;
    options.now_ms = now;
    return options;
  }
};

TEST_F(queries, spaces_are_the_sums_of_their_volumes) {
  auto const recorder = made(recorded(), lab::access::read_only);
  auto const volumes = recorder.volumes();
  ASSERT_EQ(2U, recorder.spaces().size());
  for (auto const& space : recorder.spaces()) {
    std::int64_t total = 0;
    std::int64_t used = 0;
    for (auto const& volume : volumes) {
      if (volume.space_id != space.id) continue;
      EXPECT_EQ(space.uuid, volume.space_uuid);
      total += volume.total_mb;
      used += volume.used_mb;
    }
    EXPECT_EQ(32, total);
    EXPECT_EQ(total, space.total_mb);
    EXPECT_GT(used, 0);
    EXPECT_EQ(used, space.used_mb);
  }
}

TEST_F(queries, sizes_are_units_times_their_size) {
  make([](auto& options) {
    options.unit_mb = 4;
    options.volume_mb = 16;
  });
  auto recorder = open();
  recorder.record(first_volume, main_stream, now, 3);
  auto const volume = recorder.volumes().front();
  EXPECT_EQ(4, recorder.unit_mb());
  EXPECT_EQ(16, volume.total_mb);
  EXPECT_EQ(12, volume.used_mb);
  EXPECT_EQ(12, recorder.recorded_mb(1, 1, {}));
}

TEST_F(queries, accounts_add_up) {
  auto recorder = made(recorded());
  for (auto const& volume : recorder.volumes()) {
    auto const account = recorder.account(volume.id);
    EXPECT_EQ(16, account.total);
    EXPECT_EQ(volume.used_mb, account.held + account.moving);
    EXPECT_EQ(account.total, account.held + account.moving + account.preallocated + account.lost);
  }
  EXPECT_EQ("there is no volume with id 9", support::failure_of([&] { recorder.account(9); }));
}

TEST_F(queries, a_period_overlaps_a_span_that_touches_one_of_its_moments) {
  auto recorder = made();
  recorder.record(first_volume, main_stream, now, 1);
  auto const found = [&](std::int64_t start, std::int64_t end) {
    return recorder.periods(main_stream, {start, end}).size();
  };
  EXPECT_EQ(1U, found(now, now));
  EXPECT_EQ(1U, found(now - 5, now));
  EXPECT_EQ(0U, found(now - 5, now - 1));
  EXPECT_EQ(1U, found(now + hour - 1, now + 2 * hour));
  EXPECT_EQ(0U, found(now + hour, now + 2 * hour));
  EXPECT_EQ(0U, found(now + 5, now + 4));
}

TEST_F(queries, periods_are_those_of_one_stream_in_insertion_order) {
  auto recorder = made();
  recorder.record(first_volume, main_stream, now + 3 * hour, 1);
  recorder.record(first_volume, main_stream, now, 1);
  recorder.record(first_volume, {1, 4, 1}, now, 1);
  recorder.record(first_volume, {1, 1, 0}, now, 1);
  recorder.record(second_volume, {2, 4, 0}, now, 1);
  auto const periods = recorder.periods(main_stream, always);
  ASSERT_EQ(2U, periods.size());
  EXPECT_EQ(now + 3 * hour, periods[0].start_ms);
  EXPECT_EQ(now + 4 * hour, periods[0].end_ms);
  EXPECT_EQ(now, periods[1].start_ms);
  EXPECT_EQ(recorder.volumes()[0].sid_text, periods[1].storage_id);
  EXPECT_EQ(5U, recorder.periods().size());
}

TEST_F(queries, pairings_sizes_and_days_agree) {
  auto const recorder = made(recorded(), lab::access::read_only);
  for (auto const& space : recorder.spaces()) {
    std::int64_t sum = 0;
    auto const pairings = recorder.pairings(space.id);
    auto const paired = recorder.space_channels(space.id);
    EXPECT_EQ(2U, paired.size());
    for (auto const& channel : recorder.channels()) {
      strings storage_ids;
      for (auto const& pairing : pairings) {
        if (pairing.channel_id == channel.id)
          storage_ids.push_back(pairing.storage_id.substr(0, 31));
      }
      auto const total = recorder.recorded_mb(space.id, channel.id, {});
      auto const normal = recorder.recorded_mb(space.id, channel.id, 4);
      auto const alarm = recorder.recorded_mb(space.id, channel.id, 1);
      EXPECT_EQ(storage_ids.empty(), total == 0);
      EXPECT_EQ(total, normal + alarm + recorder.recorded_mb(space.id, channel.id, 2));
      EXPECT_EQ(normal > 0, !recorder.days(channel.id, 4, storage_ids).empty());
      EXPECT_EQ(alarm > 0, !recorder.days(channel.id, 1, storage_ids).empty());
      sum += total;
    }
    EXPECT_EQ(space.used_mb, sum);
  }
}

TEST_F(queries, pairings_of_a_channel_adjoin) {
  auto recorder = made();
  recorder.record(first_volume, {2, 4, 0}, now, 1);
  recorder.record(first_volume, main_stream, now, 1);
  recorder.record(second_volume, {2, 4, 0}, now + hour, 1);
  recorder.record(second_volume, main_stream, now + hour, 1);
  std::vector<std::int64_t> channels;
  for (auto const& pairing : recorder.pairings(1)) channels.push_back(pairing.channel_id);
  EXPECT_EQ((std::vector<std::int64_t>{2, 2, 1, 1}), channels);
}

TEST_F(queries, what_leaked_last_is_known_by_stream) {
  make();
  EXPECT_EQ(std::nullopt, open().latest_leaked_hour(main_stream));
  leak(first_volume, main_stream, now, 1);
  leak(second_volume, main_stream, now + 2 * hour, 1);
  leak(first_volume, main_stream, now + hour, 1);
  leak(first_volume, {1, 4, 1}, now + 5 * hour, 1);
  auto recorder = open();
  recorder.record(first_volume, main_stream, now + 4 * hour, 1);
  EXPECT_EQ(now + 2 * hour, recorder.latest_leaked_hour(main_stream));
  EXPECT_EQ(std::nullopt, recorder.latest_leaked_hour({2, 4, 0}));
  recorder.recycle(second_volume, main_stream, always);
  EXPECT_EQ(now + hour, recorder.latest_leaked_hour(main_stream));
}

TEST_F(queries, periods_are_out_of_reach_where_their_volume_is_not_mounted) {
  auto recorder = made();
  recorder.record(first_volume, main_stream, now, 2);
  recorder.record(first_volume, main_stream, now + hour, 1);
  recorder.record(second_volume, main_stream, now, 1);
  EXPECT_EQ(0, recorder.periods_out_of_reach(now + 9 * hour));
  std::filesystem::remove(root() / "share" / "vol1" / "identity");
  EXPECT_EQ(0, recorder.periods_out_of_reach(now + hour - 1));
  EXPECT_EQ(1, recorder.periods_out_of_reach(now + hour));
  EXPECT_EQ(2, recorder.periods_out_of_reach(now + 9 * hour));
}

TEST_F(queries, a_view_is_of_one_state) {
  make();
  auto const reader = open(lab::access::read_only);
  auto writer = open();
  writer.wait_at_most(std::chrono::milliseconds(0));
  {
    lab::consistent_view const view(reader);
    EXPECT_EQ("vol1", reader.volumes().front().name);
    EXPECT_THROW(writer.change_volumes({{first_volume, "other", 0, 0}}), lab::busy_error);
    EXPECT_EQ("vol1", reader.volumes().front().name);
  }
  writer.change_volumes({{first_volume, "other", 0, 0}});
  EXPECT_EQ("other", reader.volumes().front().name);
}

TEST_F(queries, what_has_no_storage_id_belongs_to_no_space) {
  auto recorder = made();
  recorder.record(first_volume, main_stream, now, 2);
  recorder.record(first_volume, {2, 4, 0}, now, 1);
  recorder.lose_storage_id({recorder.periods().front().id});
  EXPECT_EQ("", recorder.periods().front().storage_id);
  ASSERT_EQ(1U, recorder.pairings(1).size());
  EXPECT_EQ(2, recorder.pairings(1)[0].channel_id);
  EXPECT_EQ(0, recorder.recorded_mb(1, 1, {}));
  EXPECT_EQ(1, recorder.recorded_mb(1, 2, {}));
  EXPECT_EQ(3, recorder.volumes().front().used_mb);
  EXPECT_EQ(strings(), recorder.days(1, 4, {""}));
}

TEST_F(queries, days_match_the_first_31_characters_of_storage_ids) {
  auto recorder = made();
  recorder.record(first_volume, main_stream, now, 1);
  recorder.record(second_volume, main_stream, now - day, 1);
  auto const one = recorder.volumes()[0].sid_text;
  auto const other = recorder.volumes()[1].sid_text;
  EXPECT_EQ(strings{"2026-11-21"}, recorder.days(1, 4, {one.substr(0, 31)}));
  EXPECT_EQ(strings{"2026-11-20"}, recorder.days(1, 4, {other}));
  EXPECT_EQ((strings{"2026-11-20", "2026-11-21"}), recorder.days(1, 4, {one, other}));
  EXPECT_EQ(strings(), recorder.days(1, 4, {one.substr(0, 30)}));
  EXPECT_EQ(strings(), recorder.days(1, 4, {}));
  EXPECT_EQ(strings(), recorder.days(1, 1, {one}));
  EXPECT_EQ(strings(), recorder.days(2, 4, {one}));
}

TEST_F(queries, days_are_local_dates_and_every_touched_one_counts) {
  auto recorder = made();
  recorder.record(first_volume, main_stream, now + 22 * hour, 1);
  auto const ids = strings{recorder.volumes()[0].sid_text};
  EXPECT_EQ(strings{"2026-11-21"}, recorder.days(1, 4, ids));
  set_time_zone("EAST-2");
  EXPECT_EQ(strings{"2026-11-22"}, recorder.days(1, 4, ids));
  set_time_zone("INDIA-1:30");
  EXPECT_EQ((strings{"2026-11-21", "2026-11-22"}), recorder.days(1, 4, ids));
  set_time_zone("UTC");
  tamper("UPDATE period SET end_ms = end_ms + 2 * 86400000");
  EXPECT_EQ((strings{"2026-11-21", "2026-11-22", "2026-11-23"}), recorder.days(1, 4, ids));
}

TEST_F(queries, a_day_that_the_time_zone_left_out_has_no_date) {
  auto recorder = made();
  auto const samoa = std::int64_t{1'325'152'800'000};  // 2011-12-29 10:00 UTC
  recorder.record(first_volume, main_stream, samoa - 2 * hour, 1);
  tamper("UPDATE period SET end_ms = end_ms + 2 * 86400000");
  set_time_zone("Pacific/Apia");
  EXPECT_EQ((strings{"2011-12-28", "2011-12-29", "2011-12-31"}),
            recorder.days(1, 4, {recorder.volumes()[0].sid_text}));
}

TEST_F(queries, channels_of_a_volume_are_those_assigned_to_it) {
  auto recorder = made();
  ASSERT_EQ(1U, recorder.volume_channels(1).size());
  EXPECT_EQ(0, recorder.volume_channels(1)[0].number);
  ASSERT_EQ(1U, recorder.volume_channels(2).size());
  EXPECT_EQ(1, recorder.volume_channels(2)[0].number);
  EXPECT_TRUE(recorder.volume_channels(3).empty());
}

TEST_F(queries, a_volume_that_is_not_mounted_says_so) {
  make();
  auto const identity = root() / "share" / "vol1" / "identity";
  auto const recorder = open();
  EXPECT_EQ(0, recorder.volumes()[0].state);
  support::write_file(identity, recorder.volumes()[1].sid_text + "\n");
  EXPECT_EQ(lab::not_mounted_state, recorder.volumes()[0].state);
  EXPECT_EQ(0, recorder.volumes()[1].state);
  std::filesystem::remove(identity);
  EXPECT_EQ(lab::not_mounted_state, recorder.volumes()[0].state);
  std::filesystem::remove_all(root() / "share" / "vol1");
  EXPECT_EQ(lab::not_mounted_state, recorder.volumes()[0].state);
  EXPECT_EQ(8, recorder.volumes()[0].total_mb);
}

}  // namespace
