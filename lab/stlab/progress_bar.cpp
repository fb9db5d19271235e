#include "lab/stlab/progress_bar.h"

#include <unistd.h>

#include <iostream>
#include <string>

namespace stlab {

progress_bar::progress_bar() : terminal_(::isatty(STDERR_FILENO) == 1) {}

progress_bar::~progress_bar() {
  if (percent_ >= 0) std::cerr << '\n';
}

void progress_bar::leave() { percent_ = -1; }

void progress_bar::show(std::int64_t done, std::int64_t total) {
  if (!terminal_ || total <= 0) return;
  auto const percent = static_cast<int>(done * 100 / total);
  if (percent == percent_) return;
  percent_ = percent;
  auto const filled = static_cast<std::size_t>(percent) * 2 / 5;
  std::cerr << "\r[" << std::string(filled, '#') << std::string(40 - filled, '.') << "] " << percent
            << " %" << std::flush;
}

}  // namespace stlab
