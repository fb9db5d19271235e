// The report in a terminal.
#include "report/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>

#include "files.h"
#include "golden.h"
#include "report/attention.h"
#include "report/bar.h"
#include "report/lines.h"
#include "report/wording.h"
#include "sample.h"

namespace {

using report::layout;
using report::text_of;
using support::holds;

layout wide(int columns) { return {columns, false, false}; }

int widest(std::string const& text) {
  int found = 0;
  for (auto const& line : support::lines_of(text)) {
    found = std::max(found, report::width_of(line));
  }
  return found;
}

bool is_ascii(std::string const& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char each) { return each == '\n' || (each >= ' ' && each <= '~'); });
}

class golden : public testing::TestWithParam<std::string> {
 protected:
  static void expect(std::string const& text) {
    support::expect_golden(std::string(GOLDEN_FOLDER) + "/" + GetParam() + ".txt", text);
  }
};

class golden_text : public golden {};

TEST_P(golden_text, is_what_is_printed) {
  std::string const name = GetParam();
  std::string const kind = name.substr(0, name.find('-'));
  auto const value = kind == "empty"     ? sample::empty()
                     : kind == "preview" ? sample::with_preview()
                                         : sample::small();
  layout in = wide(std::stoi(name.substr(name.find_first_of("0123456789"))));
  in.ascii = holds(name, "ascii");
  in.colour = holds(name, "colour");
  expect(text_of(value, in));
}

INSTANTIATE_TEST_SUITE_P(all, golden_text,
                         testing::Values("small-40", "small-80", "small-120", "small-ascii-80",
                                         "small-colour-80", "preview-40", "preview-80",
                                         "preview-120", "empty-80"),
                         [](auto const& of) { return support::as_name(of.param); });

TEST(text, no_line_is_longer_than_the_terminal_is_wide) {
  auto const values = {sample::small(), sample::with_preview(), sample::lying(),
                       sample::large(3, 5), sample::empty()};
  for (auto const& value : values) {
    for (int columns = 40; columns <= 200; ++columns) {
      layout const in{columns, false, columns % 8 == 0};
      EXPECT_LE(widest(text_of(value, in)), columns) << text_of(value, in);
    }
  }
}

TEST(text, a_width_that_no_terminal_has_is_brought_into_its_bounds) {
  for (int columns : {std::numeric_limits<int>::min(), -1, 0, 39}) {
    EXPECT_EQ(text_of(sample::small(), wide(columns)), text_of(sample::small(), wide(40)));
  }
  EXPECT_EQ(text_of(sample::small(), wide(std::numeric_limits<int>::max())),
            text_of(sample::small(), wide(200)));
}

TEST(text, in_ascii_is_all_ascii) {
  for (auto const& value : {sample::small(), sample::lying(), sample::with_preview()}) {
    EXPECT_TRUE(is_ascii(text_of(value, {80, false, true})));
    EXPECT_TRUE(is_ascii(check_lines_of(value, {80, false, true})));
  }
  EXPECT_FALSE(is_ascii(text_of(sample::small(), wide(80))));
}

TEST(text, of_names_nothing_steers_the_terminal) {
  auto value = sample::small();
  // In two parts: who reads this source sees a terminal, too.
  value.volumes[0].name = std::string("a\x1b[2Jb\tc\rd\xe2\x80") + "\xae\xc2\x9bz";
  auto const text = text_of(value, wide(80));
  EXPECT_TRUE(holds(text, "a?[2Jb?c?d??z"));
}

TEST(text, that_is_no_utf8_or_no_character_is_not_shown) {
  EXPECT_EQ(report::shown("a\xf8\x90\x80\x80z", wide(80)), "a????z");
  EXPECT_EQ(report::shown("a\xef\xbf\xbfz", wide(80)), "a?z");
  EXPECT_EQ(report::shown(std::string("a\xd8") + "\x9cz", wide(80)), "a?z");
}

TEST(text, ends_where_it_is_cut) {
  EXPECT_EQ(report::shown(std::string_view("a\xe2\x82\xac", 3), wide(80)), "a??");
}

TEST(text, without_colours_is_the_coloured_one_without_their_codes) {
  auto coloured = text_of(sample::with_preview(), {80, true, false});
  EXPECT_TRUE(holds(coloured, "\x1b[1;31m"));
  for (auto at = coloured.find('\x1b'); at != std::string::npos; at = coloured.find('\x1b')) {
    coloured.erase(at, coloured.find('m', at) - at + 1);
  }
  EXPECT_EQ(coloured, text_of(sample::with_preview(), wide(80)));
}

TEST(text, begins_with_what_needs_attention) {
  auto const text = text_of(sample::with_preview(), wide(80));
  EXPECT_LT(text.find("Needs attention: 3"), text.find("Could not be asked: 1"));
  EXPECT_LT(text.find("Could not be asked: 1"), text.find("Answers that make no sense: 1"));
  EXPECT_LT(text.find("Answers that make no sense: 1"), text.find("st autoclean would"));
  EXPECT_LT(text.find("st autoclean would"), text.find("Spaces"));
  EXPECT_LT(text.find("Spaces"), text.find("Volumes"));
  EXPECT_LT(text.find("Volumes"), text.find("Channels"));
}

TEST(text, says_that_nothing_needs_attention_only_when_all_could_be_asked) {
  EXPECT_TRUE(holds(text_of(sample::empty(), wide(80)), "Nothing needs attention.\n"));
  auto value = sample::empty();
  value.not_asked = {"the spaces"};
  EXPECT_FALSE(holds(text_of(value, wide(80)), "Nothing needs attention."));
  EXPECT_TRUE(holds(text_of(value, wide(80)), "? the spaces\n"));
}

TEST(text, a_volume_that_is_not_mounted_looks_different) {
  auto const text = text_of(sample::small(), {80, false, true});
  EXPECT_TRUE(holds(text, "vol3         [- - -"));
  EXPECT_TRUE(holds(text, " not mounted "));
  EXPECT_TRUE(holds(text, "???]"));
}

TEST(text, many_items_are_cut_short_and_counted) {
  auto value = sample::empty();
  value.needs.assign(50, {report::concern::leak, "volume v", "some"});
  auto const text = text_of(value, wide(80));
  EXPECT_TRUE(holds(text, "Needs attention: 50\n"));
  EXPECT_TRUE(holds(text, "  and 30 more\n"));
}

TEST(check_lines, are_one_for_each_need_and_each_that_could_not_be_asked) {
  std::string const leak = report::code_of(report::concern::leak);
  auto const lines = support::lines_of(check_lines_of(sample::small(), wide(40)));
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0], leak + ": volume vol2: 8.3 GB of 64.0 GB are lost, more than a twentieth");
  EXPECT_EQ(lines[3], "not-asked: the periods of channel 3 NR S00: the service answered -1");
  EXPECT_EQ(check_lines_of(sample::empty(), wide(80)), "");
}

report::volume measured(std::int64_t total, std::int64_t used, std::int64_t preallocated,
                        std::int64_t lost) {
  report::volume of;
  of.measured = report::measuring::done;
  of.total_mb = total;
  of.used_mb = used;
  of.preallocated_mb = preallocated;
  of.lost_mb = lost;
  return of;
}

TEST(bar, is_as_wide_as_it_was_asked_for_whatever_the_sizes) {
  for (auto const& each : sample::lying().volumes) {
    for (int cells : {0, 1, 2, 3, 7, 40, 200}) {
      auto const drawn = bar_of(each, cells);
      EXPECT_EQ(drawn.used + drawn.preallocated + drawn.lost + drawn.rest, cells);
      EXPECT_GE(std::min({drawn.used, drawn.preallocated, drawn.lost, drawn.rest}), 0);
    }
  }
  for (std::int64_t i = 1; i < 5000; ++i) {
    auto const random =
        measured(i * 7919 % 4093, i * 104729 % 3001, i * 1299709 % 997, i * 15485863 % 499);
    int const cells = static_cast<int>(i % 198) + 2;
    auto const drawn = bar_of(random, cells);
    ASSERT_EQ(drawn.used + drawn.preallocated + drawn.lost + drawn.rest, cells) << i;
    ASSERT_GE(std::min({drawn.used, drawn.preallocated, drawn.lost, drawn.rest}), 0) << i;
  }
}

TEST(bar, shows_what_is_small) {
  auto const drawn = bar_of(measured(1000000, 999998, 1, 1), 20);
  EXPECT_EQ(drawn.used, 18);
  EXPECT_EQ(drawn.preallocated, 1);
  EXPECT_EQ(drawn.lost, 1);
  EXPECT_EQ(drawn.rest, 0);
}

TEST(bar, of_one_cell_shows_what_is_largest) {
  EXPECT_EQ(bar_of(measured(100, 50, 0, 30), 1).used, 1);
}

TEST(bar, is_in_proportion) {
  auto const drawn = bar_of(sample::small().volumes[1], 64);
  EXPECT_EQ(drawn.used, 37);
  EXPECT_EQ(drawn.preallocated, 19);
  EXPECT_EQ(drawn.lost, 8);
}

TEST(words, of_sizes) {
  EXPECT_EQ(report::size_text(0), "0 MB");
  EXPECT_EQ(report::size_text(1023), "1023 MB");
  EXPECT_EQ(report::size_text(1024), "1.0 GB");
  EXPECT_EQ(report::size_text(-1536), "-1.5 GB");
  EXPECT_EQ(report::size_text(102399), "100.0 GB");
  EXPECT_EQ(report::size_text(102400), "100 GB");
  EXPECT_EQ(report::size_text(std::numeric_limits<std::int64_t>::min()), "-9007199254740992 GB");
  EXPECT_EQ(report::share_text(1, 3), "33.3 %");
  EXPECT_EQ(report::share_text(1, 0), "-");
  EXPECT_EQ(report::share_text(1, std::numeric_limits<std::int64_t>::min()), "-");
  EXPECT_EQ(report::share_text(std::numeric_limits<std::int64_t>::max(), 1), "-");
}

TEST(words, take_the_columns_that_they_are_wide) {
  EXPECT_EQ(report::width_of("abc"), 3);
  EXPECT_EQ(report::width_of("\xc3\xa9\xe6\x97\xa5"), 3);
  EXPECT_EQ(report::width_of("\xff\xc0\xbc"), 3);
  EXPECT_EQ(report::cut("\xe6\x97\xa5\xe6\x97\xa5", 3, wide(80)), "\xe6\x97\xa5…");
  EXPECT_EQ(report::fitted("ab", 4, report::aligned::right, wide(80)), "  ab");
  EXPECT_EQ(report::wrapped("! ", "one two three", wide(9)), "! one two\n  three\n");
  EXPECT_EQ(report::wrapped("! ", "aaaaaaaaaaaa", wide(9)), "! aaaaaaa\n  aaaaa\n");
}

TEST(words, that_are_no_text_are_marked) {
  EXPECT_EQ(report::shown("\xc0\xbc", {}), "??") << "a longer form of another character";
  EXPECT_EQ(report::shown("\xed\xa0\x80", {}), "???") << "half of a pair";
  EXPECT_EQ(report::shown("\xe6\x97", {}), "??") << "one that is cut off";
  EXPECT_EQ(report::shown("\xf0\x9f\x98\x80", {}), "\xf0\x9f\x98\x80");
  EXPECT_EQ(report::shown("\xc3\xa9", {80, false, true}), "?");
}

}  // namespace
