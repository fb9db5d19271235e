// Whole sessions, compared with those in the golden folder. ACCEPT=1 in the
// environment writes them anew; such a run fails all the same.
#include <cstdlib>

#include "program_test.h"

namespace support {
namespace {

struct session {
  char const* name;
  std::vector<words> commands;
};

void PrintTo(session const& which, std::ostream* out) { *out << which.name; }

session const sessions[] = {
    {"usage", {words(), "bogus", "spacelist x y"}},
    {"spacelist", {"spacelist", "spacelist extra"}},
    {"vollist", {"vollist Storage1", "vollist Storage2", "vollist storage1"}},
    {"volset",
     {"volset vol2 1 0", "vollist Storage1", "volset vol2 0 1", "vollist Storage1",
      "volset nosuch 1 0"}},
    {"volchn", {"volchn vol1", "volchn vol2", "volchn nosuch"}},
    {"voluse", {"voluse 0", "voluse -1", "voluse 32"}},
    {"volclean", {"volclean 2", "volclean -1", "volclean 99"}},
    {"autoclean", {"autoclean", "autoclean", "vollist Storage1"}},
    {"nullid", {"nullid 1", "nullid 0", "nullid -1"}},
    {"recoverid", {"recoverid 1", "nullid 1"}},
    {"spaceinfo", {"spaceinfo Storage1", "spaceinfo Storage2", "spaceinfo nosuch"}},
};

class transcript : public program_test, public testing::WithParamInterface<session> {};

TEST_P(transcript, is_the_golden_one) {
  hold_clock("2026-11-21 07:30:00");
  stlab("make --volume-mb 48 --channels 5");
  stlab("leak --volume vol2");
  stlab("lose-id --channel 1");

  std::string text;
  for (words const& command : GetParam().commands) {
    text += "$ " + text_of(words{"st"} + command) + "\n" + st(command);
  }

  std::filesystem::path const golden =
      std::filesystem::path(GOLDEN_FOLDER) / (std::string(GetParam().name) + ".txt");
  if (std::getenv("ACCEPT") != nullptr) {
    write_file(golden, text);
    FAIL() << "accepted as " << golden << "; look at it and run again without ACCEPT";
  }
  EXPECT_EQ(text, content_of(golden));
}

INSTANTIATE_TEST_SUITE_P(session, transcript, testing::ValuesIn(sessions),
                         [](auto const& which) { return std::string(which.param.name); });

}  // namespace
}  // namespace support
