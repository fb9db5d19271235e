#include <fstream>

#include "engine_test.h"
#include "lab/check/check.h"

namespace {

namespace fs = std::filesystem;
using support::hour;
using support::now;

class record_and_expire : public support::engine_test {
 protected:
  record_and_expire() { make(); }

  std::string refusal(lab::stream const& of, std::int64_t hour_ms, int units) const {
    return support::failure_of([&] { open().record(first_volume, of, hour_ms, units); });
  }
};

TEST_F(record_and_expire, an_hour_is_one_period_and_its_units) {
  open().record(first_volume, main_stream, now, 3);
  auto const recorded = names(hour_folder(first_volume, now));
  ASSERT_EQ(3U, recorded.size());
  EXPECT_EQ(5U, names(preallocate(first_volume)).size());
  EXPECT_EQ(3, open().volumes()[0].used_mb);
  ASSERT_EQ(1U, open().periods().size());
  EXPECT_EQ(now, open().periods()[0].start_ms);
  EXPECT_EQ(now + hour, open().periods()[0].end_ms);
  std::ifstream unit(hour_folder(first_volume, now) / recorded[0]);
  std::string head;
  std::getline(unit, head);
  EXPECT_EQ("ch01_NR_S00_2026112100/" + recorded[0], head);
  EXPECT_EQ(1024U * 1024U, fs::file_size(hour_folder(first_volume, now) / recorded[0]));
  EXPECT_EQ(lab::findings(), lab::check(open()));
}

TEST_F(record_and_expire, several_hours_are_a_period_each) {
  open().record(first_volume, main_stream, {now, now + hour}, 3);
  ASSERT_EQ(2U, open().periods().size());
  EXPECT_EQ(now, open().periods()[0].start_ms);
  EXPECT_EQ(now + hour, open().periods()[1].start_ms);
  EXPECT_EQ(3U, names(hour_folder(first_volume, now)).size());
  EXPECT_EQ(3U, names(hour_folder(first_volume, now + hour)).size());
  EXPECT_EQ(lab::findings(), lab::check(open()));
}

TEST_F(record_and_expire, several_hours_are_all_recorded_or_none) {
  fs::remove(preallocate(first_volume) / names(preallocate(first_volume)).back());
  EXPECT_EQ("volume vol1 is full: 8 units wanted, 7 are free", support::failure_of([&] {
              open().record(first_volume, main_stream, {now, now + hour}, 4);
            }));
  EXPECT_TRUE(open().periods().empty());
  EXPECT_EQ(7, open().account(first_volume).preallocated);
  EXPECT_FALSE(fs::exists(hour_folder(first_volume, now)));
}

TEST_F(record_and_expire, an_hour_that_is_named_twice_is_refused) {
  EXPECT_EQ("an hour is named twice", support::failure_of([&] {
              open().record(first_volume, main_stream, {now, now + hour, now}, 1);
            }));
  EXPECT_TRUE(open().periods().empty());
}

TEST_F(record_and_expire, a_full_volume_takes_nothing) {
  open().record(first_volume, main_stream, now, 6);
  {
    support::unchanged const kept(root());
    EXPECT_EQ("volume vol1 is full: 3 units wanted, 2 are free",
              refusal(main_stream, now + hour, 3));
  }
  open().record(first_volume, main_stream, now + hour, 2);
  EXPECT_EQ("volume vol1 is full: 1 units wanted, 0 are free",
            refusal(main_stream, now + 2 * hour, 1));
}

TEST_F(record_and_expire, only_whole_hours_of_real_streams_are_recorded) {
  EXPECT_EQ(std::to_string(now + 1) + " ms is not the start of an hour",
            refusal(main_stream, now + 1, 1));
  EXPECT_EQ("there is no recording type 3", refusal({1, 3, 0}, now, 1));
  EXPECT_EQ("there is no stream 5", refusal({1, 4, 5}, now, 1));
  EXPECT_EQ("there is no stream -1", refusal({1, 4, -1}, now, 1));
  EXPECT_EQ("there is no channel with id 8", refusal({8, 4, 0}, now, 1));
  EXPECT_EQ("a period needs at least one unit", refusal(main_stream, now, 0));
  EXPECT_EQ(lab::findings(), lab::check(open()));
}

TEST_F(record_and_expire, a_missing_unit_is_noted_and_another_one_taken) {
  fs::remove(preallocate(first_volume) / names(preallocate(first_volume)).front());
  open().record(first_volume, main_stream, now, 7);
  EXPECT_EQ(7U, names(hour_folder(first_volume, now)).size());
  EXPECT_EQ(1, open().account(first_volume).lost);
  EXPECT_EQ(7, open().account(first_volume).held);
}

TEST_F(record_and_expire, a_period_that_cannot_be_completed_is_none) {
  fs::remove(preallocate(first_volume) / names(preallocate(first_volume)).back());
  EXPECT_EQ("volume vol1 is full: 8 units wanted, 7 are free", refusal(main_stream, now, 8));
  EXPECT_TRUE(open().periods().empty());
  EXPECT_EQ(7U, names(preallocate(first_volume)).size());
  EXPECT_FALSE(fs::exists(hour_folder(first_volume, now)));
  EXPECT_EQ(7, open().account(first_volume).preallocated);
}

TEST_F(record_and_expire, a_file_in_the_way_is_not_overwritten) {
  auto const name = names(preallocate(first_volume)).front();
  fs::create_directory(hour_folder(first_volume, now));
  support::write_file(hour_folder(first_volume, now) / name, "mine");
  EXPECT_EQ((hour_folder(first_volume, now) / name).string() + ": unit is there already",
            refusal(main_stream, now, 2));
  EXPECT_EQ(4U, fs::file_size(hour_folder(first_volume, now) / name));
  EXPECT_EQ(8U, names(preallocate(first_volume)).size());
  EXPECT_EQ(8, open().account(first_volume).preallocated);
}

TEST_F(record_and_expire, periods_that_ended_go_with_their_units) {
  auto recorder = open();
  recorder.record(first_volume, main_stream, now, 2);
  recorder.record(second_volume, {2, 1, 3}, now, 3);
  recorder.record(first_volume, main_stream, now + hour, 1);
  EXPECT_EQ(0, recorder.expire(now + hour - 1));
  EXPECT_EQ(5, recorder.expire(now + hour));
  ASSERT_EQ(1U, recorder.periods().size());
  EXPECT_EQ(now + hour, recorder.periods()[0].start_ms);
  EXPECT_EQ(7U, names(preallocate(first_volume)).size());
  EXPECT_EQ(8U, names(preallocate(second_volume)).size());
  EXPECT_EQ(lab::findings(), lab::check(recorder));
}

TEST_F(record_and_expire, retention_does_not_heal_leaks) {
  leak(first_volume, main_stream, now, 2);
  EXPECT_EQ(0, open().expire(now + 10 * hour));
  EXPECT_EQ(2, open().account(first_volume).lost);
}

TEST_F(record_and_expire, periods_without_a_storage_id_expire_too) {
  auto recorder = open();
  recorder.record(first_volume, main_stream, now, 2);
  recorder.lose_storage_id(ids(recorder.periods()));
  EXPECT_EQ(2, recorder.expire(now + hour));
  EXPECT_EQ(lab::findings(), lab::check(recorder));
}

TEST_F(record_and_expire, what_is_not_mounted_does_not_expire) {
  auto recorder = open();
  recorder.record(first_volume, main_stream, now, 2);
  recorder.record(second_volume, main_stream, now, 1);
  fs::remove(root() / "share" / "vol1" / "identity");
  EXPECT_EQ(1, recorder.expire(now + hour));
  ASSERT_EQ(1U, recorder.periods().size());
  EXPECT_EQ(2, recorder.account(first_volume).held);
}

TEST_F(record_and_expire, more_periods_than_a_batch_expire) {
  fs::remove_all(root());
  make([](auto& options) {
    options.volumes = 1;
    options.volume_mb = 600;
  });
  auto recorder = open();
  recorder.record(first_volume, main_stream, now, 250);
  recorder.record(first_volume, main_stream, now + hour, 250);
  recorder.record(first_volume, main_stream, now + 2 * hour, 50);
  EXPECT_EQ(550, recorder.expire(now + 3 * hour));
  EXPECT_EQ(lab::findings(), lab::check(recorder));
}

}  // namespace
