// The wall clock in the service's unit.
#pragma once

#include <cstdint>
#include <ctime>

namespace st {

// Seconds since the epoch, 64 bits wide on every machine.
inline std::int64_t now_seconds() noexcept { return std::int64_t{std::time(nullptr)}; }

// The present second, in ms since the epoch.
inline std::int64_t now_milliseconds() noexcept { return now_seconds() * 1000; }

}  // namespace st
