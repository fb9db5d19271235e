// The calls that a client makes, for comparing two clients.
#pragma once

#include <cstdint>

namespace generated {

// Appends the call, and the number that it is about, to the file that
// BENCH_CALLS names. Without the variable it costs a comparison.
void note(char const* call, std::int64_t about = 0) noexcept;

}  // namespace generated
