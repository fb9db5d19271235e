// A report's value as lines, as tests compare it.
#pragma once

#include <string>

#include "report/model.h"

namespace report_test {

std::string dump(report::value const& of);

}  // namespace report_test
