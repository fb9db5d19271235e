// How much of a volume's preallocated space is still there.
#pragma once

#include <cstdint>

#include "storage/records.h"

namespace st {

// How measuring a volume ended: its folder cannot be entered, du cannot be run,
// or du printed nothing.
enum class probe_end { measured, no_folder, no_du, silent_du };

// Measures the volume's preallocate folder with the system's du, and prints
// nothing. Writes `preallocate_remain` (MB) when it was measured; it keeps its
// value otherwise.
//
// Leaves the process's working directory in the measured folder.
probe_end measure_preallocate_remain(volume_info const& vol, std::int64_t* preallocate_remain);

// The same, told on standard output. Returns 0 with `used_size` taken from the
// record and `preallocate_remain` measured; the latter keeps its value when du
// prints nothing. Returns -1, after a message, when the folder cannot be entered
// or du not be run; both outputs keep their values then.
int get_preallocate_remain_size(volume_info vol, std::int64_t* preallocate_remain,
                                std::int64_t* used_size);

}  // namespace st
