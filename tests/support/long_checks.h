// Whether the longer variants of tests are asked for.
#pragma once

#include <cstdlib>
#include <string_view>

namespace support {

// With ST_LONG_CHECKS=1 in the environment, and by nothing else.
inline bool are_long_checks_wanted() {
  char const* const asked = std::getenv("ST_LONG_CHECKS");
  return asked != nullptr && std::string_view(asked) == "1";
}

}  // namespace support
