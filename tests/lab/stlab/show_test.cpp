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

TEST_F(stlab_show, tells_units_by_state_and_place_and_changes_nothing) {
  {
    lab::recorder open = writer();
    open.record(volume(0).id, stream(0), 0, 2);
    open.record(volume(0).id, stream(0), hour_ms, 1);
    open.record(volume(0).id, stream(0), 3 * hour_ms, 1);
    open.record(volume(0).id, stream(0, client::alarm), 0, 1);
    open.record(volume(0).id, stream(0), 5 * hour_ms, 1);
    open.forget({open.periods().back().id});
    open.record(volume(0).id, stream(1, client::manual, 3), 0, 1);
    open.lose_storage_id({open.periods().back().id});
  }
  support::unchanged const kept(recorder);
  expect_parts(show(), {"volume vol1  id 1, 8 units: 1 free, 7 recorded (1 without a period)\n",
                        "volume vol2  id 2, 8 units: 8 free\n",
                        "units\n"
                        "  ch01 NR S00  vol1, 4 units in 3 hours\n"
                        "  ch01 NR S00  vol1, 1 unit in 1 hour, WITHOUT A PERIOD\n"
                        "  ch01 AR S00  vol1, 1 unit in 1 hour\n"
                        "  ch02 MR S03  vol1, 1 unit in 1 hour, NO STORAGE ID\n"});
  expect_parts(show("--hours"), {"hour folders (UTC)\n"
                                 "  ch01_NR_S00_1970010100  vol1, 2 units, period 1\n"
                                 "  ch01_NR_S00_1970010101  vol1, 1 unit, period 2\n"
                                 "  ch01_NR_S00_1970010103  vol1, 1 unit, period 3\n"
                                 "  ch01_NR_S00_1970010105  vol1, 1 unit, WITHOUT A PERIOD\n"
                                 "  ch01_AR_S00_1970010100  vol1, 1 unit, period 4\n"
                                 "  ch02_MR_S03_1970010100  vol1, 1 unit, period 5, "
                                 "NO STORAGE ID\n"});
}

TEST_F(stlab_show, tells_units_that_are_in_transit_or_bad) {
  record(0, stream(0), 0, 3);
  tamper(
      "UPDATE unit SET state = 'recycling', period_id = NULL WHERE state = 'recorded'"
      "  AND id = (SELECT min(id) FROM unit WHERE state = 'recorded')");
  tamper("UPDATE unit SET state = 'bad' WHERE id = (SELECT max(id) FROM unit WHERE volume_id = 1)");
  expect_parts(show(), {"volume vol1  id 1, 8 units: 4 free, 2 recorded, 1 recycling, 1 bad\n",
                        "  ch01 NR S00  vol1, 2 units in 1 hour\n"
                        "  ch01 NR S00  vol1, 1 unit in 1 hour, recycling\n"});
  expect_parts(show("--hours"), {"  ch01_NR_S00_1970010100  vol1, 1 unit, recycling\n"
                                 "  ch01_NR_S00_1970010100  vol1, 2 units, period 1\n"});
}

// Which is all that is needed to find there what st-report tells of.
TEST_F(stlab_show, tells_where_a_volume_lies_and_the_ids_of_channels) {
  expect_parts(show(), {"recorder " + recorder.string() + ", units of 1 MB\n",
                        "\n  share/vol2/FSU_" + volume(1).sid_text + "\n",
                        "channels\n  ch01  channel_id 0, id 1\n  ch02  channel_id 1, id 2\n"});
  std::filesystem::remove_all(volume(1).path);
  std::filesystem::create_symlink("/", volume(1).path);
  expect_parts(show(), {"\n  share/vol2/FSU_" + volume(1).sid_text + "\n"});
}

TEST_F(stlab_show, leaves_to_st_report_what_that_tells) {
  record(0, stream(0), 0, 1);
  std::string const shown = show();
  for (std::string const& told : {space(0).name, space(0).sid, channel(0).sid,
                                  std::string("1970-01-01"), std::string("status")}) {
    EXPECT_FALSE(holds(shown, told)) << told;
  }
  std::string const help = run("help show").output;
  expect_parts(help, {"st-report tells the rest"});
}

TEST_F(stlab_show, only_one_volume_or_channel) {
  record(0, stream(0), 0, 1);
  record(1, stream(1), 0, 2);
  record(0, stream(1, client::alarm), 0, 1);
  std::string const head = "recorder " + recorder.string() + ", units of 1 MB\n";
  std::string const first = "volume vol1  id 1, 8 units: 6 free, 2 recorded\n  share/vol1/FSU_" +
                            volume(0).sid_text + "\n";
  std::string const second = "volume vol2  id 2, 8 units: 6 free, 2 recorded\n  share/vol2/FSU_" +
                             volume(1).sid_text + "\n";
  EXPECT_EQ(head + second + "channels\n  ch02  channel_id 1, id 2\n" +
                "units\n  ch02 NR S00  vol2, 2 units in 1 hour\n",
            show("--volume vol2"));
  EXPECT_EQ(head + first + "channels\n  ch01  channel_id 0, id 1\n" +
                "units\n  ch01 NR S00  vol1, 1 unit in 1 hour\n",
            show("--channel 0"));
  EXPECT_EQ(head + first + "channels\n  ch02  channel_id 1, id 2\n" +
                "units\n  ch02 AR S00  vol1, 1 unit in 1 hour\n",
            show("--channel 1 --volume vol1"));
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
  std::string const show = "show '" + recorder.string() + "' --hours";
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
  expect_parts(shown, {"volume vol1  id 1, 8 units: 6 free, 2\n      recorded\n",
                       "  ch01 NR S00  vol1, 2 units in 2 hours\n"});
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
  std::string const name =
      "a\\x1b[2J\\x0ab\\xc2\\x9b\\xe2\\x80\\xae\\\\ä\\xff\\x7f\\xe2\\x80\\xa8€";
  extra["COLUMNS"] = "200";
  auto const shown = show();
  expect_parts(shown, {"volume " + name + "  id 1"});
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
    EXPECT_TRUE(holds(show(), "volume " + shown + "  id 1")) << hex;
  }
}

}  // namespace
