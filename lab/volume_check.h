// What is wrong with volumes, told from surveys of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/volume_survey.h"

namespace lab {

struct surveyed_volume {
  volume_place place;
  volume_survey found;
};

// Adds a line for everything that is wrong with one volume.
void check_volume(surveyed_volume const& volume, std::int64_t unit_mb,
                  std::vector<std::string>& lines);

// A recorded unit that its own volume lacks and that lies, told by its folder,
// its name and its beginning, on another one where it does not belong.
struct stray_unit {
  surveyed_volume const* home;
  unit_row const* unit;
  surveyed_volume const* host;
};

// Only those of which there is no doubt: one volume lacks it, one file is it.
std::vector<stray_unit> stray_units(std::vector<surveyed_volume> const& volumes);

}  // namespace lab
