// What lies in a recorder beside its volumes.
#pragma once

#include <filesystem>
#include <vector>

#include "lab/check/finding.h"
#include "lab/check/scanned_volume.h"

namespace lab {

// Adds a finding for everything in the recorder's own folder or in share that
// belongs to nobody. The folder of a volume that is not mounted belongs to it.
void check_unknown_entries(std::filesystem::path const& recorder_folder,
                           std::vector<scanned_volume> const& volumes, findings& found);

}  // namespace lab
