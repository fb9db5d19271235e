// Texts that may hold anything.
#pragma once

#include <string>
#include <string_view>

namespace report {

// True for valid UTF-8 without characters that steer a terminal or a line: control
// characters, line separators, and those that turn the direction of writing.
bool is_clean(std::string_view text) noexcept;

// The text with U+FFFD for each such character, and for each byte that is not UTF-8.
std::string clean_text(std::string_view text);

}  // namespace report
