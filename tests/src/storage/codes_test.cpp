#include "storage/codes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

namespace {

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

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

TEST(space_status_name, without_and_with_a_spare) {
  struct row {
    std::uint32_t status;
    char const* without;
    char const* with;
  };
  for (row const& each :
       {row{0, "Normal                   ", "Normal(With Spare)       "},
        row{1, "Allocating               ", "Allocating               "},
        row{2, "Deleting                 ", "Deleting                 "},
        row{3, "Expanding                ", "Expanding                "},
        row{4, "UNKNOW_STATUS            ", "UNKNOW_STATUS            "},
        row{5, "Error                    ", "Error(Spare Error)       "},
        row{6, "Warning                  ", "Warning                  "},
        row{7, "Spare Enabled(With Spare)", "Spare Enabled(With Spare)"},
        row{8, "Warning(Spare Error)     ", "Warning(Spare Error)     "},
        row{9, "Normal(Spare Error)      ", "Normal(Spare Error)      "},
        row{10, "UNKNOW_STATUS            ", "UNKNOW_STATUS            "},
        row{255, "UNKNOW_STATUS            ", "UNKNOW_STATUS            "},
        row{0x80000000, "UNKNOW_STATUS            ", "UNKNOW_STATUS            "},
        row{0xFFFFFFFF, "UNKNOW_STATUS            ", "UNKNOW_STATUS            "}}) {
    for (std::int32_t const none : {0, -1, lowest}) {
      EXPECT_EQ(status_name(each.status, none), each.without) << each.status;
    }
    for (std::int32_t const spare : {1, 2, highest}) {
      EXPECT_EQ(status_name(each.status, spare), each.with) << each.status;
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
  for (std::int32_t const state : {9, -1, 1000, lowest}) {
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
