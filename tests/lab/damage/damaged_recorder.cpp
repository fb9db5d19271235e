#include "damage/damaged_recorder.h"

#include <algorithm>
#include <fstream>
#include <set>

#include "lab/check/check.h"
#include "lab/make/make.h"

namespace support {

namespace fs = std::filesystem;

namespace {

std::string without_zeros_at_end(std::string text) {
  text.erase(text.find_last_not_of('\0') + 1);
  return text;
}

}  // namespace

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

void damaged_recorder::fill_units() const {
  for (auto const& entry : fs::recursive_directory_iterator(root() / "share")) {
    if (!entry.is_regular_file() || entry.path().filename() == "identity") continue;
    std::fstream unit(entry.path(), std::ios::in | std::ios::out | std::ios::binary);
    unit.seekp(1000);
    unit << entry.path().lexically_relative(root()).string();
  }
}

void damaged_recorder::expect_all_kept(contents const& before) const {
  std::set<std::string> held;
  for (auto const& [name, content] : contents_of(root() / "share")) {
    held.insert(without_zeros_at_end(content));
  }
  for (auto const& [name, content] : before) {
    EXPECT_EQ(1U, held.count(without_zeros_at_end(content))) << name;
  }
}

}  // namespace support
