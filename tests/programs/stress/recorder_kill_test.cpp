// SIGKILL of the recorder at any moment, beside a run of st.
#include <future>
#include <iostream>
#include <random>

#include "stress_test.h"

namespace stress {
namespace {

// What a recorder does when it is killed. The stream that it leaks leaks nowhere
// else: a period made anew in an hour that has leaked would hold what is lost.
struct task {
  words command;
  kill_moments moments{0.05};
};

class recorder_killing : public stress_test {
 protected:
  std::vector<task> tasks() const {
    return {{record_command},
            {expiry(kept_hours)},
            {"leak --volume vol1 --channel 0 --stream 3 --units 1 --hours " +
             std::to_string(leaked_units)}};
  }

  // Leaves an expiry that is killed enough to do.
  static constexpr int kept_hours = 3;
  static constexpr char record_command[] = "record --channel 0 --channel 1 --hours 4";

  // True when the recorder was killed.
  bool kill_beside(task& recorders, job const& beside) const {
    double const after = recorders.moments.next();
    SCOPED_TRACE("killed after " + std::to_string(after));
    auto running = std::async(std::launch::async, [&] { perform(beside); });
    bool const killed = was_killed(run_stlab(recorders.command, killed_after(after)));
    running.get();
    recorders.moments.note(killed);
    return killed;
  }
};

TEST_F(recorder_killing, loses_nothing_beside_a_run_and_later_ones_finish) {
  std::mt19937_64 random(20261121);
  auto all = tasks();
  int killed = 0;
  int on_their_way = 0;
  for (int round = 0; round < rounds() && !HasFailure(); ++round) {
    if (random() % 2 == 0) leak(1);
    task& recorders = all[random() % all.size()];
    job const& beside = jobs()[random() % jobs().size()];
    SCOPED_TRACE("round " + std::to_string(round) + ", " + recorders.command.front() + " beside " +
                 beside.command.front());
    if (kill_beside(recorders, beside)) ++killed;
    expect_sound(moves::both_ways);
    if (moving() > 0) ++on_their_way;

    st("autoclean");
    EXPECT_EQ(moving(), 0);
    expect_sound(moves::done);
    stlab(record_command);
    expire();
    st("volclean -1");
    EXPECT_EQ(lost(), 0);
    expect_clean();
  }
  for (task const& each : all) {
    std::cout << each.command.front() << " takes " << each.moments.seconds_of_a_run() << " s; ";
  }
  std::cout << "of " << rounds() << " recorders " << killed << " were killed, " << on_their_way
            << " left units in transit\n";
  EXPECT_GT(killed, 0);
  if (rounds() >= 200) {
    EXPECT_GT(on_their_way, 0);
  }
}

}  // namespace
}  // namespace stress
