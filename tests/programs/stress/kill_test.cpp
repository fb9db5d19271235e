// SIGKILL of st autoclean at any moment of its run.
#include <algorithm>
#include <chrono>
#include <iostream>

#include "stress_test.h"

namespace stress {
namespace {

class killing : public stress_test {
 protected:
  void leak_twice() const {
    leak(0, 1);
    leak(0, 3);
  }

  double seconds_of_a_run() const {
    leak_twice();
    auto const start = std::chrono::steady_clock::now();
    st("autoclean");
    std::chrono::duration<double> const length = std::chrono::steady_clock::now() - start;
    return length.count();
  }
};

TEST_F(killing, autoclean_loses_nothing_and_a_later_run_finishes) {
  kill_moments moments(std::min({seconds_of_a_run(), seconds_of_a_run(), seconds_of_a_run()}));
  expect_clean();
  int killed = 0;
  int midway = 0;
  int on_their_way = 0;
  int by_autoclean = 0;
  for (int round = 0; round < rounds() && !HasFailure(); ++round) {
    double const after = moments.next();
    SCOPED_TRACE("round " + std::to_string(round) + ", killed after " + std::to_string(after));
    leak_twice();
    std::int64_t const leaked = lost();
    EXPECT_EQ(leaked, 2 * leaked_units);
    bool const in_time = was_killed(run_st("autoclean", {}, killed_after(after)));
    killed += in_time ? 1 : 0;
    moments.note(in_time);
    expect_sound(moves::recycling);
    EXPECT_LE(lost() + moving(), leaked);
    if (moving() > 0) ++on_their_way;
    if (moving() > 0 || (lost() > 0 && lost() < leaked)) ++midway;

    // What either stream has lost is more than 5 % of its volume: a later run
    // has nothing to leave.
    st("autoclean");
    EXPECT_EQ(moving(), 0);
    EXPECT_EQ(lost(), 0);
    expect_clean();
    if (!HasFailure()) ++by_autoclean;
  }
  std::cout << "a run takes " << moments.seconds_of_a_run() << " s; of " << rounds() << " runs "
            << killed << " were killed, " << midway << " of them midway, " << on_their_way
            << " with units in transit; autoclean alone finished " << by_autoclean << '\n';
  EXPECT_GT(killed, 0);
  if (rounds() >= 200) {
    EXPECT_GT(midway, 0);
    EXPECT_GT(on_their_way, 0);
  }
}

}  // namespace
}  // namespace stress
