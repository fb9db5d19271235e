// The report in the text format that Prometheus reads.
#pragma once

#include <string>

#include "report/model.h"

namespace report {

// Sizes in bytes, times in seconds; ends with a newline.
std::string metrics_of(value const& of);

}  // namespace report
