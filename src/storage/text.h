// Reading and writing the fixed-width text fields of records.
#pragma once

#include <cstddef>
#include <string_view>

namespace st {

// The text of a field: up to its terminator, or all of it when it has none.
template <std::size_t Width>
constexpr std::string_view field_text(char const (&field)[Width]) noexcept {
  std::string_view const whole(field, Width);
  return whole.substr(0, whole.find('\0'));
}

// Copies as much of `text` as fits into `destination` and terminates it;
// writes nothing when `size` is 0.
void copy_text(char* destination, std::size_t size, std::string_view text) noexcept;

// Copies what follows the first "share/" of `path` into `destination`, cut to
// `size` - 1 characters and terminated. A path without "share/" leaves
// `destination` untouched.
void share_name_from_path(std::string_view path, char* destination, std::size_t size) noexcept;

}  // namespace st
