// What lies in a recorder beside its volumes.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "lab/volume/lock.h"
#include "lab/volume/place.h"

namespace lab {

// What is in the recorder's own folder or in share and belongs to nobody, such as
// "unknown folder share/vol9". The folder of a volume that is not mounted belongs
// to it.
std::vector<std::string> strangers_beside_volumes(std::filesystem::path const& recorder_folder,
                                                  std::vector<volume_place> const& places);

}  // namespace lab
