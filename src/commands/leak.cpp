#include "commands/leak.h"

#include <limits>

namespace st {

std::int64_t lost_size(std::int64_t total, std::int64_t used,
                       std::int64_t preallocate_remain) noexcept {
  std::int64_t known = 0;
  std::int64_t lost = 0;
  bool const overflow = __builtin_add_overflow(used, preallocate_remain, &known) ||
                        __builtin_sub_overflow(total, known, &lost);
  return overflow ? std::numeric_limits<std::int64_t>::min() : lost;
}

bool is_leak(std::int64_t lost, std::int64_t total) noexcept {
  return static_cast<double>(lost) > static_cast<double>(total) * 0.05;
}

}  // namespace st
