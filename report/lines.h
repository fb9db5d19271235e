// Lines of a terminal: their width, their colours, and a table that fits.
#pragma once

#include <string>
#include <string_view>
#include <vector>

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

// Columns side by side, with a head. Where they do not fit, the last ones that may go are
// left out; then the widest are cut.
class table {
 public:
  struct column {
    std::string title;
    aligned side = aligned::left;
    bool may_go = false;
  };

  explicit table(std::vector<column> columns);

  // As many cells as there are columns, of text that can be shown.
  void add(std::vector<std::string> row);

  std::string text(layout const& in) const;

 private:
  // Of each column; 0 for one that is left out.
  std::vector<int> widths(layout const& in) const;

  std::vector<column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace report
