// Recorders that stlab makes.
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>

#include "lab/stlab/stop_request.h"
#include "stlab_test.h"

namespace {

using support::holds;
using support::outcome;

class stlab_make : public stlab_program::stlab_test {
 protected:
  // Runs with a signal that has come already and is held back.
  int status_when_stopped(int signal, void (*handler)(int) = SIG_DFL) const {
    std::string const target = recorder.string();
    std::string const errors = (folder / "errors").string();
    ::pid_t const child = ::fork();
    if (child == 0) {
      ::signal(signal, handler);
      ::sigset_t stop;
      ::sigemptyset(&stop);
      ::sigaddset(&stop, signal);
      ::sigprocmask(SIG_BLOCK, &stop, nullptr);
      ::kill(::getpid(), signal);
      if (std::freopen(errors.c_str(), "w", stderr) == nullptr) ::_exit(99);
      if (std::freopen("/dev/null", "w", stdout) == nullptr) ::_exit(99);
      ::execl(STLAB_PROGRAM, STLAB_PROGRAM, "make", target.c_str(), nullptr);
      ::_exit(98);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
};

TEST_F(stlab_make, make_promises_what_it_takes) {
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

TEST_F(stlab_make, make_makes_a_sound_recorder_without_a_bar_when_nobody_watches) {
  expect_done(on_recorder("make", "--spaces 1 --volumes 1 --volume-mb 40 --channels 3 --days 1"),
              "made a recorder in " + recorder.string() +
                  ": 1 space, 1 volume of 40 MB, 3 channels, 1 day\n");
  EXPECT_EQ(1U, reader().spaces().size());
  EXPECT_EQ(40, reader().volumes().at(0).total_mb);
  EXPECT_EQ(3U, reader().channels().size());
  EXPECT_EQ(0, check().status);
}

TEST_F(stlab_make, the_bar_of_make_on_a_terminal_gets_to_its_end) {
  stlab_program::terminal terminal;
  if (!terminal.problem().empty()) GTEST_SKIP() << terminal.problem();
  outcome const made = run("make " + recorder.string() +
                           " --spaces 1 --volumes 1 --volume-mb 8 --days 0 >/dev/null 2>" +
                           terminal.name() + "; exit $?");
  std::string const bar = terminal.shown();
  EXPECT_EQ(0, made.status);
  std::string const last = "\r[" + std::string(40, '#') + "] 100 %\r\n";
  EXPECT_TRUE(support::ends_with(bar, last)) << bar;
}

TEST_F(stlab_make, is_stopped_by_each_signal_and_leaves_nothing) {
  for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EQ(4, status_when_stopped(signal)) << signal;
    EXPECT_EQ("stopping…\nstlab: stopped; nothing was made\n",
              support::content_of(folder / "errors"));
    EXPECT_FALSE(std::filesystem::exists(recorder));
  }
}

// The one who waits for the line asks for nothing meanwhile.
TEST_F(stlab_make, a_stop_is_told_at_once_and_ends_the_program_afterwards) {
  std::array<int, 2> ends{};
  ASSERT_EQ(0, ::pipe(ends.data()));
  ::pid_t const child = ::fork();
  if (child == 0) {
    ::dup2(ends[1], STDERR_FILENO);
    {
      stlab::stop_request const stop;
      ::kill(::getpid(), SIGHUP);
      std::array<char, 64> text{};
      ::pollfd waiting{ends[0], POLLIN, 0};
      if (::poll(&waiting, 1, 20'000) != 1) ::_exit(97);
      ::ssize_t const size = ::read(ends[0], text.data(), text.size());
      if (std::string(text.data(), static_cast<std::size_t>(size)) != "stopping…\n") ::_exit(98);
    }
    ::_exit(99);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  for (int const end : ends) ::close(end);
  ASSERT_TRUE(WIFSIGNALED(status)) << WEXITSTATUS(status);
  EXPECT_EQ(SIGHUP, WTERMSIG(status));
}

TEST_F(stlab_make, goes_on_at_a_signal_that_is_ignored) {
  EXPECT_EQ(0, status_when_stopped(SIGHUP, SIG_IGN));
  EXPECT_TRUE(std::filesystem::exists(recorder / "catalogue.db"));
}

TEST_F(stlab_make, make_refuses_a_folder_that_is_not_empty) {
  make();
  support::unchanged const kept(recorder);
  outcome const again = on_recorder("make");
  EXPECT_EQ(4, again.status);
  EXPECT_EQ(0U, again.errors.find("stlab: ")) << again.errors;
}

TEST_F(stlab_make, the_same_seed_and_moment_make_the_same_recorder) {
  std::string const first_show = [&] {
    EXPECT_EQ(0, on_recorder("make", "--days 1 --seed 7").status);
    return run("show " + recorder.string() + " --hours").output;
  }();
  std::filesystem::remove_all(recorder);
  EXPECT_EQ(0, on_recorder("make", "--days 1 --seed 7").status);
  EXPECT_EQ(first_show, run("show " + recorder.string() + " --hours").output);
  std::filesystem::remove_all(recorder);
  EXPECT_EQ(0, on_recorder("make", "--days 1 --seed 8").status);
  EXPECT_NE(first_show, run("show " + recorder.string() + " --hours").output);
}

}  // namespace
