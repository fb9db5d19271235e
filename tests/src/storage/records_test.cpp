// What the layout assertions next to the records do not say: default values.
#include "storage/records.h"

#include <gtest/gtest.h>

#include <cstring>
#include <list>
#include <string>
#include <type_traits>

namespace {

template <typename Record>
std::string bytes(Record const& record, std::size_t offset, std::size_t size) {
  char raw[sizeof record];
  std::memcpy(raw, &record, sizeof record);
  return std::string(raw + offset, size);
}

std::string const zeros36(36, '0');

TEST(kivsid, is_the_null_id_by_default) {
  EXPECT_EQ(bytes(kivsid{}, 0, 36), zeros36);
  EXPECT_EQ(bytes(kivsid{}, 36, 4), std::string(4, '\0'));
  EXPECT_EQ(kivsid{}.terminator, 0);
}

TEST(kivsid, the_greatest_has_number_9999_and_32_nines) {
  EXPECT_EQ(st::max_kivsid.number, 9999);
  EXPECT_EQ(std::string(st::max_kivsid.text, 32), std::string(32, '9'));
  EXPECT_EQ(st::max_kivsid.terminator, 0);
}

TEST(channel_sid, is_channel_0_with_an_id_of_zeros_by_default) {
  channel_sid const fresh;
  EXPECT_EQ(fresh.number, 0);
  EXPECT_EQ(bytes(fresh, 4, 32), std::string(32, '0'));
  EXPECT_EQ(bytes(fresh, 36, 40), std::string(40, '\0'));
}

TEST(volume_share_info, is_an_empty_question_by_default) {
  volume_share_info const fresh;
  EXPECT_EQ(bytes(fresh, 0, 1088), std::string(1088, '\0'));
  EXPECT_EQ(bytes(fresh, 1088, 20), std::string(20, '\xFF'));
  EXPECT_EQ(bytes(fresh, 1108, 1280), std::string(1280, '\0'));
}

TEST(stream_info, carries_an_id_slot_of_76_bytes) {
  EXPECT_EQ(bytes(stream_info{}, 0, 76), bytes(channel_sid{}, 0, 76));
  EXPECT_EQ(bytes(stream_info{}, 76, 8), std::string(8, '\0'));
}

TEST(day_list, is_empty_by_default) {
  EXPECT_EQ(day_list{}.count, 0);
  EXPECT_EQ(day_list{}.days, nullptr);
}

// Written as the service would write it, read through the fields.
TEST(volume_info, fields_lie_where_the_service_writes_them) {
  char raw[sizeof(volume_info)] = {};
  auto const write = [&raw](std::size_t at, auto value) {
    std::memcpy(raw + at, &value, sizeof value);
  };
  write(0, std::int32_t{5});
  raw[4] = 't';
  raw[80] = 'n';
  write(596, std::int32_t{2});
  write(1696, std::int32_t{17});
  raw[1964] = '/';
  write(2992, std::int64_t{1} << 40);
  write(3020, std::int32_t{3});
  raw[3024] = 'u';
  raw[3059] = 'U';
  write(3176, std::int64_t{1} << 41);

  volume_info volume;
  std::memcpy(static_cast<void*>(&volume), raw, sizeof volume);
  EXPECT_EQ(volume.sid.number, 5);
  EXPECT_EQ(volume.sid.text[0], 't');
  EXPECT_EQ(volume.body.name[0], 'n');
  EXPECT_EQ(volume.body.type, 2);
  EXPECT_EQ(volume.body.share.volume_no, 17);
  EXPECT_EQ(volume.body.share.path[0], '/');
  EXPECT_EQ(volume.body.total_size, std::int64_t{1} << 40);
  EXPECT_EQ(volume.body.state, 3);
  EXPECT_EQ(volume.body.space_uuid[0], 'u');
  EXPECT_EQ(volume.body.space_uuid[35], 'U');
  EXPECT_EQ(volume.body.used_size, std::int64_t{1} << 41);
}

TEST(space_info, fields_lie_where_the_service_writes_them) {
  char raw[sizeof(space_info)] = {};
  auto const write = [&raw](std::size_t at, auto value) {
    std::memcpy(raw + at, &value, sizeof value);
  };
  raw[0] = 's';
  raw[35] = 'S';
  raw[80] = 'n';
  raw[592] = 'u';
  write(800, std::int64_t{1} << 40);
  write(808, std::int64_t{1} << 41);
  write(824, std::int32_t{9});
  write(828, std::int32_t{1});

  space_info space;
  std::memcpy(static_cast<void*>(&space), raw, sizeof space);
  EXPECT_EQ(bytes(space, 0, 1), "s");
  EXPECT_EQ(space.sid.text[31], 'S');
  EXPECT_EQ(space.name[0], 'n');
  EXPECT_EQ(space.uuid[0], 'u');
  EXPECT_EQ(space.total_size, std::int64_t{1} << 40);
  EXPECT_EQ(space.used_size, std::int64_t{1} << 41);
  EXPECT_EQ(space.status, 9);
  EXPECT_EQ(space.spare_state, 1);
}

TEST(time_period, the_storage_id_s_text_begins_at_28) {
  char raw[sizeof(time_period)] = {};
  raw[0] = 3;
  raw[28] = 'i';
  time_period period;
  std::memcpy(static_cast<void*>(&period), raw, sizeof period);
  EXPECT_EQ(period.stream, 3);
  EXPECT_EQ(period.storage_id.text[0], 'i');
}

TEST(channel_storage_info, the_channel_lies_behind_three_slots_and_before_the_storage_id) {
  char raw[sizeof(channel_storage_info)] = {};
  raw[228] = 4;
  raw[232] = 'c';
  raw[304] = 's';
  channel_storage_info pairing;
  std::memcpy(static_cast<void*>(&pairing), raw, sizeof pairing);
  EXPECT_EQ(pairing.channel.number, 4);
  EXPECT_EQ(pairing.channel.id[0], 'c');
  EXPECT_EQ(pairing.storage_id[0], 's');
}

}  // namespace
