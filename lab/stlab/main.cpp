#include <algorithm>
#include <filesystem>
#include <iostream>

#include "lab/recorder.h"
#include "lab/sqlite.h"
#include "lab/stlab/commands.h"

namespace stlab {

namespace {

constexpr char footer[] =
    "Exit status: 0 done, nothing found; 1 findings, or refused; 2 wrong usage; 3 no usable "
    "recorder (absent, unreadable, not a recorder, busy).";

void add_commands(CLI::App& tool, action& chosen) {
  add_make(tool, chosen);
  add_show(tool, chosen);
  add_record(tool, chosen);
  add_expire(tool, chosen);
  add_leak(tool, chosen);
  add_lose_id(tool, chosen);
  add_assign(tool, chosen);
  add_check(tool, chosen);
  add_damage(tool, chosen);
  for (CLI::App* const command : tool.get_subcommands({})) command->footer(footer);
}

exit_status report(exit_status status, std::string const& problem) {
  std::cerr << "stlab: " << problem << '\n';
  return status;
}

exit_status perform(action const& chosen) {
  try {
    return chosen();
  } catch (unusable const& problem) {
    return report(exit_status::unusable, problem.what());
  } catch (lab::busy_error const& problem) {
    return report(exit_status::unusable, problem.what());
  } catch (lab::database_error const& problem) {
    return report(exit_status::unusable, problem.what());
  } catch (std::filesystem::filesystem_error const& problem) {
    return report(exit_status::unusable, problem.what());
  } catch (std::exception const& problem) {
    return report(exit_status::refused, problem.what());
  }
}

// What was printed may only have gone into a buffer so far.
exit_status after_output(exit_status status) {
  std::cout.flush();
  if (std::cout) return status;
  return report(std::max(status, exit_status::refused), "cannot write to standard output");
}

// What to say of a command line that does not parse.
std::string usage_problem(CLI::App const& tool, CLI::ParseError const& problem) {
  std::vector<std::string> const unknown = tool.remaining();
  bool const misnamed =
      tool.get_subcommands().empty() && !unknown.empty() && unknown.front().rfind('-', 0) != 0;
  return misnamed ? "no such command: " + unknown.front() : problem.what();
}

exit_status run(int argc, char const* const* argv) {
  CLI::App tool("Makes lab recorders, records into them, damages them and checks them.", "stlab");
  tool.footer(footer);
  tool.set_version_flag("--version", "stlab " STLAB_VERSION);
  tool.require_subcommand(1);
  tool.option_defaults()->always_capture_default();
  action chosen;
  add_commands(tool, chosen);
  try {
    tool.parse(argc, argv);
  } catch (CLI::ParseError const& problem) {
    if (problem.get_exit_code() == 0) {
      tool.exit(problem);
      return after_output(exit_status::done);
    }
    return report(exit_status::usage, usage_problem(tool, problem) + "\nTry: stlab --help");
  }
  return after_output(perform(chosen));
}

}  // namespace

}  // namespace stlab

int main(int argc, char** argv) try {
  return static_cast<int>(stlab::run(argc, argv));
} catch (...) {
  return static_cast<int>(stlab::exit_status::refused);
}
