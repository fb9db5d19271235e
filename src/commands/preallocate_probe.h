// How much of a volume's preallocated space is still there.
#pragma once

#include <cstdint>

#include "storage/records.h"

namespace st {

// Measures the volume's preallocate folder with the system's du. Returns 0
// with `used_size` taken from the record and `preallocate_remain` (MB) measured;
// the latter keeps its value when du prints nothing. Returns -1, after a
// message, when the folder cannot be entered or du not be run; both outputs
// keep their values then.
//
// Leaves the process's working directory in the measured folder.
int get_preallocate_remain_size(volume_info vol, std::int64_t* preallocate_remain,
                                std::int64_t* used_size);

}  // namespace st
