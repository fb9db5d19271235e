#include "commands/leak.h"

#include "storage/number.h"

namespace st {

std::int64_t lost_size(std::int64_t total, std::int64_t used,
                       std::int64_t preallocate_remain) noexcept {
  return saturating_difference(total, used, preallocate_remain);
}

bool is_leak(std::int64_t lost, std::int64_t total) noexcept {
  return static_cast<double>(lost) > static_cast<double>(total) * 0.05;
}

}  // namespace st
