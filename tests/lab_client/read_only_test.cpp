// Reading through the library changes no byte of a recorder.
#include <cstdlib>

#include "bench.h"
#include "storage/service.h"

namespace {

using bench::bench_test;

class reading : public bench_test {
 protected:
  // Every query of the library that a listing makes.
  void read_everything() const {
    CKivStorage storage;
    CKivStorageDaemon daemon;
    IStorageSetting* setting = nullptr;
    IPlugPlayService* service = nullptr;
    ASSERT_EQ(0, storage.create_storage_setting(&setting));
    ASSERT_EQ(0, daemon.create_plug_play_service(&service));
    std::list<space_info> spaces;
    EXPECT_EQ(0, setting->get_space_list(spaces));
    for (space_info const& space : spaces) read_space(*setting, space);
    std::list<volume_info> volumes;
    EXPECT_EQ(0, setting->get_volume_list(volumes));
    for (volume_info const& volume : volumes) read_volume(*setting, *service, volume);
    std::list<channel_setting> channels;
    EXPECT_EQ(0, setting->get_channel_list(channels, 1));
    for (channel_setting const& channel : channels) read_channel(storage, channel.channel);
    EXPECT_EQ(0, daemon.destroy_plug_play_service(&service));
    EXPECT_EQ(0, storage.destroy_storage_setting(&setting));
  }

 private:
  static void read_space(IStorageSetting& setting, space_info const& space) {
    std::list<channel_storage_info> pairings;
    EXPECT_EQ(0, setting.get_space_channel_storage_list(space.sid, pairings));
    std::list<channel_sid> channels;
    EXPECT_EQ(0, setting.get_space_channel_list(space.sid, channels));
    for (channel_sid const& channel : channels) {
      std::int64_t size = 0;
      EXPECT_EQ(0, setting.get_channel_total_recording_size(space.sid, channel, &size));
      EXPECT_EQ(0, setting.get_channel_recording_size(space.sid, channel, bench::normal, &size));
    }
    CFSTier tier;
    EXPECT_EQ(0, tier.init(space.sid));
    EXPECT_EQ(0, tier.uninit());
  }

  static void read_volume(IStorageSetting& setting, IPlugPlayService& service,
                          volume_info const& volume) {
    volume_body body;
    EXPECT_EQ(0, setting.get_volume_info(volume.sid, body));
    body.state = 1;
    EXPECT_EQ(0, setting.set_volume_info(volume.sid, body)) << "nothing is applied";
    std::list<std::uint32_t> channels;
    volume_share_info query;
    query.volume_no = volume.body.share.volume_no;
    EXPECT_EQ(0, service.get_volume_channels(query, "", "", channels));
    CFSUnit unit;
    EXPECT_EQ(0, unit.init(volume.sid));
    EXPECT_EQ(0, unit.uninit());
  }

  static void read_channel(CKivStorage& storage, channel_sid const& channel) {
    CKivChannel channels;
    IFrameChannelSession* session = nullptr;
    ASSERT_EQ(0, channels.create_channel_session(channel, &session));
    std::list<time_period> periods;
    EXPECT_EQ(0,
              session->get_time_period_list(bench::normal, 0, 0, bench::now_ms, periods, 0, 1, 1));
    EXPECT_FALSE(periods.empty());
    EXPECT_EQ(0, channels.destroy_channel_session(&session));
    IChannelStorageConfiguration* configuration = nullptr;
    ASSERT_EQ(0, storage.create_channel_configuration(channel, &configuration));
    day_list days;
    EXPECT_EQ(0, configuration->get_recording_days(bench::normal, 255, {}, &days));
    EXPECT_LT(0, days.count);
    for (std::int32_t i = 0; i < days.count; ++i) std::free(days.days[i]);
    std::free(days.days);
    EXPECT_EQ(0, storage.destroy_channel_configuration(channel.number, &configuration));
  }
};

lab::make_options recorded() {
  lab::make_options options = bench::small();
  options.volume_mb = 32;
  options.days = 1;
  return options;
}

TEST_F(reading, changes_nothing) {
  make(recorded());
  auto const before = bench::picture_of(recorder);
  read_everything();
  bench::expect_same(before, bench::picture_of(recorder));
}

TEST_F(reading, does_not_finish_what_a_stopped_writer_left_behind) {
  make(recorded());
  alter_catalogue(
      "UPDATE unit SET state = 'recycling', period_id = NULL"
      "  WHERE id = (SELECT min(id) FROM unit WHERE state = 'recorded')");
  auto const before = bench::picture_of(recorder);
  read_everything();
  bench::expect_same(before, bench::picture_of(recorder));
}

TEST_F(reading, works_for_somebody_who_may_not_write) {
  make(recorded());
  using std::filesystem::perm_options;
  using std::filesystem::perms;
  auto const writing = perms::owner_write | perms::group_write | perms::others_write;
  std::filesystem::permissions(recorder / "catalogue.db", writing, perm_options::remove);
  std::filesystem::permissions(recorder, writing, perm_options::remove);
  as_ordinary_user([this] {
    EXPECT_THROW(writer(), lab::error);
    read_everything();
  });
  std::filesystem::permissions(recorder, perms::owner_write, perm_options::add);
}

TEST_F(reading, goes_on_while_a_writer_has_the_recorder_open) {
  make(recorded());
  lab::recorder const other = writer();
  read_everything();
}

}  // namespace
