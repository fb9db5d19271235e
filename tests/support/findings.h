// How findings are shown when a test fails.
#pragma once

#include <ostream>

#include "lab/check/finding.h"

namespace lab {

inline void PrintTo(finding const& which, std::ostream* out) { *out << printed(which); }

}  // namespace lab
