#include "storage/ids.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

std::string const nines(32, '9');

TEST(same_id, compares_the_full_width) {
  char left[4] = {'a', '\0', 'b', 'c'};
  char right[4] = {'a', '\0', 'b', 'c'};
  EXPECT_TRUE(st::same_id(left, right));
  right[3] = 'd';
  EXPECT_FALSE(st::same_id(left, right));
}

TEST(id_characters, are_36_and_a_terminator) {
  EXPECT_STREQ(st::id_characters(kivsid{}).data(), std::string(36, '0').c_str());
  kivsid id;
  id.terminator = 0x4141;
  EXPECT_EQ(std::string(st::id_characters(id).data()).size(), 36U);
}

TEST(identity_of, carries_number_id_and_terminator_only) {
  channel_sid channel;
  channel.number = 7;
  std::copy(nines.begin(), nines.end(), channel.id);
  channel.terminator = 0x4141;
  for (unsigned char& byte : channel.filler_38) byte = 1;
  channel_sid const identity = st::identity_of(channel);
  EXPECT_EQ(identity.number, 7);
  EXPECT_EQ(std::string(identity.id, 32), nines);
  EXPECT_EQ(identity.terminator, 0);
  for (unsigned char const byte : identity.filler_38) EXPECT_EQ(byte, 0);
}

TEST(is_max_id, compares_32_bytes_of_the_id_and_no_number) {
  channel_sid channel;
  EXPECT_FALSE(st::is_max_id(channel));
  std::copy(nines.begin(), nines.end(), channel.id);
  channel.number = 3;
  EXPECT_TRUE(st::is_max_id(channel));
  channel.terminator = 0x4141;
  EXPECT_TRUE(st::is_max_id(channel));
  for (std::size_t const at : {0U, 15U, 31U}) {
    channel_sid other = channel;
    other.id[at] = '8';
    EXPECT_FALSE(st::is_max_id(other)) << at;
  }
}

}  // namespace
