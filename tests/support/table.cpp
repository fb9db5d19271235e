#include "table.h"

#include <ostream>

namespace support {

void PrintTo(run_case const& row, std::ostream* out) { *out << row.behaviour; }

std::string behaviour_of(testing::TestParamInfo<run_case> const& row) {
  return row.param.behaviour;
}

TEST_P(table_run, prints_and_calls) {
  run_case const& row = GetParam();
  expect_run(row.script, row.body, row.output, row.calls);
}

}  // namespace support
