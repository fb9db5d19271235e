// What is wrong with one volume, told from scans of all.
#pragma once

#include <cstdint>
#include <vector>

#include "lab/check/finding.h"
#include "lab/check/scanned_volume.h"

namespace lab {

// Adds a finding for everything that is wrong with the volume, one of those among
// whose scans the displaced files are.
void check_volume(scanned_volume const& volume, std::vector<displaced_file> const& displaced,
                  std::int64_t unit_mb, findings& found);

}  // namespace lab
