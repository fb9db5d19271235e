// Two runs of st at once, with a recorder that goes on recording, expiring and
// leaking beside them.
#include <atomic>
#include <future>
#include <random>

#include "stress_bench.h"

namespace stress {
namespace {

// What st ends its output with when it got through.
struct job {
  words command;
  std::string ending;
};

std::vector<job> const& jobs() {
  static std::vector<job> const all{
      {{"volclean", "-1"}, "Recycle process done.\n"},
      {{"volclean", "0"}, "Recycle process done.\n"},
      {{"autoclean"}, "recycle check process done.\n"},
      {{"volset", "vol1", "1", "0"}, ""},
      {{"volset", "vol1", "0", "1"}, ""},
      {{"volset", "vol2", "0", "0"}, ""},
      {{"spacelist"}, "]\n\n"},
      {{"vollist", "Storage1"}, "%\n"},
      {{"vollist", "Storage2"}, "%\n"},
      {{"spaceinfo", "Storage1"}, "(GB)\n"},
  };
  return all;
}

bool ends_with(std::string const& text, std::string const& ending) {
  return text.size() >= ending.size() &&
         text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

class concurrency : public stress_test {
 protected:
  void perform(job const& which) const {
    std::string const output = st(which.command, beside::writers);
    EXPECT_TRUE(ends_with(output, which.ending)) << which.command.front() << "\n" << output;
  }

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
      perform(which);
      --runs_left;
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
    st({"volclean", "-1"});
    EXPECT_EQ(lost(), 0);
    expect_clean();
  }
}

}  // namespace
}  // namespace stress
