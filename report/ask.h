// Asking the storage service. It is only ever asked: nothing is set or recycled.
#pragma once

#include "report/model.h"

namespace report {

enum class previewing { no, yes };

// Begins a line of not_asked that ends with what the service said in its own words.
inline constexpr char ended_early[] = "asking ended early: ";

// One pass over the service. Fills spaces, volumes, channels, problems, not_asked and,
// if it is wanted, would_do; what cannot be asked is named in not_asked and left out.
//
// What st would do is what it would ask the service to recycle. Whether the service
// lets it is not known before: a volume that cannot be opened is announced all the same.
//
// Leaves the process's working directory in a measured folder.
value ask(previewing preview);

}  // namespace report
