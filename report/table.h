// A table that fits into a terminal.
#pragma once

#include <string>
#include <vector>

#include "report/lines.h"

namespace report {

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
