// Recorders of years that 32 bits of seconds do not reach: they end in January 2038.
#include <ctime>

#include "program_test.h"

namespace support {
namespace {

class late_clock : public program_test {
 protected:
  // The moments in the names of the hour folders, in their order.
  std::vector<std::string> hours() const {
    std::vector<std::string> found;
    for (std::string const& name : names_in(storage_folder("vol1"))) {
      if (begins_with(name, "ch")) found.push_back(name.substr(name.rfind('_') + 1));
    }
    return found;
  }

  void expect_nullid(std::string const& period) const {
    stlab("make --spaces 1 --volumes 1 --channels 1 --days 0");
    stlab("lose-id --hours 2");
    std::string const listed = st("nullid 0");
    EXPECT_TRUE(holds(listed, period)) << listed;
    EXPECT_TRUE(holds(listed, "Total have [2] time period data has null storage id.")) << listed;
    EXPECT_TRUE(holds(st("volclean 0"), "Success."));
  }
};

TEST_F(late_clock, recorders_of_any_year_lie_in_their_own_hours) {
  stlab({"make", "--spaces", "1", "--volumes", "1", "--days", "1", "--now", "2100-03-01 12:00Z"});
  EXPECT_GE(hours().size(), 5U);
  for (std::string const& hour : hours()) {
    EXPECT_GE(hour, "2100022812");
    EXPECT_LE(hour, "2100030111");
  }
  stlab("check");
  std::string const shown = stlab("show", "--hours");
  EXPECT_TRUE(holds(shown, "_21000301")) << shown;
  EXPECT_TRUE(holds(st("spacelist"), "Space count: 1\n"));
}

TEST_F(late_clock, of_2037_is_read) {
  hold_clock("2037-12-31 07:30:00");
  expect_nullid("\t[NR S01] [2037-12-30 23:00:00]-[2037-12-31 00:00:00]\n");
}

TEST_F(late_clock, of_2039_is_read) {
  if (sizeof(std::time_t) == 4) GTEST_SKIP() << "a time_t of 32 bits ends in 2038";
  hold_clock("2039-12-31 07:30:00");
  expect_nullid("\t[NR S01] [2039-12-30 23:00:00]-[2039-12-31 00:00:00]\n");
}

}  // namespace
}  // namespace support
