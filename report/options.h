// The command line.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "report/ask.h"
#include "report/terminal.h"

namespace report {

// What goes to standard output.
enum class printing { text, check, json, nothing };

struct options {
  printing prints = printing::text;
  previewing preview = previewing::no;
  bool anonymous = false;
  std::optional<int> expected_days;
  // As they were typed; empty: not asked for.
  std::filesystem::path html;
  std::filesystem::path metrics;
  std::filesystem::path compare;
  display shows;
};

// What the command line says: what to do, or else what to print and how to end.
struct command_line {
  std::optional<options> asked;
  std::string output;
  std::string errors;
  int status = 0;
};

command_line read_command_line(int argc, char const* const* argv, char const* version);

}  // namespace report
