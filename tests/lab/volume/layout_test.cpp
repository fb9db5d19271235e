#include "lab/volume/layout.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr std::int64_t seven_o_clock = 1'795'244'400'000;  // 2026-11-21 07:00:00 UTC

TEST(layout, an_hour_begins_at_its_first_millisecond) {
  EXPECT_EQ(seven_o_clock, lab::hour_of(seven_o_clock));
  EXPECT_EQ(seven_o_clock, lab::hour_of(seven_o_clock + 3'599'999));
  EXPECT_EQ(seven_o_clock - 3'600'000, lab::hour_of(seven_o_clock - 1));
}

TEST(layout, hours_before_the_epoch_begin_earlier_too) {
  EXPECT_EQ(-3'600'000, lab::hour_of(-1));
  EXPECT_EQ(-3'600'000, lab::hour_of(-3'600'000));
  EXPECT_EQ(-7'200'000, lab::hour_of(-3'600'001));
}

TEST(layout, the_least_hour_holds_the_times_before_it) {
  auto const least = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(0, lab::hour_of(least) % lab::hour_milliseconds);
  EXPECT_EQ(lab::hour_of(least), lab::hour_of(least + 1));
  EXPECT_EQ(lab::hour_of(least), lab::hour_of(lab::hour_of(least)));
}

TEST(layout, a_units_name_is_told_from_any_other) {
  for (auto const* const name : {"unit000001", "unit1048576", "unit999999999"}) {
    EXPECT_TRUE(lab::is_unit_name(name)) << name;
  }
  EXPECT_TRUE(lab::is_unit_name(lab::unit_name(0)));
  for (auto const* const name :
       {"", "unit", "unit00001", "unit1000000000", "unit00000a", "Unit000001", "unit000001/",
        "../unit000001", "unit000001 ", "/unit000001", ".", ".."}) {
    EXPECT_FALSE(lab::is_unit_name(name)) << name;
  }
  EXPECT_FALSE(lab::is_unit_name(std::string("unit000001\0", 11)));
}

TEST(layout, a_volumes_folder_is_told_from_any_other) {
  EXPECT_TRUE(lab::is_volume_folder_name(lab::volume_folder_name(0)));
  EXPECT_TRUE(lab::is_volume_folder_name("vol4096"));
  for (auto const* const name : {"", "vol", "vol1/", "../vol1", "vol1x", "identity", "..", "/"}) {
    EXPECT_FALSE(lab::is_volume_folder_name(name)) << name;
  }
}

TEST(layout, a_storage_id_is_32_letters_or_digits) {
  EXPECT_TRUE(lab::is_storage_id("0123456789abcdef0123456789ABCDEF"));
  EXPECT_FALSE(lab::is_storage_id("0123456789abcdef0123456789abcde"));
  EXPECT_FALSE(lab::is_storage_id("0123456789abcdef0123456789abcdef0"));
  EXPECT_FALSE(lab::is_storage_id("../../../../../../../../../../ab"));
}

TEST(layout, a_storage_folder_takes_at_most_32_characters_of_the_id) {
  std::string const id = "0123456789abcdef0123456789abcdef";
  EXPECT_EQ("/r/share/vol1/FSU_" + id, lab::storage_folder("/r/share/vol1", id));
  EXPECT_EQ("/r/share/vol1/FSU_" + id, lab::storage_folder("/r/share/vol1", id + "tail"));
  EXPECT_EQ("/v/FSU_short", lab::storage_folder("/v", "short"));
}

TEST(layout, an_hour_folder_tells_channel_type_stream_and_utc_hour) {
  EXPECT_EQ("ch01_NR_S00_2026112107", lab::hour_folder_name(0, 4, 0, seven_o_clock));
  EXPECT_EQ("ch10_AR_S04_2026112107", lab::hour_folder_name(9, 1, 4, seven_o_clock + 3'599'999));
  EXPECT_EQ("ch123_MR_S02_2026112106", lab::hour_folder_name(122, 2, 2, seven_o_clock - 1));
}

TEST(layout, an_hour_folder_has_a_name_for_every_number) {
  EXPECT_EQ("ch2147483648_NR_S00_1969123123", lab::hour_folder_name(2147483647, 4, 0, -1));
}

TEST(layout, an_hour_folder_tells_hours_that_32_bits_of_seconds_do_not_reach) {
  EXPECT_EQ("ch01_NR_S00_2038011903", lab::hour_folder_name(0, 4, 0, 2'147'483'648'000));
  EXPECT_EQ("ch01_NR_S00_2100022823", lab::hour_folder_name(0, 4, 0, 4'107'538'800'000));
  EXPECT_EQ("ch01_NR_S00_1900010100", lab::hour_folder_name(0, 4, 0, -2'208'988'800'000));
}

}  // namespace
