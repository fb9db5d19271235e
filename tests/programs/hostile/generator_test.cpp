// Recorders that lie, by the seed. ST_HOSTILE_SEEDS="FIRST-LAST" in the
// environment names other seeds than those of every run; each finding says its
// seed, its edits and the command, and its folder is kept.
#include <gtest/gtest.h>

#include <charconv>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string_view>

#include "edits.h"
#include "long_checks.h"
#include "lying_recorder.h"

namespace {

using support::words;

struct seeds {
  std::uint64_t first;
  std::uint64_t last;
};

// Every word of st, every command of stlab, and every kind of damage: each on
// a recorder of its own. A short run takes one of the three for each seed.
constexpr std::size_t job_lists = 3;

// A run of one of the two programs.
enum class program { st, stlab };

struct job {
  program of;
  words command;
};

// The commands, and `beginning` in front of each.
std::vector<job> jobs_of(program of, std::vector<words> const& commands,
                         words const& beginning = {}) {
  std::vector<job> jobs;
  jobs.reserve(commands.size());
  for (words const& each : commands) jobs.push_back({of, beginning + each});
  return jobs;
}

std::vector<job> st_jobs() {
  return jobs_of(program::st,
                 {"spacelist", "vollist Storage1", "vollist Storage2", "volset vol1 1 0",
                  "volset vol1 0 1", "volset vol2 0 0", "volchn vol1", "voluse -1", "voluse 0",
                  "volclean -1", "volclean 0", "autoclean", "nullid -1", "nullid 0", "recoverid -1",
                  "recoverid 0", "spaceinfo Storage1", "spaceinfo Storage2"});
}

std::vector<job> stlab_jobs() {
  return jobs_of(
      program::stlab,
      {"show", "show --hours", "check", "check --repair", "record --channel 0 --hours 2",
       "record --channel 0 --stream 2 --units 3", "record --channel 1", "expire --days 0", "expire",
       "leak --volume vol1", "leak --volume vol2 --hours 1", "lose-id --channel 0 --hours 1",
       "assign --channel 0 --volume vol2", "mount --volume vol1", "mount --volume vol2", "make",
       "make --spaces 1 --volumes 1 --volume-mb 1 --days 0"});
}

std::vector<job> damage_jobs() {
  auto jobs =
      jobs_of(program::stlab,
              {"leak", "lost-unit", "lost-unit --unit free", "unknown-file", "duplicate-unit",
               "duplicate-unit --unit free", "short-unit", "null-ids", "wrong-volume", "stopped",
               "stopped --move recording", "unmounted --volume vol1 --mount absent",
               "unmounted --volume vol2 --mount foreign"},
              "damage");
  // What was damaged is looked at and repaired.
  jobs.push_back({program::stlab, "check --repair"});
  jobs.push_back({program::st, "autoclean"});
  return jobs;
}

std::string name_of(job const& which) {
  return (which.of == program::st ? "st " : "stlab ") + text_of(which.command);
}

std::string perform(hostile::lying_recorder const& in, job const& which) {
  if (which.of == program::st) return hostile::problem_of_st(in.st(which.command));
  return hostile::problem_of_stlab(in.stlab(which.command));
}

struct finding {
  std::vector<std::string> edits;
  std::string command;
  std::string what;
};

void report(std::uint64_t seed, finding const& found) {
  std::string text = "seed " + std::to_string(seed) + '\n';
  for (std::string const& edit : found.edits) text += "  " + edit + '\n';
  ADD_FAILURE() << text << "  then " << found.command << '\n' << found.what;
}

// Runs the jobs, in an order of the seed's, on one hostile recorder, up to the
// first that does harm, which is reported.
void try_jobs(hostile::recorder_template const& from, std::uint64_t seed, std::vector<job> jobs,
              std::size_t& runs) {
  hostile::lying_recorder place(from);
  hostile::chooser choose(seed);
  std::vector<std::string> const edits = hostile::make_hostile(place, choose);
  choose.shuffle(jobs);
  place.remember();
  for (job const& each : jobs) {
    std::string what = perform(place, each);
    ++runs;
    bool const is_last = &each == &jobs.back();
    what += place.harm(is_last ? hostile::depth::with_content : hostile::depth::names_only);
    if (what.empty()) continue;
    report(seed, {edits, name_of(each), what});
    return;
  }
}

std::optional<seeds> asked_seeds() {
  char const* const set = std::getenv("ST_HOSTILE_SEEDS");
  std::string_view const text = set == nullptr ? "" : set;
  if (text.empty()) return std::nullopt;
  seeds asked{};
  char const* const end = text.data() + text.size();
  auto const first = std::from_chars(text.data(), end, asked.first);
  bool good = first.ec == std::errc() && first.ptr != end && *first.ptr == '-';
  if (good) {
    auto const last = std::from_chars(first.ptr + 1, end, asked.last);
    good = last.ec == std::errc() && last.ptr == end && asked.first <= asked.last;
  }
  if (!good) throw std::runtime_error("ST_HOSTILE_SEEDS is not FIRST-LAST: " + std::string(text));
  return asked;
}

// A fifth of the seeds each, so that they can run beside each other.
class hostile_recorders : public testing::TestWithParam<int> {};

constexpr int shares = 5;

TEST_P(hostile_recorders, do_no_harm) {
  hostile::recorder_template const base;
  std::vector<job> const lists[job_lists] = {st_jobs(), stlab_jobs(), damage_jobs()};
  auto const asked = asked_seeds();
  bool const is_long = asked || support::are_long_checks_wanted();
  seeds const all = asked.value_or(seeds{1, is_long ? 400U : 25U});
  std::size_t recorders = 0;
  std::size_t runs = 0;
  for (std::uint64_t seed = all.first; seed <= all.last; ++seed) {
    if (seed % shares != static_cast<std::uint64_t>(GetParam())) continue;
    for (std::size_t list = 0; list < job_lists; ++list) {
      if (!is_long && seed % job_lists != list) continue;
      ++recorders;
      try_jobs(base, seed, lists[list], runs);
    }
  }
  std::cout << recorders << " hostile recorders, " << runs << " runs\n";
}

INSTANTIATE_TEST_SUITE_P(by_seed, hostile_recorders, testing::Range(0, shares));

}  // namespace
