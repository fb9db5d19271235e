// The stlab program, run as a user runs it.
#pragma once

#include "client_test.h"
#include "program.h"

namespace stlab_program {

using support::holds;
using support::outcome;

class stlab_test : public client::client_test {
 protected:
  // Runs stlab in `folder`. Arguments are words of a shell. Nothing but the
  // command line and `extra` says which recorder.
  outcome run(std::string const& arguments) const;
  support::environment extra;

  // `stlab COMMAND recorder OPTIONS` at the fixture's moment.
  outcome on_recorder(std::string const& command, std::string const& options = "") const;

  outcome check() const { return run("check " + recorder.string()); }

  lab::stream stream(std::size_t channel_index, std::int32_t type, std::int32_t number) const {
    return {channel(channel_index).id, type, number};
  }

  // Overwrites the first page of a table.
  void break_table(std::string const& name) const;

  static void expect_refused(outcome const& result, std::string const& message);
};

}  // namespace stlab_program
