// Tests as the rows of a table.
//
//   std::vector<run_case> const cases = {{"no_spaces", {}, vollist(), "no space\n", calls}, …};
//   INSTANTIATE_TEST_SUITE_P(vollist, table_run, testing::ValuesIn(cases), support::behaviour_of);
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "call_lines.h"
#include "runs.h"
#include "scripted.h"

namespace support {

// A run that prints and calls exactly this, in a test that is named by its behaviour.
struct run_case {
  std::string behaviour;
  scripted::script script;
  std::function<void()> body;
  std::string output;
  lines calls;
};
void PrintTo(run_case const& row, std::ostream* out);

class table_run : public testing::TestWithParam<run_case> {};

std::string behaviour_of(testing::TestParamInfo<run_case> const& row);

}  // namespace support
