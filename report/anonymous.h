// A report that can be handed on.
#pragma once

#include "report/model.h"

namespace report {

// Names, ids, paths and arguments are replaced by stand-ins, the same one for the same
// text wherever it stands; numbers, times, states and codes stay.
value anonymous(value of);

}  // namespace report
