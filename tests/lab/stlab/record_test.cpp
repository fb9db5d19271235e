// What stlab records, leaks, expires and assigns.
#include <algorithm>
#include <cstdlib>

#include "stlab_test.h"

namespace {

using client::hour_ms;
using support::holds;
using support::outcome;

constexpr std::int64_t thirty_days_ms = 720 * hour_ms;

class stlab_record : public stlab_program::stlab_test {
 protected:
  stlab_record() { make(); }

  // Of the first stream, up to a moment.
  std::int64_t recycle_before(std::int64_t end_ms) const {
    return writer().recycle(volume(0).id, stream(0), {client::now_ms - thirty_days_ms, end_ms - 1});
  }
};

TEST_F(stlab_record, record_checks_the_room_for_all_channels_first) {
  run("assign " + recorder.string() + " --channel 1 --volume vol1");
  expect_refused(on_recorder("record", "--units 3 --hours 2"),
                 "not enough free units on vol1: 12 needed, 8 free");
  EXPECT_TRUE(reader().periods().empty());
  EXPECT_EQ(0, on_recorder("record", "--units 2 --hours 2").status);
  EXPECT_EQ(4U, reader().periods().size());
}

TEST_F(stlab_record, a_channel_that_is_named_twice_records_once) {
  EXPECT_EQ("recorded ch01 NR S00 2026-11-21 07:00 UTC on vol1, 1 unit\n",
            on_recorder("record", "--channel 0 --channel 0").output);
}

TEST_F(stlab_record, record_leaves_a_leak_recyclable) {
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --hours 3").status);
  // Known since then is 06:00; 07:00 is the only hour after the leak that is empty.
  expect_refused(on_recorder("record", "--channel 0 --hours 2"),
                 "ch01 NR S00 has only 1 empty hour after its leak, which ends at 2026-11-21 "
                 "06:00 UTC; recycle that first");
  EXPECT_EQ(1U, reader().periods().size());
  EXPECT_EQ("recorded ch01 NR S00 2026-11-21 07:00 UTC on vol1, 1 unit\n",
            on_recorder("record", "--channel 0").output);
  EXPECT_EQ(3, recycle_before(hours_ago(1)));
  EXPECT_EQ(0, on_recorder("record", "--channel 0 --hours 2").status);
}

TEST_F(stlab_record, lose_id_leaves_a_leak_recyclable) {
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --stream 1 --hours 5").status);
  {
    support::unchanged const kept(recorder / "share");
    expect_refused(
        on_recorder("lose-id", "--hours 2"),
        "hours would have to be recorded before the end of the stream's leak, 2026-11-21 "
        "06:00 UTC; recycle that first");
    EXPECT_EQ(1U, reader().periods().size());
  }
  EXPECT_EQ(0, on_recorder("lose-id", "--stream 2 --hours 2").status);
}

TEST_F(stlab_record, lose_id_checks_the_room_first) {
  support::unchanged const kept(recorder / "share");
  expect_refused(on_recorder("lose-id", "--hours 9"),
                 "not enough free units on vol1: 9 needed, 8 free");
  EXPECT_TRUE(reader().periods().empty());
}

TEST_F(stlab_record, expire_counts_what_is_not_mounted) {
  std::int64_t const long_ago = hours_ago(72);
  record(0, stream(0), long_ago, 3);
  record(0, stream(0, client::normal, 1), long_ago, 1);
  record(1, stream(1), long_ago, 2);
  std::filesystem::rename(volume(0).path / "identity", folder / "identity");
  expect_ended(on_recorder("expire"), 1,
               "expired what ended before 2026-11-19 07:30 UTC: 2 units came back\n"
               "left 2 periods on volumes that are not mounted\n");
  EXPECT_EQ(2U, reader().periods().size());
}

TEST_F(stlab_record, a_volume_that_takes_nothing_back_keeps_nobody_from_the_others) {
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --hours 3").status);
  tamper("UPDATE unit SET state = 'recycling' WHERE state = 'recorded' AND period_id IS NULL");
  std::filesystem::rename(preallocate(volume(0).id), folder / "kept");
  EXPECT_EQ(0, on_recorder("record", "--channel 1").status);
  EXPECT_EQ(4, on_recorder("record", "--channel 0").status);
}

TEST_F(stlab_record, record_takes_the_latest_empty_hours_of_the_given_channels) {
  EXPECT_EQ(0, run("assign " + recorder.string() + " --channel 1 --volume vol1").status);
  expect_done(on_recorder("record", "--channel 1 --hours 2 --units 3 --type alarm --stream 2"),
              "recorded ch02 AR S02 2026-11-21 07:00 UTC on vol1, 3 units\n"
              "recorded ch02 AR S02 2026-11-21 06:00 UTC on vol1, 3 units\n");
  EXPECT_EQ(2U, reader().periods().size());
  outcome const full = on_recorder("record", "--channel 1 --units 3");
  EXPECT_EQ(4, full.status);
  EXPECT_EQ(0U, full.errors.find("stlab: ")) << full.errors;
  EXPECT_EQ(2U, reader().periods().size());
  EXPECT_EQ(0, check().status);
}

TEST_F(stlab_record, record_takes_all_channels_by_default) {
  EXPECT_EQ(0, on_recorder("record").status);
  EXPECT_EQ(2U, reader().periods().size());
  EXPECT_EQ(1U, reader().periods(stream(0), {0, client::now_ms}).size());
  EXPECT_EQ(1U, reader().periods(stream(1), {0, client::now_ms}).size());
}

TEST_F(stlab_record, one_is_told_in_the_singular) {
  record(0, stream(0), hours_ago(72), 1);
  EXPECT_EQ("expired what ended before 2026-11-19 07:30 UTC: 1 unit came back\n",
            on_recorder("expire").output);
  EXPECT_TRUE(holds(on_recorder("leak", "--hours 1").output, ", 1 hour before "));
  EXPECT_TRUE(holds(on_recorder("lose-id", "--hours 1").output, " of 1 period: "));
}

TEST_F(stlab_record, expire_gives_the_units_back) {
  record(0, stream(0), hours_ago(72), 3);
  record(0, stream(0), hours_ago(24), 2);
  expect_done(on_recorder("expire", "--days 2"),
              "expired what ended before 2026-11-19 07:30 UTC: 3 units came back\n");
  EXPECT_EQ(1U, reader().periods().size());
  EXPECT_EQ(6, reader().account(volume(0).id).preallocated);
  EXPECT_EQ(0, check().status);
}

TEST_F(stlab_record, a_leak_lies_before_the_earliest_known_period_and_within_thirty_days) {
  std::filesystem::remove_all(recorder);
  make([](auto& options) { options.volume_mb = 64; });
  std::int64_t const known = hours_ago(20);
  record(0, stream(0), known, 1);
  expect_done(
      on_recorder("leak", "--channel 0"),
      "leaked 7 MB on vol1: ch01 NR S00, 7 hours before 2026-11-20 11:00 UTC, 1 unit an hour\n");
  lab::volume_account const account = reader().account(volume(0).id);
  EXPECT_EQ(7, account.lost);
  EXPECT_GT(account.lost * 20, account.total) << "more than a twentieth";
  EXPECT_EQ(1, account.held);
  ASSERT_EQ(1U, reader().periods().size());
  EXPECT_EQ(7, recycle_before(known));
  EXPECT_EQ(0, check().status);
}

TEST_F(stlab_record, a_leak_of_an_unknown_stream_makes_it_known_first) {
  expect_done(
      on_recorder("leak", "--channel 1 --stream 4 --type alarm --hours 2 --units 2"),
      "recorded ch02 AR S04 2026-11-21 06:00 UTC on vol1: a stream without any known period is "
      "not recycled\n"
      "leaked 4 MB on vol1: ch02 AR S04, 2 hours before 2026-11-21 06:00 UTC, 2 units an hour\n");
  EXPECT_EQ(4, reader().account(volume(0).id).lost);
  EXPECT_EQ(1, reader().account(volume(0).id).held);
}

TEST_F(stlab_record, a_leak_without_room_is_refused_and_changes_nothing) {
  support::unchanged const kept(recorder / "share");
  expect_refused(on_recorder("leak", "--channel 0 --hours 9"),
                 "not enough free units: 10 needed, 8 free");
  expect_refused(on_recorder("leak", "--channel 0 --hours 8"),
                 "not enough free units: 9 needed, 8 free");
  EXPECT_TRUE(reader().periods().empty());
}

TEST_F(stlab_record, a_leak_without_hours_is_refused) {
  std::int64_t const first = hours_ago(720 - 4);
  record(0, stream(0), first, 1);
  expect_refused(
      on_recorder("leak", "--channel 0 --hours 3"),
      "not enough hours between the start of the last 30 days and the stream's earliest known period, 2026-10-22 11:00 UTC: 3 needed, 2 there (see stlab expire)");
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --hours 2").status);
  EXPECT_EQ(2, recycle_before(first));
}

TEST_F(stlab_record, lose_id_takes_adjoining_hours_across_midnight) {
  expect_done(on_recorder("lose-id", "--stream 2 --count 4"),
              "lost the storage id of 4 periods: ch01 NR S02, from 2026-11-20 22:00 UTC\n");
  std::vector<lab::period> const periods =
      reader().periods(stream(0, client::normal, 2), {0, client::now_ms});
  ASSERT_EQ(4U, periods.size());
  for (lab::period const& each : periods) EXPECT_EQ("", each.storage_id);
  expect_done(on_recorder("lose-id", "--stream 2 --hours 3"),
              "lost the storage id of 3 periods: ch01 NR S02, from 2026-11-19 23:00 UTC\n");
  EXPECT_EQ(1, check().status);
}

TEST_F(stlab_record, lose_id_goes_by_the_local_midnight) {
  extra["TZ"] = "XYZ-2";
  EXPECT_EQ("lost the storage id of 2 periods: ch01 NR S01, from 2026-11-20 21:00 UTC\n",
            on_recorder("lose-id", "--hours 2").output);
}

TEST_F(stlab_record, lose_id_takes_the_periods_that_are_there) {
  std::int64_t const midnight = client::now_ms - client::now_ms % (24 * hour_ms);
  record(1, stream(0, client::normal, 1), midnight, 2);
  EXPECT_EQ(0, on_recorder("lose-id", "--hours 2").status);
  std::vector<lab::period> const periods = reader().periods();
  ASSERT_EQ(2U, periods.size());
  EXPECT_EQ(midnight, periods[0].start_ms);
  EXPECT_EQ("", periods[0].storage_id);
  EXPECT_EQ("", periods[1].storage_id);
}

TEST_F(stlab_record, assign_moves_a_channel_to_one_volume) {
  expect_done(run("assign " + recorder.string() + " --channel 1 --volume vol3"),
              "ch02 records into vol3\n");
  for (std::size_t const index : {0U, 1U, 2U, 3U}) {
    auto const channels = reader().volume_channels(volume(index).volume_no);
    auto const there = std::count_if(channels.begin(), channels.end(),
                                     [](lab::channel const& each) { return each.number == 1; });
    EXPECT_EQ(index == 2 ? 1 : 0, there);
  }
}

}  // namespace
