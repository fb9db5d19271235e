// Whether the longer variants of tests are asked for, and how much the short ones try.
#pragma once

#include <cstdlib>
#include <string_view>
#include <vector>

namespace support {

// With ST_LONG_CHECKS=1 in the environment, and by nothing else.
inline bool are_long_checks_wanted() {
  char const* const asked = std::getenv("ST_LONG_CHECKS");
  return asked != nullptr && std::string_view(asked) == "1";
}

// What is tried at the n-th place, of all that can be: the one whose turn it is; all of
// it in the long variants.
template <typename Kind>
std::vector<Kind> in_turn(std::vector<Kind> const& all, int n) {
  if (are_long_checks_wanted()) return all;
  return {all[static_cast<std::size_t>(n) % all.size()]};
}

// How far apart the places lie that are tried: every one in the long variants.
inline int stride(int of_short_variant) { return are_long_checks_wanted() ? 1 : of_short_variant; }

}  // namespace support
