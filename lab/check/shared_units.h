// Units that have one file between them.
#pragma once

#include <string>
#include <vector>

#include "lab/check/volume_check.h"

namespace lab {

// A unit and a folder where its name is that of another unit's file. What is
// recorded in the one overwrites the other.
struct shared_unit {
  surveyed_volume const* volume;
  unit_row const* unit;
  std::string folder_name;
  surveyed_volume const* other_volume;
  unit_row const* other;
  std::string other_folder_name;
};

// Each name of a unit for another one's file, but for one unit's: a bad one is
// named before a free one, a free one before a recorded one, which counts only in
// its place. The surveys must outlive the answer.
std::vector<shared_unit> shared_units(std::vector<surveyed_volume> const& volumes);

// "unit unit000003 in preallocate is the file of unit unit000007 of volume vol2 too"
std::string text_of(shared_unit const& which);

}  // namespace lab
