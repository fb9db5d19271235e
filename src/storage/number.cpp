#include "storage/number.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace st {

std::int32_t number_from_text(char const* text) noexcept {
  using limits = std::numeric_limits<std::int32_t>;
  long long const value = std::strtoll(text, nullptr, 10);
  return static_cast<std::int32_t>(std::clamp<long long>(value, limits::min(), limits::max()));
}

float use_percentage(std::int64_t used, std::int64_t total) noexcept {
  float const percentage = static_cast<float>(used) * 100.0F / static_cast<float>(total);
  return std::isnan(percentage) ? std::numeric_limits<float>::quiet_NaN() : percentage;
}

}  // namespace st
