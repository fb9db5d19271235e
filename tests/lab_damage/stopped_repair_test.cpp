// Repair that is killed at its first step, at its second one and so on: no
// content is lost, and the next repair finishes the work.
#include <cstdlib>
#include <iostream>
#include <set>

#include "lab/recorder.h"
#include "lab/recorder_damage.h"
#include "program.h"
#include "world.h"

namespace end_to_end {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t now_ms = 1'795'246'200'000;  // 2026-11-21 07:30:00 UTC
constexpr int killed = 128 + 9;

std::string without_zeros_at_end(std::string text) {
  text.erase(text.find_last_not_of('\0') + 1);
  return text;
}

class stopped_repair : public world::recorder_test {
 protected:
  fs::path const recorder = root();

  void make_damaged() const {
    fs::remove_all(recorder);
    lab::make_options options;
    options.spaces = 1;
    options.volumes = 2;
    options.volume_mb = 12;
    options.channels = 2;
    options.days = 3;
    options.now_ms = now_ms;
    lab::recorder::make(recorder, options, {});
    damage({"leak", 1, "vol1", {}, {}, {}, {}, {}});
    damage({"wrong-volume", 1, "vol1", {}, {}, {}, {}, {}});
    damage({"short-unit", 1, "vol2", {}, {}, {}, {}, {}});
    damage({"duplicate-unit", 2, "vol2", {}, {}, {}, {}, {}});
    damage({"unknown-file", 2, "vol2", {}, {}, {}, {}, {}});
    damage({"lost-unit", 2, "vol1", "free", {}, {}, {}, {}});
    damage({"null-ids", 1, "vol2", {}, 1, {}, {}, {}});
    damage({"stopped", 1, "vol2", {}, 1, {}, {}, 2});
  }

  void damage(lab::damage_options const& options) const { lab::damage(recorder, options); }

  // What all files hold, but for the zeros at their ends.
  std::set<std::string> contents() const {
    std::set<std::string> found;
    for (auto const& entry : fs::recursive_directory_iterator(recorder / "share")) {
      if (entry.is_regular_file()) found.insert(without_zeros_at_end(content_of(entry.path())));
    }
    return found;
  }

  outcome repair(environment const& extra = {}) const {
    return run({STLAB_FAULTS_PROGRAM, "check", recorder, "--repair"}, extra, "/");
  }
};

TEST_F(stopped_repair, is_finished_by_the_next_one) {
  make_damaged();
  std::set<std::string> const before = contents();
  int points = 0;
  for (int n = 1;; ++n) {
    SCOPED_TRACE("killed at point " + std::to_string(n));
    make_damaged();
    outcome const stopped = repair({{"STLAB_FAULT", "kill@" + std::to_string(n)}});
    if (stopped.status == 0) break;
    ASSERT_EQ(stopped.status, killed) << stopped.output << stopped.errors;
    points = n;
    std::set<std::string> after = contents();
    for (std::string const& each : before) EXPECT_EQ(after.count(each), 1U);
    outcome const finished = repair();
    EXPECT_EQ(finished.status, 0) << finished.output << finished.errors;
    after = contents();
    for (std::string const& each : before) EXPECT_EQ(after.count(each), 1U);
    if (HasFailure()) return;
  }
  RecordProperty("points", points);
  std::cout << "repair was killed at each of " << points << " points\n";
  EXPECT_GT(points, 50);
}

}  // namespace
}  // namespace end_to_end
