// Which hours a stream knows about.
#pragma once

#include <cstdint>
#include <vector>

#include "lab/layout.h"
#include "lab/recorder.h"

namespace stlab {

// The stream's periods that overlap the hour which begins at `hour_ms`.
inline std::vector<lab::period> periods_in_hour(lab::recorder const& in, lab::stream const& of,
                                                std::int64_t hour_ms) {
  return in.periods(of, {hour_ms, hour_ms + lab::hour_milliseconds - 1});
}

// The latest hour, not after that of `now_ms`, in which the stream has nothing.
inline std::int64_t latest_empty_hour(lab::recorder const& in, lab::stream const& of,
                                      std::int64_t now_ms) {
  std::int64_t hour_ms = lab::hour_of(now_ms);
  while (!periods_in_hour(in, of, hour_ms).empty()) hour_ms -= lab::hour_milliseconds;
  return hour_ms;
}

}  // namespace stlab
