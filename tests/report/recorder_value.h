// What a report would tell of a lab recorder, asked of its engine.
#pragma once

#include "lab/recorder/recorder.h"
#include "report/model.h"

namespace report {

// Paths begin with "share".
value value_of(lab::recorder const& recorder);

}  // namespace report
