// What standard output can show.
#pragma once

#include <optional>
#include <string_view>

#include "report/text.h"

namespace report {

enum class colouring { automatic, always, never };

// What was asked for.
struct display {
  std::optional<int> columns;
  colouring colour = colouring::automatic;
  bool ascii = false;
};

// How text is to be laid out on standard output: as it was asked for, else as wide as
// COLUMNS or the terminal says, coloured on a terminal that NO_COLOR does not forbid, and
// in ASCII where the locale's characters are not UTF-8. Looks at the process's locale.
layout layout_of(display const& asked);

// The whole number that the text is and nothing else, within bounds.
std::optional<int> whole_number(std::string_view text, int least, int most) noexcept;

}  // namespace report
