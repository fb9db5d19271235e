#include "damage/damaged_recorder.h"

#include "lab/check/check.h"
#include "lab/make/make.h"

namespace support {

namespace fs = std::filesystem;

damaged_recorder::damaged_recorder() {
  make_again();
  if (!found().empty()) throw std::runtime_error("the fresh recorder is not clean");
}

void damaged_recorder::make_again() const {
  fs::remove_all(root());
  make([](auto& options) {
    options.volume_mb = 16;
    options.days = 4;
  });
}

std::string damaged_recorder::damage(lab::damage_options const& options) const {
  return lab::damage(root(), options);
}

std::string damaged_recorder::damage(std::string const& kind, std::uint64_t seed) const {
  lab::damage_options options;
  options.kind = kind;
  options.seed = seed;
  return damage(options);
}

lab::findings damaged_recorder::found() const { return lab::check(open(lab::access::read_only)); }

std::set<lab::finding_class> damaged_recorder::classes() const {
  std::set<lab::finding_class> classes;
  for (auto const& each : found()) classes.insert(each.what);
  return classes;
}

lab::repair_report damaged_recorder::repair(lab::lost_recordings what) const {
  return lab::repair(root(), what);
}

void damaged_recorder::expect_all_kept(contents const& before) const {
  auto const held = written_in(contents_of(root() / "share"));
  for (auto const& each : written_in(before)) EXPECT_EQ(1U, held.count(each)) << each.substr(0, 60);
}

}  // namespace support
