// A recorder with recordings on both of its volumes, and what is done to it.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "engine_test.h"
#include "lab/check/finding.h"
#include "lab/damage/damage.h"
#include "lab/repair/repair.h"

namespace support {

using strings = std::vector<std::string>;

class damaged_recorder : public engine_test {
 protected:
  damaged_recorder();
  // The same recorder without what was done to it.
  void make_again() const;

  std::string damage(lab::damage_options const& options) const;
  std::string damage(std::string const& kind, std::uint64_t seed = 1) const;

  lab::findings found() const;
  // The class of each finding, each once.
  std::set<lab::finding_class> classes() const;

  lab::repair_report repair(lab::lost_recordings what = lab::lost_recordings::keep) const;

  // Every content before must still be there, but for zeros at its end.
  void expect_all_kept(contents const& before) const;
};

}  // namespace support
