// Characters of texts that may hold anything.
#pragma once

#include <cstddef>
#include <string_view>

namespace report {

// A character of UTF-8 in its shortest form, or a byte that begins none.
struct character {
  char32_t code = 0;      // of a byte that begins none, the byte
  std::size_t bytes = 1;  // that it takes
  bool is_whole = false;  // a character
};

// The one at the beginning of a text that is not empty.
character first_of(std::string_view text) noexcept;

// Control characters, line separators, and what turns the direction of writing.
bool steers(char32_t code) noexcept;

}  // namespace report
