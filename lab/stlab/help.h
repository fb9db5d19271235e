// Help texts.
#pragma once

#include <string>

#include "lab/stlab/commands.h"

namespace stlab {

// What every help text ends with.
inline constexpr char exit_statuses[] =
    "Exit status:\n"
    "  0  done, and nothing found\n"
    "  1  findings, or something is left\n"
    "  2  wrong usage\n"
    "  3  no usable recorder: absent, unreadable, not writable, no recorder, or busy\n"
    "  4  refused";

inline constexpr std::size_t help_columns = 80;

// The help of a command, or of the tool itself, in lines of at most so many letters.
std::string help_of(CLI::App const& tool, std::string const& command);

// Adds the subcommand "help". The tool is there for as long as it is used.
void add_help(CLI::App& tool, action& chosen);

}  // namespace stlab
