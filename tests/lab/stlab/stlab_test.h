// The stlab program, run as a user runs it.
#pragma once

#include <future>
#include <string>

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

// A terminal that shows what a program prints; tests are skipped without one.
class terminal {
 public:
  terminal();
  ~terminal();
  terminal(terminal const&) = delete;
  terminal& operator=(terminal const&) = delete;

  // Why there is none; empty when there is one.
  std::string const& problem() const { return problem_; }
  // What a program writes to.
  std::string const& name() const { return name_; }
  void set_columns(unsigned short columns) const;
  // All that was printed. No program can write to it any more.
  std::string shown();

 private:
  int screen_;
  int program_side_ = -1;
  std::string problem_;
  std::string name_;
  std::future<std::string> shown_;
};

}  // namespace stlab_program
