#include "sizes.h"

#include <algorithm>
#include <cstdlib>

#include "storage/number.h"

namespace generated {

namespace {

std::int32_t number(char const* variable, std::int32_t without) noexcept {
  constexpr std::int32_t most = 10000000;
  char const* const text = std::getenv(variable);
  return text == nullptr ? without : std::clamp(st::number_from_text(text), 0, most);
}

char const* text(char const* variable, char const* without) noexcept {
  char const* const value = std::getenv(variable);
  return value == nullptr ? without : value;
}

}  // namespace

sizes const& asked_for() noexcept {
  static sizes const once{number("BENCH_SPACES", 2),        number("BENCH_VOLUMES", 4),
                          number("BENCH_CHANNELS", 4),      number("BENCH_STORAGE_IDS", 2),
                          number("BENCH_DAYS", 3),          number("BENCH_PERIODS", 24),
                          number("BENCH_NULL_PERCENT", 10), number("BENCH_LEAKING_PERCENT", 0),
                          text("BENCH_FOLDER", "/nowhere")};
  return once;
}

}  // namespace generated
