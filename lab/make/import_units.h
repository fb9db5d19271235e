// Which recordings of an imported recorder hold which units.
#pragma once

#include <cstdint>
#include <vector>

#include "lab/make/plan.h"

namespace lab {

// Units of a volume.
struct volume_budget {
  std::int64_t used;
  std::int64_t lost;
};

// What a channel has recorded on a space, in units.
struct recorded_share {
  int channel;
  int space;
  double normal;
  double alarm;
  double other;  // of another type, of which no period is known
};

// What was not given.
struct left_over {
  std::int64_t units;
  std::int64_t recordings;  // those that got no unit
};

// Gives the used units of each volume to its recordings, in proportion to the shares
// and evenly within one, and what is beyond the shares to recordings without a storage
// id. Adds recordings of another type for what is recorded of it, and forgotten ones
// for what is lost: in hours before the earliest one of a stream, where st looks for
// it. The recordings are sorted by their start.
left_over give_units(make_plan& plan, std::vector<volume_budget> const& budgets,
                     std::vector<recorded_share> const& shares);

}  // namespace lab
