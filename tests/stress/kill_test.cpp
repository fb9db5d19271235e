// SIGKILL of st autoclean at any moment of its run.
#include <chrono>
#include <iostream>
#include <random>

#include "stress_bench.h"

namespace stress {
namespace {

constexpr int killed_status = 128 + 9;
// The signal was due when the run had just ended.
constexpr int too_late_status = 124;

class killing : public stress_test {
 protected:
  void leak_twice() const {
    leak(0, 1);
    leak(0, 3);
  }

  double seconds_of_a_run() const {
    leak_twice();
    auto const start = std::chrono::steady_clock::now();
    st({"autoclean"});
    std::chrono::duration<double> const length = std::chrono::steady_clock::now() - start;
    return length.count();
  }

  // True when the signal came in time.
  bool killed_after(double seconds) const {
    auto const result = run_st({"autoclean"}, {},
                               {"/usr/bin/timeout", "--foreground", "--signal=KILL",
                                std::to_string(std::max(seconds, 0.0001))});
    bool const killed = result.status == killed_status;
    EXPECT_TRUE(killed || result.status == 0 || result.status == too_late_status)
        << result.status << "\n"
        << result.output << result.errors;
    return killed;
  }
};

TEST_F(killing, autoclean_loses_nothing_and_a_later_run_finishes) {
  // Follows how fast the machine is now, so that some nine of ten are killed.
  double length = std::min({seconds_of_a_run(), seconds_of_a_run(), seconds_of_a_run()});
  expect_clean();
  std::mt19937_64 random(20261121);
  std::uniform_real_distribution<double> moment(0, 1);
  int killed = 0;
  int midway = 0;
  int on_their_way = 0;
  int by_autoclean = 0;
  for (int round = 0; round < rounds() && !HasFailure(); ++round) {
    double const after = moment(random) * length;
    SCOPED_TRACE("round " + std::to_string(round) + ", killed after " + std::to_string(after));
    leak_twice();
    std::int64_t const leaked = lost();
    EXPECT_EQ(leaked, 2 * leaked_units);
    bool const in_time = killed_after(after);
    killed += in_time ? 1 : 0;
    length *= in_time ? 1.01 : 0.9;
    expect_sound(moves::under_way);
    EXPECT_LE(lost() + moving(), leaked);
    if (moving() > 0) ++on_their_way;
    if (moving() > 0 || (lost() > 0 && lost() < leaked)) ++midway;

    // What either stream has lost is more than 5 % of its volume: a later run
    // has nothing to leave.
    st({"autoclean"});
    EXPECT_EQ(moving(), 0);
    EXPECT_EQ(lost(), 0);
    expect_clean();
    if (!HasFailure()) ++by_autoclean;
  }
  std::cout << "a run takes " << length << " s; of " << rounds() << " runs " << killed
            << " were killed, " << midway << " of them midway, " << on_their_way
            << " with units on their way; autoclean alone finished " << by_autoclean << '\n';
  EXPECT_GT(killed, 0);
  if (rounds() >= 200) {
    EXPECT_GT(midway, 0);
    EXPECT_GT(on_their_way, 0);
  }
}

}  // namespace
}  // namespace stress
