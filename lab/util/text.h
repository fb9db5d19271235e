// Text that may hold anything.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace lab {

// "1 unit", "2 units".
std::string counted(std::int64_t count, std::string const& what);

// How many bytes the UTF-8 character has that a text, not empty, begins with; 0 when
// it begins with none (a stray or cut byte, an overlong form, a surrogate, beyond U+10FFFF).
std::size_t utf8_length(std::string_view text);

// The text as one line that a terminal only shows: control characters, those
// that turn the direction of writing, and what is not UTF-8 as "\x1b", a
// backslash as "\\".
std::string printable(std::string_view text);

}  // namespace lab
