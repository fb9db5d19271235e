#include <array>
#include <cstring>
#include <list>
#include <memory>

#include "client_test.h"
#include "commands/commands.h"
#include "storage/service.h"
#include "storage/text.h"

namespace {

using client::client_test;

constexpr std::int64_t hour = client::now_ms - client::now_ms % client::hour_ms;

class hour_folder : public client_test {
 protected:
  std::string path_of(std::string const& below, long long time) {
    stream_info stream;
    stream.channel.number = 8;
    stream.stream = 3;
    stream.recording_type = client::alarm;
    make_hour_folder_full_path(path.data(), below.c_str(), stream, time);
    return path.data();
  }

  std::array<char, 513> path{};
};

constexpr std::size_t name_length = sizeof "/ch09_AR_S03_2026112107" - 1;

TEST_F(hour_folder, names_channel_type_stream_and_utc_hour) {
  EXPECT_EQ("/v/FSU_1/ch09_AR_S03_2026112107", path_of("/v/FSU_1", client::now_ms));
}

TEST_F(hour_folder, every_moment_of_an_hour_gives_the_same_folder) {
  EXPECT_EQ("/v/ch09_AR_S03_1970010100", path_of("/v", 0));
  EXPECT_EQ("/v/ch09_AR_S03_1970010100", path_of("/v", client::hour_ms - 1));
  EXPECT_EQ("/v/ch09_AR_S03_1970010101", path_of("/v", client::hour_ms));
}

TEST_F(hour_folder, hours_before_the_epoch_begin_before_their_moments) {
  EXPECT_EQ("/v/ch09_AR_S03_1969123123", path_of("/v", -1));
  EXPECT_EQ("/v/ch09_AR_S03_1969123123", path_of("/v", -client::hour_ms));
  EXPECT_EQ("/v/ch09_AR_S03_1969123122", path_of("/v", -client::hour_ms - 1));
}

TEST_F(hour_folder, what_fills_the_buffer_is_written_whole) {
  path.fill('#');
  std::string const storage_folder(511 - name_length, 'a');
  EXPECT_EQ(storage_folder + "/ch09_AR_S03_2026112107", path_of(storage_folder, client::now_ms));
  EXPECT_EQ('\0', path[511]);
  EXPECT_EQ('#', path[512]);
}

TEST_F(hour_folder, what_does_not_fit_leaves_an_empty_text) {
  path.fill('#');
  EXPECT_EQ("", path_of(std::string(512 - name_length, 'a'), client::now_ms));
  EXPECT_EQ("", path_of(std::string(5000, 'a'), client::now_ms));
  EXPECT_EQ('#', path[512]);
}

TEST_F(hour_folder, is_the_folder_that_the_recorder_lays_its_units_in) {
  make();
  lab::volume const volume = this->volume(1);
  lab::channel const channel = this->channel(1);
  writer().record(volume.id, {channel.id, client::normal, 2}, hour, 3);
  std::string const storage = volume.path.string() + "/FSU_" + volume.sid_text;
  make_hour_folder_full_path(path.data(), storage.c_str(),
                             client::stream_of(channel, client::normal, 2), client::now_ms);
  ASSERT_TRUE(std::filesystem::is_directory(path.data())) << path.data();
  EXPECT_EQ(3U, client::files_in(path.data()));
}

constexpr std::size_t id_width = sizeof recording_location::volume_sid;

// An id as a location keeps it: the number's bytes, then the text.
std::string bytes_of(kivsid const& id) {
  std::string bytes(id_width, '\0');
  std::memcpy(bytes.data(), &id.number, sizeof id.number);
  std::memcpy(bytes.data() + sizeof id.number, id.text, sizeof id.text);
  return bytes;
}

class hour_folder_volume : public hour_folder {
 protected:
  hour_folder_volume() {
    make();
    EXPECT_EQ(0, entry->create_storage_setting(&setting));
  }
  ~hour_folder_volume() override { entry.reset(); }

  std::unique_ptr<CKivStorage> entry = std::make_unique<CKivStorage>();
  IStorageSetting* setting = nullptr;
};

TEST_F(hour_folder_volume, is_found_with_its_space_by_any_moment_of_the_hour) {
  lab::volume const holder = volume(3);
  writer().record(holder.id, {channel(1).id, client::alarm, 3}, hour, 1);
  std::list<volume_info> volumes;
  setting->get_volume_list(volumes);
  std::list<space_info> spaces;
  setting->get_space_list(spaces);
  stream_info const stream = client::stream_of(channel(1), client::alarm, 3);
  for (std::int64_t const moment : {hour, hour + client::hour_ms - 1}) {
    recording_location found;
    ASSERT_EQ(0, st::find_hour_folder_volume(setting, stream, moment, &found));
    std::string const volume_sid(found.volume_sid, id_width);
    EXPECT_EQ(bytes_of(client::volume_id(holder)), volume_sid);
    std::size_t same = 0;
    for (volume_info const& each : volumes) {
      same += bytes_of(each.sid) == volume_sid;
    }
    EXPECT_EQ(1U, same);
    same = 0;
    for (space_info const& each : spaces) {
      if (st::field_text(each.uuid) != holder.space_uuid) continue;
      ++same;
      EXPECT_EQ(bytes_of(each.sid), std::string(found.space_sid, id_width));
      EXPECT_EQ(st::field_text(each.uuid), st::field_text(found.space_uuid));
    }
    EXPECT_EQ(1U, same);
  }
}

TEST_F(hour_folder_volume, is_not_found_for_what_was_not_recorded) {
  writer().record(volume(3).id, {channel(1).id, client::alarm, 3}, hour, 1);
  auto const found = [&](std::size_t index, std::int32_t type, std::int32_t number,
                         std::int64_t moment) {
    recording_location location;
    return st::find_hour_folder_volume(setting, client::stream_of(channel(index), type, number),
                                       moment, &location);
  };
  EXPECT_EQ(0, found(1, client::alarm, 3, hour));
  EXPECT_EQ(-1, found(1, client::alarm, 3, hour - 1));
  EXPECT_EQ(-1, found(1, client::alarm, 3, hour + client::hour_ms));
  EXPECT_EQ(-1, found(1, client::alarm, 2, hour));
  EXPECT_EQ(-1, found(1, client::normal, 3, hour));
  EXPECT_EQ(-1, found(0, client::alarm, 3, hour));
}

}  // namespace
