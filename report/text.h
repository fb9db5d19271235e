// The report as a person reads it in a terminal.
#pragma once

#include <string>

#include "report/model.h"

namespace report {

struct layout {
  int columns = 80;  // 40 to 200
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
