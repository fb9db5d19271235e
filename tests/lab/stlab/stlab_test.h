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
  // What `stlab show OPTIONS recorder` prints.
  std::string show(std::string const& options = "") const;

  lab::stream stream(std::size_t channel_index, std::int32_t type = client::normal,
                     std::int32_t number = 0) const {
    return {channel(channel_index).id, type, number};
  }
  void record(std::size_t volume_index, lab::stream const& of, std::int64_t start_ms,
              int units) const {
    writer().record(volume(volume_index).id, of, start_ms, units);
  }
  // The start of the hour that lies so far before the fixture's.
  static constexpr std::int64_t hours_ago(std::int64_t hours) {
    return client::now_ms / client::hour_ms * client::hour_ms - hours * client::hour_ms;
  }

  // Of a command that did what it was to do, and said nothing else.
  static void expect_done(outcome const& result, std::string const& output);
  static void expect_ended(outcome const& result, int status, std::string const& output);
  static void expect_refused(outcome const& result, std::string const& message, int status = 4);
  static void expect_parts(std::string const& text, std::vector<std::string> const& parts);
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
