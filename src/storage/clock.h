// The wall clock in the service's unit.
#pragma once

#include <cstdint>
#include <ctime>
#include <stdexcept>

namespace st {

// Seconds since the epoch, 64 bits wide on every machine. Throws std::overflow_error
// for a clock beyond what time_t holds: 32 bits end in 2038. A span up to such a
// moment would end before 1970, and nothing would be found in it.
inline std::int64_t now_seconds() {
  std::time_t const now = std::time(nullptr);
  if (sizeof now < sizeof(std::int64_t) && now < 0) {
    throw std::overflow_error("the clock is beyond what time_t holds");
  }
  return std::int64_t{now};
}

// The present second, in ms since the epoch.
inline std::int64_t now_milliseconds() { return now_seconds() * 1000; }

}  // namespace st
