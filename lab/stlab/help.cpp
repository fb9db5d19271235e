#include "lab/stlab/help.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <sstream>

#include "lab/stlab/text.h"

namespace stlab {

namespace {

constexpr std::size_t text_column = 30;  // where the options' texts begin

std::string fitted(std::string const& help) {
  std::istringstream lines(help);
  std::string all;
  for (std::string line; std::getline(lines, line);) {
    bool const is_entry = line.rfind(' ', 0) == 0;
    all += wrapped(line, help_columns, is_entry ? text_column : 0) + '\n';
  }
  return all;
}

}  // namespace

std::string help_of(CLI::App const& tool, std::string const& command) {
  if (command.empty()) {
    return fitted(
        tool.get_formatter()->make_help(&tool, tool.get_name(), CLI::AppFormatMode::Normal));
  }
  return fitted(tool.get_subcommand(command)->help(tool.get_name()));
}

void add_help(CLI::App& tool, action& chosen) {
  auto const name = std::make_shared<std::string>();
  CLI::App& command = *tool.add_subcommand("help", "Shows this, or the help of a command");
  command.add_option("COMMAND", *name, "The command")->type_name("");
  command.callback([name, &tool, &chosen] {
    bool const is_known =
        !tool.get_subcommands([&name](CLI::App* each) { return each->get_name() == *name; })
             .empty();
    if (!name->empty() && !is_known) {
      throw wrong_usage("no such command: " + *name);
    }
    chosen = [name, &tool] {
      std::cout << help_of(tool, *name);
      return exit_status::done;
    };
  });
}

}  // namespace stlab
