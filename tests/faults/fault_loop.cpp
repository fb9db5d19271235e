#include "fault_loop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <map>
#include <memory>
#include <system_error>

#include "long_checks.h"

namespace fault_loop {

namespace {

namespace fs = std::filesystem;
namespace points = lab::fault_points;
using points::fault;

struct report_of_child {
  ending how = ending::broken;
  int points = 0;
};

points::observer all_of(faults const& injected, int& counted) {
  // Each counts for itself.
  auto const counts = std::make_shared<std::vector<int>>(injected.size());
  std::vector<points::observer> all;
  for (std::size_t i = 0; i < injected.size(); ++i) {
    all.push_back(points::injector(injected[i], (*counts)[i]));
  }
  return [all, counts, &counted](points::point const& at) {
    ++counted;
    int answer = 0;
    for (auto const& ask : all) {
      int const one = ask(at);
      if (answer == 0) answer = one;
    }
    return answer;
  };
}

ending ending_of(operation const& what, path const& recorder, std::string& text) {
  try {
    what(recorder);
    return ending::done;
  } catch (lab::error const& problem) {
    text = problem.what();
    return ending::failed;
  } catch (std::exception const& problem) {
    text = problem.what();
    return ending::broken;
  }
}

[[noreturn]] void be_the_child(operation const& what, path const& recorder, faults const& injected,
                               int pipe_end) {
  std::string text;
  report_of_child told;
  {
    points::watch const watching(all_of(injected, told.points));
    // From here on the same run writes the same bytes.
    sqlite3_randomness(0, nullptr);
    told.how = ending_of(what, recorder, text);
  }
  bool const whole = write(pipe_end, &told, sizeof told) == ssize_t{sizeof told} &&
                     write(pipe_end, text.data(), text.size()) >= 0;
  _exit(whole ? 0 : 1);
}

outcome read_outcome(int pipe_end, int status) {
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) return {ending::killed, 0, "killed"};
  report_of_child told;
  if (read(pipe_end, &told, sizeof told) != ssize_t{sizeof told}) {
    return {ending::broken, 0, "ended by itself"};
  }
  std::array<char, 512> text{};
  auto const size = read(pipe_end, text.data(), text.size());
  return {told.how, told.points, std::string(text.data(), static_cast<std::size_t>(size))};
}

std::string text_of_one(fault const& each) {
  std::string const kind = each.what == fault::kind::kill       ? "kill"
                           : each.what == fault::kind::no_space ? "full"
                           : each.error_number == EIO           ? "EIO"
                                                                : "ENOSPC";
  return kind + "@" + std::to_string(each.at) +
         (each.lasting == fault::span::from_there_on ? "+" : "");
}

void open_to_write(path const& recorder) { lab::recorder::open(recorder, lab::access::read_write); }

// What a stop left behind, and which fault stopped it.
struct state_left {
  faults injected;
  path kept;
};

// One run of a scenario.
class loop {
 public:
  explicit loop(scenario const& what) : what_(what) {
    what_.prepare(start());
    before_ = fault_support::summary_of(start());
    fault_support::copy_tree(start(), after_path());
    auto const clean = run(what_.run, after_path(), {});
    if (clean.how != ending::done) complain({}, "without a fault: " + clean.text);
    after_ = fault_support::summary_of(after_path());
    result_.points = clean.points;
  }

  tally whole() {
    fault_support::origin const origin(start());
    origin_ = &origin;
    bool hit = true;
    for (int n = 1; hit; ++n) {
      hit = false;
      for (auto const& each : support::in_turn(kinds_at(n), n)) hit = one_fault({each}, n) || hit;
    }
    for (auto const& [digest, state] : left_) {
      if (what_.with == scenario::journal::kept) recover_on_a_full_disk(digest, state);
      if (is_in_turn()) recover_with_faults(state);
      fs::remove_all(state.kept);
    }
    result_.states = static_cast<int>(left_.size());
    return result_;
  }

 private:
  path start() const { return temporary_.path() / "start"; }
  path after_path() const { return temporary_.path() / "after"; }
  path scratch() const { return temporary_.path() / "scratch"; }

  void complain(faults const& injected, std::string const& text) {
    result_.broken.push_back(what_.name + " " + text_of(injected) + ": " + text);
  }

  void fresh_copy(path const& of) const {
    fs::remove_all(scratch());
    fault_support::copy_tree(of, scratch());
  }

  // True when the run met the fault at all.
  bool one_fault(faults const& injected, int n) {
    fresh_copy(start());
    auto const ran = run(what_.run, scratch(), injected);
    int& counter = injected.size() == 1 ? result_.runs : result_.compound_runs;
    if (!count_if_hit(ran, n, counter)) return false;
    judge(injected, ran);
    // An operation that failed has cleaned up: it is stopped there as well.
    if (ran.how == ending::failed && injected.size() == 1 && is_in_turn()) {
      stop_in_clean_up(injected.front());
    }
    return true;
  }

  void stop_in_clean_up(fault const& first) {
    for (int m = first.at + 1;; ++m) {
      if (!one_fault({first, kill_at(m)}, m)) return;
      if (last_ != ending::killed) return;
    }
  }

  static fault kill_at(int n) { return {fault::kind::kill, 0, n, fault::span::once}; }

  void judge(faults const& injected, outcome const& ran) {
    last_ = ran.how;
    if (ran.how == ending::broken) complain(injected, ran.text);
    auto const digest = fault_support::digest_of(scratch());
    auto const verdict = std::to_string(static_cast<int>(ran.how));
    if (!seen_.insert(verdict + digest).second) return;
    path const kept = temporary_.path() / ("state" + std::to_string(left_.size()));
    if (left_.emplace(digest, state_left{injected, kept}).second) {
      fault_support::copy_tree(scratch(), kept);
    }
    check_and_repair(injected, ran.how);
  }

  // Of the scratch recorder.
  void check_and_repair(faults const& injected, ending how) {
    note(injected, "stopped", fault_support::problems_when_stopped(scratch(), *origin_));
    open_to_write(scratch());
    note(injected, "recovered", fault_support::problems_when_finished(scratch(), *origin_));
    auto const now = fault_support::summary_of(scratch());
    if (how == ending::done && now != after_) complain(injected, "is not done");
    if (!is_allowed(now)) complain(injected, "is done in part");
    if (now == after_) return;
    std::string text;
    if (ending_of(what_.run, scratch(), text) != ending::done) complain(injected, text);
    note(injected, "finished", fault_support::problems_when_finished(scratch(), *origin_));
    if (fault_support::summary_of(scratch()) != after_) complain(injected, "cannot be done later");
  }

  void note(faults const& injected, char const* when, std::vector<std::string> const& problems) {
    for (auto const& problem : problems) complain(injected, std::string(when) + ": " + problem);
  }

  bool is_allowed(std::vector<std::string> const& now) const {
    if (now == before_ || now == after_) return true;
    if (what_.changes == scenario::scope::whole) return false;
    for (std::size_t line = 0; line < now.size(); ++line) {
      if (now[line] != before_[line] && now[line] != after_[line]) return false;
    }
    return true;
  }

  void recover_on_a_full_disk(std::string const& digest, state_left const& state) {
    fresh_copy(state.kept);
    faults both = state.injected;
    both.push_back({fault::kind::no_space, ENOSPC, 1, fault::span::from_there_on});
    auto const ran = run(open_to_write, scratch(), {both.back()});
    if (fault_support::digest_of(scratch()) != digest) ++result_.full_runs;
    if (ran.how != ending::done) complain(both, ran.text);
    note(both, "recovered", fault_support::problems_when_finished(scratch(), *origin_));
    if (!is_allowed(fault_support::summary_of(scratch()))) complain(both, "is done in part");
  }

  void recover_with_faults(state_left const& state) {
    bool hit = true;
    for (int m = 1; hit; ++m) {
      hit = false;
      for (auto const& each : kinds_in_turn(m)) hit = fault_in_recovery(state, each) || hit;
    }
  }

  // Second faults multiply: every third place gets them, and every ninth in the short
  // variant. A point gets one kind of them, all kinds in turn.
  bool is_in_turn() { return ++turn_ % (3 * support::stride(3)) == 0; }

  faults kinds_in_turn(int m) {
    auto const all = kinds_at(m);
    return {all[static_cast<std::size_t>(++turn_) % all.size()]};
  }

  bool fault_in_recovery(state_left const& state, fault const& second) {
    fresh_copy(state.kept);
    auto const ran = run(open_to_write, scratch(), {second});
    if (!count_if_hit(ran, second.at, result_.compound_runs)) return false;
    faults both = state.injected;
    both.push_back(second);
    if (ran.how == ending::broken) complain(both, ran.text);
    if (seen_.insert("recovered" + fault_support::digest_of(scratch())).second) {
      check_and_repair(both, ending::killed);
    }
    return true;
  }

  scenario const& what_;
  support::temporary_folder temporary_{support::medium::memory};
  std::vector<std::string> before_;
  std::vector<std::string> after_;
  fault_support::origin const* origin_ = nullptr;
  tally result_;
  std::map<std::string, state_left> left_;  // by digest
  std::set<std::string> seen_;
  ending last_ = ending::done;
  int turn_ = 0;
};

}  // namespace

outcome run(operation const& what, path const& recorder, faults const& injected) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  lab::descriptor const to_read(ends[0]);
  lab::descriptor to_write(ends[1]);
  pid_t const child = fork();
  if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (child == 0) be_the_child(what, recorder, injected, to_write.number());
  close(to_write.release());
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return read_outcome(to_read.number(), status);
}

bool count_if_hit(outcome const& ran, int n, int& counter) {
  bool const hit = ran.how == ending::killed || ran.points >= n;
  if (hit) ++counter;
  return hit;
}

faults kinds_at(int n) {
  return {{fault::kind::kill, 0, n, fault::span::once},
          {fault::kind::error, EIO, n, fault::span::once},
          {fault::kind::error, EIO, n, fault::span::from_there_on},
          {fault::kind::error, ENOSPC, n, fault::span::once},
          {fault::kind::error, ENOSPC, n, fault::span::from_there_on}};
}

std::string text_of(faults const& injected) {
  std::string text;
  for (auto const& each : injected) text += (text.empty() ? "" : ",") + text_of_one(each);
  return text;
}

tally run_all(scenario const& what) { return loop(what).whole(); }

void report(std::string const& name, tally const& of) {
  testing::Test::RecordProperty("points", of.points);
  testing::Test::RecordProperty("runs", of.runs);
  testing::Test::RecordProperty("compound_runs", of.compound_runs);
  testing::Test::RecordProperty("full_runs", of.full_runs);
  testing::Test::RecordProperty("states", of.states);
  std::cout << name << ": " << of.points << " points, " << of.runs << " runs, " << of.compound_runs
            << " compound runs, " << of.full_runs << " recoveries on a full disk, " << of.states
            << " states left behind, " << of.broken.size() << " broken\n";
}

}  // namespace fault_loop
