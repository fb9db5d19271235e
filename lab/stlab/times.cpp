#include "lab/stlab/times.h"

#include <cstdio>
#include <ctime>

#include "lab/stlab/commands.h"

namespace stlab {

std::string utc_text(std::int64_t time_ms) {
  auto const seconds = static_cast<std::time_t>(lab::hour_of(time_ms) / 1000);
  std::tm parts{};
  if (::gmtime_r(&seconds, &parts) == nullptr) return "out of range";
  char text[40];
  std::size_t const length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts);
  return {text, length};
}

std::int64_t midnight_hour(std::int64_t time_ms, int days_back) {
  auto const seconds = static_cast<std::time_t>(time_ms / 1000);
  std::tm parts{};
  if (::localtime_r(&seconds, &parts) == nullptr) throw refusal("the time is out of range");
  parts.tm_hour = 0;
  parts.tm_min = 0;
  parts.tm_sec = 0;
  parts.tm_mday -= days_back;
  parts.tm_isdst = -1;
  return lab::hour_of(std::int64_t{std::mktime(&parts)} * 1000);
}

}  // namespace stlab
