// A writer is killed inside a change of the catalogue while the library has the
// recorder open.
#include "client_test.h"
#include "storage/service.h"

namespace {

using client::client_test;

class a_change_cut_short : public client_test {
 protected:
  a_change_cut_short() {
    make([](auto& options) { options.volume_mb = 64; });
    EXPECT_EQ(0, storage.create_storage_setting(&setting));
    EXPECT_EQ(0, daemon.create_plug_play_service(&service));
    EXPECT_EQ(0, channels.create_channel_session(id_of_channel(), &session));
    EXPECT_EQ(0, storage.create_channel_configuration(id_of_channel(), &days));
  }
  ~a_change_cut_short() override {
    EXPECT_EQ(0, storage.destroy_channel_configuration(0, &days));
    EXPECT_EQ(0, channels.destroy_channel_session(&session));
    EXPECT_EQ(0, daemon.destroy_plug_play_service(&service));
    EXPECT_EQ(0, storage.destroy_storage_setting(&setting));
  }

  CKivStorage storage;
  CKivStorageDaemon daemon;
  CKivChannel channels;
  IStorageSetting* setting = nullptr;
  IPlugPlayService* service = nullptr;
  IFrameChannelSession* session = nullptr;
  IChannelStorageConfiguration* days = nullptr;
};

TEST_F(a_change_cut_short, is_undone_by_the_next_query) {
  die_while_changing();
  std::list<volume_info> volumes;
  EXPECT_EQ(0, setting->get_volume_list(volumes));
  ASSERT_EQ(4U, volumes.size());
  EXPECT_EQ(0, volumes.front().body.type);
  EXPECT_TRUE(traced("log_Debug").empty());
  expect_sound();
}

TEST_F(a_change_cut_short, keeps_no_query_from_answering) {
  kivsid const space_id = space_sid();
  std::string const uuid = space(0).uuid;
  kivsid const volume_id = volume_sid();
  channel_sid const of = id_of_channel();
  std::list<space_info> spaces;
  std::list<channel_sid> space_channels;
  std::list<channel_storage_info> pairings;
  std::list<channel_setting> settings;
  std::list<time_period> periods;
  std::list<std::uint32_t> indexes;
  std::int64_t size = -1;
  volume_body body;
  volume_share_info query;
  query.volume_no = volume(0).volume_no;
  day_list dates;
  stream_info const stream = client::stream_of(channel(0), client::normal, 0);
  CFSTier tier;
  CFSUnit unit;
  std::vector<std::function<int()>> const queries{
      [&] { return setting->get_space_list(spaces); },
      [&] { return setting->get_volume_info(volume_id, body); },
      [&] { return setting->set_volume_info(volume_id, body); },
      [&] { return setting->apply_volume_setting(uuid.c_str()); },
      [&] { return setting->get_space_channel_list(space_id, space_channels); },
      [&] { return setting->get_space_channel_storage_list(space_id, pairings); },
      [&] { return setting->get_channel_total_recording_size(space_id, of, &size); },
      [&] { return setting->get_channel_recording_size(space_id, of, client::normal, &size); },
      [&] { return setting->get_channel_list(settings, 1); },
      [&] { return service->get_volume_channels(query, "", "", indexes); },
      [&] { return session->get_time_period_list(client::normal, 0, 0, 1, periods, 0, 1, 1); },
      [&] { return session->get_recording_days(client::normal, 255, {}, &dates); },
      [&] { return days->get_recording_days(client::normal, 255, {}, &dates); },
      [&] { return tier.init(space_id); },
      [&] { return tier.recycle_stream_data(stream, 0, 1, 0); },
      [&] { return tier.uninit(); },
      [&] { return unit.init(volume_id); },
      [&] { return unit.recycle_stream_data(stream, 0, 1, 0); },
      [&] { return unit.uninit(); },
  };
  for (std::size_t i = 0; i < queries.size(); ++i) {
    die_while_changing();
    EXPECT_EQ(0, queries[i]()) << "query " << i;
  }
  EXPECT_EQ(2U, spaces.size());
  EXPECT_EQ(2U, settings.size());
  EXPECT_EQ(0, body.type);
  EXPECT_EQ(0, size);
  EXPECT_TRUE(traced("log_Debug").empty());
  expect_sound();
}

TEST_F(a_change_cut_short, fails_a_query_where_nobody_may_undo_it) {
  die_while_changing();
  std::filesystem::permissions(recorder / "catalogue.db", std::filesystem::perms(0444));
  std::filesystem::permissions(recorder, std::filesystem::perms(0555));
  as_ordinary_user([this] {
    std::list<volume_info> volumes;
    EXPECT_NE(0, setting->get_volume_list(volumes));
    EXPECT_TRUE(volumes.empty());
    ASSERT_EQ(1U, traced("log_Debug").size());
    EXPECT_NE(std::string::npos, traced("log_Debug").front().find("cut short"));
  });
  std::filesystem::permissions(recorder, std::filesystem::perms(0755));
}

}  // namespace
