// The way back for a volume that is not mounted.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "lab/recorder/recorder.h"

namespace lab {

// Mounts the volume of that name again and returns a line that says how: its
// folder comes back from where damage on demand has put it, and its identity is
// written anew when it is missing or another's. Throws lab::error, and has
// changed nothing then, when there is no such volume, when it is mounted, when
// its folder is nowhere or is not the one with the volume's storage folder, or
// when something is in the way. It can be stopped at any point and repeated.
std::string mount_volume(std::filesystem::path const& recorder_folder, std::string const& name,
                         std::chrono::milliseconds lock_timeout = default_lock_timeout);

}  // namespace lab
