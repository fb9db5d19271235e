// Reading through the library changes no byte of a recorder, but for finishing
// what a stopped writer began.
#include <stdlib.h>

#include <cstdlib>

#include "client_test.h"
#include "lab/catalogue/sqlite.h"
#include "storage/service.h"

namespace {

namespace fs = std::filesystem;

using client::client_test;

class reading : public client_test {
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

  // Runs `body` as somebody who may not write.
  void as_reader(std::function<void()> const& body) const {
    fs::permissions(recorder / "catalogue.db", writing, fs::perm_options::remove);
    fs::permissions(recorder, writing, fs::perm_options::remove);
    as_ordinary_user(body);
    fs::permissions(recorder, fs::perms::owner_write, fs::perm_options::add);
  }

 private:
  static constexpr fs::perms writing =
      fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;

  static void read_space(IStorageSetting& setting, space_info const& space) {
    std::list<channel_storage_info> pairings;
    EXPECT_EQ(0, setting.get_space_channel_storage_list(space.sid, pairings));
    std::list<channel_sid> channels;
    EXPECT_EQ(0, setting.get_space_channel_list(space.sid, channels));
    for (channel_sid const& channel : channels) {
      std::int64_t size = 0;
      EXPECT_EQ(0, setting.get_channel_total_recording_size(space.sid, channel, &size));
      EXPECT_EQ(0, setting.get_channel_recording_size(space.sid, channel, client::normal, &size));
    }
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
  }

  static void read_channel(CKivStorage& storage, channel_sid const& channel) {
    CKivChannel channels;
    IFrameChannelSession* session = nullptr;
    ASSERT_EQ(0, channels.create_channel_session(channel, &session));
    std::list<time_period> periods;
    EXPECT_EQ(
        0, session->get_time_period_list(client::normal, 0, 0, client::now_ms, periods, 0, 1, 1));
    EXPECT_FALSE(periods.empty());
    EXPECT_EQ(0, channels.destroy_channel_session(&session));
    IChannelStorageConfiguration* configuration = nullptr;
    ASSERT_EQ(0, storage.create_channel_configuration(channel, &configuration));
    day_list days;
    EXPECT_EQ(0, configuration->get_recording_days(client::normal, 255, {}, &days));
    EXPECT_LT(0, days.count);
    for (std::int32_t i = 0; i < days.count; ++i) std::free(days.days[i]);
    std::free(days.days);
    EXPECT_EQ(0, storage.destroy_channel_configuration(channel.number, &configuration));
  }
};

void recorded(lab::make_options& options) {
  options.volume_mb = 32;
  options.days = 1;
}

TEST_F(reading, changes_nothing) {
  make(recorded);
  support::unchanged const kept(recorder);
  read_everything();
}

TEST_F(reading, and_getting_ready_to_recycle_change_nothing) {
  make(recorded);
  support::unchanged const kept(recorder);
  CFSTier tier;
  EXPECT_EQ(0, tier.init(space_sid()));
  EXPECT_EQ(0, tier.uninit());
  CFSUnit unit;
  EXPECT_EQ(0, unit.init(volume_sid()));
  EXPECT_EQ(0, unit.uninit());
}

// One hour's units are in transit, and their writer is gone.
class reading_after_a_stop : public reading {
 protected:
  reading_after_a_stop() {
    make(recorded);
    {
      lab::recorder stopped = writer();
      stopped.forget({stopped.periods().front().id});
    }
    // The journal stays: opening to write would put it back.
    tamper(
        "PRAGMA journal_mode = PERSIST;"
        "UPDATE unit SET state = 'recycling' WHERE state = 'recorded' AND period_id IS NULL");
  }

  std::int64_t moving() const {
    std::int64_t sum = 0;
    lab::recorder const opened = reader();
    for (lab::volume const& each : opened.volumes()) sum += opened.account(each.id).moving;
    return sum;
  }
};

TEST_F(reading_after_a_stop, finishes_what_was_begun) {
  ASSERT_LT(0, moving());
  read_everything();
  EXPECT_EQ(0, moving());
  expect_sound();
  EXPECT_TRUE(traced("log_Debug").empty());
}

TEST_F(reading_after_a_stop, leaves_alone_what_moves_under_somebody_elses_lock) {
  auto const other = hold(volume(0).id);
  support::unchanged const kept(recorder);
  read_everything();
}

// Whoever waited here would do so for an hour.
TEST_F(reading_after_a_stop, waits_for_nobody) {
  ::setenv("STLAB_LOCK_TIMEOUT_MS", "3600000", 1);
  {
    auto other = connect(lab::database::mode::read_write);
    lab::transaction const open(other, lab::transaction_kind::writing);
    read_everything();
    EXPECT_LT(0, moving());
  }
  ASSERT_EQ(1U, traced("log_Debug").size());
  EXPECT_NE(std::string::npos, traced("log_Debug").front().find("in use by somebody else"));
  read_everything();
  EXPECT_EQ(0, moving());
}

TEST_F(reading_after_a_stop, changes_nothing_where_it_may_not_write) {
  as_reader([this] {
    support::unchanged const kept(recorder);
    read_everything();
    EXPECT_EQ(1U, traced("log_Debug").size());
  });
}

TEST_F(reading_after_a_stop, changes_nothing_when_the_setting_is_to_fail) {
  support::unchanged const kept(recorder);
  ::setenv("STLAB_SERVICE_FAULT", "CKivStorage::create_storage_setting=fail", 1);
  CKivStorage storage;
  IStorageSetting* setting = nullptr;
  EXPECT_NE(0, storage.create_storage_setting(&setting));
  EXPECT_EQ(nullptr, setting);
}

TEST_F(reading, works_for_somebody_who_may_not_write) {
  make(recorded);
  as_reader([this] {
    EXPECT_THROW(writer(), lab::error);
    read_everything();
  });
}

// Getting ready to recycle is the only call whose failure a user is told.
TEST_F(reading, alone_is_not_enough_to_get_ready_for_recycling) {
  make(recorded);
  as_reader([this] {
    CFSTier tier;
    EXPECT_NE(0, tier.init(space_sid()));
    CFSUnit unit;
    EXPECT_NE(0, unit.init(volume_sid()));
  });
}

TEST_F(reading, goes_on_while_a_writer_has_the_recorder_open) {
  make(recorded);
  lab::recorder const other = writer();
  read_everything();
}

}  // namespace
