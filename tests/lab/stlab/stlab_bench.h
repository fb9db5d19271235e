// The stlab program, run as a user runs it.
#pragma once

#include "bench.h"

namespace bench {

struct outcome {
  int status;  // of the exit, or minus the signal
  std::string output;
  std::string errors;
};

// Nothing but the command line says which recorder.
class stlab_test : public bench_test {
 protected:
  stlab_test();

  // Arguments are words of a shell.
  outcome run(std::string const& arguments) const;

  // `stlab COMMAND recorder OPTIONS` at the bench's moment.
  outcome on_recorder(std::string const& command, std::string const& options = "") const;

  outcome check() const;

  lab::stream stream(std::size_t channel_index, std::int32_t type, std::int32_t number) const;

  // Overwrites the first page of a table.
  void break_table(std::string const& name) const;

  void expect_refused(outcome const& result, std::string const& message) const;
};

bool holds(std::string const& text, std::string const& part);

std::vector<std::string> lines_in(std::string const& text);

}  // namespace bench
