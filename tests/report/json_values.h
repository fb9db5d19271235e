// Reports made by hand.
#pragma once

#include "report/model.h"

namespace report {

// Has something in every place.
value whole_report();

// What no recorder has: extreme numbers, odd texts, the same twice, lists without end
// or without anything.
value nonsense_report();

// A channel whose one stream has so many hourly periods.
channel channel_with_periods(int count);

}  // namespace report
