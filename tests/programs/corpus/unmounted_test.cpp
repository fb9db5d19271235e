// On a volume that is not mounted nothing is recycled, recorded or repaired,
// whatever st believes of it.
#include "program_test.h"

namespace support {
namespace {

class unmounted : public program_test, public testing::WithParamInterface<char const*> {
 protected:
  unmounted() {
    hold_clock("2026-11-21 07:30:00");
    stlab("make", {"--spaces", "1", "--volumes", "2", "--volume-mb", "16", "--channels", "2"});
    stlab("leak", {"--volume", "vol1"});
    stlab("leak", {"--volume", "vol2"});
    stlab("damage", {"stopped", "--volume", "vol1", "--step", "3"});
    stlab("damage", {"unmounted", "--volume", "vol1", "--mount", GetParam()});
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
  for (std::vector<std::string> const& words : {std::vector<std::string>{"vollist", "Storage1"},
                                                {"autoclean"},
                                                {"autoclean"},
                                                {"volclean", "-1"}}) {
    st(words);
    EXPECT_EQ(of_unmounted(), before) << words.front();
  }
  EXPECT_EQ(run_here({STLAB_PROGRAM, "check", recorder, "--repair"}).status, 1);
  EXPECT_EQ(of_unmounted(), before);
  EXPECT_EQ(run_here({STLAB_PROGRAM, "expire", recorder, "--days", "0"}).errors, "");
  EXPECT_EQ(of_unmounted(), before);
}

TEST_P(unmounted, is_told_by_its_state_and_by_check) {
  EXPECT_NE(st({"vollist", "Storage1"}).find("[vol1], [NORMAL] [NOT_MOUNTED        ]"),
            std::string::npos);
  outcome const found = run_here({STLAB_PROGRAM, "check", recorder});
  EXPECT_EQ(found.status, 1);
  EXPECT_EQ(lines_of(found.output).at(0).rfind("not-mounted: volume vol1: ", 0), 0U);
}

TEST_P(unmounted, does_not_keep_the_others_from_being_recycled) {
  std::string const text = st({"autoclean"});
  EXPECT_NE(text.find("Volume [vol2] total size"), std::string::npos) << text;
  for (std::string const& line : lines_of(run_here({STLAB_PROGRAM, "check", recorder}).output)) {
    EXPECT_EQ(line.find("leak: volume vol2"), std::string::npos) << line;
  }
}

// What is missing on the one volume lies on the other, which repair cannot see.
TEST_P(unmounted, keeps_recordings_elsewhere_from_being_given_up) {
  std::string const other = (folder / "elsewhere").string();
  EXPECT_EQ(run_here({STLAB_PROGRAM, "make", other, "--spaces", "1", "--volumes", "2",
                      "--volume-mb", "16", "--channels", "2"})
                .status,
            0);
  run_here({STLAB_PROGRAM, "damage", other, "wrong-volume", "--volume", "vol1"});
  run_here(
      {STLAB_PROGRAM, "damage", other, "unmounted", "--volume", "vol2", "--mount", GetParam()});
  outcome const repaired = run_here({STLAB_PROGRAM, "check", other, "--repair", "--give-up"});
  EXPECT_EQ(repaired.status, 1);
  EXPECT_NE(repaired.output.find("left: missing: volume vol1: "), std::string::npos)
      << repaired.output;
  EXPECT_EQ(repaired.output.find("dropped"), std::string::npos) << repaired.output;
  EXPECT_EQ(repaired.output.find("given up"), std::string::npos) << repaired.output;
}

INSTANTIATE_TEST_SUITE_P(ways, unmounted, testing::Values("missing", "foreign", "absent"),
                         [](auto const& which) { return std::string(which.param); });

}  // namespace
}  // namespace support
