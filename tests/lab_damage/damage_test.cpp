#include "damaged_recorder.h"
#include "lab/volume_lock.h"

namespace {

namespace fs = std::filesystem;
using world::strings;

class damage : public world::damaged_recorder {
 protected:
  std::string refusal(lab::damage_options const& options) const {
    auto const before = world::tree_of(root());
    auto const text = world::failure_of([&] { damaged_recorder::damage(options); });
    EXPECT_EQ(strings(), world::differences(before, world::tree_of(root())));
    return text;
  }

  static lab::damage_options of(std::string const& kind) {
    lab::damage_options options;
    options.kind = kind;
    options.volume = "vol1";
    return options;
  }
};

struct expectation {
  char const* kind;
  strings classes;
};

class damage_of_kind : public damage, public testing::WithParamInterface<expectation> {};

TEST_P(damage_of_kind, is_found_by_its_class) {
  damaged_recorder::damage(GetParam().kind);
  EXPECT_EQ(GetParam().classes, classes());
}

TEST_P(damage_of_kind, says_what_it_did_and_does_the_same_again) {
  auto const told = damaged_recorder::damage(GetParam().kind, 5);
  EXPECT_EQ(0U, told.rfind(std::string(GetParam().kind) + ": ", 0)) << told;
  auto const first = world::tree_of(root() / "share");
  auto const found = findings();
  fs::remove_all(root());
  auto options = world::small();
  options.volume_mb = 16;
  options.days = 4;
  make(options);
  EXPECT_EQ(told, damaged_recorder::damage(GetParam().kind, 5));
  EXPECT_EQ(strings(), world::differences(first, world::tree_of(root() / "share")));
  EXPECT_EQ(found, findings());
}

TEST_P(damage_of_kind, waits_for_the_volumes_writer) {
  auto const volume = open().volumes()[0];
  lab::volume_lock const other({1, "vol1", volume.sid_text, volume.path},
                               lab::volume_lock::kind::shared, std::chrono::milliseconds(0));
  auto const before = world::tree_of(root());
  auto options = of(GetParam().kind);
  options.patience = std::chrono::milliseconds(0);
  EXPECT_THROW(damaged_recorder::damage(options), lab::busy_error);
  EXPECT_EQ(strings(), world::differences(before, world::tree_of(root())));
}

INSTANTIATE_TEST_SUITE_P(
    kinds, damage_of_kind,
    testing::Values(expectation{"leak", {"leak"}}, expectation{"lost-unit", {"missing"}},
                    expectation{"unknown-file", {"unknown"}},
                    expectation{"duplicate-unit", {"duplicate", "misplaced", "sums"}},
                    expectation{"short-unit", {"short"}}, expectation{"null-ids", {"null-id"}},
                    expectation{"wrong-volume",
                                {"duplicate", "misplaced", "missing", "wrong-volume"}},
                    expectation{"unmounted", {"not-mounted"}}, expectation{"stopped", {"moving"}}),
    [](auto const& which) {
      std::string name = which.param.kind;
      for (auto& each : name) each = each == '-' ? '_' : each;
      return name;
    });

TEST_F(damage, is_refused_when_there_is_nothing_to_damage) {
  auto options = of("leak");
  options.count = 999;
  EXPECT_EQ("no stream has 999 units on volume vol1 before its latest period", refusal(options));
  options = of("null-ids");
  options.count = 999;
  EXPECT_EQ(0U, refusal(options).rfind("volume vol1 has only ", 0));
  options = of("stopped");
  options.count = 999;
  EXPECT_EQ(0U, refusal(options).rfind("there are only ", 0));
  options.move = "recording";
  EXPECT_EQ(0U, refusal(options).rfind("there are only ", 0));
}

TEST_F(damage, is_refused_of_a_volume_that_is_unknown_or_not_mounted) {
  auto options = of("leak");
  options.volume = "vol9";
  EXPECT_EQ("there is no volume vol9", refusal(options));
  fs::remove(root() / "share" / "vol1" / "identity");
  EXPECT_EQ(0U, refusal(of("lost-unit")).rfind("volume vol1 is not mounted", 0));
}

TEST_F(damage, is_refused_with_an_option_of_another_kind) {
  auto options = of("leak");
  options.step = 1;
  EXPECT_EQ("the kind leak has no option --step", refusal(options));
  EXPECT_EQ("there is no kind of damage other", refusal(of("other")));
}

TEST_F(damage, a_stop_is_at_exactly_its_step) {
  auto const free_units = names(preallocate(first_volume)).size();
  auto options = of("stopped");
  options.step = 2;
  damaged_recorder::damage(options);
  EXPECT_EQ(free_units + 1, names(preallocate(first_volume)).size());
}

// Every state that a stop can leave is finished by the next writer, and counted
// as used until then.
TEST_F(damage, a_stop_can_be_laid_out_at_every_step) {
  for (auto const* const move : {"recycling", "recording"}) {
    for (int step = 1;; ++step) {
      SCOPED_TRACE(std::string(move) + " " + std::to_string(step));
      fs::remove_all(root());
      auto made = world::small();
      made.volume_mb = 16;
      made.days = 4;
      make(made);
      auto const before = open().account(first_volume);
      auto options = of("stopped");
      options.move = move;
      options.step = step;
      auto const failure = world::failure_of([&] { damaged_recorder::damage(options); });
      if (!failure.empty()) {
        EXPECT_GE(step, 7) << failure;
        EXPECT_NE(std::string::npos, failure.find(" has only ")) << failure;
        break;
      }
      auto const moving = open(lab::access::read_only).account(first_volume).moving;
      EXPECT_LE(2, moving);
      EXPECT_EQ(strings{"moving"}, classes());
      auto const after = open().account(first_volume);
      EXPECT_EQ(strings(), classes());
      EXPECT_EQ(before.total, after.preallocated + after.held);
      EXPECT_EQ(before.held - (move[3] == 'y' ? moving : 0), after.held);
    }
  }
}

}  // namespace
