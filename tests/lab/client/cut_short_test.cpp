// A writer is killed inside a change of the catalogue while the library has the
// recorder open.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "client_test.h"
#include "lab/catalogue/sqlite.h"
#include "lab/check/check.h"
#include "lab/make/make.h"
#include "storage/service.h"

namespace {

using client::client_test;

lab::make_options large() {
  lab::make_options options = client::small();
  options.volume_mb = 64;
  return options;
}

class a_change_cut_short : public client_test {
 protected:
  a_change_cut_short() {
    make(large());
    EXPECT_EQ(0, storage.create_storage_setting(&setting));
    EXPECT_EQ(0, daemon.create_plug_play_service(&service));
    EXPECT_EQ(0, channels.create_channel_session(client::channel_id(channel(0)), &session));
    EXPECT_EQ(0, storage.create_channel_configuration(client::channel_id(channel(0)), &days));
  }
  ~a_change_cut_short() override {
    EXPECT_EQ(0, storage.destroy_channel_configuration(0, &days));
    EXPECT_EQ(0, channels.destroy_channel_session(&session));
    EXPECT_EQ(0, daemon.destroy_plug_play_service(&service));
    EXPECT_EQ(0, storage.destroy_storage_setting(&setting));
  }

  // A process of its own that has written a part of its change to the file.
  void kill_a_writer() const {
    pid_t const child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      lab::database catalogue(recorder / "catalogue.db", lab::database::mode::read_write,
                              std::chrono::milliseconds(0));
      catalogue.execute(
          "PRAGMA cache_size = 1; BEGIN IMMEDIATE;"
          "UPDATE volume SET type = 1; UPDATE unit SET name = name || 'x';");
      ::kill(::getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    ASSERT_TRUE(WIFSIGNALED(status));
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
  kill_a_writer();
  std::list<volume_info> volumes;
  EXPECT_EQ(0, setting->get_volume_list(volumes));
  ASSERT_EQ(4U, volumes.size());
  EXPECT_EQ(0, volumes.front().body.type);
  EXPECT_TRUE(traced("log_Debug").empty());
  EXPECT_EQ(lab::findings(), lab::check(reader()));
}

TEST_F(a_change_cut_short, keeps_no_query_from_answering) {
  kivsid const space_sid = client::space_id(space(0).sid);
  std::string const uuid = space(0).uuid;
  kivsid const volume_sid = client::volume_id(volume(0));
  channel_sid const of = client::channel_id(channel(0));
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
      [&] { return setting->get_volume_info(volume_sid, body); },
      [&] { return setting->set_volume_info(volume_sid, body); },
      [&] { return setting->apply_volume_setting(uuid.c_str()); },
      [&] { return setting->get_space_channel_list(space_sid, space_channels); },
      [&] { return setting->get_space_channel_storage_list(space_sid, pairings); },
      [&] { return setting->get_channel_total_recording_size(space_sid, of, &size); },
      [&] { return setting->get_channel_recording_size(space_sid, of, client::normal, &size); },
      [&] { return setting->get_channel_list(settings, 1); },
      [&] { return service->get_volume_channels(query, "", "", indexes); },
      [&] { return session->get_time_period_list(client::normal, 0, 0, 1, periods, 0, 1, 1); },
      [&] { return session->get_recording_days(client::normal, 255, {}, &dates); },
      [&] { return days->get_recording_days(client::normal, 255, {}, &dates); },
      [&] { return tier.init(space_sid); },
      [&] { return tier.recycle_stream_data(stream, 0, 1, 0); },
      [&] { return tier.uninit(); },
      [&] { return unit.init(volume_sid); },
      [&] { return unit.recycle_stream_data(stream, 0, 1, 0); },
      [&] { return unit.uninit(); },
  };
  for (std::size_t i = 0; i < queries.size(); ++i) {
    kill_a_writer();
    EXPECT_EQ(0, queries[i]()) << "query " << i;
  }
  EXPECT_EQ(2U, spaces.size());
  EXPECT_EQ(2U, settings.size());
  EXPECT_EQ(0, body.type);
  EXPECT_EQ(0, size);
  EXPECT_TRUE(traced("log_Debug").empty());
  EXPECT_EQ(lab::findings(), lab::check(reader()));
}

TEST_F(a_change_cut_short, fails_a_query_where_nobody_may_undo_it) {
  kill_a_writer();
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
