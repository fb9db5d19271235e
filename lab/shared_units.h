// Units that have one file between them.
#pragma once

#include <string>
#include <vector>

#include "lab/volume_check.h"

namespace lab {

// A free or recorded unit in whose place lies another such unit's file. What is
// recorded in the one overwrites the other.
struct shared_unit {
  surveyed_volume const* volume;
  unit_row const* unit;
  surveyed_volume const* other_volume;
  unit_row const* other;
};

// Each unit that shares its file, but for one of them: a free one is named before
// a recorded one. The surveys must outlive the answer.
std::vector<shared_unit> shared_units(std::vector<surveyed_volume> const& volumes);

// "unit unit000003 in preallocate is the file of unit unit000007 of volume vol2 too"
std::string text_of(shared_unit const& which);

}  // namespace lab
