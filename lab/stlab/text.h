// Text as it is shown.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "lab/util/text.h"

namespace stlab {

using lab::counted;

// Prints a printable line to standard output.
void print(std::string_view line);

// Columns of a line to be shown: those that COLUMNS says, else the terminal's,
// else 80; at least 20.
std::size_t columns();

// The text broken into lines of at most `width` letters, at spaces as far as can
// be; all lines but the first begin with `indent` spaces.
std::string wrapped(std::string_view text, std::size_t width, std::size_t indent);

}  // namespace stlab
