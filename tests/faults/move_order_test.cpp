// Moving units step by step: nothing is begun before what it relies on is on
// disk.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>

#include "fault_points.h"
#include "lab/make/make.h"
#include "lab/volume/moves.h"
#include "leaking_recorder.h"

namespace fault_support {
namespace {

namespace points = lab::fault_points;
using points::call;
using strings = std::vector<std::string>;
using taken_steps = std::vector<points::point>;

bool writes_catalogue(points::point const& at) {
  return at.what == call::database_write || at.what == call::database_grow ||
         at.what == call::database_truncate;
}

// What an operation does on a small recorder, without what has no effect.
taken_steps steps_of(std::function<void(lab::recorder&)> const& operation) {
  support::temporary_folder const temporary(support::medium::memory);
  auto const recorder = temporary.path() / "recorder";
  make_leaking(recorder);
  auto writer = lab::recorder::open(recorder, lab::access::read_write);
  taken_steps taken;
  points::watch const watching([&taken](points::point const& at) {
    bool const idle = (at.what == call::make_folder && fs::exists(at.path)) ||
                      (at.what == call::remove_folder && !fs::is_empty(at.path));
    if (!idle) taken.push_back(at);
    return 0;
  });
  operation(writer);
  return taken;
}

// Two units in two hour folders come back.
taken_steps recycling() {
  return steps_of(
      [](lab::recorder& writer) { EXPECT_EQ(2, writer.recycle(1, main_stream, always)); });
}

// Two units go into one hour folder that is new.
taken_steps recording() {
  return steps_of([](lab::recorder& writer) { writer.record(1, main_stream, now, 2); });
}

// What is not certain to be on disk yet, and which steps came too early.
class durability {
 public:
  void take(points::point const& at) {
    switch (at.what) {
      case call::database_write:
      case call::database_grow:
      case call::database_truncate:
        require_none(names_, at);
        files_.insert(at.path);
        break;
      case call::write:
        files_.insert(at.path);
        break;
      case call::database_sync:
      case call::sync_file:
        files_.erase(at.path);
        break;
      case call::link:
      case call::make_folder:
        require_none(files_, at);
        names_.insert(at.path);
        break;
      case call::unlink:
        require_none(files_, at);
        require_other_name(at);
        names_.insert(at.path);
        break;
      case call::remove_folder:
        // Names in it cannot come back without it.
        settle(at.path);
        names_.insert(at.path);
        break;
      case call::sync_folder:
        settle(at.path);
        break;
      default:
        break;
    }
  }

  strings breaches() const {
    auto all = breaches_;
    for (auto const& path : files_) all.push_back("at the end: " + path.string());
    for (auto const& path : names_) all.push_back("at the end: " + path.string());
    return all;
  }

 private:
  void require_none(std::set<fs::path> const& unsettled, points::point const& at) {
    for (auto const& path : unsettled)
      breaches_.push_back(at.path.string() + " before " + path.string());
  }

  void require_other_name(points::point const& at) {
    for (auto const& path : names_) {
      bool const same_unit = path.filename() == at.path.filename() && path != at.path;
      if (same_unit) breaches_.push_back(at.path.string() + " before " + path.string());
    }
  }

  void settle(fs::path const& folder) {
    for (auto path = names_.begin(); path != names_.end();) {
      path = path->parent_path() == folder ? names_.erase(path) : std::next(path);
    }
  }

  std::set<fs::path> files_;  // of which something has been written
  std::set<fs::path> names_;  // that were made or removed
  strings breaches_;
};

strings breaches_of(taken_steps const& steps) {
  durability disk;
  for (auto const& each : steps) disk.take(each);
  return disk.breaches();
}

using picked = std::function<bool(points::point const&)>;

picked is(call what) {
  return [what](points::point const& at) { return at.what == what; };
}

// Whether these steps are among those that were taken, in this order.
bool happen_in_order(taken_steps const& steps, std::vector<picked> const& order) {
  auto from = steps.begin();
  for (auto const& each : order) {
    from = std::find_if(from, steps.end(), each);
    if (from == steps.end()) return false;
    ++from;
  }
  return true;
}

taken_steps without(taken_steps steps, picked const& which) {
  steps.erase(std::remove_if(steps.begin(), steps.end(), which), steps.end());
  return steps;
}

TEST(move_order, of_recycling_is_intent_link_unlink_arrival) {
  auto const steps = recycling();
  EXPECT_EQ(strings(), breaches_of(steps));
  EXPECT_TRUE(happen_in_order(
      steps, {is(call::commit), writes_catalogue, is(call::database_sync), is(call::link),
              is(call::link), is(call::sync_folder), is(call::unlink), is(call::unlink),
              is(call::sync_folder), writes_catalogue, is(call::commit), is(call::database_sync)}));
}

TEST(move_order, of_recording_is_intent_link_head_unlink_arrival) {
  auto const steps = recording();
  EXPECT_EQ(strings(), breaches_of(steps));
  EXPECT_TRUE(happen_in_order(
      steps, {is(call::commit), writes_catalogue, is(call::database_sync), is(call::make_folder),
              is(call::sync_folder), is(call::link), is(call::link), is(call::write),
              is(call::write), is(call::sync_file), is(call::sync_file), is(call::sync_folder),
              is(call::unlink), is(call::unlink), is(call::sync_folder), writes_catalogue,
              is(call::commit), is(call::database_sync)}));
}

// The steps before the first unit moves, without the syncing of one of the
// catalogue's files.
taken_steps without_syncs_of_intent(taken_steps const& steps, std::string const& file) {
  auto const moves = std::find_if(steps.begin(), steps.end(), is(call::link));
  auto left = without({steps.begin(), moves}, [&file](points::point const& at) {
    return at.what == call::database_sync && at.path.filename() == file;
  });
  left.insert(left.end(), moves, steps.end());
  return left;
}

// More than a batch: the change of the catalogue by which one arrives begins the next.
TEST(move_order, of_batches_is_one_change_of_the_catalogue_between_two) {
  support::temporary_folder const temporary(support::medium::memory);
  auto const recorder = temporary.path() / "recorder";
  constexpr int units = static_cast<int>(lab::move_batch) + 1;
  lab::make_recorder(recorder, support::small([](auto& options) {
                       options.volumes = 1;
                       options.volume_mb = units;
                     }),
                     {});
  auto writer = lab::recorder::open(recorder, lab::access::read_write);
  writer.record(1, fault_support::main_stream, fault_support::now, units);
  writer.forget({writer.periods().back().id});
  taken_steps commits;
  points::watch const watching([&commits](points::point const& at) {
    if (at.what == call::commit) commits.push_back(at);
    return 0;
  });
  EXPECT_EQ(units, writer.recycle(1, fault_support::main_stream, fault_support::always));
  EXPECT_EQ(3U, commits.size());
  EXPECT_EQ(units, writer.account(1).preallocated);
}

TEST(move_order, is_broken_by_a_step_that_is_not_synced) {
  for (auto const& steps : {recycling(), recording()}) {
    for (auto const* const file : {"catalogue.db", "catalogue.db-journal"}) {
      EXPECT_FALSE(breaches_of(without_syncs_of_intent(steps, file)).empty()) << file;
    }
    for (auto const missing : {call::database_sync, call::sync_folder}) {
      EXPECT_FALSE(breaches_of(without(steps, is(missing))).empty());
    }
  }
  EXPECT_FALSE(breaches_of(without(recording(), is(call::sync_file))).empty());
}

// Of every folder: one sync less, whichever it is, is one too few.
TEST(move_order, needs_every_sync_of_a_folder) {
  for (auto const& steps : {recycling(), recording()}) {
    for (auto each = steps.begin(); each != steps.end(); ++each) {
      if (each->what != call::sync_folder) continue;
      taken_steps fewer(steps.begin(), each);
      fewer.insert(fewer.end(), each + 1, steps.end());
      EXPECT_FALSE(breaches_of(fewer).empty()) << each->path;
    }
  }
}

}  // namespace
}  // namespace fault_support
