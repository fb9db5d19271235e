#include "recorder_test.h"

namespace end_to_end {
namespace {

using environment_of_st = recorder_test;

TEST_F(environment_of_st, says_that_there_is_no_recorder) {
  for (std::vector<std::string> const& words :
       {std::vector<std::string>{"spacelist"}, {"bogus", "x"}, {"vollist"}}) {
    EXPECT_EQ(st(words), "Query storage settings faiure.\n");
  }
}

TEST_F(environment_of_st, shows_times_in_the_local_time_zone) {
  hold_clock("2026-11-21 07:30:00");
  stlab("make");
  stlab("lose-id", {"--hours", "2"});
  EXPECT_NE(st({"nullid", "0"}).find("\t[NR S01] [2026-11-20 23:00:00]-[2026-11-21 00:00:00]\n"),
            std::string::npos);
  // A zone two hours ahead; the held moment is read in it as well.
  EXPECT_NE(st({"nullid", "0"}, {{"TZ", "AHEAD-2"}, {"FAKETIME", "2026-11-21 09:30:00"}})
                .find("\t[NR S01] [2026-11-21 01:00:00]-[2026-11-21 02:00:00]\n"),
            std::string::npos);
}

TEST_F(environment_of_st, the_same_seed_and_moment_make_the_same_recorder) {
  hold_clock("2026-11-21 07:30:00");
  stlab("make");
  std::string const first = st({"spaceinfo", "Storage1"}) + st({"vollist", "Storage2"});
  std::filesystem::remove_all(recorder);
  stlab("make");
  EXPECT_EQ(st({"spaceinfo", "Storage1"}) + st({"vollist", "Storage2"}), first);
}

}  // namespace
}  // namespace end_to_end
