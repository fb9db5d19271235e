// A progress bar on standard error, when that is a terminal.
#pragma once

#include <cstdint>

namespace stlab {

class progress_bar {
 public:
  progress_bar();
  // Ends the bar's line.
  ~progress_bar();
  progress_bar(progress_bar const&) = delete;
  progress_bar& operator=(progress_bar const&) = delete;

  // Redraws the bar when its look changes.
  void show(std::int64_t done, std::int64_t total);

  // Leaves the bar as it is, in a line that somebody else has ended.
  void leave();

 private:
  bool terminal_;
  int percent_ = -1;
};

}  // namespace stlab
