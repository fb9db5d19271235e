// The report as one page that needs nothing else.
#pragma once

#include <string>

#include "report/model.h"

namespace report {

// With `before`, an older report, the two stand side by side; null without one.
std::string html_of(value const& of, value const* before);

}  // namespace report
