// What stlab records, leaks, expires and assigns.
#include <algorithm>
#include <cstdlib>

#include "lab/make/make.h"
#include "lab/volume/layout.h"
#include "stlab_test.h"

namespace {

using client::hour_ms;
using support::holds;
using support::outcome;

constexpr std::int64_t thirty_days_ms = 720 * hour_ms;

class stlab_record : public stlab_program::stlab_test {};

TEST_F(stlab_record, record_checks_the_room_for_all_channels_first) {
  make();
  run("assign " + recorder.string() + " --channel 1 --volume vol1");
  expect_refused(on_recorder("record", "--units 3 --hours 2"),
                 "not enough free units on vol1: 12 needed, 8 free");
  EXPECT_TRUE(reader().periods().empty());
  EXPECT_EQ(0, on_recorder("record", "--units 2 --hours 2").status);
  EXPECT_EQ(4U, reader().periods().size());
}

TEST_F(stlab_record, a_channel_that_is_named_twice_records_once) {
  make();
  EXPECT_EQ("recorded ch01 NR S00 2026-11-21 07:00 UTC on vol1, 1 unit\n",
            on_recorder("record", "--channel 0 --channel 0").output);
}

TEST_F(stlab_record, record_leaves_a_leak_recyclable) {
  make();
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --hours 3").status);
  // Known since then is 06:00; 07:00 is the only hour after the leak that is empty.
  expect_refused(on_recorder("record", "--channel 0 --hours 2"),
                 "ch01 NR S00 has only 1 empty hour after its leak, which ends at 2026-11-21 "
                 "06:00 UTC; recycle that first");
  EXPECT_EQ(1U, reader().periods().size());
  EXPECT_EQ("recorded ch01 NR S00 2026-11-21 07:00 UTC on vol1, 1 unit\n",
            on_recorder("record", "--channel 0").output);
  std::int64_t const known = client::now_ms / hour_ms * hour_ms - hour_ms;
  EXPECT_EQ(3, writer().recycle(volume(0).id, stream(0, client::normal, 0),
                                {client::now_ms - thirty_days_ms, known - 1}));
  EXPECT_EQ(0, on_recorder("record", "--channel 0 --hours 2").status);
}

TEST_F(stlab_record, lose_id_leaves_a_leak_recyclable) {
  make();
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --stream 1 --hours 5").status);
  auto const before = support::snapshot_of(recorder / "share");
  expect_refused(on_recorder("lose-id", "--hours 2"),
                 "hours would have to be recorded before the end of the stream's leak, 2026-11-21 "
                 "06:00 UTC; recycle that first");
  EXPECT_EQ("", support::changes(before, support::snapshot_of(recorder / "share")));
  EXPECT_EQ(1U, reader().periods().size());
  EXPECT_EQ(0, on_recorder("lose-id", "--stream 2 --hours 2").status);
}

TEST_F(stlab_record, lose_id_checks_the_room_first) {
  make();
  auto const before = support::snapshot_of(recorder / "share");
  expect_refused(on_recorder("lose-id", "--hours 9"),
                 "not enough free units on vol1: 9 needed, 8 free");
  EXPECT_EQ("", support::changes(before, support::snapshot_of(recorder / "share")));
  EXPECT_TRUE(reader().periods().empty());
}

TEST_F(stlab_record, expire_counts_what_is_not_mounted) {
  make();
  std::int64_t const long_ago = client::now_ms / hour_ms * hour_ms - 72 * hour_ms;
  writer().record(volume(0).id, stream(0, client::normal, 0), long_ago, 3);
  writer().record(volume(0).id, stream(0, client::normal, 1), long_ago, 1);
  writer().record(volume(1).id, stream(1, client::normal, 0), long_ago, 2);
  std::filesystem::rename(volume(0).path / "identity", folder / "identity");
  outcome const result = on_recorder("expire");
  EXPECT_EQ(1, result.status);
  EXPECT_EQ("", result.errors);
  EXPECT_EQ(
      "expired what ended before 2026-11-19 07:30 UTC: 2 units came back\n"
      "left 2 periods on volumes that are not mounted\n",
      result.output);
  EXPECT_EQ(2U, reader().periods().size());
}

TEST_F(stlab_record, a_volume_that_takes_nothing_back_keeps_nobody_from_the_others) {
  make();
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --hours 3").status);
  tamper("UPDATE unit SET state = 'recycling' WHERE state = 'recorded' AND period_id IS NULL");
  lab::volume const blocked = volume(0);
  std::filesystem::rename(
      lab::storage_folder(blocked.path.string(), blocked.sid_text) + "/preallocate",
      folder / "kept");
  outcome const other = on_recorder("record", "--channel 1");
  EXPECT_EQ(0, other.status) << other.errors;
  EXPECT_EQ(4, on_recorder("record", "--channel 0").status);
}

TEST_F(stlab_record, record_takes_the_latest_empty_hours_of_the_given_channels) {
  make();
  EXPECT_EQ(0, run("assign " + recorder.string() + " --channel 1 --volume vol1").status);
  outcome const two =
      on_recorder("record", "--channel 1 --hours 2 --units 3 --type alarm --stream 2");
  EXPECT_EQ(0, two.status) << two.errors;
  EXPECT_EQ(
      "recorded ch02 AR S02 2026-11-21 07:00 UTC on vol1, 3 units\n"
      "recorded ch02 AR S02 2026-11-21 06:00 UTC on vol1, 3 units\n",
      two.output);
  EXPECT_EQ(2U, reader().periods().size());
  outcome const full = on_recorder("record", "--channel 1 --units 3");
  EXPECT_EQ(4, full.status);
  EXPECT_EQ(0U, full.errors.find("stlab: ")) << full.errors;
  EXPECT_EQ(2U, reader().periods().size());
  EXPECT_EQ(0, check().status);
}

TEST_F(stlab_record, record_takes_all_channels_by_default) {
  make();
  outcome const all = on_recorder("record");
  EXPECT_EQ(0, all.status) << all.errors;
  EXPECT_EQ(2U, reader().periods().size());
  EXPECT_EQ(1U, reader().periods(stream(0, client::normal, 0), {0, client::now_ms}).size());
  EXPECT_EQ(1U, reader().periods(stream(1, client::normal, 0), {0, client::now_ms}).size());
}

TEST_F(stlab_record, one_is_told_in_the_singular) {
  make();
  writer().record(volume(0).id, stream(0, client::normal, 0),
                  client::now_ms / hour_ms * hour_ms - 72 * hour_ms, 1);
  EXPECT_EQ("expired what ended before 2026-11-19 07:30 UTC: 1 unit came back\n",
            on_recorder("expire").output);
  EXPECT_TRUE(holds(on_recorder("leak", "--hours 1").output, ", 1 hour before "));
  EXPECT_TRUE(holds(on_recorder("lose-id", "--hours 1").output, " of 1 period: "));
}

TEST_F(stlab_record, expire_gives_the_units_back) {
  make();
  writer().record(volume(0).id, stream(0, client::normal, 0),
                  client::now_ms / hour_ms * hour_ms - 72 * hour_ms, 3);
  writer().record(volume(0).id, stream(0, client::normal, 0),
                  client::now_ms / hour_ms * hour_ms - 24 * hour_ms, 2);
  outcome const result = on_recorder("expire", "--days 2");
  EXPECT_EQ(0, result.status) << result.errors;
  EXPECT_EQ("expired what ended before 2026-11-19 07:30 UTC: 3 units came back\n", result.output);
  EXPECT_EQ(1U, reader().periods().size());
  EXPECT_EQ(6, reader().account(volume(0).id).preallocated);
  EXPECT_EQ(0, check().status);
}

TEST_F(stlab_record, a_leak_lies_before_the_earliest_known_period_and_within_thirty_days) {
  lab::make_options options = client::small();
  options.volume_mb = 64;
  make(options);
  std::int64_t const known = client::now_ms / hour_ms * hour_ms - 20 * hour_ms;
  writer().record(volume(0).id, stream(0, client::normal, 0), known, 1);
  outcome const result = on_recorder("leak", "--channel 0");
  EXPECT_EQ(0, result.status) << result.errors;
  EXPECT_EQ(
      "leaked 7 MB on vol1: ch01 NR S00, 7 hours before 2026-11-20 11:00 UTC, 1 unit an hour\n",
      result.output);
  lab::volume_account const account = reader().account(volume(0).id);
  EXPECT_EQ(7, account.lost);
  EXPECT_GT(account.lost * 20, account.total) << "more than a twentieth";
  EXPECT_EQ(1, account.held);
  ASSERT_EQ(1U, reader().periods().size());
  EXPECT_EQ(7, writer().recycle(volume(0).id, stream(0, client::normal, 0),
                                {client::now_ms - thirty_days_ms, known - 1}));
  EXPECT_EQ(0, check().status);
}

TEST_F(stlab_record, a_leak_of_an_unknown_stream_makes_it_known_first) {
  make();
  outcome const result =
      on_recorder("leak", "--channel 1 --stream 4 --type alarm --hours 2 --units 2");
  EXPECT_EQ(0, result.status) << result.errors;
  EXPECT_EQ(
      "recorded ch02 AR S04 2026-11-21 06:00 UTC on vol1: a stream without any known period is "
      "not recycled\n"
      "leaked 4 MB on vol1: ch02 AR S04, 2 hours before 2026-11-21 06:00 UTC, 2 units an hour\n",
      result.output);
  EXPECT_EQ(4, reader().account(volume(0).id).lost);
  EXPECT_EQ(1, reader().account(volume(0).id).held);
}

TEST_F(stlab_record, a_leak_without_room_is_refused_and_changes_nothing) {
  make();
  auto const before = support::snapshot_of(recorder / "share");
  expect_refused(on_recorder("leak", "--channel 0 --hours 9"),
                 "not enough free units: 10 needed, 8 free");
  expect_refused(on_recorder("leak", "--channel 0 --hours 8"),
                 "not enough free units: 9 needed, 8 free");
  EXPECT_EQ("", support::changes(before, support::snapshot_of(recorder / "share")));
  EXPECT_TRUE(reader().periods().empty());
}

TEST_F(stlab_record, a_leak_without_hours_is_refused) {
  make();
  std::int64_t const first = client::now_ms / hour_ms * hour_ms - thirty_days_ms + 4 * hour_ms;
  writer().record(volume(0).id, stream(0, client::normal, 0), first, 1);
  expect_refused(
      on_recorder("leak", "--channel 0 --hours 3"),
      "not enough hours between the start of the last 30 days and the stream's earliest known period, 2026-10-22 11:00 UTC: 3 needed, 2 there (see stlab expire)");
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --hours 2").status);
  EXPECT_EQ(2, writer().recycle(volume(0).id, stream(0, client::normal, 0),
                                {client::now_ms - thirty_days_ms, first - 1}));
}

TEST_F(stlab_record, lose_id_takes_adjoining_hours_across_midnight) {
  make();
  outcome const result = on_recorder("lose-id", "--stream 2 --count 4");
  EXPECT_EQ(0, result.status) << result.errors;
  EXPECT_EQ("lost the storage id of 4 periods: ch01 NR S02, from 2026-11-20 22:00 UTC\n",
            result.output);
  std::vector<lab::period> const periods =
      reader().periods(stream(0, client::normal, 2), {0, client::now_ms});
  ASSERT_EQ(4U, periods.size());
  for (lab::period const& each : periods) EXPECT_EQ("", each.storage_id);
  outcome const again = on_recorder("lose-id", "--stream 2 --hours 3");
  EXPECT_EQ("lost the storage id of 3 periods: ch01 NR S02, from 2026-11-19 23:00 UTC\n",
            again.output);
  EXPECT_EQ(1, check().status);
}

TEST_F(stlab_record, lose_id_goes_by_the_local_midnight) {
  make();
  extra["TZ"] = "XYZ-2";
  EXPECT_EQ("lost the storage id of 2 periods: ch01 NR S01, from 2026-11-20 21:00 UTC\n",
            on_recorder("lose-id", "--hours 2").output);
}

TEST_F(stlab_record, lose_id_takes_the_periods_that_are_there) {
  make();
  std::int64_t const midnight = client::now_ms - client::now_ms % (24 * hour_ms);
  writer().record(volume(1).id, stream(0, client::normal, 1), midnight, 2);
  EXPECT_EQ(0, on_recorder("lose-id", "--hours 2").status);
  std::vector<lab::period> const periods = reader().periods();
  ASSERT_EQ(2U, periods.size());
  EXPECT_EQ(midnight, periods[0].start_ms);
  EXPECT_EQ("", periods[0].storage_id);
  EXPECT_EQ("", periods[1].storage_id);
}

TEST_F(stlab_record, assign_moves_a_channel_to_one_volume) {
  make();
  outcome const result = run("assign " + recorder.string() + " --channel 1 --volume vol3");
  EXPECT_EQ(0, result.status) << result.errors;
  EXPECT_EQ("ch02 records into vol3\n", result.output);
  for (std::size_t const index : {0U, 1U, 2U, 3U}) {
    auto const channels = reader().volume_channels(volume(index).volume_no);
    auto const there = std::count_if(channels.begin(), channels.end(),
                                     [](lab::channel const& each) { return each.number == 1; });
    EXPECT_EQ(index == 2 ? 1 : 0, there);
  }
}

}  // namespace
