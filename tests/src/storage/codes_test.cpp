#include "storage/codes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

namespace {

// Also checks that exactly 25 characters and a terminator are written.
std::string status_name(std::uint32_t status, std::int32_t spare_state) {
  char name[27];
  std::fill(std::begin(name), std::end(name), '#');
  st::space_status_name(status, spare_state, name);
  EXPECT_EQ(std::strlen(name), 25U);
  EXPECT_EQ(name[26], '#') << "written beyond 26 bytes";
  return name;
}

std::string state_name(std::int32_t state) {
  char name[21];
  std::fill(std::begin(name), std::end(name), '#');
  st::volume_state_name(state, name);
  EXPECT_EQ(name[20], '#') << "written beyond 20 bytes";
  return name;
}

TEST(space_status_name, without_a_spare) {
  for (std::int32_t const spare : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(status_name(0, spare), "Normal                   ");
    EXPECT_EQ(status_name(1, spare), "Allocating               ");
    EXPECT_EQ(status_name(2, spare), "Deleting                 ");
    EXPECT_EQ(status_name(3, spare), "Expanding                ");
    EXPECT_EQ(status_name(5, spare), "Error                    ");
    EXPECT_EQ(status_name(6, spare), "Warning                  ");
    EXPECT_EQ(status_name(7, spare), "Spare Enabled(With Spare)");
    EXPECT_EQ(status_name(8, spare), "Warning(Spare Error)     ");
    EXPECT_EQ(status_name(9, spare), "Normal(Spare Error)      ");
  }
}

TEST(space_status_name, with_a_spare) {
  for (std::int32_t const spare : {1, 2, std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(status_name(0, spare), "Normal(With Spare)       ");
    EXPECT_EQ(status_name(1, spare), "Allocating               ");
    EXPECT_EQ(status_name(2, spare), "Deleting                 ");
    EXPECT_EQ(status_name(3, spare), "Expanding                ");
    EXPECT_EQ(status_name(5, spare), "Error(Spare Error)       ");
    EXPECT_EQ(status_name(6, spare), "Warning                  ");
    EXPECT_EQ(status_name(7, spare), "Spare Enabled(With Spare)");
    EXPECT_EQ(status_name(8, spare), "Warning(Spare Error)     ");
    EXPECT_EQ(status_name(9, spare), "Normal(Spare Error)      ");
  }
}

TEST(space_status_name, code_4_and_unknown_codes_show_the_default) {
  for (std::uint32_t const status : {4U, 10U, 255U, 0x80000000U, 0xFFFFFFFFU}) {
    for (std::int32_t const spare : {-1, 0, 1}) {
      EXPECT_EQ(status_name(status, spare), "UNKNOW_STATUS            ") << status;
    }
  }
}

TEST(volume_state_name, of_the_table) {
  EXPECT_EQ(state_name(0), "ACTIVE             ");
  EXPECT_EQ(state_name(1), "STANDBY            ");
  EXPECT_EQ(state_name(2), "NOT_MOUNTED        ");
  EXPECT_EQ(state_name(3), "STANDBY_NOT_MOUNTED");
  EXPECT_EQ(state_name(4), "CREAT_SHARE_FOLDERS");
  EXPECT_EQ(state_name(5), "VOL_OVER_THRESHOLD ");
  EXPECT_EQ(state_name(6), "REMOVING_VOLUME    ");
  EXPECT_EQ(state_name(7), "UNKNOW_ERROR       ");
  EXPECT_EQ(state_name(8), "");
}

TEST(volume_state_name, outside_the_table_shows_the_default) {
  for (std::int32_t const state : {9, -1, 1000, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(state_name(state), "UNKNOW_STATUS      ") << state;
  }
}

TEST(volume_type_name, is_six_characters_wide) {
  EXPECT_STREQ(st::volume_type_name(0), "NORMAL");
  for (std::int32_t const type : {1, 2, -1}) {
    EXPECT_STREQ(st::volume_type_name(type), "SPARE ") << type;
  }
}

TEST(recording_types, are_walked_normal_before_alarm) {
  ASSERT_EQ(std::size(st::recording_types), 2U);
  EXPECT_EQ(st::recording_types[0].code, 4);
  EXPECT_STREQ(st::recording_types[0].name, "NR");
  EXPECT_EQ(st::recording_types[1].code, 1);
  EXPECT_STREQ(st::recording_types[1].name, "AR");
}

}  // namespace
