// Values made by hand, as st-report might have them of a recorder.
#pragma once

#include "report/model.h"

namespace report {

// Two spaces, three volumes of which one leaks and one is not mounted, two channels.
value good_sample();

// What a service says that lies: extreme numbers, texts of any kind, everything
// doubled, 100,000 periods.
value nonsense_sample();

}  // namespace report
