// Whole sessions, compared with those in the golden folder.
#include "golden.h"
#include "program_test.h"

namespace support {
namespace {

struct transcript_case {
  std::string name;
  std::vector<words> commands;
};

void PrintTo(transcript_case const& which, std::ostream* out) { *out << which.name; }

transcript_case const sessions[] = {
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

class transcript : public program_test, public testing::WithParamInterface<transcript_case> {};

TEST_P(transcript, is_the_golden_one) {
  hold_clock("2026-11-21 07:30:00");
  stlab("make --volume-mb 48 --channels 5");
  stlab("leak --volume vol2");
  stlab("lose-id --channel 1");

  session told;
  for (words const& command : GetParam().commands) {
    told.tell(text_of(words{"st"} + command), st(command));
  }
  expect_golden(GOLDEN_FOLDER + ("/" + GetParam().name) + ".txt", told.text());
}

INSTANTIATE_TEST_SUITE_P(session, transcript, testing::ValuesIn(sessions),
                         [](auto const& which) { return which.param.name; });

}  // namespace
}  // namespace support
