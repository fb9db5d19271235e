// What st adds up for a space is what stlab counts there.
#include <sstream>

#include "program_test.h"

namespace support {
namespace {

class spaceinfo : public program_test {
 protected:
  // The number after the last `label` in a text.
  static long long number_after(std::string const& text, std::string const& label) {
    std::size_t const at = text.rfind(label);
    if (at == std::string::npos) return -1;
    return std::stoll(text.substr(at + label.size()));
  }
};

TEST_F(spaceinfo, a_channel_that_changed_its_volume_counts_once) {
  hold_clock("2026-11-21 07:30:00");
  stlab("make --spaces 1 --volumes 2 --volume-mb 16 --channels 2 --days 0");
  stlab("record --units 2");
  stlab("assign --channel 0 --volume vol2");
  stlab("record --channel 0 --units 3");
  long long const counted = number_after(stlab("show", "--volume vol1"), " free, ") +
                            number_after(stlab("show", "--volume vol2"), " free, ");
  std::string const report = st("spaceinfo Storage1");
  EXPECT_EQ(counted, 7);
  EXPECT_EQ(number_after(report, "Total recording size: "), counted) << report;
  std::size_t channels = 0;
  for (std::string const& line : lines_of(report)) channels += line.rfind("channel: ", 0) == 0;
  EXPECT_EQ(channels, 2U) << report;
}

}  // namespace
}  // namespace support
