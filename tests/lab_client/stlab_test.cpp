// The stlab program, run as a user runs it.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <regex>
#include <sstream>
#include <system_error>

#include "bench.h"
#include "lab/layout.h"
#include "lab/sqlite.h"

namespace {

using bench::bench_test;
using bench::hour_ms;

constexpr std::int64_t thirty_days_ms = 720 * hour_ms;

struct outcome {
  int status;
  std::string output;
  std::string errors;
};

class stlab : public bench_test {
 protected:
  // Arguments are words of a shell.
  outcome run(std::string const& arguments) const {
    std::filesystem::path const output = folder / "output";
    std::filesystem::path const errors = folder / "errors";
    std::string const command = "'" STLAB_PROGRAM "' " + arguments + " >" + output.string() +
                                " 2>" + errors.string() + " </dev/null";
    int const status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, bench::content_of(output),
            bench::content_of(errors)};
  }

  // `stlab COMMAND recorder OPTIONS` at the bench's moment.
  outcome on_recorder(std::string const& command, std::string const& options = "") const {
    return run(command + ' ' + recorder.string() + " --now " +
               std::to_string(bench::now_ms / 1000) + ' ' + options);
  }

  outcome check() const { return run("check " + recorder.string()); }

  lab::stream stream(std::size_t channel_index, std::int32_t type, std::int32_t number) const {
    return {channel(channel_index).id, type, number};
  }

  // Overwrites the first page of a table.
  void break_table(std::string const& name) const {
    std::int64_t page = 0;
    std::int64_t size = 0;
    {
      lab::database const catalogue(recorder / "catalogue.db", lab::database::mode::read_only,
                                    std::chrono::milliseconds(0));
      lab::statement query(catalogue,
                           "SELECT rootpage, page_size FROM sqlite_master, pragma_page_size"
                           "  WHERE name = ?");
      ASSERT_TRUE(query.with(name).next());
      page = query.integer(0);
      size = query.integer(1);
    }
    std::fstream file(recorder / "catalogue.db", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp((page - 1) * size);
    file << std::string(static_cast<std::size_t>(size), '\xff');
  }

  // Runs with a SIGTERM that has come already and is held back.
  int status_when_stopped(std::string const& command) const {
    std::string const target = recorder.string();
    std::string const errors = (folder / "errors").string();
    ::pid_t const child = ::fork();
    if (child == 0) {
      ::sigset_t stop;
      ::sigemptyset(&stop);
      ::sigaddset(&stop, SIGTERM);
      ::sigprocmask(SIG_BLOCK, &stop, nullptr);
      ::kill(::getpid(), SIGTERM);
      if (std::freopen(errors.c_str(), "w", stderr) == nullptr) ::_exit(99);
      ::execl(STLAB_PROGRAM, STLAB_PROGRAM, command.c_str(), target.c_str(), nullptr);
      ::_exit(98);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  void expect_refused(outcome const& result, std::string const& message) const {
    EXPECT_EQ(1, result.status);
    EXPECT_EQ("", result.output);
    EXPECT_EQ("stlab: " + message + "\n", result.errors);
  }
};

// All that comes out of a terminal until nobody has its other side open.
std::string shown_on(int terminal) {
  std::string shown;
  std::array<char, 256> part{};
  for (;;) {
    ::ssize_t const count = ::read(terminal, part.data(), part.size());
    if (count <= 0) return shown;
    shown.append(part.data(), static_cast<std::size_t>(count));
  }
}

bool holds(std::string const& text, std::string const& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(stlab, help_names_every_command_and_the_exit_statuses) {
  outcome const all = run("--help");
  EXPECT_EQ(0, all.status);
  EXPECT_EQ("", all.errors);
  for (std::string const command :
       {"make", "show", "record", "expire", "leak", "lose-id", "assign", "check", "damage"}) {
    EXPECT_TRUE(holds(all.output, "  " + command + " ")) << all.output;
    outcome const one = run(command + " --help");
    EXPECT_EQ(0, one.status);
    EXPECT_TRUE(holds(one.output, "DIR")) << one.output;
    EXPECT_TRUE(holds(one.output, "Exit status: 0 ")) << one.output;
  }
}

TEST_F(stlab, the_version_is_told) {
  outcome const result = run("--version");
  EXPECT_EQ(0, result.status);
  EXPECT_TRUE(std::regex_match(result.output, std::regex("stlab [0-9]+\\.[0-9]+\\.[0-9]+\n")));
}

TEST_F(stlab, wrong_usage_is_status_2_and_changes_nothing) {
  make();
  auto const before = bench::picture_of(recorder);
  for (std::string const arguments : {"",
                                      "unknown",
                                      "make",
                                      "leak",
                                      "show a b",
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
  bench::expect_same(before, bench::picture_of(recorder));
}

TEST_F(stlab, a_command_that_is_none_is_named) {
  for (std::string const arguments : {"bogus", "bogus DIR", "bogus --now 1"}) {
    outcome const result = run(arguments);
    EXPECT_EQ(2, result.status) << arguments;
    EXPECT_EQ("", result.output) << arguments;
    EXPECT_EQ("stlab: no such command: bogus\nTry: stlab --help\n", result.errors) << arguments;
  }
  EXPECT_EQ("stlab: A subcommand is required\nTry: stlab --help\n", run("").errors);
}

TEST_F(stlab, numbers_are_decimal_whatever_they_begin_with) {
  make();
  EXPECT_EQ("recorded ch01 NR S00 2026-11-21 07:00 UTC on vol1, units 8\n",
            on_recorder("record", "--channel 00 --units 0008").output);
}

TEST_F(stlab, make_promises_what_it_takes) {
  std::string const help = run("make --help").output;
  for (std::string const range :
       {"--spaces N:in [1 - 64]", "--volumes N:in [1 - 64]", "--volume-mb N:in [1 - 1048576]",
        "--unit-mb N:in [1 - 1024]", "--channels N:in [1 - 256]", "--days N:in [0 - 3650]"}) {
    EXPECT_TRUE(holds(help, range)) << range << '\n' << help;
  }
  EXPECT_EQ(0, run("make " + recorder.string() +
                   " --spaces 64 --volumes 1 --volume-mb 1 --channels 256 --days 3650")
                   .status);
  EXPECT_EQ(64U, reader().spaces().size());
  EXPECT_EQ(256U, reader().channels().size());
}

TEST_F(stlab, a_full_standard_output_is_told) {
  make();
  std::filesystem::path const told = folder / "told";
  for (std::string const& arguments : std::vector<std::string>{
           "show " + recorder.string(), "check " + recorder.string(), "--help", "--version"}) {
    outcome const result = run(arguments + " >/dev/full 2>" + told.string() + "; exit $?");
    EXPECT_EQ(1, result.status) << arguments;
    EXPECT_EQ("stlab: cannot write to standard output\n", bench::content_of(told)) << arguments;
  }
}

TEST_F(stlab, a_broken_catalogue_is_no_usable_recorder) {
  make();
  break_table("period");
  std::string const problem =
      (recorder / "catalogue.db").string() + ": the catalogue is damaged";
  outcome const shown = run("show " + recorder.string());
  EXPECT_EQ(3, shown.status);
  EXPECT_EQ("stlab: " + problem + "\n", shown.errors);
  outcome const checked = check();
  EXPECT_EQ(1, checked.status);
  EXPECT_EQ("", checked.errors);
  EXPECT_TRUE(holds(checked.output, "catalogue: ")) << checked.output;
  EXPECT_FALSE(holds(checked.output, "clean")) << checked.output;
}

TEST_F(stlab, no_recorder_is_status_3) {
  for (std::string const command :
       {"show", "record", "expire", "leak", "lose-id", "assign", "check"}) {
    outcome const result = run(command + ' ' + recorder.string());
    EXPECT_EQ(3, result.status) << command;
    EXPECT_EQ("", result.output);
    EXPECT_EQ(0U, result.errors.find("stlab: " + recorder.string())) << result.errors;
  }
  EXPECT_FALSE(std::filesystem::exists(recorder));
}

TEST_F(stlab, make_makes_a_sound_recorder_without_a_bar_when_nobody_watches) {
  outcome const made =
      on_recorder("make", "--spaces 1 --volumes 1 --volume-mb 40 --channels 3 --days 1");
  EXPECT_EQ(0, made.status) << made.errors;
  EXPECT_EQ("", made.errors);
  EXPECT_EQ("made a recorder in " + recorder.string() +
                ": spaces 1, volumes 1 of 40 MB, channels 3, days 1\n",
            made.output);
  EXPECT_EQ(1U, reader().spaces().size());
  EXPECT_EQ(40, reader().volumes().at(0).total_mb);
  EXPECT_EQ(3U, reader().channels().size());
  EXPECT_EQ(0, check().status);
}

TEST_F(stlab, the_bar_of_make_on_a_terminal_gets_to_its_end) {
  int const terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (terminal < 0) {
    GTEST_SKIP() << "no terminal can be had here: " << std::generic_category().message(errno);
  }
  ASSERT_EQ(0, ::grantpt(terminal));
  ASSERT_EQ(0, ::unlockpt(terminal));
  std::string const name = ::ptsname(terminal);
  int const other_side = ::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  ASSERT_GE(other_side, 0);
  auto shown = std::async(std::launch::async, shown_on, terminal);
  outcome const made =
      run("make " + recorder.string() +
          " --spaces 1 --volumes 1 --volume-mb 8 --days 0 >/dev/null 2>" + name + "; exit $?");
  ::close(other_side);
  std::string const bar = shown.get();
  ::close(terminal);
  EXPECT_EQ(0, made.status);
  std::string const last = "\r[" + std::string(40, '#') + "] 100 %\r\n";
  ASSERT_GE(bar.size(), last.size());
  EXPECT_EQ(last, bar.substr(bar.size() - last.size())) << bar;
}

TEST_F(stlab, a_make_that_is_stopped_leaves_nothing) {
  EXPECT_EQ(1, status_when_stopped("make"));
  EXPECT_EQ("stlab: stopped; nothing was made\n", bench::content_of(folder / "errors"));
  EXPECT_FALSE(std::filesystem::exists(recorder));
}

TEST_F(stlab, make_refuses_a_folder_that_is_not_empty) {
  make();
  auto const before = bench::picture_of(recorder);
  outcome const again = on_recorder("make");
  EXPECT_EQ(1, again.status);
  EXPECT_EQ(0U, again.errors.find("stlab: ")) << again.errors;
  bench::expect_same(before, bench::picture_of(recorder));
}

TEST_F(stlab, the_same_seed_and_moment_make_the_same_recorder) {
  std::string const first_show = [&] {
    EXPECT_EQ(0, on_recorder("make", "--days 1 --seed 7").status);
    return run("show " + recorder.string() + " --periods").output;
  }();
  std::filesystem::remove_all(recorder);
  EXPECT_EQ(0, on_recorder("make", "--days 1 --seed 7").status);
  EXPECT_EQ(first_show, run("show " + recorder.string() + " --periods").output);
  std::filesystem::remove_all(recorder);
  EXPECT_EQ(0, on_recorder("make", "--days 1 --seed 8").status);
  EXPECT_NE(first_show, run("show " + recorder.string() + " --periods").output);
}

TEST_F(stlab, check_tells_a_name_of_several_lines_in_one) {
  make();
  std::filesystem::path const volume = recorder / "share" / "vol1";
  std::ofstream(volume / "a\nleak: volume vol1: b") << "content";
  outcome const found = check();
  EXPECT_EQ(1, found.status);
  EXPECT_EQ("unknown: volume vol1: unknown file a?leak: volume vol1: b\n", found.output);
}

TEST_F(stlab, check_tells_clean_from_findings) {
  make();
  outcome const clean = check();
  EXPECT_EQ(0, clean.status);
  EXPECT_EQ("clean\n", clean.output);
  lab::volume const of = volume(0);
  std::filesystem::path const reserve =
      std::filesystem::path(lab::storage_folder(of.path.string(), of.sid_text)) / "preallocate";
  std::filesystem::remove(*std::filesystem::directory_iterator(reserve));
  outcome const damaged = check();
  EXPECT_EQ(1, damaged.status);
  EXPECT_TRUE(holds(damaged.output, of.name)) << damaged.output;
  EXPECT_FALSE(holds(damaged.output, "clean"));
}

TEST_F(stlab, show_tells_used_preallocated_and_lost_and_changes_nothing) {
  make();
  {
    lab::recorder open = writer();
    open.record(volume(0).id, stream(0, bench::normal, 0), 0, 2);
    open.record(volume(0).id, stream(0, bench::normal, 0), hour_ms, 1);
    open.record(volume(0).id, stream(0, bench::normal, 0), 3 * hour_ms, 1);
    open.record(volume(0).id, stream(0, bench::alarm, 0), 0, 1);
    open.record(volume(0).id, stream(0, bench::normal, 0), 5 * hour_ms, 1);
    open.forget({open.periods().back().id});
    open.record(volume(0).id, stream(1, bench::normal, 3), 0, 1);
    open.lose_storage_id({open.periods().back().id});
  }
  auto const before = bench::picture_of(recorder);
  outcome const shown = run("show " + recorder.string());
  EXPECT_EQ(0, shown.status);
  EXPECT_TRUE(holds(shown.output, "[" + std::string(30, '#') + std::string(5, '.') +
                                      std::string(5, '!') +
                                      "] total 8 MB: used 6, preallocated 1, lost 1\n"))
      << shown.output;
  EXPECT_TRUE(holds(shown.output, "  ch01 recorded 5 MB (normal 4, alarm 1)\n")) << shown.output;
  EXPECT_TRUE(holds(shown.output, "  recorded in all 5 MB\n")) << shown.output;
  EXPECT_TRUE(
      holds(shown.output,
            "periods (UTC)\n"
            "  ch01 NR S00  1970-01-01 00:00 to 1970-01-01 04:00  on vol1, periods 3 in runs 2\n"
            "  ch01 AR S00  1970-01-01 00:00 to 1970-01-01 01:00  on vol1\n"
            "  ch02 NR S03  1970-01-01 00:00 to 1970-01-01 01:00  NO STORAGE ID\n"))
      << shown.output;
  outcome const each = run("show --periods " + recorder.string());
  EXPECT_TRUE(holds(each.output,
                    "periods (UTC)\n"
                    "  ch01 NR S00  1970-01-01 00:00 to 1970-01-01 01:00  on vol1\n"
                    "  ch01 NR S00  1970-01-01 01:00 to 1970-01-01 02:00  on vol1\n"
                    "  ch01 NR S00  1970-01-01 03:00 to 1970-01-01 04:00  on vol1\n"
                    "  ch01 AR S00  "))
      << each.output;
  bench::expect_same(before, bench::picture_of(recorder));
}

TEST_F(stlab, show_tells_what_has_no_storage_id_only_when_there_is_any) {
  make();
  writer().record(volume(0).id, stream(0, bench::normal, 0), 0, 3);
  EXPECT_FALSE(holds(run("show " + recorder.string()).output, "under no storage id"));
  writer().lose_storage_id({reader().periods().back().id});
  outcome const shown = run("show " + recorder.string());
  EXPECT_TRUE(holds(shown.output, "\nrecorded under no storage id 3 MB\nchannels\n"))
      << shown.output;
}

TEST_F(stlab, every_part_of_a_bar_that_is_not_0_shows) {
  lab::make_options options = bench::small();
  options.spaces = 1;
  options.volumes = 1;
  options.volume_mb = 100;
  make(options);
  auto const bar_after = [&](int recorded, int leaked) {
    lab::recorder open = writer();
    if (recorded > 0) open.record(volume(0).id, stream(0, bench::normal, 0), 0, recorded);
    if (leaked > 0) {
      open.record(volume(0).id, stream(0, bench::normal, 0), hour_ms, leaked);
      open.forget({open.periods().back().id});
    }
    std::string const shown = run("show " + recorder.string()).output;
    std::size_t const start = shown.find('[');
    return shown.substr(start, shown.find(']') + 1 - start);
  };
  EXPECT_EQ("[" + std::string(40, '.') + "]", bar_after(0, 0));
  EXPECT_EQ("[#" + std::string(39, '.') + "]", bar_after(1, 0));
  EXPECT_EQ("[" + std::string(38, '#') + ".!]", bar_after(97, 1));
  EXPECT_EQ("[" + std::string(39, '#') + "!]", bar_after(0, 1));
}

TEST_F(stlab, record_checks_the_room_for_all_channels_first) {
  make();
  run("assign " + recorder.string() + " --channel 1 --volume vol1");
  expect_refused(on_recorder("record", "--units 3 --hours 2"),
                 "only 8 units are free on vol1; 12 are needed");
  EXPECT_TRUE(reader().periods().empty());
  EXPECT_EQ(0, on_recorder("record", "--units 2 --hours 2").status);
  EXPECT_EQ(4U, reader().periods().size());
}

TEST_F(stlab, a_channel_that_is_named_twice_records_once) {
  make();
  EXPECT_EQ("recorded ch01 NR S00 2026-11-21 07:00 UTC on vol1, units 1\n",
            on_recorder("record", "--channel 0 --channel 0").output);
}

TEST_F(stlab, record_leaves_a_leak_recyclable) {
  make();
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --hours 3").status);
  // Known since then is 06:00; 07:00 is the only hour after the leak that is empty.
  expect_refused(on_recorder("record", "--channel 0 --hours 2"),
                 "ch01 NR S00 has only 1 empty hours after its leak, which ends at 2026-11-21 "
                 "06:00 UTC; recycle that first");
  EXPECT_EQ(1U, reader().periods().size());
  EXPECT_EQ("recorded ch01 NR S00 2026-11-21 07:00 UTC on vol1, units 1\n",
            on_recorder("record", "--channel 0").output);
  std::int64_t const known = bench::now_ms / hour_ms * hour_ms - hour_ms;
  EXPECT_EQ(3, writer().recycle(volume(0).id, stream(0, bench::normal, 0),
                                {bench::now_ms - thirty_days_ms, known - 1}));
  EXPECT_EQ(0, on_recorder("record", "--channel 0 --hours 2").status);
}

TEST_F(stlab, lose_id_leaves_a_leak_recyclable) {
  make();
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --stream 1 --hours 5").status);
  auto const before = bench::picture_of(recorder / "share");
  expect_refused(on_recorder("lose-id", "--hours 2"),
                 "hours would have to be recorded before the end of the stream's leak, 2026-11-21 "
                 "06:00 UTC; recycle that first");
  bench::expect_same(before, bench::picture_of(recorder / "share"));
  EXPECT_EQ(1U, reader().periods().size());
  EXPECT_EQ(0, on_recorder("lose-id", "--stream 2 --hours 2").status);
}

TEST_F(stlab, lose_id_checks_the_room_first) {
  make();
  auto const before = bench::picture_of(recorder / "share");
  expect_refused(on_recorder("lose-id", "--hours 9"),
                 "only 8 units are free on vol1; 9 are needed");
  bench::expect_same(before, bench::picture_of(recorder / "share"));
  EXPECT_TRUE(reader().periods().empty());
}

TEST_F(stlab, expire_counts_what_is_not_mounted) {
  make();
  std::int64_t const long_ago = bench::now_ms / hour_ms * hour_ms - 72 * hour_ms;
  writer().record(volume(0).id, stream(0, bench::normal, 0), long_ago, 3);
  writer().record(volume(0).id, stream(0, bench::normal, 1), long_ago, 1);
  writer().record(volume(1).id, stream(1, bench::normal, 0), long_ago, 2);
  std::filesystem::rename(volume(0).path / "identity", folder / "identity");
  outcome const result = on_recorder("expire");
  EXPECT_EQ(1, result.status);
  EXPECT_EQ("", result.errors);
  EXPECT_EQ(
      "expired what ended before 2026-11-19 07:00 UTC: 2 units came back\n"
      "2 periods stay: their volume is not mounted\n",
      result.output);
  EXPECT_EQ(2U, reader().periods().size());
}

TEST_F(stlab, a_volume_that_takes_nothing_back_keeps_nobody_from_the_others) {
  make();
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --hours 3").status);
  alter_catalogue(
      "UPDATE unit SET state = 'recycling' WHERE state = 'recorded' AND period_id IS NULL");
  lab::volume const blocked = volume(0);
  std::filesystem::rename(
      lab::storage_folder(blocked.path.string(), blocked.sid_text) + "/preallocate",
      folder / "kept");
  outcome const other = on_recorder("record", "--channel 1");
  EXPECT_EQ(0, other.status) << other.errors;
  EXPECT_EQ(1, on_recorder("record", "--channel 0").status);
}

TEST_F(stlab, record_takes_the_latest_empty_hours_of_the_given_channels) {
  make();
  EXPECT_EQ(0, run("assign " + recorder.string() + " --channel 1 --volume vol1").status);
  outcome const two =
      on_recorder("record", "--channel 1 --hours 2 --units 3 --type alarm --stream 2");
  EXPECT_EQ(0, two.status) << two.errors;
  EXPECT_EQ(
      "recorded ch02 AR S02 2026-11-21 07:00 UTC on vol1, units 3\n"
      "recorded ch02 AR S02 2026-11-21 06:00 UTC on vol1, units 3\n",
      two.output);
  EXPECT_EQ(2U, reader().periods().size());
  outcome const full = on_recorder("record", "--channel 1 --units 3");
  EXPECT_EQ(1, full.status);
  EXPECT_EQ(0U, full.errors.find("stlab: ")) << full.errors;
  EXPECT_EQ(2U, reader().periods().size());
  EXPECT_EQ(0, check().status);
}

TEST_F(stlab, record_takes_all_channels_by_default) {
  make();
  outcome const all = on_recorder("record");
  EXPECT_EQ(0, all.status) << all.errors;
  EXPECT_EQ(2U, reader().periods().size());
  EXPECT_EQ(1U, reader().periods(stream(0, bench::normal, 0), {0, bench::now_ms}).size());
  EXPECT_EQ(1U, reader().periods(stream(1, bench::normal, 0), {0, bench::now_ms}).size());
}

TEST_F(stlab, unknown_channels_and_volumes_are_refused) {
  make();
  expect_refused(on_recorder("record", "--channel 7"), "there is no channel 7");
  expect_refused(on_recorder("leak", "--volume vol77"), "there is no volume vol77");
  expect_refused(on_recorder("leak", "--channel 7"), "there is no channel 7");
  expect_refused(on_recorder("lose-id", "--channel 7"), "there is no channel 7");
  expect_refused(run("assign " + recorder.string() + " --channel 7"), "there is no channel 7");
  expect_refused(run("assign " + recorder.string() + " --volume vol77"),
                 "there is no volume vol77");
}

TEST_F(stlab, expire_gives_the_units_back) {
  make();
  writer().record(volume(0).id, stream(0, bench::normal, 0),
                  bench::now_ms / hour_ms * hour_ms - 72 * hour_ms, 3);
  writer().record(volume(0).id, stream(0, bench::normal, 0),
                  bench::now_ms / hour_ms * hour_ms - 24 * hour_ms, 2);
  outcome const result = on_recorder("expire", "--days 2");
  EXPECT_EQ(0, result.status) << result.errors;
  EXPECT_EQ("expired what ended before 2026-11-19 07:00 UTC: 3 units came back\n", result.output);
  EXPECT_EQ(1U, reader().periods().size());
  EXPECT_EQ(6, reader().account(volume(0).id).preallocated);
  EXPECT_EQ(0, check().status);
}

TEST_F(stlab, a_leak_lies_before_the_earliest_known_period_and_within_thirty_days) {
  lab::make_options options = bench::small();
  options.volume_mb = 64;
  make(options);
  std::int64_t const known = bench::now_ms / hour_ms * hour_ms - 20 * hour_ms;
  writer().record(volume(0).id, stream(0, bench::normal, 0), known, 1);
  outcome const result = on_recorder("leak", "--channel 0");
  EXPECT_EQ(0, result.status) << result.errors;
  EXPECT_EQ(
      "leaked 7 MB on vol1: ch01 NR S00, 7 hours before 2026-11-20 11:00 UTC, units an hour 1\n",
      result.output);
  lab::volume_account const account = reader().account(volume(0).id);
  EXPECT_EQ(7, account.lost);
  EXPECT_GT(account.lost * 20, account.total) << "more than a twentieth";
  EXPECT_EQ(1, account.held);
  ASSERT_EQ(1U, reader().periods().size());
  EXPECT_EQ(7, writer().recycle(volume(0).id, stream(0, bench::normal, 0),
                                {bench::now_ms - thirty_days_ms, known - 1}));
  EXPECT_EQ(0, check().status);
}

TEST_F(stlab, a_leak_of_an_unknown_stream_makes_it_known_first) {
  make();
  outcome const result =
      on_recorder("leak", "--channel 1 --stream 4 --type alarm --hours 2 --units 2");
  EXPECT_EQ(0, result.status) << result.errors;
  EXPECT_EQ(
      "recorded ch02 AR S04 2026-11-21 06:00 UTC on vol1: a stream without any known period is "
      "not recycled\n"
      "leaked 4 MB on vol1: ch02 AR S04, 2 hours before 2026-11-21 06:00 UTC, units an hour 2\n",
      result.output);
  EXPECT_EQ(4, reader().account(volume(0).id).lost);
  EXPECT_EQ(1, reader().account(volume(0).id).held);
}

TEST_F(stlab, a_leak_without_room_is_refused_and_changes_nothing) {
  make();
  auto const before = bench::picture_of(recorder / "share");
  expect_refused(on_recorder("leak", "--channel 0 --hours 9"),
                 "only 8 units are free; 10 are needed");
  expect_refused(on_recorder("leak", "--channel 0 --hours 8"),
                 "only 8 units are free; 9 are needed");
  bench::expect_same(before, bench::picture_of(recorder / "share"));
  EXPECT_TRUE(reader().periods().empty());
}

TEST_F(stlab, a_leak_without_hours_is_refused) {
  make();
  std::int64_t const first = bench::now_ms / hour_ms * hour_ms - thirty_days_ms + 4 * hour_ms;
  writer().record(volume(0).id, stream(0, bench::normal, 0), first, 1);
  expect_refused(on_recorder("leak", "--channel 0 --hours 3"),
                 "only 2 hours lie between the start of the last 30 days and the stream's earliest "
                 "known period, 2026-10-22 11:00 UTC; 3 are needed (see stlab expire)");
  EXPECT_EQ(0, on_recorder("leak", "--channel 0 --hours 2").status);
  EXPECT_EQ(2, writer().recycle(volume(0).id, stream(0, bench::normal, 0),
                                {bench::now_ms - thirty_days_ms, first - 1}));
}

TEST_F(stlab, lose_id_takes_adjoining_hours_across_midnight) {
  make();
  outcome const result = on_recorder("lose-id", "--stream 2 --count 4");
  EXPECT_EQ(0, result.status) << result.errors;
  EXPECT_EQ("lost the storage id of 4 periods: ch01 NR S02, from 2026-11-20 22:00 UTC\n",
            result.output);
  std::vector<lab::period> const periods =
      reader().periods(stream(0, bench::normal, 2), {0, bench::now_ms});
  ASSERT_EQ(4U, periods.size());
  for (lab::period const& each : periods) EXPECT_EQ("", each.storage_id);
  outcome const again = on_recorder("lose-id", "--stream 2 --hours 3");
  EXPECT_EQ("lost the storage id of 3 periods: ch01 NR S02, from 2026-11-19 23:00 UTC\n",
            again.output);
  EXPECT_EQ(1, check().status);
}

TEST_F(stlab, lose_id_goes_by_the_local_midnight) {
  make();
  ::setenv("TZ", "XYZ-2", 1);
  EXPECT_EQ("lost the storage id of 2 periods: ch01 NR S01, from 2026-11-20 21:00 UTC\n",
            on_recorder("lose-id", "--hours 2").output);
}

TEST_F(stlab, lose_id_takes_the_periods_that_are_there) {
  make();
  std::int64_t const midnight = bench::now_ms - bench::now_ms % (24 * hour_ms);
  writer().record(volume(1).id, stream(0, bench::normal, 1), midnight, 2);
  EXPECT_EQ(0, on_recorder("lose-id", "--hours 2").status);
  std::vector<lab::period> const periods = reader().periods();
  ASSERT_EQ(2U, periods.size());
  EXPECT_EQ(midnight, periods[0].start_ms);
  EXPECT_EQ("", periods[0].storage_id);
  EXPECT_EQ("", periods[1].storage_id);
}

TEST_F(stlab, assign_moves_a_channel_to_one_volume) {
  make();
  outcome const result = run("assign " + recorder.string() + " --channel 1 --volume vol3");
  EXPECT_EQ(0, result.status) << result.errors;
  EXPECT_EQ("ch02 records into vol3\n", result.output);
  for (std::size_t const index : {0U, 1U, 2U, 3U}) {
    auto const channels = reader().volume_channels(volume(index).volume_no);
    auto const there = std::count_if(channels.begin(), channels.end(),
                                     [](lab::channel const& each) { return each.number == 1; });
    EXPECT_EQ(index == 2 ? 1 : 0, there);
  }
}

}  // namespace
