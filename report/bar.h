// A volume's space as the cells of a bar.
#pragma once

#include "report/model.h"

namespace report {

// How many cells of a bar show what; together they are as many as were asked for.
struct bar {
  int used = 0;
  int preallocated = 0;
  int lost = 0;
  int rest = 0;  // what is none of them, or unknown
};

// Of a volume that may lie: what is negative is nothing, what is more than the total
// makes the total larger. What is there at all has a cell while there are enough.
bar bar_of(volume const& of, int cells);

// The same of a space, which knows only what is used.
bar bar_of(space const& of, int cells);

}  // namespace report
