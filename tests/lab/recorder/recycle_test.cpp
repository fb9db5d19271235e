#include "engine_test.h"
#include "lab/check/check.h"

namespace {

namespace fs = std::filesystem;
using support::hour;
using support::now;
using strings = std::vector<std::string>;

constexpr std::int64_t megabyte = std::int64_t{1024} * 1024;

class recycle : public support::engine_test {
 protected:
  recycle() { make(); }

  std::int64_t run(lab::span const& within, std::int64_t volume_id = 1) const {
    return open().recycle(volume_id, main_stream, within);
  }
};

TEST_F(recycle, leaked_units_come_back_with_their_blocks) {
  leak(first_volume, main_stream, now, 3);
  auto const leaked = names(hour_folder(first_volume, now));
  ASSERT_EQ(3U, leaked.size());
  auto const before = allocated_bytes(preallocate(first_volume));
  EXPECT_EQ(3, run(always));
  EXPECT_FALSE(fs::exists(hour_folder(first_volume, now)));
  for (auto const& name : leaked) EXPECT_TRUE(fs::exists(preallocate(first_volume) / name));
  EXPECT_EQ(8U, names(preallocate(first_volume)).size());
  EXPECT_GE(allocated_bytes(preallocate(first_volume)), before + 3 * megabyte);
  EXPECT_EQ(8, open().account(first_volume).preallocated);
  EXPECT_EQ(lab::findings(), lab::check(open()));
  EXPECT_EQ(0, run(always));
}

TEST_F(recycle, everything_else_stays_byte_for_byte) {
  leak(first_volume, main_stream, now, 2);
  leak(first_volume, {1, 4, 1}, now, 1);
  leak(first_volume, {1, 1, 0}, now, 1);
  leak(first_volume, {2, 4, 0}, now, 1);
  leak(second_volume, main_stream, now, 1);
  open().record(first_volume, main_stream, now + 2 * hour, 1);
  auto const before = support::contents_of(root());
  auto const leaked = names(hour_folder(first_volume, now));
  EXPECT_EQ(2, run(always));
  auto const free_units = preallocate(first_volume).lexically_relative(root()).string();
  auto const folder = hour_folder(first_volume, now).lexically_relative(root()).string();
  strings expected{"catalogue.db", "catalogue.db-journal", folder + "/"};
  for (auto const* const place : {&folder, &free_units}) {
    for (auto const& name : leaked) expected.push_back((fs::path(*place) / name).string());
  }
  EXPECT_EQ(expected, support::differences(before, support::contents_of(root())));
}

TEST_F(recycle, an_hour_must_lie_in_the_span_whole) {
  leak(first_volume, main_stream, now, 1);
  EXPECT_EQ(0, run({now + 1, now + hour - 1}));
  EXPECT_EQ(0, run({now, now + hour - 2}));
  EXPECT_EQ(0, run({now - 10 * hour, now + hour - 2}));
  EXPECT_EQ(0, run({now + 1, now + 10 * hour}));
  EXPECT_EQ(1, run({now, now + hour - 1}));
}

TEST_F(recycle, an_inverted_span_is_empty) {
  leak(first_volume, main_stream, now, 1);
  EXPECT_EQ(0, run({now + 10 * hour, now}));
  EXPECT_EQ(0, run({now + 1, now}));
  EXPECT_EQ(0, run({0, INT64_MIN}));
  EXPECT_EQ(1, run({INT64_MIN, INT64_MAX}));
}

TEST_F(recycle, a_period_keeps_the_units_it_holds) {
  open().record(first_volume, main_stream, now, 2);
  EXPECT_EQ(0, run(always));
  EXPECT_EQ(2U, names(hour_folder(first_volume, now)).size());
}

TEST_F(recycle, a_period_keeps_every_hour_that_it_overlaps) {
  leak(first_volume, main_stream, now, 1);
  open().record(first_volume, main_stream, now + hour, 1);
  EXPECT_EQ(1, run(always));
  leak(first_volume, main_stream, now, 1);
  tamper("UPDATE period SET start_ms = start_ms - 1");
  EXPECT_EQ(0, run(always));
  tamper("UPDATE period SET storage_id = ''");
  EXPECT_EQ(0, run(always));
  open().lose_storage_id(ids(open().periods()));
  EXPECT_EQ(0, run(always));
}

TEST_F(recycle, an_adjoining_period_keeps_nothing) {
  leak(first_volume, main_stream, now, 1);
  auto recorder = open();
  recorder.record(first_volume, main_stream, now - hour, 1);
  recorder.record(first_volume, main_stream, now + hour, 1);
  EXPECT_EQ(1, run(always));
}

TEST_F(recycle, a_period_keeps_its_units_even_under_the_wrong_storage_id) {
  open().record(first_volume, main_stream, now, 2);
  tamper("UPDATE period SET storage_id = (SELECT sid_text FROM volume WHERE id = 2)");
  EXPECT_EQ(0, run(always));
  EXPECT_EQ(2U, names(hour_folder(first_volume, now)).size());
}

TEST_F(recycle, periods_of_other_streams_and_volumes_keep_nothing) {
  leak(first_volume, main_stream, now, 1);
  auto recorder = open();
  recorder.record(first_volume, {1, 4, 1}, now, 1);
  recorder.record(first_volume, {1, 1, 0}, now, 1);
  recorder.record(first_volume, {2, 4, 0}, now, 1);
  recorder.record(second_volume, main_stream, now, 1);
  EXPECT_EQ(1, run(always));
}

TEST_F(recycle, another_volume_gives_back_nothing) {
  leak(first_volume, main_stream, now, 2);
  EXPECT_EQ(0, run(always, second_volume));
  EXPECT_EQ("there is no volume with id 3", support::failure_of([&] { run(always, 3); }));
  EXPECT_EQ(2U, names(hour_folder(first_volume, now)).size());
}

TEST_F(recycle, an_unknown_file_keeps_its_hour_folder) {
  leak(first_volume, main_stream, now, 2);
  support::write_file(hour_folder(first_volume, now) / "unknown", "mine");
  EXPECT_EQ(2, run(always));
  EXPECT_EQ(strings{"unknown"}, names(hour_folder(first_volume, now)));
}

TEST_F(recycle, many_units_come_back_batch_by_batch) {
  fs::remove_all(root());
  make([](auto& options) {
    options.volume_mb = 600;
    options.volumes = 1;
  });
  leak(first_volume, main_stream, now, 300);
  leak(first_volume, main_stream, now + hour, 280);
  EXPECT_EQ(580, run(always));
  EXPECT_EQ(600U, names(preallocate(first_volume)).size());
  EXPECT_EQ(lab::findings(), lab::check(open()));
}

TEST_F(recycle, a_unit_that_is_nowhere_becomes_bad) {
  leak(first_volume, main_stream, now, 2);
  fs::remove(hour_folder(first_volume, now) / names(hour_folder(first_volume, now)).front());
  EXPECT_EQ(1, run(always));
  EXPECT_EQ(1, ask("SELECT count(*) FROM unit WHERE state = 'bad'"));
  EXPECT_EQ(7, open().account(first_volume).preallocated);
  EXPECT_EQ(1, open().account(first_volume).lost);
}

TEST_F(recycle, a_volume_that_is_not_mounted_is_left_alone) {
  leak(first_volume, main_stream, now, 2);
  auto const identity = root() / "share" / "vol1" / "identity";
  fs::rename(identity, root() / "kept");
  auto const text = "volume vol1 is not mounted: " + (root() / "share" / "vol1").string();
  EXPECT_EQ(text, support::failure_of([&] { run(always); }));
  support::write_file(identity, std::string(32, '7') + "\n");
  EXPECT_EQ(text, support::failure_of([&] { run(always); }));
  EXPECT_EQ(2U, names(hour_folder(first_volume, now)).size());
  EXPECT_EQ(text, support::failure_of([&] { open().record(1, main_stream, now, 1); }));
  fs::rename(root() / "kept", identity);
  EXPECT_EQ(2, run(always));
}

TEST_F(recycle, a_second_writer_waits_and_then_is_busy) {
  leak(first_volume, main_stream, now, 2);
  auto recorder = open();
  recorder.wait_at_most(std::chrono::milliseconds(30));
  {
    auto const other = hold(first_volume);
    EXPECT_THROW(recorder.recycle(first_volume, main_stream, always), lab::busy_error);
    EXPECT_THROW(recorder.record(first_volume, main_stream, now, 1), lab::busy_error);
    EXPECT_THROW(recorder.expire(now), lab::busy_error);
    EXPECT_THROW(lab::check(recorder), lab::busy_error);
    EXPECT_EQ(2U, recorder.volumes().size());
    EXPECT_EQ(2, recorder.account(first_volume).lost);
    recorder.record(second_volume, main_stream, now, 1);
  }
  EXPECT_EQ(2, recorder.recycle(first_volume, main_stream, always));
}

TEST_F(recycle, checks_do_not_exclude_each_other) {
  auto recorder = open();
  recorder.wait_at_most(std::chrono::milliseconds(30));
  auto const other = hold(first_volume, lab::volume_lock::kind::shared);
  EXPECT_EQ(lab::findings(), lab::check(recorder));
  EXPECT_THROW(recorder.recycle(first_volume, main_stream, always), lab::busy_error);
}

}  // namespace
