// What st relies on, asked of every implementation of the contract alike: this
// source is built once with the scripted service and once with the lab's
// client library.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>

#include "environment.h"
#include "files.h"
#include "storage/handles.h"
#include "storage/logging.h"
#include "storage/service.h"
#include "storage/system_utility.h"
#include "storage/text.h"
#include "world.h"

namespace {

constexpr int normal = 4;
constexpr char zeros[] = "000000000000000000000000000000000000";

class contract_test : public testing::Test {
 protected:
  contract_test() {
    support::scrub_environment();
    answering = contract::make_world(folder.path());
    entry.create_storage_setting(&settings);
  }
  ~contract_test() override { entry.destroy_storage_setting(&settings); }

  void SetUp() override { ASSERT_NE(settings, nullptr); }

  channel_sid first_channel() {
    std::list<channel_setting> channels;
    settings->get_channel_list(channels, 1);
    return channels.empty() ? channel_sid() : channels.front().channel;
  }

  space_info first_space() {
    std::list<space_info> spaces;
    settings->get_space_list(spaces);
    return spaces.empty() ? space_info() : spaces.front();
  }

  volume_info first_volume() {
    std::list<volume_info> volumes;
    settings->get_volume_list(volumes);
    return volumes.empty() ? volume_info() : volumes.front();
  }

  support::temporary_folder const folder;
  std::unique_ptr<contract::world> answering;
  CKivStorage entry;
  IStorageSetting* settings = nullptr;
};

TEST_F(contract_test, objects_are_handed_out_and_taken_back) {
  CKivStorageDaemon daemon;
  IPlugPlayService* service = nullptr;
  EXPECT_EQ(daemon.create_plug_play_service(&service), 0);
  ASSERT_NE(service, nullptr);
  daemon.destroy_plug_play_service(&service);

  IChannelStorageConfiguration* configuration = nullptr;
  EXPECT_EQ(entry.create_channel_configuration(first_channel(), &configuration), 0);
  ASSERT_NE(configuration, nullptr);
  entry.destroy_channel_configuration(first_channel().number, &configuration);
}

TEST_F(contract_test, every_destroy_call_accepts_a_null_pointer) {
  CKivStorageDaemon daemon;
  CKivChannel channels;
  IStorageSetting* setting = nullptr;
  IPlugPlayService* service = nullptr;
  IFrameChannelSession* session = nullptr;
  IChannelStorageConfiguration* configuration = nullptr;
  entry.destroy_storage_setting(&setting);
  daemon.destroy_plug_play_service(&service);
  channels.destroy_channel_session(&session);
  entry.destroy_channel_configuration(0, &configuration);
  EXPECT_EQ(setting, nullptr);
  EXPECT_EQ(service, nullptr);
  EXPECT_EQ(session, nullptr);
  EXPECT_EQ(configuration, nullptr);
}

TEST_F(contract_test, lists_are_appended_to) {
  std::list<space_info> spaces;
  EXPECT_EQ(settings->get_space_list(spaces), 0);
  std::size_t const count = spaces.size();
  ASSERT_GT(count, 0U);
  EXPECT_EQ(settings->get_space_list(spaces), 0);
  EXPECT_EQ(spaces.size(), 2 * count);
}

TEST_F(contract_test, every_volume_belongs_to_a_listed_space) {
  std::list<space_info> spaces;
  std::list<volume_info> volumes;
  settings->get_space_list(spaces);
  EXPECT_EQ(settings->get_volume_list(volumes), 0);
  ASSERT_FALSE(volumes.empty());
  for (auto const& volume : volumes) {
    EXPECT_TRUE(std::any_of(spaces.begin(), spaces.end(), [&](space_info const& space) {
      return st::same_id(space.uuid, volume.body.space_uuid);
    }));
    EXPECT_NE(st::field_text(volume.body.share.path).find("share/"), std::string_view::npos);
    EXPECT_LE(volume.body.used_size, volume.body.total_size);
    EXPECT_EQ(volume.sid.terminator, 0);
  }
}

TEST_F(contract_test, a_volume_is_read_as_it_is_listed) {
  volume_info const volume = first_volume();
  st::with_room<volume_body> filled;
  volume_body& body = filled.record;
  EXPECT_EQ(settings->get_volume_info(volume.sid, body), 0);
  EXPECT_EQ(body.share.volume_no, volume.body.share.volume_no);
  EXPECT_EQ(body.type, volume.body.type);
  EXPECT_EQ(body.state, volume.body.state);
  EXPECT_TRUE(st::same_id(body.space_uuid, volume.body.space_uuid));
  EXPECT_EQ(settings->set_volume_info(volume.sid, body), 0);
  EXPECT_EQ(settings->apply_volume_setting(body.space_uuid), 0);
}

TEST_F(contract_test, periods_replace_what_the_list_held) {
  CKivChannel channels;
  st::channel_session session(channels, first_channel(), st::release::always);
  ASSERT_NE(session.get(), nullptr);
  std::int64_t const end = std::numeric_limits<std::int64_t>::max();
  std::list<time_period> periods(3);
  EXPECT_EQ(session.get()->get_time_period_list(normal, 0, 0, end, periods, 0, 1, 1), 0);
  ASSERT_EQ(periods.size(), 1U);
  EXPECT_LT(periods.front().start_time, periods.front().end_time);
  EXPECT_NE(periods.front().storage_id.text[0], '\0');
  EXPECT_EQ(session.get()->get_time_period_list(normal, 4, 0, end, periods, 0, 1, 1), 0);
  EXPECT_TRUE(periods.empty());
}

TEST_F(contract_test, channels_of_a_volume_replace_what_the_list_held) {
  CKivStorageDaemon daemon;
  IPlugPlayService* service = nullptr;
  daemon.create_plug_play_service(&service);
  ASSERT_NE(service, nullptr);
  volume_share_info query;
  query.number_1092 = 0;
  query.volume_no = first_volume().body.share.volume_no;
  std::list<std::uint32_t> channels = {7, 8, 9};
  EXPECT_EQ(service->get_volume_channels(query, zeros, zeros, channels), 0);
  EXPECT_EQ(channels.front(), 0U);
  EXPECT_EQ(std::count(channels.begin(), channels.end(), 7U), 0);
  daemon.destroy_plug_play_service(&service);
}

TEST_F(contract_test, days_are_the_caller_s_to_free) {
  std::list<channel_storage_info> pairings;
  EXPECT_EQ(settings->get_space_channel_storage_list(first_space().sid, pairings), 0);
  ASSERT_FALSE(pairings.empty());
  storage_id_text cut;
  st::copy_text(cut.text, sizeof cut.text, st::field_text(pairings.front().storage_id));
  st::channel_configuration configuration(entry, pairings.front().channel);
  ASSERT_NE(configuration.get(), nullptr);
  st::recording_days days;
  EXPECT_EQ(configuration.get()->get_recording_days(normal, 255, {cut}, days.out()), 0);
  ASSERT_EQ(days.size(), 1);
  EXPECT_EQ(std::strlen(days[0]), std::strlen("2026-11-20"));
}

TEST_F(contract_test, sizes_by_type_are_part_of_the_total) {
  std::int64_t normal_size = 0;
  std::int64_t total = 0;
  auto const space = first_space().sid;
  auto const channel = first_channel();
  EXPECT_EQ(settings->get_channel_recording_size(space, channel, normal, &normal_size), 0);
  EXPECT_EQ(settings->get_channel_total_recording_size(space, channel, &total), 0);
  EXPECT_GT(normal_size, 0);
  EXPECT_LE(normal_size, total);
}

TEST_F(contract_test, file_storage_is_prepared_by_the_id_of_its_space_or_volume) {
  stream_info stream;
  stream.channel = first_channel();
  stream.recording_type = normal;
  CFSTier tier;
  EXPECT_EQ(tier.init(first_space().sid), 0);
  EXPECT_EQ(tier.recycle_stream_data(stream, 1, 0, 0), 0);
  EXPECT_EQ(tier.uninit(), 0);
  CFSUnit unit;
  EXPECT_EQ(unit.init(first_volume().sid), 0);
  EXPECT_EQ(unit.recycle_stream_data(stream, 1, 0, 0), 0);
  EXPECT_EQ(unit.uninit(), 0);
}

TEST_F(contract_test, an_hour_has_one_folder) {
  stream_info stream;
  stream.channel = first_channel();
  stream.recording_type = normal;
  char first[512];
  char last[512];
  make_hour_folder_full_path(first, "/mnt/share/vol1/FSU_x", stream, 7200000);
  make_hour_folder_full_path(last, "/mnt/share/vol1/FSU_x", stream, 10799999);
  EXPECT_STREQ(first, last);
  EXPECT_EQ(std::string(first).rfind("/mnt/share/vol1/FSU_x/", 0), 0U);
}

TEST_F(contract_test, nstrcpy_cuts_and_terminates) {
  char text[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(nstrcpy(text, "abcdef", sizeof text), text);
  EXPECT_STREQ(text, "abc");
  nstrcpy(text, "", sizeof text);
  EXPECT_STREQ(text, "");
}

TEST_F(contract_test, a_program_s_output_is_read_from_a_stream) {
  std::FILE* const echo = velt_popen("r", "/bin/echo", "a b; c", static_cast<char const*>(nullptr));
  ASSERT_NE(echo, nullptr);
  char line[64] = {};
  EXPECT_NE(std::fgets(line, sizeof line, echo), nullptr);
  EXPECT_STREQ(line, "a b; c\n");
  EXPECT_EQ(std::fgets(line, sizeof line, echo), nullptr);
  EXPECT_EQ(velt_pclose(echo), 0);
  EXPECT_EQ(velt_popen("r", "/absent/program", static_cast<char const*>(nullptr)), nullptr);
}

TEST_F(contract_test, a_log_line_disturbs_nothing) {
  testing::internal::CaptureStdout();
  log_Debug("a line about %s, %d", "this", 5);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
