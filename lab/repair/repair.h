// Repairing what check() finds, by one rule for each class of findings: the table in
// lab/check/check.md. What no rule settles is left.
//
// No file's content is removed and nothing is done on a volume that is not mounted.
// All mounted volumes are locked exclusively throughout. Repair can be stopped at any
// point and repeated. To give up is to say that what is missing is lost for good: it is
// done only when nothing was set aside, no file is out of place or unknown any more, and
// every volume is mounted and read.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace lab {

enum class lost_recordings { keep, give_up };

struct repair_report {
  std::vector<std::string> repaired;  // "volume vol1: unit unit000001 is back in preallocate"
  std::set<std::string> failed;       // what was tried in vain, and why
  bool sets_aside = false;            // something into lost+found
};

// Repairs what check() finds. What fails on one volume does not keep the others from
// being repaired. Throws lab::error when nothing could be done at all, a busy_error
// when a volume stays locked for longer than the lock timeout.
repair_report repair(std::filesystem::path const& folder, lost_recordings what);

}  // namespace lab
