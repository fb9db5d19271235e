#include "lab/stlab/tool.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <new>

#include "lab/catalogue/sqlite.h"
#include "lab/recorder/recorder.h"
#include "lab/stlab/commands.h"
#include "lab/stlab/help.h"
#include "lab/stlab/text.h"
#include "lab/util/text.h"

namespace stlab {

namespace {

void add_commands(CLI::App& tool, action& chosen) {
  add_make(tool, chosen);
  add_import(tool, chosen);
  add_show(tool, chosen);
  add_record(tool, chosen);
  add_expire(tool, chosen);
  add_leak(tool, chosen);
  add_lose_id(tool, chosen);
  add_assign(tool, chosen);
  add_check(tool, chosen);
  add_collect(tool, chosen);
  add_damage(tool, chosen);
  add_mount(tool, chosen);
  add_help(tool, chosen);
  for (CLI::App* const command : tool.get_subcommands({})) {
    std::string const own = command->get_footer();
    command->group("Commands");
    command->footer(own + (own.empty() ? "" : "\n") + exit_statuses);
  }
}

exit_status report(exit_status status, std::string const& problem) {
  std::cerr << "stlab: " << lab::printable(problem) << '\n';
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
    return report(exit_status::unusable,
                  problem.path1().string() + ": " + problem.code().message());
  } catch (std::bad_alloc const&) {
    return report(exit_status::refused, "not enough memory");
  } catch (std::exception const& problem) {
    return report(exit_status::refused, problem.what());
  }
}

// What was printed may only have gone into a buffer so far.
exit_status after_output(exit_status status) {
  std::cout.flush();
  if (std::cout) return status;
  return report(exit_status::refused, "cannot write to standard output");
}

// The command that the command line names; empty when it names none.
std::string command_in(CLI::App const& tool) {
  std::vector<CLI::App*> const named = tool.get_subcommands();
  if (!tool.remaining().empty()) return {};
  return named.empty() ? std::string() : named.front()->get_name();
}

std::string unexpected(std::vector<std::string> const& words) {
  std::string text = words.size() > 1 ? "unexpected arguments:" : "unexpected argument:";
  for (std::string const& word : words) text += ' ' + word;
  return text;
}

// What to say of a command line that does not parse.
std::string usage_problem(CLI::App const& tool, CLI::ParseError const& problem) {
  std::vector<std::string> const unknown = tool.remaining(true);
  std::string const command = command_in(tool);
  auto const kind = static_cast<CLI::ExitCodes>(problem.get_exit_code());
  std::string const text = problem.what();
  std::string const option = text.substr(0, text.find_first_of(": "));
  if (command.empty() && unknown.empty()) return "no command is given";
  if (command.empty() && unknown.front().rfind('-', 0) != 0) {
    return "no such command: " + unknown.front();
  }
  if (command.empty() || kind == CLI::ExitCodes::ExtrasError) return unexpected(unknown);
  if (kind == CLI::ExitCodes::RequiredError) return "the option " + option + " is missing";
  if (kind == CLI::ExitCodes::ArgumentMismatch) {
    bool const is_repeated = tool.get_subcommand(command)->get_option(option)->count() > 1;
    return "the option " + option + (is_repeated ? " is given more than once" : " has no value");
  }
  return text;
}

exit_status refuse(CLI::App const& tool, std::string const& problem) {
  report(exit_status::usage, problem);
  std::string const command = command_in(tool);
  std::cerr << "Try: stlab " << command << (command.empty() ? "" : " ") << "--help\n";
  return exit_status::usage;
}

}  // namespace

exit_status run(int argc, char const* const* argv) {
  CLI::App tool("Makes lab recorders, records into them, damages them and checks them.", "stlab");
  tool.set_version_flag("--version", "stlab " STLAB_VERSION);
  tool.require_subcommand(1);
  tool.get_formatter()->label("SUBCOMMAND", "COMMAND");
  tool.option_defaults()->always_capture_default();
  action chosen;
  add_commands(tool, chosen);
  tool.footer(exit_statuses);
  try {
    tool.parse(argc, argv);
  } catch (CLI::CallForHelp const&) {
    std::cout << help_of(tool, command_in(tool));
    return after_output(exit_status::done);
  } catch (CLI::CallForVersion const& version) {
    std::cout << version.what() << '\n';
    return after_output(exit_status::done);
  } catch (CLI::ParseError const& problem) {
    return refuse(tool, usage_problem(tool, problem));
  } catch (wrong_usage const& problem) {
    return refuse(tool, problem.what());
  }
  return after_output(perform(chosen));
}

}  // namespace stlab
