#include "runs.h"

namespace support {

child_outcome run(scripted::script const& script, std::function<void()> const& body) {
  child_outcome result = in_child(script, body);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.escaped, std::nullopt);
  return result;
}

void expect_run(scripted::script const& script, std::function<void()> const& body,
                std::string const& output, lines const& calls) {
  child_outcome const result = run(script, body);
  EXPECT_EQ(result.output, output);
  EXPECT_EQ(result.calls, calls);
}

void expect_results_are_not_looked_at(answers const& script, std::function<void()> const& body,
                                      std::vector<std::string> const& operations) {
  child_outcome const quiet = run(script, body);
  for (std::string const& operation : operations) {
    SCOPED_TRACE(operation);
    expect_run(script.complaining(operation), body, quiet.output, quiet.calls);
  }
}

}  // namespace support
