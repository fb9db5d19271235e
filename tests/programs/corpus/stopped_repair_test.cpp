// Repair that is killed or fails at its first step, at its second one and so on:
// no content is lost, and the next repair finishes the work. With ST_LONG_CHECKS=1
// every step is killed and fails in every way, else every third, and in one way.
#include <iostream>
#include <set>

#include "engine_test.h"
#include "lab/damage/damage.h"
#include "lab/make/make.h"
#include "lab/recorder/recorder.h"
#include "long_checks.h"
#include "program.h"

namespace support {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t now_ms = 1'795'246'200'000;  // 2026-11-21 07:30:00 UTC
constexpr int unusable = 3;
constexpr int killed = 128 + 9;

class stopped_repair : public support::engine_test {
 protected:
  fs::path const recorder = root();

  stopped_repair() {
    make_damaged();
    fs::rename(recorder, kept());
  }

  fs::path kept() const { return recorder.parent_path() / "kept"; }

  // Copying is faster than making.
  void lay_damaged() const {
    fs::remove_all(recorder);
    copy_tree(kept(), recorder);
    if (in_place) repair();
  }

  void make_damaged() const {
    make([](auto& options) {
      options.volumes = 2;
      options.volume_mb = 12;
      options.channels = 2;
      options.days = 3;
      options.now_ms = now_ms;
    });
    damage("leak", 1, "vol1");
    damage("wrong-volume", 1, "vol1");
    damage("short-unit", 1, "vol2");
    damage("duplicate-unit", 2, "vol2");
    damage("unknown-file", 2, "vol2");
    auto one = damage_of("lost-unit", 2, "vol1");
    one.unit = "free";
    lab::damage(recorder, one);
    damage("lost-unit", 3, "vol2");
    one = damage_of("null-ids", 1, "vol2");
    one.count = 1;
    lab::damage(recorder, one);
    one = damage_of("stopped", 1, "vol2");
    one.count = 1;
    one.step = 2;
    lab::damage(recorder, one);
  }

  static lab::damage_options damage_of(char const* kind, std::uint64_t seed, char const* volume) {
    lab::damage_options options;
    options.kind = kind;
    options.seed = seed;
    options.volume = volume;
    return options;
  }

  void damage(char const* kind, std::uint64_t seed, char const* volume) const {
    lab::damage(recorder, damage_of(kind, seed, volume));
  }

  // What all files hold, but for the zeros at their ends.
  std::set<std::string> contents() const { return written_in(contents_of(recorder / "share")); }

  outcome repair(environment const& extra = {}) const {
    return run({STLAB_FAULTS_PROGRAM, "check", recorder, "--repair", "--give-up"}, extra, "/");
  }

  // Of the ways to fail at the n-th point, those whose turn it is.
  static std::vector<std::string> kinds_at(int n) {
    return support::in_turn<std::string>({"EIO", "ENOSPC+", "full+", "EIO+", "ENOSPC", "full"},
                                         n / support::stride(3));
  }

  // Of a damaged recorder. A "+" behind the kind means every point from there on.
  outcome repair_with(std::string kind, int n) const {
    bool const lasts = kind.back() == '+';
    if (lasts) kind.pop_back();
    lay_damaged();
    return repair({{"STLAB_FAULT", kind + "@" + std::to_string(n) + (lasts ? "+" : "")}});
  }

  // What the stopped repair had lost the next one could not bring back. A run that
  // sets something aside gives nothing up.
  void expect_finished(std::set<std::string> const& before) const {
    repair();
    outcome const finished = repair();
    EXPECT_EQ(finished.status, 0) << finished.output << finished.errors;
    std::set<std::string> const after = contents();
    for (std::string const& each : before) EXPECT_EQ(after.count(each), 1U) << each.substr(0, 60);
  }

  // Stops a repair at each of its points, and has it finished.
  void stop_everywhere();

  bool in_place = false;  // whether a repair went before, so that there is only to give up
  int points = 0;
  int told = 0;  // failures that tell what had been repaired
};

// Whether a repair that failed midway tells what it had repaired before.
bool tells_both(std::string const& output) {
  auto const left = output.find("failed: all that was not reached: ");
  return left != std::string::npos && output.find("repaired: ") < left;
}

void stopped_repair::stop_everywhere() {
  lay_damaged();
  std::set<std::string> const before = contents();
  int failures = 0;
  for (int n = 1;; n += support::stride(3)) {
    outcome const killing = repair_with("kill", n);
    if (killing.status != killed) {
      EXPECT_LE(killing.status, 1) << killing.output << killing.errors;
      break;
    }
    points = n;
    expect_finished(before);
    for (std::string const& kind : kinds_at(n)) {
      SCOPED_TRACE(kind + " at point " + std::to_string(n));
      outcome const failing = repair_with(kind, n);
      EXPECT_LE(failing.status, unusable) << failing.output << failing.errors;
      ++failures;
      told += tells_both(failing.output) ? 1 : 0;
      expect_finished(before);
    }
    if (HasFailure()) break;
  }
  RecordProperty("points", points);
  RecordProperty("failures", failures);
  std::cout << "repair was killed at points up to " << points << " and failed " << failures
            << " times, " << told << " of them telling what had been repaired\n";
}

TEST_F(stopped_repair, is_finished_by_the_next_one) {
  stop_everywhere();
  EXPECT_GT(points, 50);
  EXPECT_GT(told, 0);
}

TEST_F(stopped_repair, that_gives_up_is_finished_by_the_next_one) {
  in_place = true;
  stop_everywhere();
  EXPECT_GT(points, 5);
}

}  // namespace
}  // namespace support
