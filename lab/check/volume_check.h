// What is wrong with volumes, told from surveys of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/volume/place.h"
#include "lab/volume/scan.h"

namespace lab {

struct surveyed_volume {
  volume_place place;
  volume_scan found;
};

// Adds a line for everything that is wrong with one volume.
void check_volume(surveyed_volume const& volume, std::int64_t unit_mb,
                  std::vector<std::string>& lines);

}  // namespace lab
