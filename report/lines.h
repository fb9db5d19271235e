// Lines of a terminal: their width and their colours.
#pragma once

#include <string>
#include <string_view>

#include "report/text.h"

namespace report {

// How many columns a text takes: wide characters take two. Each byte that is no part of
// a character counts as one.
int width_of(std::string_view text) noexcept;

// What the terminal can show of a text from elsewhere: control characters, and with
// `ascii` all others but ASCII, become '?'.
std::string shown(std::string_view text, layout const& in);

// The beginning of a text that is too wide, with a mark at its end.
std::string cut(std::string const& text, int width, layout const& in);

enum class aligned { left, right };

// Cut or filled to exactly that width.
std::string fitted(std::string const& text, int width, aligned side, layout const& in);

// Lines that are broken at blanks, each ended. The first begins with `first`, the others
// with as many blanks. A word that is too long is broken where the line ends.
std::string wrapped(std::string const& first, std::string const& text, layout const& in);

enum class style { heading, alarm, used, preallocated, faint };

// The text in its colour, where there are colours.
std::string painted(std::string const& text, style as, layout const& in);

// A heading and its end of line.
std::string heading(std::string const& text, layout const& in);

}  // namespace report
