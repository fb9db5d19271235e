#include "storage/service.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

// Where a virtual operation stands in its interface, read from the pointer to
// it: both machines' calling standards keep the offset of the slot there.
template <typename Operation>
std::size_t slot_of(Operation operation) {
  std::uintptr_t words[2] = {};
  static_assert(sizeof words == sizeof operation);
  std::memcpy(words, &operation, sizeof words);
#ifdef __arm__
  return words[0] / sizeof(void*);
#else
  return (words[0] - 1) / sizeof(void*);
#endif
}

TEST(slots, of_the_settings_interface) {
  EXPECT_EQ(slot_of(&IStorageSetting::set_volume_info), 0U);
  EXPECT_EQ(slot_of(&IStorageSetting::get_volume_info), 1U);
  EXPECT_EQ(slot_of(&IStorageSetting::apply_volume_setting), 2U);
  EXPECT_EQ(slot_of(&IStorageSetting::get_space_channel_list), 3U);
  EXPECT_EQ(slot_of(&IStorageSetting::get_channel_total_recording_size), 4U);
  EXPECT_EQ(slot_of(&IStorageSetting::get_channel_recording_size), 5U);
  EXPECT_EQ(slot_of(&IStorageSetting::get_space_channel_storage_list), 6U);
  EXPECT_EQ(slot_of(&IStorageSetting::get_space_list), 7U);
  EXPECT_EQ(slot_of(&IStorageSetting::get_volume_list), 8U);
  EXPECT_EQ(slot_of(&IStorageSetting::get_channel_list), 9U);
}

TEST(slots, of_the_other_interfaces) {
  EXPECT_EQ(slot_of(&IPlugPlayService::get_volume_channels), 0U);
  EXPECT_EQ(slot_of(&IFrameChannelSession::get_time_period_list), 0U);
  EXPECT_EQ(slot_of(&IFrameChannelSession::get_recording_days), 1U);
  EXPECT_EQ(slot_of(&IChannelStorageConfiguration::get_recording_days), 0U);
}

// A destructor takes two slots, the second of which deletes.
TEST(slots, of_the_file_storage_classes_begin_with_the_destructor) {
  EXPECT_EQ(slot_of(&CFSTier::recycle_stream_data), 2U);
  EXPECT_EQ(slot_of(&CFSTier::uninit), 3U);
  EXPECT_EQ(slot_of(&CFSUnit::recycle_stream_data), 2U);
  EXPECT_EQ(slot_of(&CFSUnit::uninit), 3U);
}

}  // namespace
