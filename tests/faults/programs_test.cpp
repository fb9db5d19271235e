// st and stlab under faults: st_faults and stlab_faults are the same programs
// with the fault points in them.
#include <csignal>
#include <iostream>

#include "lab/check/check.h"
#include "leaking_recorder.h"
#include "long_checks.h"
#include "program_test.h"

namespace {

namespace fs = std::filesystem;
using strings = std::vector<std::string>;
using support::content_of;
using support::ends_with;
using support::environment;
using support::holds;
using support::words;

// The command lines of st that change nothing.
strings list_commands() {
  return {"spacelist", "vollist Storage1", "spaceinfo Storage1",
          "voluse -1", "volchn vol1",      "nullid -1"};
}

// Whether a command line was none that st knows.
bool is_usage(std::string const& output) { return holds(output, "st CMD PARAMETERS"); }

// A command that recycles what has leaked, and what it prints among other things
// and at its end.
struct cleaning {
  std::string command;
  std::string part;
  std::string ending;
};

std::vector<cleaning> cleanings() {
  return {{"autoclean", "Volume space leak detected count: 2\n", "recycle check process done.\n"},
          {"volclean -1", "[NR S00] Success.\n", "Recycle process done.\n"}};
}

void expect_got_through(cleaning const& which, std::string const& output) {
  EXPECT_TRUE(holds(output, which.part)) << output;
  EXPECT_FALSE(holds(output, "failure")) << output;
  EXPECT_TRUE(ends_with(output, which.ending)) << output;
}

// What came out of a run.
struct told {
  int status;
  std::string output;  // with the errors behind it
};

class programs : public support::program_test {
 protected:
  programs() : program_test(support::medium::memory) {}

  told run(words const& line, std::string const& fault = {}) const {
    auto const ran =
        run_here(line, fault.empty() ? environment() : environment{{"STLAB_FAULT", fault}});
    return {ran.status, ran.output + ran.errors};
  }

  // Two volumes, each with a leak and without a free unit.
  void make_full() const {
    stlab("make --spaces 1 --volumes 2 --volume-mb 10 --channels 2 --days 0");
    stlab("leak --volume vol1 --hours 2");
    stlab("leak --volume vol2 --hours 2");
    stlab("record --stream 1 --units 7");
    auto const reader = lab::recorder::open(recorder, lab::access::read_only);
    for (auto const& volume : reader.volumes()) {
      EXPECT_EQ(0, reader.account(volume.id).preallocated);
      EXPECT_EQ(2, reader.account(volume.id).lost);
    }
  }

  // Kills st autoclean at its first point, at its fourth one and so on (at each in the
  // long variant), and has what that leaves finished.
  template <typename Finish>
  void kill_at_every_point(Finish const& finish) {
    make_full();
    fs::path const full = folder / "full";
    fs::rename(recorder, full);
    int points = 0;
    for (int status = 128 + SIGKILL; status != 0; points += support::stride(3)) {
      fs::remove_all(recorder);
      fault_support::copy_tree(full, recorder);
      status = run({ST_FAULTS_PROGRAM, "autoclean"}, "kill@" + std::to_string(points + 1)).status;
      if (status != 0) {
        EXPECT_EQ(128 + SIGKILL, status);
      }
      finish();
      expect_recycled();
      if (HasFailure()) break;
    }
    RecordProperty("points", points);
    std::cout << "st autoclean: killed at its points, of about " << points << "\n";
  }

  void expect_recycled() const {
    auto const reader = lab::recorder::open(recorder, lab::access::read_only);
    for (auto const& volume : reader.volumes()) {
      EXPECT_EQ(2, reader.account(volume.id).preallocated) << volume.name;
    }
    EXPECT_EQ(lab::findings(), lab::check(reader));
  }
};

TEST_F(programs, hold_no_fault_points_unless_built_with_them) {
  std::filesystem::path const built = PROGRAMS_FOLDER;
  EXPECT_FALSE(holds(content_of(built / "st"), "STLAB_FAULT:"));
  EXPECT_FALSE(holds(content_of(built / "stlab"), "STLAB_FAULT:"));
  EXPECT_TRUE(holds(content_of(built / "st_faults"), "STLAB_FAULT:"));
  EXPECT_TRUE(holds(content_of(built / "stlab_faults"), "STLAB_FAULT:"));
}

TEST_F(programs, refuse_what_is_no_fault) {
  auto const ran = run({STLAB_FAULTS_PROGRAM, "make", recorder}, "kill@never");
  EXPECT_EQ(2, ran.status);
  EXPECT_EQ("STLAB_FAULT: kill@never is no fault\n", ran.output);
}

TEST_F(programs, list_on_a_full_disk_what_they_listed_before) {
  make_full();
  for (auto const& command : list_commands()) {
    auto const usual = run(words{ST_PROGRAM} + command);
    auto const listed = run(words{ST_FAULTS_PROGRAM} + command, "full@1+");
    EXPECT_EQ(0, listed.status) << command;
    EXPECT_EQ(usual.output, listed.output);
    EXPECT_FALSE(is_usage(listed.output)) << command;
  }
}

TEST_F(programs, recycle_on_volumes_without_a_free_unit_on_a_full_disk) {
  for (cleaning const& each : cleanings()) {
    SCOPED_TRACE(each.command);
    fs::remove_all(recorder);
    make_full();
    auto const cleaned = run(words{ST_FAULTS_PROGRAM} + each.command, "full@1+");
    EXPECT_EQ(0, cleaned.status);
    expect_got_through(each, cleaned.output);
    expect_recycled();
  }
}

TEST_F(programs, only_report_when_every_step_finds_the_disk_full) {
  make_full();
  auto const cleaned = run({ST_FAULTS_PROGRAM, "autoclean"}, "ENOSPC@1+");
  EXPECT_EQ(0, cleaned.status);
  EXPECT_TRUE(holds(cleaned.output, "recycle check process done.")) << cleaned.output;
  auto const reader = lab::recorder::open(recorder, lab::access::read_only);
  for (auto const& volume : reader.volumes()) EXPECT_EQ(2, reader.account(volume.id).lost);
  EXPECT_EQ(0, run({ST_PROGRAM, "autoclean"}).status);
  expect_recycled();
}

TEST_F(programs, finish_later_what_a_kill_at_any_point_cut_short) {
  kill_at_every_point([this] { EXPECT_EQ(0, run({ST_PROGRAM, "volclean", "-1"}).status); });
}

TEST_F(programs, finish_on_a_full_disk_what_a_kill_at_any_point_cut_short) {
  kill_at_every_point([this] {
    EXPECT_EQ(0, run({ST_FAULTS_PROGRAM, "volclean", "-1"}, "full@1+").status);
    EXPECT_EQ(0, run({ST_FAULTS_PROGRAM, "autoclean"}, "full@1+").status);
  });
}

// What is done on a file system of its own that is filled to its last block. The
// lists before and after that, and what the cleaning printed, go elsewhere.
constexpr char const* on_a_full_file_system = R"(
  mount -t tmpfs -o size=48m none "$1" || exit 77
  cd "$1" || exit 1
  export STLAB_RECORDER=$1/recorder
  elsewhere=$2 stlab=$3 st=$4 clean=$5
  shift 5
  "$stlab" make recorder --spaces 1 --volumes 2 --volume-mb 10 --channels 2 --days 0 || exit 1
  "$stlab" leak recorder --volume vol1 --hours 2 || exit 1
  "$stlab" leak recorder --volume vol2 --hours 2 || exit 1
  "$stlab" record recorder --stream 1 --units 7 || exit 1
  for list; do "$st" $list || exit 1; done >"$elsewhere/before" 2>&1
  head -c 64M /dev/zero >filler 2>/dev/null
  (echo more >>filler) 2>/dev/null && exit 1
  for list; do "$st" $list || exit 1; done >"$elsewhere/full" 2>&1
  "$st" $clean >"$elsewhere/cleaned" 2>&1 || exit 1
  "$stlab" check recorder
)";

TEST_F(programs, list_and_recycle_on_a_file_system_that_is_full) {
  for (cleaning const& each : cleanings()) {
    SCOPED_TRACE(each.command);
    support::temporary_folder const elsewhere(support::medium::memory);
    words line("/usr/bin/unshare --user --map-root-user --mount /bin/sh -c");
    line += {on_a_full_file_system, "sh",       folder / "", elsewhere.path(),
             STLAB_PROGRAM,         ST_PROGRAM, each.command};
    auto const ran = run(line + words(list_commands()));
    if (ran.status == 77 || holds(ran.output, "unshare failed")) {
      GTEST_SKIP() << "no file system of one's own can be mounted here: " << ran.output;
    }
    ASSERT_EQ(0, ran.status) << ran.output;
    EXPECT_TRUE(ends_with(ran.output, "clean\n")) << ran.output;
    auto const before = content_of(elsewhere.path() / "before");
    EXPECT_EQ(before, content_of(elsewhere.path() / "full"));
    EXPECT_FALSE(is_usage(before)) << before;
    expect_got_through(each, content_of(elsewhere.path() / "cleaned"));
  }
}

}  // namespace
