// A recorder to be made as a report tells of another one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/make/plan.h"
#include "lab/make/reported.h"

namespace lab {

inline constexpr std::int64_t default_import_mb = 1024;
inline constexpr std::int64_t most_import_mb = std::int64_t{1024} * 1024;

// A volume that is not mounted, by its name.
struct planned_unmounting {
  std::string volume;
  bool is_absent;  // otherwise it lacks its identity
};

struct import_plan {
  make_plan made = {};
  std::vector<planned_unmounting> unmounted = {};
  double reported_mb = 0;  // of all volumes
  // What is otherwise than reported, a line each.
  std::vector<std::string> differences = {};
};

// Spaces, volumes, channels and periods are those of the report, with the ids, names and
// numbers that a lab recorder can have. The volumes together have about `total_mb`, or
// what is reported if that is less; all sizes are scaled alike. A unit has 1 MB. What a
// channel has recorded is spread evenly over its periods.
//
// Throws lab::error when nothing can be made of the report.
import_plan plan_import(reported_recorder const& report, std::int64_t total_mb);

}  // namespace lab
