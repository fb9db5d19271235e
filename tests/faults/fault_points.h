// The fault hook of test programs: an observer is asked at every point where a
// recorder changes what is on disk; it lets it happen, makes it fail, or kills
// the process.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "lab/disk/fault_hook.h"

namespace lab::fault_points {

struct point {
  call what;
  std::filesystem::path path;   // what is changed
  std::filesystem::path other;  // where a link or a renamed file comes from
};

// True for what can need a block that the file system has not got. Folders keep
// their blocks, so that a name finds room where it or another one was before.
bool takes_space(point const& at);

// Answers 0 to let the call happen, else the errno with which it fails.
using observer = std::function<int(point const&)>;

// Puts an observer in place of the present one for as long as it lives. Without
// one the first question reads STLAB_FAULT, and a text that is no fault ends the
// process.
class watch {
 public:
  explicit watch(observer watching);
  ~watch();
  watch(watch const&) = delete;
  watch& operator=(watch const&) = delete;

 private:
  observer before_;
};

// A fault at the n-th point, counted from 1.
struct fault {
  enum class kind { kill, error, no_space };
  kind what;
  int error_number;  // of an error
  int at;
  enum class span { once, from_there_on } lasting;
};

// Reads what STLAB_FAULT holds: "kill@N" ends the process by SIGKILL at its
// N-th point, "EIO@N" and "ENOSPC@N" make that point fail, "full@N" makes it
// fail with ENOSPC if it takes space; a "+" behind the number means every point
// from there on. None when the text is none of these.
std::optional<fault> parse(std::string const& text);

// Makes the fault happen. Counts the points into `points`, which must outlive
// it.
observer injector(fault const& what, int& points);

}  // namespace lab::fault_points
