// Two runs of st at once, with a recorder that goes on recording, expiring and
// leaking beside them.
#include <atomic>
#include <future>
#include <random>

#include "stress_test.h"

namespace stress {
namespace {

// One run less is left when it goes, however the run ended.
class counted_run {
 public:
  explicit counted_run(std::atomic<int>& runs_left) : runs_left_(runs_left) {}
  ~counted_run() { --runs_left_; }
  counted_run(counted_run const&) = delete;
  counted_run& operator=(counted_run const&) = delete;

 private:
  std::atomic<int>& runs_left_;
};

class concurrency : public stress_test {
 protected:
  // At least one turn; goes on while the others run.
  void be_the_recorder(bool leaks, std::atomic<int> const& runs_left) const {
    do {
      record();
      if (leaks) leak(1);
      expire();
      leaks = false;
    } while (runs_left > 0);
  }

  void run_together(job const& first, job const& second, bool leaks) const {
    std::atomic<int> runs_left = 2;
    auto const counted = [&](job const& which) {
      counted_run const leaving(runs_left);
      perform(which);
    };
    auto one = std::async(std::launch::async, counted, first);
    auto other = std::async(std::launch::async, counted, second);
    be_the_recorder(leaks, runs_left);
    one.get();
    other.get();
  }
};

TEST_F(concurrency, two_runs_and_a_recorder_lose_nothing) {
  std::mt19937_64 random(20261121);
  auto const pick = [&]() -> job const& { return jobs()[random() % jobs().size()]; };
  for (int round = 0; round < rounds() && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    if (random() % 2 == 0) leak(0);
    job const& first = pick();
    job const& second = pick();
    SCOPED_TRACE(first.command.front() + " beside " + second.command.front());
    run_together(first, second, random() % 2 == 0);
    expect_sound(moves::done);
    st("volclean -1");
    EXPECT_EQ(lost(), 0);
    expect_clean();
  }
}

}  // namespace
}  // namespace stress
