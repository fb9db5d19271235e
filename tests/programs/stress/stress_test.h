// A recorder on which several programs work at once, and what must hold of it
// when they are done.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "lab/recorder/recorder.h"
#include "program_test.h"

namespace stress {

using support::environment;
using support::outcome;
using support::words;

// 20, or 100 with ST_LONG_CHECKS=1 in the environment.
int rounds();

inline constexpr char clean_report[] =
    "Volume space leak detected count: 0\n"
    "recycle check process done.\n";

// Which moves a check may find stopped.
enum class moves { done, recycling, both_ways };
enum class beside { nobody, writers };

// A command of st, and what it ends its output with when it got through.
struct job {
  words command;
  std::string ending;
};

// Cleaning, setting and listing in all their ways.
std::vector<job> const& jobs();

// Moments at which to kill programs: random ones, that follow how fast the
// machine is now, so that some nine of ten programs are killed.
class kill_moments {
 public:
  explicit kill_moments(double seconds_of_a_run);

  // In seconds after the start.
  double next();

  // Whether the program was killed at that moment, or had ended before.
  void note(bool killed);

  double seconds_of_a_run() const { return length_; }

 private:
  std::mt19937_64 random_{20261121};
  double length_;
};

// Goes in front of the command line of a program that is to be killed.
words killed_after(double seconds);

// True when the signal came in time; anything but that or a good end fails the
// test.
bool was_killed(outcome const& result);

// Two spaces with one volume of 64 units each and four channels, two on each
// volume. Channels 0 and 1 leak, in stream 1; they also record in stream 0.
// Channels 2 and 3 have recordings in stream 2 that nobody may touch.
class stress_test : public support::program_test {
 protected:
  stress_test();

  // At the fixture's moment, unless the command names another. Must end with
  // status 0; gives the output.
  std::string stlab(words const& command) const;

  // `wrapper` goes in front of the command line.
  outcome run_stlab(words const& command, words const& wrapper = {}) const;
  outcome run_st(words const& command, environment extra = {}, words const& wrapper = {}) const;

  // Must end with status 0 and print no failure; gives the output. Beside
  // writers, du may miss a unit that has just been moved.
  std::string st(words const& command, beside others = beside::nobody) const;

  // st beside writers, which must get through.
  void perform(job const& which) const;

  // Makes a stream of channel 0 (on vol1) or 1 (on vol2) leak six units.
  void leak(int channel, int stream = 1) const;
  static constexpr int leaked_units = 6;

  // Takes the latest empty hour of stream 0 of channels 0 and 1, and drops what
  // is older than half a day.
  void record() const;
  void expire() const;
  // The command that keeps so many hours.
  words expiry(int hours) const;

  lab::recorder reader() const;
  std::vector<lab::volume_account> accounts() const;
  std::int64_t lost() const { return sum_of(&lab::volume_account::lost); }
  std::int64_t moving() const { return sum_of(&lab::volume_account::moving); }

  // Catalogue intact, sums exact, the guarded units as they were, and nothing
  // else to be found by a check than leaks of the leaking streams and, unless
  // all moves are done, units in transit.
  void expect_sound(moves state) const;

  // And nothing at all to be found, neither by a check nor, twice, by autoclean.
  void expect_clean() const;

 private:
  std::int64_t sum_of(std::int64_t lab::volume_account::*part) const;
  void expect_intact_catalogue() const;
  void expect_exact_sums() const;
  void guard_units();

  std::string now_;
  std::map<std::filesystem::path, std::string> guarded_;
};

// Whether the output holds a line that tells of a failure.
bool tells_of_failure(std::string const& output);

}  // namespace stress
