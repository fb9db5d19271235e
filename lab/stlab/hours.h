// Which hours a stream knows about.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "lab/recorder/recorder.h"
#include "lab/volume/layout.h"

namespace stlab {

// The stream's periods that overlap the hour which begins at `hour_ms`.
std::vector<lab::period> periods_in_hour(lab::recorder const& in, lab::stream const& of,
                                         std::int64_t hour_ms);

// The earliest hour that can be recorded. What leaked is recycled up to the
// stream's earliest period only, so none may come before it.
std::int64_t first_recordable_hour(lab::recorder const& in, lab::stream const& of);

// The latest hour, not after that of `from_ms`, that can be recorded and in
// which the stream has nothing; none when there is none.
std::optional<std::int64_t> latest_empty_hour(lab::recorder const& in, lab::stream const& of,
                                              std::int64_t from_ms);

}  // namespace stlab
