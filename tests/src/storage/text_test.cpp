#include "storage/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

// The destination's content, which was "before" at first.
std::string share_name(std::string const& path, std::size_t size = 32) {
  char name[512] = "before";
  st::share_name_from_path(path, name, size);
  return name;
}

TEST(share_name_from_path, is_what_follows_the_first_share) {
  EXPECT_EQ(share_name("/mnt/share/Vol1"), "Vol1");
  EXPECT_EQ(share_name("/mnt/share/a/share/b"), "a/share/b");
  EXPECT_EQ(share_name("share/x"), "x");
  EXPECT_EQ(share_name("/myshare/x"), "x");
  EXPECT_EQ(share_name("/share/"), "");
}

TEST(share_name_from_path, leaves_the_destination_without_a_share) {
  for (char const* const path : {"", "/mnt/Vol1", "/mnt/share", "/mnt/shared/Vol1", "/Share/x"}) {
    EXPECT_EQ(share_name(path), "before") << path;
  }
}

TEST(share_name_from_path, is_cut_to_the_destination) {
  std::string const path = "/share/" + std::string(200, 'n');
  EXPECT_EQ(share_name(path, 128), std::string(127, 'n'));
  EXPECT_EQ(share_name(path, 1), "");
  EXPECT_EQ(share_name(path, 0), "before");
  EXPECT_EQ(share_name("/share/" + std::string(127, 'n'), 128), std::string(127, 'n'));
}

TEST(field_text, ends_at_the_terminator_or_the_width) {
  char const terminated[4] = {'a', 'b', '\0', 'd'};
  EXPECT_EQ(st::field_text(terminated), "ab");
  char const full[4] = {'a', 'b', 'c', 'd'};
  EXPECT_EQ(st::field_text(full), "abcd");
  char const empty[4] = {};
  EXPECT_EQ(st::field_text(empty), "");
}

TEST(copy_text, cuts_and_terminates) {
  char destination[8];
  std::fill(std::begin(destination), std::end(destination), '#');
  st::copy_text(destination, 4, "abcdef");
  EXPECT_EQ(std::string(destination, 8), std::string("abc\0####", 8));
  st::copy_text(destination, 4, "");
  EXPECT_EQ(destination[0], '\0');
  destination[0] = '#';
  st::copy_text(destination, 0, "abc");
  EXPECT_EQ(destination[0], '#');
}

}  // namespace
