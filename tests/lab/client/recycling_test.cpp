// Recycling through a space's tier and through a volume's unit.
#include <stdlib.h>

#include <fstream>

#include "client_test.h"
#include "lab/catalogue/sqlite.h"
#include "storage/service.h"

namespace {

using client::client_test;
using client::hour_ms;

constexpr std::int64_t base_ms = client::now_ms - client::now_ms % hour_ms - 10 * hour_ms;
constexpr std::int64_t all_hours_end = base_ms + 5 * hour_ms;

class recycling : public client_test {
 protected:
  recycling() {
    make();
    of = client::stream_of(channel(0), client::normal, 0);
  }

  // Two units of an hour that nothing holds any more.
  void leak(std::size_t volume_index, lab::stream const& which, std::int64_t start_ms) const {
    client_test::leak(volume(volume_index).id, which, start_ms, 2);
  }
  void leak(std::size_t volume_index) const { leak(volume_index, first_stream(), base_ms); }

  lab::stream first_stream() const { return {channel(0).id, client::normal, 0}; }

  template <typename Storage>
  int recycle(Storage& storage) const {
    return storage.recycle_stream_data(of, base_ms, all_hours_end, 0);
  }

  std::int64_t lost(std::size_t volume_index) const {
    return reader().account(volume(volume_index).id).lost;
  }

  std::size_t preallocated(std::size_t volume_index) const {
    return client::files_in(preallocate(volume(volume_index).id));
  }

  lab::volume_lock hold(std::size_t volume_index,
                        lab::volume_lock::kind how = lab::volume_lock::kind::exclusive) const {
    return client_test::hold(volume(volume_index).id, how);
  }

  void unmount(std::size_t volume_index) const {
    std::filesystem::rename(volume(volume_index).path, folder / "elsewhere");
  }
  void mount(std::size_t volume_index) const {
    std::filesystem::rename(folder / "elsewhere", volume(volume_index).path);
  }

  stream_info of;
  CFSTier tier;
  CFSUnit unit;
};

TEST_F(recycling, a_tier_recycles_on_every_volume_of_its_space_and_on_no_other) {
  for (std::size_t const index : {0U, 1U, 2U}) leak(index);
  ASSERT_EQ(0, tier.init(space_sid()));
  EXPECT_EQ(0, recycle(tier));
  EXPECT_EQ(0, tier.uninit());
  for (auto const& [index, left] : {std::pair(0U, 0), {1U, 0}, {2U, 2}}) {
    EXPECT_EQ(left, lost(index));
    EXPECT_EQ(static_cast<std::size_t>(8 - left), preallocated(index));
  }
}

TEST_F(recycling, a_unit_recycles_on_its_volume_only) {
  leak(0);
  leak(1);
  ASSERT_EQ(0, unit.init(volume_sid(1)));
  EXPECT_EQ(0, recycle(unit));
  EXPECT_EQ(0, unit.uninit());
  EXPECT_EQ(2, lost(0));
  EXPECT_EQ(0, lost(1));
}

TEST_F(recycling, another_stream_type_or_channel_stays) {
  leak(0, {channel(0).id, client::normal, 1}, base_ms);
  leak(0, {channel(0).id, client::alarm, 0}, base_ms);
  leak(0, {channel(1).id, client::normal, 0}, base_ms);
  ASSERT_EQ(0, unit.init(volume_sid()));
  EXPECT_EQ(0, recycle(unit));
  EXPECT_EQ(6, lost(0));
  EXPECT_EQ(0, unit.recycle_stream_data(client::stream_of(channel(0), client::alarm, 0), base_ms,
                                        all_hours_end, 0));
  EXPECT_EQ(4, lost(0));
}

TEST_F(recycling, only_hours_that_lie_whole_in_the_span_come_back) {
  leak(0);
  leak(0, first_stream(), base_ms + hour_ms);
  ASSERT_EQ(0, unit.init(volume_sid()));
  EXPECT_EQ(0, unit.recycle_stream_data(of, base_ms + 1, base_ms + 2 * hour_ms - 2, 0));
  EXPECT_EQ(4, lost(0));
  EXPECT_EQ(0, unit.recycle_stream_data(of, base_ms, base_ms + 2 * hour_ms - 2, 0));
  EXPECT_EQ(2, lost(0));
  EXPECT_EQ(0, unit.recycle_stream_data(of, base_ms, base_ms + 2 * hour_ms - 1, 0));
  EXPECT_EQ(0, lost(0));
  EXPECT_EQ(0, unit.uninit());
  expect_sound();
}

TEST_F(recycling, what_a_period_holds_stays) {
  writer().record(volume(0).id, first_stream(), base_ms, 2);
  ASSERT_EQ(0, unit.init(volume_sid()));
  EXPECT_EQ(0, recycle(unit));
  EXPECT_EQ(6U, preallocated(0));
  EXPECT_EQ(0, unit.uninit());
  expect_sound();
}

TEST_F(recycling, unknown_ids_are_refused) {
  EXPECT_NE(0, tier.init(kivsid()));
  EXPECT_NE(0, unit.init(kivsid()));
  ASSERT_EQ(0, tier.init(space_sid()));
  ASSERT_EQ(0, unit.init(volume_sid(2)));
  stream_info unknown = of;
  unknown.channel = channel_sid();
  EXPECT_NE(0, tier.recycle_stream_data(unknown, base_ms, all_hours_end, 0));
  EXPECT_NE(0, unit.recycle_stream_data(unknown, base_ms, all_hours_end, 0));
}

TEST_F(recycling, nothing_is_recycled_before_init_and_after_uninit) {
  leak(0);
  EXPECT_NE(0, recycle(unit));
  ASSERT_EQ(0, unit.init(volume_sid()));
  EXPECT_EQ(0, unit.uninit());
  EXPECT_NE(0, recycle(unit));
  ASSERT_EQ(0, unit.init(volume_sid()));
  EXPECT_NE(0, unit.init(kivsid()));
  EXPECT_NE(0, recycle(unit));
  EXPECT_EQ(2, lost(0));
}

TEST_F(recycling, a_unit_of_a_volume_that_is_not_mounted_is_refused) {
  kivsid const id = volume_sid();
  ASSERT_EQ(0, unit.init(id));
  unmount(0);
  EXPECT_NE(0, recycle(unit));
  EXPECT_NE(0, unit.init(id));
  mount(0);
  EXPECT_EQ(0, unit.init(id));
}

TEST_F(recycling, a_tier_passes_over_a_volume_that_is_not_mounted) {
  leak(0);
  leak(1);
  unmount(0);
  ASSERT_EQ(0, tier.init(space_sid()));
  EXPECT_EQ(0, recycle(tier));
  mount(0);
  EXPECT_EQ(2, lost(0));
  EXPECT_EQ(0, lost(1));
}

TEST_F(recycling, a_tier_goes_on_after_a_volume_that_fails_and_reports_it) {
  leak(0);
  leak(1);
  std::filesystem::path const reserve = preallocate(volume(0).id);
  std::filesystem::rename(reserve, folder / "reserve");
  ASSERT_EQ(0, tier.init(space_sid()));
  EXPECT_NE(0, recycle(tier));
  EXPECT_EQ(0, lost(1));
  std::filesystem::rename(folder / "reserve", reserve);
  EXPECT_EQ(0, recycle(tier));
  EXPECT_EQ(0, lost(0));
  EXPECT_EQ(8U, preallocated(0));
  EXPECT_EQ(0, tier.uninit());
  expect_sound();
}

TEST_F(recycling, is_not_prepared_where_another_holds_a_volume) {
  leak(0);
  leak(1);
  ::setenv("STLAB_LOCK_TIMEOUT_MS", "20", 1);
  for (auto const how : {lab::volume_lock::kind::exclusive, lab::volume_lock::kind::shared}) {
    auto const other = hold(1, how);
    EXPECT_NE(0, tier.init(space_sid()));
    EXPECT_NE(0, recycle(tier));
    EXPECT_NE(0, unit.init(volume_sid(1)));
    EXPECT_NE(0, recycle(unit));
    EXPECT_EQ(0, unit.init(volume_sid())) << "nobody's";
    EXPECT_EQ(0, unit.uninit());
    EXPECT_EQ(0, tier.init(space_sid(1))) << "nobody's";
  }
  EXPECT_NE(std::string::npos,
            traced("log_Debug").front().find("CFSTier::init: volume vol2 is being written"));
  EXPECT_EQ(2, lost(0));
  EXPECT_EQ(2, lost(1));
  ASSERT_EQ(0, tier.init(space_sid()));
  EXPECT_EQ(0, recycle(tier));
  EXPECT_EQ(0, lost(0));
  EXPECT_EQ(0, lost(1));
}

TEST_F(recycling, holds_its_volumes_from_init_to_uninit_or_destruction) {
  auto const is_free = [&](std::size_t index) {
    try {
      hold(index, lab::volume_lock::kind::shared);
      return true;
    } catch (lab::busy_error const&) {
      return false;
    }
  };
  {
    CFSTier holding;
    ASSERT_EQ(0, holding.init(space_sid()));
    EXPECT_FALSE(is_free(0) || is_free(1));
    EXPECT_TRUE(is_free(2));
    EXPECT_NE(0, holding.init(kivsid()));
    EXPECT_TRUE(is_free(0) && is_free(1));
    ASSERT_EQ(0, unit.init(volume_sid()));
    EXPECT_FALSE(is_free(0));
    EXPECT_EQ(0, unit.uninit());
    ASSERT_EQ(0, holding.init(space_sid()));
  }
  EXPECT_TRUE(is_free(0) && is_free(1));
}

// Whoever opened it again would be refused.
TEST_F(recycling, does_not_open_the_recorder_again) {
  leak(0);
  ASSERT_EQ(0, tier.init(space_sid()));
  ::setenv("STLAB_LOCK_TIMEOUT_MS", "none", 1);
  EXPECT_EQ(0, recycle(tier));
  EXPECT_NE(0, tier.init(space_sid()));
  EXPECT_EQ(0, lost(0));
}

TEST_F(recycling, of_another_volume_in_the_place_of_the_one_that_is_held_is_refused) {
  leak(0);
  std::filesystem::path const identity = volume(0).path / "identity";
  std::string const own = support::content_of(identity);
  ASSERT_EQ(0, unit.init(volume_sid()));
  std::filesystem::remove(identity);
  EXPECT_NE(0, recycle(unit));
  std::ofstream(identity) << own;
  ::setenv("STLAB_LOCK_TIMEOUT_MS", "0", 1);
  ASSERT_EQ(0, unit.init(volume_sid()));
  std::filesystem::remove(identity);
  std::ofstream(identity) << own;
  {
    auto const other = hold(0);
    EXPECT_NE(0, recycle(unit));
  }
  EXPECT_EQ(0, recycle(unit));
  EXPECT_EQ(0, lost(0));
}

// Whoever waited a second time would do so for an hour.
TEST_F(recycling, waits_for_the_same_holder_of_the_catalogue_once) {
  kivsid const of_space = space_sid();
  leak(0);
  leak(1);
  ::setenv("STLAB_LOCK_TIMEOUT_MS", "3600000", 1);
  CKivStorage storage;
  IStorageSetting* setting = nullptr;
  ASSERT_EQ(0, storage.create_storage_setting(&setting));
  {
    auto other = connect(lab::database::mode::read_write);
    other.execute("BEGIN IMMEDIATE");
    ::setenv("STLAB_LOCK_TIMEOUT_MS", "20", 1);
    ASSERT_EQ(0, tier.init(of_space));
    EXPECT_NE(0, recycle(tier));
    ::setenv("STLAB_LOCK_TIMEOUT_MS", "3600000", 1);
    ASSERT_EQ(0, tier.init(of_space));
    EXPECT_NE(0, recycle(tier));
    EXPECT_EQ(0, tier.uninit());
    other.execute("COMMIT; BEGIN EXCLUSIVE");
    std::list<space_info> spaces;
    EXPECT_NE(0, setting->get_space_list(spaces));
    EXPECT_NE(0, tier.init(of_space));
  }
  ASSERT_EQ(0, tier.init(of_space));
  EXPECT_EQ(0, recycle(tier));
  EXPECT_EQ(0, lost(0) + lost(1));
  EXPECT_EQ(0, storage.destroy_storage_setting(&setting));
}

// Whoever waited a second time would do so for an hour.
TEST_F(recycling, waits_for_the_same_holder_of_a_volume_once) {
  {
    auto const other = hold(0);
    ::setenv("STLAB_LOCK_TIMEOUT_MS", "20", 1);
    EXPECT_NE(0, CFSTier().init(space_sid()));
    ::setenv("STLAB_LOCK_TIMEOUT_MS", "3600000", 1);
    EXPECT_NE(0, CFSTier().init(space_sid()));
    EXPECT_NE(0, CFSUnit().init(volume_sid()));
  }
  EXPECT_EQ(0, CFSTier().init(space_sid()));
}

// As long as a setting is there, the library goes on with the catalogue that it has open.
class recycling_beside_a_setting : public recycling {
 protected:
  recycling_beside_a_setting() {
    EXPECT_EQ(0, storage_.create_storage_setting(&setting_));
    EXPECT_EQ(0, tier.init(space_sid()));
    EXPECT_EQ(0, tier.uninit());
  }
  ~recycling_beside_a_setting() override {
    EXPECT_EQ(0, storage_.destroy_storage_setting(&setting_));
  }

 private:
  CKivStorage storage_;
  IStorageSetting* setting_ = nullptr;
};

TEST_F(recycling_beside_a_setting, holds_nothing_after_uninit) {
  auto const first = hold(0);
  auto const second = hold(1);
  connect(lab::database::mode::read_write).execute("BEGIN EXCLUSIVE; COMMIT");
}

TEST_F(recycling_beside_a_setting, one_may_hold_a_volume_and_another_the_next) {
  leak(0);
  leak(1);
  CFSUnit other;
  ASSERT_EQ(0, unit.init(volume_sid(0)));
  ASSERT_EQ(0, other.init(volume_sid(1)));
  EXPECT_EQ(0, recycle(unit));
  EXPECT_EQ(0, unit.uninit());
  EXPECT_EQ(0, recycle(other));
  EXPECT_EQ(0, lost(0) + lost(1));
}

TEST_F(recycling_beside_a_setting, is_of_the_recorder_that_is_there_now) {
  kivsid const of_space = space_sid();
  std::filesystem::rename(recorder, folder / "first");
  EXPECT_NE(0, tier.init(of_space));
  support::copy_tree(folder / "first", recorder);
  leak(0);
  ASSERT_EQ(0, tier.init(of_space));
  EXPECT_EQ(0, recycle(tier));
  EXPECT_EQ(0, tier.uninit());
  EXPECT_EQ(0, lost(0));
  expect_sound();
}

// The catalogue that was open does not stand in the way of finding out why.
TEST_F(recycling_beside_a_setting, is_refused_at_once_where_a_write_ahead_log_is_kept) {
  ::setenv("STLAB_LOCK_TIMEOUT_MS", "3600000", 1);
  kivsid const of_space = space_sid();
  connect(lab::database::mode::read_write).execute("PRAGMA journal_mode = WAL");
  EXPECT_NE(0, tier.init(of_space));
}

// As a copy is put back: into the same file, which has changed as often.
TEST_F(recycling_beside_a_setting, reads_a_catalogue_that_was_written_over) {
  leak(0);
  auto const catalogue = recorder / lab::catalogue_file;
  auto const leaking = support::content_of(catalogue);
  ASSERT_EQ(0, tier.init(space_sid()));
  EXPECT_EQ(0, recycle(tier));
  EXPECT_EQ(0, tier.uninit());
  auto copy = leaking;
  copy.replace(24, 16, support::content_of(catalogue).substr(24, 16));
  std::ofstream(catalogue, std::ios::in | std::ios::out | std::ios::binary) << copy;
  ASSERT_EQ(0, tier.init(space_sid()));
  EXPECT_EQ(0, recycle(tier));
  EXPECT_EQ(0, tier.uninit());
  auto const told = traced("CFSTier::recycle_stream_data").back();
  EXPECT_NE(std::string::npos, told.find(R"("units":2)")) << told;
}

TEST_F(recycling, the_trace_tells_how_many_units_came_back) {
  leak(0);
  ASSERT_EQ(0, unit.init(volume_sid()));
  unit.recycle_stream_data(of, 1, all_hours_end, 0);
  EXPECT_EQ((std::vector<std::string>{
                R"(["CFSUnit::recycle_stream_data",{"stream":{"channel":{"number":0,"id":")" +
                channel(0).sid + R"("},"stream":0,"recording_type":4},"start":1,"end":)" +
                std::to_string(all_hours_end) + R"(,"option":0},{"result":0,"units":2}])"}),
            traced("CFSUnit::recycle_stream_data"));
}

}  // namespace
