#include "report/clean_text.h"

#include <gtest/gtest.h>

namespace report {
namespace {

constexpr char r[] = "\xef\xbf\xbd";

std::string replaced(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += r;
  return text;
}

TEST(clean_text, keeps_what_is_text) {
  for (char const* text :
       {"", "Storage1", R"(a <b> & "c" 'd' \ {e})", "\xc3\xa4\xe2\x82\xac\xf0\x9f\x93\xb9",
        "\xed\x9f\xbf\xee\x80\x80\xf4\x8f\xbf\xbf", "\xc2\xa0"}) {
    EXPECT_TRUE(is_clean(text)) << text;
    EXPECT_EQ(clean_text(text), text);
  }
}

TEST(clean_text, replaces_each_byte_that_is_no_text) {
  struct example {
    std::string text;
    std::string cleaned;
  };
  for (example const& each :
       std::vector<example>{{"\xe4x", replaced(1) + "x"},          // no continuation
                            {"\x80", replaced(1)},                 // nothing before it
                            {"\xc0\xaf", replaced(2)},             // longer than it need be
                            {"\xe0\x80\x80", replaced(3)},         // the same
                            {"\xf0\x8f\xbf\xbf", replaced(4)},     // the same
                            {"\xed\xa0\x80", replaced(3)},         // half of a pair
                            {"\xf4\x90\x80\x80", replaced(4)},     // beyond the last
                            {"\xe2\x82", replaced(2)},             // cut
                            {"a\xf0\x9f\x93", "a" + replaced(3)},  // cut
                            {"\xff\xfe", replaced(2)},
                            {"\xc3\xa4\xff\xc3\xa4", "\xc3\xa4" + replaced(1) + "\xc3\xa4"}}) {
    EXPECT_FALSE(is_clean(each.text)) << each.text;
    EXPECT_EQ(clean_text(each.text), each.cleaned);
  }
}

TEST(clean_text, replaces_what_steers_a_terminal_or_a_line) {
  std::vector<std::string> steering{"\n",   "\r",       "\t",       "\x1b",     "\x01",    "\x1f",
                                    "\x7f", "\xc2\x80", "\xc2\x85", "\xc2\x9b", "\xc2\x9f"};
  // Of the others only the last byte is written here: they would steer the source as well.
  steering.push_back(std::string("\xd8") + '\x9c');
  for (char const last : {'\x8e', '\x8f', '\xa8', '\xa9', '\xaa', '\xae'}) {
    steering.push_back(std::string("\xe2\x80") + last);
  }
  for (char const last : {'\xa6', '\xa9'}) steering.push_back(std::string("\xe2\x81") + last);
  for (std::string const& text : steering) {
    EXPECT_EQ(clean_text("a" + text + "b"), "a" + replaced(1) + "b");
  }
  EXPECT_EQ(clean_text(std::string("a\0b", 3)), "a" + replaced(1) + "b");
}

TEST(clean_text, of_any_two_bytes_is_clean) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      std::string const text{static_cast<char>(first), static_cast<char>(second)};
      std::string const cleaned = clean_text(text);
      ASSERT_TRUE(is_clean(cleaned)) << first << ' ' << second;
      ASSERT_EQ(cleaned == text, is_clean(text)) << first << ' ' << second;
    }
  }
}

}  // namespace
}  // namespace report
