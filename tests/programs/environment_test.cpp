#include <sys/stat.h>

#include "program_test.h"

namespace support {
namespace {

using environment_of_st = program_test;

TEST_F(environment_of_st, says_that_there_is_no_recorder) {
  for (std::vector<std::string> const& words :
       {std::vector<std::string>{"spacelist"}, {"bogus", "x"}, {"vollist"}}) {
    EXPECT_EQ(st(words), "Query storage settings faiure.\n");
  }
}

// Nobody reads the pipe, and nobody ever will.
TEST_F(environment_of_st, waits_for_no_reader_of_a_pipe_named_as_its_trace) {
  stlab("make --spaces 1 --volumes 1 --days 0");
  std::filesystem::path const pipe = folder / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  std::vector<std::string> const words{"/usr/bin/timeout", "20", ST_PROGRAM, "spacelist"};
  outcome const result = run(words, {{"STLAB_RECORDER", recorder}, {"STLAB_TRACE", pipe}}, folder);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output.rfind("Space count: 1\n", 0), 0U) << result.output;
  EXPECT_EQ(result.errors, "");
}

TEST_F(environment_of_st, shows_times_in_the_local_time_zone) {
  hold_clock("2026-11-21 07:30:00");
  stlab("make");
  stlab("lose-id --hours 2");
  EXPECT_NE(st("nullid 0").find("\t[NR S01] [2026-11-20 23:00:00]-[2026-11-21 00:00:00]\n"),
            std::string::npos);
  // A zone two hours ahead; the held moment is read in it as well.
  EXPECT_NE(st("nullid 0", {{"TZ", "AHEAD-2"}, {"FAKETIME", "2026-11-21 09:30:00"}})
                .find("\t[NR S01] [2026-11-21 01:00:00]-[2026-11-21 02:00:00]\n"),
            std::string::npos);
}

TEST_F(environment_of_st, the_same_seed_and_moment_make_the_same_recorder) {
  hold_clock("2026-11-21 07:30:00");
  stlab("make");
  std::string const first = st("spaceinfo Storage1") + st("vollist Storage2");
  std::filesystem::remove_all(recorder);
  stlab("make");
  EXPECT_EQ(st("spaceinfo Storage1") + st("vollist Storage2"), first);
}

}  // namespace
}  // namespace support
