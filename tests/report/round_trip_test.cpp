// A report, a recorder made of it, and a report of that one: the same but for the scale.
#include <gtest/gtest.h>

#include "program_test.h"
#include "report/json.h"

namespace report {
namespace {

class round_trip : public support::program_test {
 protected:
  // What st-report tells of a recorder, without what belongs to the run and to the place.
  std::string report_of(std::filesystem::path const& of) const {
    auto const made =
        support::run({ST_REPORT_PROGRAM, "--json"}, {{"STLAB_RECORDER", of.string()}}, folder);
    EXPECT_LE(made.status, 1) << made.errors;
    auto told = value_of_json(made.output);
    told.made_ms = 0;
    for (auto& each : told.volumes) {
      each.path = std::filesystem::path(each.path).filename().string();
    }
    return json_of(told);
  }

  void expect_the_same_again() const {
    auto const made = support::run({ST_REPORT_PROGRAM, "--json"},
                                   {{"STLAB_RECORDER", recorder.string()}}, folder);
    support::write_file(folder / "report.json", made.output);
    auto const imported =
        support::run({STLAB_PROGRAM, "import", "report.json", "again"}, {}, folder);
    EXPECT_EQ(imported.status, 0) << imported.errors;
    EXPECT_FALSE(support::holds(imported.output, "otherwise")) << imported.output;
    EXPECT_EQ(report_of(folder / "again"), report_of(recorder));
  }
};

TEST_F(round_trip, of_a_sound_recorder) {
  stlab("make", "--spaces 2 --volumes 2");
  expect_the_same_again();
}

TEST_F(round_trip, of_one_with_a_leak_and_null_ids) {
  stlab("make");
  stlab("leak", "--volume vol2");
  stlab("lose-id", "--channel 1");
  expect_the_same_again();
}

TEST_F(round_trip, of_one_with_a_volume_that_is_not_mounted) {
  stlab("make");
  stlab("damage", "unmounted --volume vol3 --mount absent");
  expect_the_same_again();
}

}  // namespace
}  // namespace report
