// Recycling through a space's tier and through a volume's unit.
#include <stdlib.h>

#include <algorithm>
#include <fstream>

#include "client_test.h"
#include "lab/catalogue/sqlite.h"
#include "lab/check/check.h"
#include "lab/volume/layout.h"
#include "lab/volume/lock.h"
#include "storage/service.h"

namespace {

using client::client_test;
using client::hour_ms;

constexpr std::int64_t base_ms = client::now_ms - client::now_ms % hour_ms - 10 * hour_ms;
constexpr std::int64_t all_hours_end = base_ms + 5 * hour_ms;

class recycling : public client_test {
 protected:
  recycling() { make(); }

  // Two units of an hour that nothing holds any more.
  void leak(std::size_t volume_index, lab::stream const& of, std::int64_t start_ms) const {
    lab::recorder open = writer();
    open.record(volume(volume_index).id, of, start_ms, 2);
    open.forget({open.periods().back().id});
  }

  lab::stream first_stream() const { return {channel(0).id, client::normal, 0}; }

  std::int64_t lost(std::size_t volume_index) const {
    return reader().account(volume(volume_index).id).lost;
  }

  std::size_t preallocated(std::size_t volume_index) const {
    lab::volume const of = volume(volume_index);
    return client::files_in(
        std::filesystem::path(lab::storage_folder(of.path.string(), of.sid_text)) / "preallocate");
  }

  lab::volume_lock hold(std::size_t volume_index, lab::volume_lock::kind how) const {
    lab::volume const of = volume(volume_index);
    return {
        {of.id, of.path.filename(), of.sid_text, of.path}, how, std::chrono::milliseconds::zero()};
  }

  void expect_sound() const { EXPECT_EQ(lab::findings(), lab::check(reader())); }

  void unmount(std::size_t volume_index) const {
    std::filesystem::rename(volume(volume_index).path, folder / "elsewhere");
  }
  void mount(std::size_t volume_index) const {
    std::filesystem::rename(folder / "elsewhere", volume(volume_index).path);
  }
};

TEST_F(recycling, a_tier_recycles_on_every_volume_of_its_space_and_on_no_other) {
  for (std::size_t const index : {0U, 1U, 2U}) leak(index, first_stream(), base_ms);
  CFSTier tier;
  ASSERT_EQ(0, tier.init(client::space_id(space(0).sid)));
  EXPECT_EQ(0, tier.recycle_stream_data(client::stream_of(channel(0), client::normal, 0), base_ms,
                                        all_hours_end, 0));
  EXPECT_EQ(0, tier.uninit());
  EXPECT_EQ(0, lost(0));
  EXPECT_EQ(0, lost(1));
  EXPECT_EQ(2, lost(2));
  EXPECT_EQ(8U, preallocated(0));
  EXPECT_EQ(8U, preallocated(1));
  EXPECT_EQ(6U, preallocated(2));
}

TEST_F(recycling, a_unit_recycles_on_its_volume_only) {
  leak(0, first_stream(), base_ms);
  leak(1, first_stream(), base_ms);
  CFSUnit unit;
  ASSERT_EQ(0, unit.init(client::volume_id(volume(1))));
  EXPECT_EQ(0, unit.recycle_stream_data(client::stream_of(channel(0), client::normal, 0), base_ms,
                                        all_hours_end, 0));
  EXPECT_EQ(0, unit.uninit());
  EXPECT_EQ(2, lost(0));
  EXPECT_EQ(0, lost(1));
}

TEST_F(recycling, another_stream_type_or_channel_stays) {
  leak(0, {channel(0).id, client::normal, 1}, base_ms);
  leak(0, {channel(0).id, client::alarm, 0}, base_ms);
  leak(0, {channel(1).id, client::normal, 0}, base_ms);
  CFSUnit unit;
  ASSERT_EQ(0, unit.init(client::volume_id(volume(0))));
  EXPECT_EQ(0, unit.recycle_stream_data(client::stream_of(channel(0), client::normal, 0), base_ms,
                                        all_hours_end, 0));
  EXPECT_EQ(6, lost(0));
  EXPECT_EQ(0, unit.recycle_stream_data(client::stream_of(channel(0), client::alarm, 0), base_ms,
                                        all_hours_end, 0));
  EXPECT_EQ(4, lost(0));
}

TEST_F(recycling, only_hours_that_lie_whole_in_the_span_come_back) {
  leak(0, first_stream(), base_ms);
  leak(0, first_stream(), base_ms + hour_ms);
  CFSUnit unit;
  ASSERT_EQ(0, unit.init(client::volume_id(volume(0))));
  stream_info const of = client::stream_of(channel(0), client::normal, 0);
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
  CFSUnit unit;
  ASSERT_EQ(0, unit.init(client::volume_id(volume(0))));
  EXPECT_EQ(0, unit.recycle_stream_data(client::stream_of(channel(0), client::normal, 0), base_ms,
                                        all_hours_end, 0));
  EXPECT_EQ(6U, preallocated(0));
  EXPECT_EQ(0, unit.uninit());
  expect_sound();
}

TEST_F(recycling, unknown_ids_are_refused) {
  CFSTier tier;
  EXPECT_NE(0, tier.init(kivsid()));
  CFSUnit unit;
  EXPECT_NE(0, unit.init(kivsid()));
  ASSERT_EQ(0, tier.init(client::space_id(space(0).sid)));
  ASSERT_EQ(0, unit.init(client::volume_id(volume(2))));
  stream_info of = client::stream_of(channel(0), client::normal, 0);
  of.channel = channel_sid();
  EXPECT_NE(0, tier.recycle_stream_data(of, base_ms, all_hours_end, 0));
  EXPECT_NE(0, unit.recycle_stream_data(of, base_ms, all_hours_end, 0));
}

TEST_F(recycling, nothing_is_recycled_before_init_and_after_uninit) {
  leak(0, first_stream(), base_ms);
  stream_info const of = client::stream_of(channel(0), client::normal, 0);
  CFSUnit unit;
  EXPECT_NE(0, unit.recycle_stream_data(of, base_ms, all_hours_end, 0));
  ASSERT_EQ(0, unit.init(client::volume_id(volume(0))));
  EXPECT_EQ(0, unit.uninit());
  EXPECT_NE(0, unit.recycle_stream_data(of, base_ms, all_hours_end, 0));
  ASSERT_EQ(0, unit.init(client::volume_id(volume(0))));
  EXPECT_NE(0, unit.init(kivsid()));
  EXPECT_NE(0, unit.recycle_stream_data(of, base_ms, all_hours_end, 0));
  EXPECT_EQ(2, lost(0));
}

TEST_F(recycling, a_unit_of_a_volume_that_is_not_mounted_is_refused) {
  kivsid const id = client::volume_id(volume(0));
  CFSUnit unit;
  ASSERT_EQ(0, unit.init(id));
  unmount(0);
  EXPECT_NE(0, unit.recycle_stream_data(client::stream_of(channel(0), client::normal, 0), base_ms,
                                        all_hours_end, 0));
  EXPECT_NE(0, unit.init(id));
  mount(0);
  EXPECT_EQ(0, unit.init(id));
}

TEST_F(recycling, a_tier_passes_over_a_volume_that_is_not_mounted) {
  leak(0, first_stream(), base_ms);
  leak(1, first_stream(), base_ms);
  unmount(0);
  CFSTier tier;
  ASSERT_EQ(0, tier.init(client::space_id(space(0).sid)));
  EXPECT_EQ(0, tier.recycle_stream_data(client::stream_of(channel(0), client::normal, 0), base_ms,
                                        all_hours_end, 0));
  mount(0);
  EXPECT_EQ(2, lost(0));
  EXPECT_EQ(0, lost(1));
}

TEST_F(recycling, a_tier_goes_on_after_a_volume_that_fails_and_reports_it) {
  leak(0, first_stream(), base_ms);
  leak(1, first_stream(), base_ms);
  lab::volume const first = volume(0);
  std::filesystem::path const reserve =
      std::filesystem::path(lab::storage_folder(first.path.string(), first.sid_text)) /
      "preallocate";
  std::filesystem::rename(reserve, folder / "reserve");
  CFSTier tier;
  ASSERT_EQ(0, tier.init(client::space_id(space(0).sid)));
  EXPECT_NE(0, tier.recycle_stream_data(client::stream_of(channel(0), client::normal, 0), base_ms,
                                        all_hours_end, 0));
  EXPECT_EQ(0, lost(1));
  std::filesystem::rename(folder / "reserve", reserve);
  EXPECT_EQ(0, tier.recycle_stream_data(client::stream_of(channel(0), client::normal, 0), base_ms,
                                        all_hours_end, 0));
  EXPECT_EQ(0, lost(0));
  EXPECT_EQ(8U, preallocated(0));
  EXPECT_EQ(0, tier.uninit());
  expect_sound();
}

TEST_F(recycling, is_not_prepared_where_another_holds_a_volume) {
  leak(0, first_stream(), base_ms);
  leak(1, first_stream(), base_ms);
  ::setenv("STLAB_LOCK_TIMEOUT_MS", "20", 1);
  stream_info const of = client::stream_of(channel(0), client::normal, 0);
  kivsid const space_sid = client::space_id(space(0).sid);
  kivsid const volume_sid = client::volume_id(volume(1));
  CFSTier tier;
  CFSUnit unit;
  for (auto const how : {lab::volume_lock::kind::exclusive, lab::volume_lock::kind::shared}) {
    lab::volume_lock const other = hold(1, how);
    EXPECT_NE(0, tier.init(space_sid));
    EXPECT_NE(0, tier.recycle_stream_data(of, base_ms, all_hours_end, 0));
    EXPECT_NE(0, unit.init(volume_sid));
    EXPECT_NE(0, unit.recycle_stream_data(of, base_ms, all_hours_end, 0));
    EXPECT_EQ(0, unit.init(client::volume_id(volume(0)))) << "nobody's";
    EXPECT_EQ(0, unit.uninit());
    EXPECT_EQ(0, tier.init(client::space_id(space(1).sid))) << "nobody's";
  }
  EXPECT_NE(std::string::npos,
            traced("log_Debug").front().find("CFSTier::init: volume vol2 is being written"));
  EXPECT_EQ(2, lost(0));
  EXPECT_EQ(2, lost(1));
  ASSERT_EQ(0, tier.init(space_sid));
  EXPECT_EQ(0, tier.recycle_stream_data(of, base_ms, all_hours_end, 0));
  EXPECT_EQ(0, lost(0));
  EXPECT_EQ(0, lost(1));
}

TEST_F(recycling, holds_its_volumes_from_init_to_uninit_or_destruction) {
  constexpr std::size_t first = 0;
  auto const is_free = [&](std::size_t index) {
    try {
      hold(index, lab::volume_lock::kind::shared);
      return true;
    } catch (lab::busy_error const&) {
      return false;
    }
  };
  {
    CFSTier tier;
    ASSERT_EQ(0, tier.init(client::space_id(space(0).sid)));
    EXPECT_FALSE(is_free(first) || is_free(1));
    EXPECT_TRUE(is_free(2));
    EXPECT_NE(0, tier.init(kivsid()));
    EXPECT_TRUE(is_free(first) && is_free(1));
    CFSUnit unit;
    ASSERT_EQ(0, unit.init(client::volume_id(volume(first))));
    EXPECT_FALSE(is_free(first));
    EXPECT_EQ(0, unit.uninit());
    ASSERT_EQ(0, tier.init(client::space_id(space(0).sid)));
  }
  EXPECT_TRUE(is_free(first) && is_free(1));
}

// Whoever opened it again would be refused.
TEST_F(recycling, does_not_open_the_recorder_again) {
  leak(0, first_stream(), base_ms);
  stream_info const of = client::stream_of(channel(0), client::normal, 0);
  kivsid const space_sid = client::space_id(space(0).sid);
  CFSTier tier;
  ASSERT_EQ(0, tier.init(space_sid));
  ::setenv("STLAB_LOCK_TIMEOUT_MS", "none", 1);
  EXPECT_EQ(0, tier.recycle_stream_data(of, base_ms, all_hours_end, 0));
  EXPECT_NE(0, tier.init(space_sid));
  EXPECT_EQ(0, lost(0));
}

TEST_F(recycling, of_another_volume_in_the_place_of_the_one_that_is_held_is_refused) {
  leak(0, first_stream(), base_ms);
  stream_info const of = client::stream_of(channel(0), client::normal, 0);
  std::filesystem::path const identity = volume(0).path / "identity";
  std::string const own = support::content_of(identity);
  CFSUnit unit;
  ASSERT_EQ(0, unit.init(client::volume_id(volume(0))));
  std::filesystem::remove(identity);
  EXPECT_NE(0, unit.recycle_stream_data(of, base_ms, all_hours_end, 0));
  std::ofstream(identity) << own;
  ::setenv("STLAB_LOCK_TIMEOUT_MS", "0", 1);
  ASSERT_EQ(0, unit.init(client::volume_id(volume(0))));
  std::filesystem::remove(identity);
  std::ofstream(identity) << own;
  {
    lab::volume_lock const other = hold(0, lab::volume_lock::kind::exclusive);
    EXPECT_NE(0, unit.recycle_stream_data(of, base_ms, all_hours_end, 0));
  }
  EXPECT_EQ(0, unit.recycle_stream_data(of, base_ms, all_hours_end, 0));
  EXPECT_EQ(0, lost(0));
}

// Whoever waited a second time would do so for an hour.
TEST_F(recycling, waits_for_the_same_holder_of_the_catalogue_once) {
  stream_info const of = client::stream_of(channel(0), client::normal, 0);
  kivsid const space_sid = client::space_id(space(0).sid);
  leak(0, first_stream(), base_ms);
  leak(1, first_stream(), base_ms);
  ::setenv("STLAB_LOCK_TIMEOUT_MS", "3600000", 1);
  CKivStorage storage;
  IStorageSetting* setting = nullptr;
  ASSERT_EQ(0, storage.create_storage_setting(&setting));
  {
    lab::database other(recorder / "catalogue.db", lab::database::mode::read_write,
                        std::chrono::milliseconds::zero());
    other.execute("BEGIN IMMEDIATE");
    ::setenv("STLAB_LOCK_TIMEOUT_MS", "20", 1);
    CFSTier tier;
    ASSERT_EQ(0, tier.init(space_sid));
    EXPECT_NE(0, tier.recycle_stream_data(of, base_ms, all_hours_end, 0));
    ::setenv("STLAB_LOCK_TIMEOUT_MS", "3600000", 1);
    ASSERT_EQ(0, tier.init(space_sid));
    EXPECT_NE(0, tier.recycle_stream_data(of, base_ms, all_hours_end, 0));
    EXPECT_EQ(0, tier.uninit());
    other.execute("COMMIT; BEGIN EXCLUSIVE");
    std::list<space_info> spaces;
    EXPECT_NE(0, setting->get_space_list(spaces));
    EXPECT_NE(0, tier.init(space_sid));
  }
  CFSTier tier;
  ASSERT_EQ(0, tier.init(space_sid));
  EXPECT_EQ(0, tier.recycle_stream_data(of, base_ms, all_hours_end, 0));
  EXPECT_EQ(0, lost(0) + lost(1));
  EXPECT_EQ(0, storage.destroy_storage_setting(&setting));
}

// Whoever waited a second time would do so for an hour.
TEST_F(recycling, waits_for_the_same_holder_of_a_volume_once) {
  kivsid const space_sid = client::space_id(space(0).sid);
  kivsid const volume_sid = client::volume_id(volume(0));
  {
    lab::volume_lock const other = hold(0, lab::volume_lock::kind::exclusive);
    ::setenv("STLAB_LOCK_TIMEOUT_MS", "20", 1);
    EXPECT_NE(0, CFSTier().init(space_sid));
    ::setenv("STLAB_LOCK_TIMEOUT_MS", "3600000", 1);
    EXPECT_NE(0, CFSTier().init(space_sid));
    EXPECT_NE(0, CFSUnit().init(volume_sid));
  }
  EXPECT_EQ(0, CFSTier().init(space_sid));
}

TEST_F(recycling, the_trace_tells_how_many_units_came_back) {
  leak(0, first_stream(), base_ms);
  CFSUnit unit;
  ASSERT_EQ(0, unit.init(client::volume_id(volume(0))));
  unit.recycle_stream_data(client::stream_of(channel(0), client::normal, 0), 1, all_hours_end, 0);
  EXPECT_EQ((std::vector<std::string>{
                R"(["CFSUnit::recycle_stream_data",{"stream":{"channel":{"number":0,"id":")" +
                channel(0).sid + R"("},"stream":0,"recording_type":4},"start":1,"end":)" +
                std::to_string(all_hours_end) + R"(,"option":0},{"result":0,"units":2}])"}),
            traced("CFSUnit::recycle_stream_data"));
}

}  // namespace
