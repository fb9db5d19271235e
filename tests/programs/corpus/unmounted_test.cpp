// On a volume that is not mounted nothing is recycled, recorded or repaired,
// whatever st believes of it.
#include "program_test.h"

namespace support {
namespace {

class unmounted : public program_test, public testing::WithParamInterface<char const*> {
 protected:
  static constexpr char make[] = "make --spaces 1 --volumes 2 --volume-mb 16 --channels 2";

  unmounted() {
    hold_clock("2026-11-21 07:30:00");
    stlab(make);
    stlab("leak --volume vol1");
    stlab("leak --volume vol2");
    stlab("damage stopped --volume vol1 --step 3");
    stlab("damage unmounted --volume vol1 --mount", GetParam());
  }

  // Everything of the first volume, wherever its folder is.
  picture of_unmounted() const {
    picture found;
    for (auto const& [name, digest] : picture_now()) {
      if (name.find("/vol1") != std::string::npos) found.emplace(name, digest);
    }
    EXPECT_GT(found.size(), 16U);
    return found;
  }
};

TEST_P(unmounted, keeps_every_byte_and_name) {
  picture const before = of_unmounted();
  for (words const command : {"vollist Storage1", "autoclean", "autoclean", "volclean -1"}) {
    st(command);
    EXPECT_EQ(of_unmounted(), before) << command.front();
  }
  EXPECT_EQ(run_stlab("check --repair").status, 1);
  EXPECT_EQ(of_unmounted(), before);
  EXPECT_EQ(run_stlab("expire --days 0").errors, "");
  EXPECT_EQ(of_unmounted(), before);
}

TEST_P(unmounted, is_told_by_its_state_and_by_check) {
  EXPECT_TRUE(holds(st("vollist Storage1"), "[vol1], [NORMAL] [NOT_MOUNTED        ]"));
  outcome const found = run_stlab("check");
  EXPECT_EQ(found.status, 1);
  EXPECT_TRUE(begins_with(found.output, "not-mounted: volume vol1: ")) << found.output;
}

TEST_P(unmounted, does_not_keep_the_others_from_being_recycled) {
  std::string const text = st("autoclean");
  EXPECT_TRUE(holds(text, "Volume [vol2] total size")) << text;
  std::string const found = run_stlab("check").output;
  EXPECT_FALSE(holds(found, "leak: volume vol2")) << found;
}

// What is missing on the one volume lies on the other, which repair cannot see.
TEST_P(unmounted, keeps_recordings_elsewhere_from_being_given_up) {
  std::filesystem::remove_all(recorder);
  stlab(make);
  stlab("damage wrong-volume --volume vol1");
  stlab("damage unmounted --volume vol2 --mount", GetParam());
  outcome const repaired = run_stlab("check --repair --give-up");
  EXPECT_EQ(repaired.status, 1);
  EXPECT_TRUE(holds(repaired.output, "left: missing: volume vol1: ")) << repaired.output;
  EXPECT_FALSE(holds(repaired.output, "dropped")) << repaired.output;
  EXPECT_FALSE(holds(repaired.output, "given up")) << repaired.output;
}

INSTANTIATE_TEST_SUITE_P(ways, unmounted, testing::Values("missing", "foreign", "absent"),
                         [](auto const& which) { return std::string(which.param); });

}  // namespace
}  // namespace support
