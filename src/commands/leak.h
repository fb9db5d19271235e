// When a volume counts as leaking.
#pragma once

#include <cstdint>

namespace st {

// What a volume's total holds beyond its used and its preallocated space, in
// MB; the least value when 64 bits cannot tell.
std::int64_t lost_size(std::int64_t total, std::int64_t used,
                       std::int64_t preallocate_remain) noexcept;

// More than 5 % of the total is lost; exactly 5 % is not a leak.
bool is_leak(std::int64_t lost, std::int64_t total) noexcept;

}  // namespace st
