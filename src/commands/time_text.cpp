#include "commands/time_text.h"

#include <cstdio>
#include <ctime>
#include <limits>

namespace st {

void format_time_text(std::int64_t seconds, char* text) noexcept {
  auto const time = static_cast<std::time_t>(seconds);
  std::tm local{};
  bool const known = time == seconds && localtime_r(&time, &local) != nullptr;
  if (!known || local.tm_year > std::numeric_limits<int>::max() - 1900) local = std::tm{};
  std::snprintf(text, 256, "[%d-%d-%.2d %.2d:%.2d:%.2d]", local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

}  // namespace st
