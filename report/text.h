// The report as a person reads it in a terminal.
#pragma once

#include <string>

#include "report/model.h"

namespace report {

inline constexpr int fewest_columns = 40;
inline constexpr int most_columns = 200;

struct layout {
  int columns = 80;  // what is out of these bounds counts as the nearer one
  bool colour = false;
  bool ascii = false;
};

// What needs attention first, then spaces, volumes, channels and, if it was asked for,
// what st would give back. Ends with a newline.
std::string text_of(value const& of, layout const& wanted);

// Only what needs attention and what could not be asked, a line each; empty when there
// is nothing.
std::string check_lines_of(value const& of, layout const& in);

}  // namespace report
