// How stlab is called, and how it ends.
#include <cstdlib>
#include <ctime>
#include <regex>

#include "lab/catalogue/sqlite.h"
#include "stlab_test.h"

namespace {

using client::hour_ms;
using support::holds;
using support::outcome;

class stlab_usage : public stlab_program::stlab_test {
 protected:
  // "damage leak" on the test's recorder.
  std::string with_folder(std::string const& command) const {
    std::size_t const end = std::min(command.find(' '), command.size());
    return command.substr(0, end) + ' ' + recorder.string() + command.substr(end);
  }

  // `try_of` is the command whose help is worth a look, with a space behind it.
  static void expect_wrong(outcome const& result, std::string const& message,
                           std::string const& try_of = "") {
    expect_refused(result, message + "\nTry: stlab " + try_of + "--help", 2);
  }
};

TEST_F(stlab_usage, help_names_every_command_and_the_exit_statuses) {
  outcome const all = run("--help");
  EXPECT_EQ(0, all.status);
  EXPECT_EQ("", all.errors);
  EXPECT_EQ(all.output, run("help").output);
  for (std::string const command : {"make", "show", "record", "expire", "leak", "lose-id", "assign",
                                    "check", "damage", "mount"}) {
    EXPECT_TRUE(holds(all.output, "  " + command + " ")) << all.output;
    outcome const one = run(command + " --help");
    EXPECT_EQ(0, one.status);
    EXPECT_TRUE(holds(one.output, "DIR")) << one.output;
    auto const first = one.output.find("Exit status:\n  0  done");
    EXPECT_NE(std::string::npos, first) << one.output;
    EXPECT_EQ(std::string::npos, one.output.find("Exit status:", first + 1)) << one.output;
    EXPECT_EQ(one.output, run("help " + command).output);
  }
}

TEST_F(stlab_usage, the_version_is_told) {
  outcome const result = run("--version");
  EXPECT_EQ(0, result.status);
  EXPECT_TRUE(std::regex_match(result.output, std::regex("stlab [0-9]+\\.[0-9]+\\.[0-9]+\n")));
}

TEST_F(stlab_usage, wrong_usage_is_status_2_and_changes_nothing) {
  make();
  support::unchanged const kept(recorder);
  for (std::string const arguments : {"",
                                      "unknown",
                                      "make",
                                      "leak",
                                      "show a b",
                                      "damage lost-unit",
                                      "damage r lost",
                                      "damage r lost-unit more",
                                      "mount r",
                                      "help bogus",
                                      "make x --spaces 0",
                                      "make x --spaces two",
                                      "record r --stream 5",
                                      "record r --stream -1",
                                      "record r --type other",
                                      "leak r --type manual",
                                      "leak r --hours 0",
                                      "assign r --channel -1",
                                      "expire r --days -1",
                                      "lose-id r --count 0",
                                      "show r --unknown",
                                      "check r --give-up",
                                      "make x --seed -1",
                                      "make x --seed 0x10",
                                      "make x --seed 18446744073709551616",
                                      "make x --spaces 65",
                                      "make x --channels 257",
                                      "make x --volume-mb 1048577",
                                      "make x --volume-mb 1 --unit-mb 2",
                                      "make x --volume-mb 10 --unit-mb 3",
                                      "record r --channel 2147483648",
                                      "record r --channel ''",
                                      "record r --units +1",
                                      "record r --hours 1e1",
                                      "leak r --now 1795246200.5",
                                      "show ''",
                                      "make ''"}) {
    outcome const result =
        run(std::regex_replace(arguments, std::regex(" r "), ' ' + recorder.string() + ' '));
    EXPECT_EQ(2, result.status) << arguments;
    EXPECT_EQ("", result.output) << arguments;
    EXPECT_EQ(0U, result.errors.find("stlab: ")) << result.errors;
  }
}

TEST_F(stlab_usage, a_command_that_is_none_is_named) {
  for (std::string const arguments : {"bogus", "bogus DIR", "bogus --now 1"}) {
    SCOPED_TRACE(arguments);
    expect_wrong(run(arguments), "no such command: bogus");
  }
  expect_wrong(run(""), "no command is given");
}

TEST_F(stlab_usage, numbers_are_decimal_whatever_they_begin_with) {
  make();
  EXPECT_EQ("recorded ch01 NR S00 2026-11-21 07:00 UTC on vol1, 8 units\n",
            on_recorder("record", "--channel 00 --units 0008").output);
}

TEST_F(stlab_usage, a_full_standard_output_is_told) {
  make();
  std::filesystem::path const told = folder / "told";
  for (std::string const& arguments : std::vector<std::string>{
           "show " + recorder.string(), "check " + recorder.string(), "--help", "--version"}) {
    outcome const result = run(arguments + " >/dev/full 2>" + told.string() + "; exit $?");
    EXPECT_EQ(4, result.status) << arguments;
    EXPECT_EQ("stlab: cannot write to standard output\n", support::content_of(told)) << arguments;
  }
}

TEST_F(stlab_usage, no_recorder_is_status_3) {
  for (std::string const command :
       {"show", "record", "expire", "leak", "lose-id", "assign", "check", "check --repair",
        "damage lost-unit", "mount --volume vol1"}) {
    outcome const result = run(with_folder(command));
    EXPECT_EQ(3, result.status) << command;
    EXPECT_EQ("", result.output);
    EXPECT_EQ(0U, result.errors.find("stlab: " + recorder.string())) << result.errors;
  }
  EXPECT_FALSE(std::filesystem::exists(recorder));
}

TEST_F(stlab_usage, unknown_channels_and_volumes_are_refused) {
  make();
  for (std::string const command : {"record", "leak", "lose-id", "assign"}) {
    SCOPED_TRACE(command);
    expect_refused(run(with_folder(command + " --channel 7")), "there is no channel 7");
  }
  for (std::string const command : {"leak", "assign"}) {
    expect_refused(run(with_folder(command + " --volume vol77")), "there is no volume vol77");
  }
}

TEST_F(stlab_usage, help_fits_80_columns) {
  for (std::string const command : {"", "make", "show", "record", "expire", "leak", "lose-id",
                                    "assign", "check", "damage", "mount", "help"}) {
    std::string const help = run("help " + command).output;
    EXPECT_FALSE(help.empty());
    for (std::string const& line : support::lines_of(help)) {
      EXPECT_LE(line.size(), 80U) << command << ": " << line;
    }
  }
}

TEST_F(stlab_usage, what_to_try_names_the_command) {
  expect_wrong(run("leak r --hours 0"), "--hours: '0' is not a whole number in [1 - 8760]",
               "leak ");
  expect_wrong(run("leak r --hours"), "the option --hours has no value", "leak ");
  expect_wrong(run("leak r --hours 1 --hours 2"), "the option --hours is given more than once",
               "leak ");
  expect_wrong(run("leak r --type x"), "--type: 'x' is none of normal, alarm", "leak ");
  expect_wrong(run("mount r"), "the option --volume is missing", "mount ");
  expect_wrong(run("--bogus leak r"), "unexpected argument: --bogus");
}

TEST_F(stlab_usage, arguments_are_told_in_the_order_in_which_they_were_typed) {
  expect_wrong(run("show a b c --d"), "unexpected arguments: b c --d", "show ");
}

TEST_F(stlab_usage, what_was_typed_is_told_without_control_characters) {
  expect_wrong(run("\"$(printf 'a\\033[2J\\nb')\""), "no such command: a\\x1b[2J\\x0ab");
}

TEST_F(stlab_usage, the_variable_names_the_recorder) {
  make();
  extra["STLAB_RECORDER"] = recorder;
  EXPECT_EQ("clean\n", run("check").output);
  EXPECT_EQ(show(), run("show").output);
  EXPECT_EQ(0, run("record --units 1").status);
  EXPECT_EQ(0, run("damage lost-unit --unit free --volume vol1").status);
  EXPECT_EQ(1, run("check").status);
  expect_wrong(run("damage bogus"), "'bogus' is no kind of damage", "damage ");
}

TEST_F(stlab_usage, a_typed_folder_goes_before_the_variable) {
  make();
  extra["STLAB_RECORDER"] = (folder / "other");
  EXPECT_EQ("clean\n", check().output);
  EXPECT_EQ(0, run("damage " + recorder.string() + " lost-unit --unit free").status);
  EXPECT_EQ(1, check().status);
}

TEST_F(stlab_usage, make_makes_what_the_variable_names) {
  extra["STLAB_RECORDER"] = recorder;
  EXPECT_EQ(0, run("make --spaces 1 --volumes 1 --volume-mb 8 --days 0").status);
  EXPECT_EQ("clean\n", check().output);
}

TEST_F(stlab_usage, who_writes_needs_a_named_recorder) {
  for (std::string const value : {"unset", "empty"}) {
    if (value == "empty") extra["STLAB_RECORDER"] = "";
    for (std::string const command : {"make", "record", "expire", "leak", "lose-id", "assign",
                                      "check --repair", "damage leak", "mount --volume vol1"}) {
      expect_wrong(run(command), "no recorder is named: give DIR, or set STLAB_RECORDER",
                   command.substr(0, command.find(' ')) + ' ');
    }
  }
}

TEST_F(stlab_usage, an_unusable_recorder_is_told_with_what_named_it) {
  extra["STLAB_RECORDER"] = recorder;
  for (std::string const command : {"check", "show", "record", "damage leak"}) {
    SCOPED_TRACE(command);
    expect_refused(run(command),
                   recorder.string() +
                       ": cannot open recorder: No such file or directory "
                       "(STLAB_RECORDER names this folder)",
                   3);
  }
  if (std::filesystem::exists("/var/lib/stlab/recorder")) {
    GTEST_SKIP() << "there is a recorder in /var/lib/stlab/recorder";
  }
  extra.erase("STLAB_RECORDER");
  for (std::string const command : {"check", "show"}) {
    SCOPED_TRACE(command);
    expect_refused(run(command),
                   "/var/lib/stlab/recorder: cannot open recorder: No such file or directory "
                   "(STLAB_RECORDER is not set; this is the folder then)",
                   3);
  }
}

TEST_F(stlab_usage, a_catalogue_that_cannot_be_written_has_one_status) {
  make();
  run("damage " + recorder.string() + " lost-unit --unit free");
  as_ordinary_user([this] {
    std::filesystem::permissions(recorder / "catalogue.db", std::filesystem::perms::owner_read);
    for (std::string const command :
         {"record", "expire", "leak", "lose-id", "assign", "check --repair", "damage lost-unit",
          "damage leak", "damage unmounted", "mount --volume vol1"}) {
      outcome const result = run(with_folder(command));
      EXPECT_EQ(3, result.status) << command << ": " << result.errors;
      EXPECT_TRUE(holds(result.errors, "catalogue cannot be written")) << result.errors;
    }
    EXPECT_EQ(0, run(with_folder("show")).status);
    EXPECT_EQ(1, check().status);
  });
}

TEST_F(stlab_usage, a_busy_catalogue_has_one_status_and_plain_words) {
  make();
  for (std::size_t const index : {0U, 1U, 2U, 3U}) {
    record(index, stream(0), static_cast<std::int64_t>(index) * hour_ms, 3);
  }
  EXPECT_EQ(0, run(with_folder("damage lost-unit --unit free")).status);
  auto catalogue = connect(lab::database::mode::read_write);
  lab::transaction const held(catalogue, lab::transaction_kind::writing);
  // Together, as each of them waits for some seconds.
  std::string const script =
      "for command in 'record' 'check --repair' 'damage null-ids --count 1' 'mount --volume vol1'\n"
      "do { '" STLAB_PROGRAM
      "' $command 2>&1; echo \"$command: $?\"; } >\"$command.told\" & done\n"
      "wait";
  extra["STLAB_RECORDER"] = recorder;
  EXPECT_EQ(0, support::run({"/bin/sh", "-c", script}, extra, folder).status);
  for (std::string const command :
       {"record", "check --repair", "damage null-ids --count 1", "mount --volume vol1"}) {
    std::string const told = support::content_of(folder / (command + ".told"));
    EXPECT_TRUE(holds(told, " by somebody else\n")) << told;
    EXPECT_TRUE(holds(told, command + ": 3\n")) << told;
  }
}

class a_moment : public stlab_usage {
 protected:
  // The hour that is recorded at a moment, or what is wrong with it.
  std::string recorded_at(std::string const& moment) const {
    outcome const result =
        run("record " + recorder.string() + " --channel 0 --now '" + moment + "'");
    if (result.status != 0) return std::to_string(result.status);
    return result.output.substr(std::string("recorded ch01 NR S00 ").size(), 20);
  }
};

TEST_F(a_moment, is_a_date_and_time_too) {
  make();
  EXPECT_EQ("2026-11-21 07:00 UTC", recorded_at("2026-11-21 07:30"));
  EXPECT_EQ("2026-11-20 23:00 UTC", recorded_at("2026-11-20T23:59:59"));
  EXPECT_EQ("2026-11-19 00:00 UTC", recorded_at("2026-11-19"));
  EXPECT_EQ("2026-11-18 07:00 UTC", recorded_at("1794985200"));
  EXPECT_EQ("2024-02-29 12:00 UTC", recorded_at("2024-02-29 12:00"));
}

TEST_F(a_moment, is_local_unless_it_ends_in_z) {
  make();
  extra["TZ"] = "XYZ-2";
  EXPECT_EQ("2026-11-21 05:00 UTC", recorded_at("2026-11-21 07:30"));
  EXPECT_EQ("2026-11-20 07:00 UTC", recorded_at("2026-11-20 07:30Z"));
  EXPECT_EQ("2026-11-18 22:00 UTC", recorded_at("2026-11-19"));
  EXPECT_EQ("2026-11-18 00:00 UTC", recorded_at("2026-11-18Z"));
}

TEST_F(a_moment, is_local_as_far_as_time_t_counts) {
  make();
  EXPECT_EQ("2100-02-28 23:00 UTC", recorded_at("2100-02-28 23:59:59Z"));
  EXPECT_EQ("2100-03-01 00:00 UTC", recorded_at("4107542400"));
  bool const is_short = sizeof(std::time_t) == 4;
  EXPECT_EQ(is_short ? "2" : "2100-03-02 07:00 UTC", recorded_at("2100-03-02 07:30"));
}

TEST_F(a_moment, is_checked_strictly) {
  make();
  extra["TZ"] = "CET-1CEST,M3.5.0,M10.5.0/3";
  for (std::string const moment : {"2026-11-31",
                                   "2026-13-01",
                                   "2026-00-10",
                                   "2025-02-29",
                                   "2026-11-21 24:00",
                                   "2026-11-21 07:60",
                                   "2026-11-21 07:00:60",
                                   "2026-11-21 7:00",
                                   "2026-11-21 07",
                                   "2026-11-21 07:00:00.5",
                                   "2026-11-21 07:00 Z",
                                   " 2026-11-21",
                                   "2026-11-21 ",
                                   "26-11-21",
                                   "2026/11/21",
                                   "-1",
                                   "1e9",
                                   "",
                                   "now",
                                   "1969-12-31 12:00",
                                   "10000-01-01",
                                   "253402300800",
                                   "2026-03-29 02:30"}) {
    EXPECT_EQ("2", recorded_at(moment)) << moment;
  }
  EXPECT_TRUE(reader().periods().empty());
}

}  // namespace
