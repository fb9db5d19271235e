// What stlab shows.
#include <algorithm>

#include "stlab_test.h"

namespace {

using client::hour_ms;
using support::holds;

class stlab_show : public stlab_program::stlab_test {
 protected:
  stlab_show() { make(); }
};

TEST_F(stlab_show, show_tells_used_preallocated_and_lost_and_changes_nothing) {
  {
    lab::recorder open = writer();
    open.record(volume(0).id, stream(0), 0, 2);
    open.record(volume(0).id, stream(0), hour_ms, 1);
    open.record(volume(0).id, stream(0), 3 * hour_ms, 1);
    open.record(volume(0).id, stream(0, client::alarm), 0, 1);
    open.record(volume(0).id, stream(0), 5 * hour_ms, 1);
    open.forget({open.periods().back().id});
    open.record(volume(0).id, stream(1, client::normal, 3), 0, 1);
    open.lose_storage_id({open.periods().back().id});
  }
  support::unchanged const kept(recorder);
  auto const shown = show();
  expect_parts(shown,
               {"[" + std::string(30, '#') + std::string(5, '.') + std::string(5, '!') +
                    "]\n    total 8 MB: used 6, preallocated 1, lost 1\n",
                "  ch01 recorded 5 MB (normal 4, alarm 1, manual 0)\n", "  recorded in all 5 MB\n",
                "periods (UTC)\n"
                "  ch01 NR S00  1970-01-01 00:00 to 1970-01-01 04:00  vol1, 3 periods, 2 runs\n"
                "  ch01 AR S00  1970-01-01 00:00 to 1970-01-01 01:00  vol1\n"
                "  ch02 NR S03  1970-01-01 00:00 to 1970-01-01 01:00  NO STORAGE ID\n"});
  auto const each = show("--periods");
  expect_parts(each, {"periods (UTC)\n"
                      "  ch01 NR S00  1970-01-01 00:00 to 1970-01-01 01:00  vol1\n"
                      "  ch01 NR S00  1970-01-01 01:00 to 1970-01-01 02:00  vol1\n"
                      "  ch01 NR S00  1970-01-01 03:00 to 1970-01-01 04:00  vol1\n"
                      "  ch01 AR S00  "});
}

TEST_F(stlab_show, show_tells_what_has_no_storage_id_only_when_there_is_any) {
  record(0, stream(0), 0, 3);
  EXPECT_FALSE(holds(show(), "under no storage id"));
  writer().lose_storage_id({reader().periods().back().id});
  auto const shown = show();
  expect_parts(shown, {"\nrecorded under no storage id 3 MB\nchannels\n"});
}

TEST_F(stlab_show, every_part_of_a_bar_that_is_not_0_shows) {
  std::filesystem::remove_all(recorder);
  make([](auto& options) {
    options.spaces = options.volumes = 1;
    options.volume_mb = 100;
  });
  auto const bar_after = [&](int recorded, int leaked) {
    lab::recorder open = writer();
    if (recorded > 0) open.record(volume(0).id, stream(0), 0, recorded);
    if (leaked > 0) {
      open.record(volume(0).id, stream(0), hour_ms, leaked);
      open.forget({open.periods().back().id});
    }
    std::string const shown = show();
    std::size_t const start = shown.find('[');
    return shown.substr(start, shown.find(']') + 1 - start);
  };
  EXPECT_EQ("[" + std::string(40, '.') + "]", bar_after(0, 0));
  EXPECT_EQ("[#" + std::string(39, '.') + "]", bar_after(1, 0));
  EXPECT_EQ("[" + std::string(38, '#') + ".!]", bar_after(97, 1));
  EXPECT_EQ("[" + std::string(39, '#') + "!]", bar_after(0, 1));
}

TEST_F(stlab_show, names_are_those_of_st) {
  record(0, stream(0), 0, 1);
  std::string const shown = show();
  expect_parts(shown, {"space Storage1  uuid " + space(0).sid + "\n"});
  EXPECT_FALSE(holds(shown, space(0).uuid));
  expect_parts(shown, {"    storage_id " + volume(0).sid_text + "\n",
                       "  ch02  channel_id 1, channel " + channel(1).sid + ", into vol3\n"});
}

TEST_F(stlab_show, the_sums_close_with_manual_recordings) {
  record(0, stream(0, client::manual), 0, 2);
  record(0, stream(0), 0, 3);
  std::string const shown = show();
  expect_parts(
      shown, {"  ch01 recorded 5 MB (normal 3, alarm 0, manual 2)\n", "  recorded in all 5 MB\n"});
}

TEST_F(stlab_show, a_volume_that_is_not_mounted_looks_unlike_a_healthy_one) {
  std::filesystem::remove(volume(0).path / "identity");
  std::string const shown = show("--volume vol1");
  expect_parts(shown, {"  volume vol1  no 1, normal, NOT MOUNTED\n",
                       "\n    [" + std::string(40, '?') + "]\n    by the catalogue: total 8 MB:"});
  std::string const healthy = show("--volume vol2");
  expect_parts(healthy, {"  volume vol2  no 2, normal, active\n"});
  EXPECT_FALSE(holds(healthy, "?")) << healthy;
}

TEST_F(stlab_show, only_one_volume_or_channel) {
  record(0, stream(0), 0, 1);
  writer().assign(channel(1).id, volume(1).id);
  record(1, stream(1), 0, 2);
  record(0, stream(1, client::alarm), 0, 1);
  std::string const head = "recorder " + recorder.string() + ", units of 1 MB\n";
  std::string const space_head =
      "space Storage1  uuid " + space(0).sid + "\n  status 0, total 16 MB, used 4 MB\n";
  std::string const second = "  volume vol2  no 2, normal, active\n    storage_id " +
                             volume(1).sid_text + "\n    [##########" + std::string(30, '.') +
                             "]\n    total 8 MB: used 2, preallocated 6, lost 0\n";
  EXPECT_EQ(head + space_head + second + "channels\n  ch02  channel_id 1, channel " +
                channel(1).sid + ", into vol2\nperiods (UTC)\n" +
                "  ch02 NR S00  1970-01-01 00:00 to 1970-01-01 01:00  vol2\n",
            show("--volume vol2"));
  std::string const of_channel = show("--channel 0");
  expect_parts(of_channel, {"  ch01 recorded 1 MB"});
  EXPECT_FALSE(holds(of_channel, "ch02")) << of_channel;
  EXPECT_FALSE(holds(of_channel, "recorded in all")) << of_channel;
  std::string const both = show("--channel 1 --volume vol1");
  expect_parts(both,
               {"periods (UTC)\n  ch02 AR S00  1970-01-01 00:00 to 1970-01-01 01:00  vol1\n"});
  EXPECT_FALSE(holds(both, "NR S00")) << both;
  expect_refused(run("show --volume vol77 " + recorder.string()), "there is no volume vol77");
  expect_refused(run("show --channel 77 " + recorder.string()), "there is no channel 77");
}

class stlab_columns : public stlab_program::stlab_test {
 protected:
  // A recorder with long names, in a folder with one.
  void make_long() {
    set_root(recorder / (std::string(60, 'r') + " " + std::string(60, 's')));
    std::filesystem::create_directories(recorder);
    make([](auto& options) { options.days = 1; });
    tamper("UPDATE volume SET name = '" + std::string(100, 'n') + "' WHERE id = 2");
    writer().assign(channel(0).id, volume(1).id);
    std::filesystem::remove(volume(2).path / "identity");
  }
  std::size_t longest_line(std::string const& shown) const {
    std::size_t longest = 0;
    for (std::string const& line : support::lines_of(shown))
      longest = std::max(longest, line.size());
    return longest;
  }
};

TEST_F(stlab_columns, are_those_that_there_are) {
  make_long();
  std::string const show = "show '" + recorder.string() + "' --periods";
  EXPECT_EQ(80U, longest_line(run(show).output));
  for (std::size_t const columns : {20U, 40U, 80U}) {
    extra["COLUMNS"] = std::to_string(columns);
    EXPECT_EQ(columns, longest_line(run(show).output));
  }
  extra["COLUMNS"] = "1000";
  EXPECT_LT(longest_line(run(show).output), 300U);
  for (std::string const nonsense : {"", "0", "-5", "40x", "99999999999999999999"}) {
    extra["COLUMNS"] = nonsense;
    EXPECT_EQ(80U, longest_line(run(show).output)) << nonsense;
  }
}

TEST_F(stlab_columns, break_lines_between_words) {
  make();
  record(0, stream(0), 0, 1);
  record(0, stream(0), 3 * hour_ms, 1);
  extra["COLUMNS"] = "40";
  std::string const shown = show("--volume vol1");
  expect_parts(shown, {"    storage_id\n      " + volume(0).sid_text + "\n    [########" +
                           std::string(26, '.') +
                           "]\n    total 8 MB: used 2, preallocated 6,\n      lost 0\n",
                       "  ch01 NR S00  1970-01-01 00:00 to\n"
                       "      1970-01-01 04:00  vol1, 2 periods,\n"
                       "      2 runs\n"});
}

TEST_F(stlab_columns, are_the_terminals) {
  make_long();
  stlab_program::terminal terminal;
  if (!terminal.problem().empty()) GTEST_SKIP() << terminal.problem();
  terminal.set_columns(50);
  EXPECT_EQ(0, run("show '" + recorder.string() + "' >" + terminal.name() + "; exit $?").status);
  // A terminal ends its lines in two characters.
  EXPECT_EQ(51U, longest_line(terminal.shown()));
}

TEST_F(stlab_show, names_are_shown_without_control_characters) {
  tamper(
      "UPDATE volume SET name = 'a' || char(27) || '[2J' || char(10) || 'b' || char(155) ||"
      "  char(8238) || char(92) || char(228) || CAST(x'ff' AS TEXT) || char(127) || char(8232) || '€'"
      "  WHERE id = 1");
  tamper("UPDATE space SET name = 'x' || char(13) || 'y' WHERE id = 1");
  std::string const name =
      "a\\x1b[2J\\x0ab\\xc2\\x9b\\xe2\\x80\\xae\\\\ä\\xff\\x7f\\xe2\\x80\\xa8€";
  extra["COLUMNS"] = "200";
  auto const shown = show();
  expect_parts(shown, {"  volume " + name + "  no 1", "space x\\x0dy  ", ", into " + name + "\n"});
  EXPECT_TRUE(holds(on_recorder("record", "--channel 0").output, " on " + name + ", 1 unit\n"));
  EXPECT_EQ("stlab: not enough free units on " + name + ": 99 needed, 7 free\n",
            on_recorder("record", "--channel 0 --units 99").errors);
}

TEST_F(stlab_show, half_a_letter_is_escaped) {
  for (auto const& [hex, shown] :
       std::vector<std::pair<std::string, std::string>>{{"c3", "\\xc3"},
                                                        {"e282", "\\xe2\\x82"},
                                                        {"c080", "\\xc0\\x80"},
                                                        {"eda080", R"(\xed\xa0\x80)"},
                                                        {"f4908080", R"(\xf4\x90\x80\x80)"},
                                                        {"f09f9880", "\xf0\x9f\x98\x80"},
                                                        {"80", "\\x80"}}) {
    tamper("UPDATE volume SET name = CAST(x'" + hex + "' AS TEXT) WHERE id = 1");
    EXPECT_TRUE(holds(show(), "  volume " + shown + "  no 1")) << hex;
  }
}

}  // namespace
