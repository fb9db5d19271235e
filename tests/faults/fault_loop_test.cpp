// What every stop at every point leaves behind, and what the next writer makes
// of it.
#include "fault_loop.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <stdexcept>

#include "client_test.h"
#include "environment.h"
#include "lab/catalogue/sqlite.h"
#include "lab/check/check.h"
#include "lab/disk/file_steps.h"
#include "lab/make/make.h"
#include "lab/volume/layout.h"
#include "long_checks.h"
#include "storage/service.h"

namespace fault_support {
namespace {

using fault_loop::ending;
using fault_loop::path;
using fault_loop::scenario;
using fault_loop::tally;
using strings = std::vector<std::string>;

lab::recorder writer(path const& recorder) {
  return lab::recorder::open(recorder, lab::access::read_write);
}

// What the client library finds: itself opens the recorder to write.
void through_client(path const& recorder) {
  support::scrub_environment();
  setenv("STLAB_RECORDER", recorder.c_str(), 1);
}

stream_info main_stream_of(lab::recorder const& in) {
  return client::stream_of(in.channels().front(), main_stream.recording_type, main_stream.number);
}

template <typename Storage>
void recycle_through(Storage& storage, kivsid const& where, stream_info const& of) {
  int const started = storage.init(where);
  int const result =
      started != 0 ? started : storage.recycle_stream_data(of, always.start_ms, always.end_ms, 0);
  storage.uninit();
  if (result != 0) throw lab::error("the service says " + std::to_string(result));
}

void recycle_through_tier(path const& recorder) {
  through_client(recorder);
  auto const reader = lab::recorder::open(recorder, lab::access::read_only);
  CFSTier tier;
  recycle_through(tier, client::space_id(reader.spaces().front().sid), main_stream_of(reader));
}

void recycle_through_unit(path const& recorder) {
  through_client(recorder);
  auto const reader = lab::recorder::open(recorder, lab::access::read_only);
  CFSUnit unit;
  recycle_through(unit, client::volume_id(reader.volumes().front()), main_stream_of(reader));
}

void record(path const& recorder) { writer(recorder).record(1, main_stream, now, 2); }

void record_two_hours(path const& recorder) {
  using fault_support::now;
  writer(recorder).record(1, fault_support::main_stream, {now, now - fault_support::hour}, 1);
}

// Both volumes hold a period that has expired, the first one two.
void make_expired(path const& recorder) {
  make_leaking(recorder);
  auto recorded = writer(recorder);
  recorded.record(1, main_stream, now - 20 * hour, 1);
  recorded.record(1, main_stream, now - 21 * hour, 1);
  recorded.record(2, main_stream, now - 20 * hour, 1);
}

void expire(path const& recorder) { writer(recorder).expire(now - 10 * hour); }

void change_volumes(lab::recorder& in) {
  in.change_volumes({{1, "first", 2, 3}, {2, "second", 2, 4}});
}

// Counts what met a fault, no run more: each kind of them at each point. A stop
// before the first change or after the last one leaves nothing to finish.
void expect_sound(tally const& result, int least_points) {
  EXPECT_GE(result.points, least_points);
  auto const kinds = support::in_turn(fault_loop::kinds_at(1), 1).size();
  EXPECT_EQ(result.points * static_cast<int>(kinds), result.runs);
  EXPECT_LT(result.full_runs, result.states);
  EXPECT_GT(result.states, 1);
  auto first = result.broken;
  first.resize(std::min<std::size_t>(20, first.size()));
  EXPECT_EQ(strings(), first) << result.broken.size() << " in all";
}

void expect_sound(scenario const& what, int least_points) {
  auto const result = fault_loop::run_all(what);
  fault_loop::report(what.name, result);
  expect_sound(result, least_points);
  EXPECT_EQ(what.with == scenario::journal::kept, result.full_runs > 0);
}

TEST(faults, in_recording) { expect_sound({"record", make_leaking, record}, 50); }

TEST(faults, in_recording_two_hours_at_once) {
  expect_sound({"record two hours", fault_support::make_leaking, record_two_hours}, 60);
}

TEST(faults, in_recycling_through_the_tier) {
  expect_sound({"recycle through the tier", make_leaking, recycle_through_tier,
                scenario::scope::volume_by_volume},
               80);
}

TEST(faults, in_recycling_through_the_unit) {
  expect_sound({"recycle through the unit", make_leaking, recycle_through_unit}, 40);
}

TEST(faults, in_retention) { expect_sound({"expire", make_expired, expire}, 70); }

TEST(faults, in_setting_volumes) {
  expect_sound({"volset", make_leaking,
                [](path const& recorder) {
                  auto changing = writer(recorder);
                  change_volumes(changing);
                }},
               12);
}

void remove_journal(path const& recorder) {
  std::filesystem::remove(recorder / "catalogue.db-journal");
}

void make_without_journal(path const& recorder) {
  make_leaking(recorder);
  remove_journal(recorder);
}

// Whatever keeps the journal from being put back.
void open_in_any_case(path const& recorder) {
  try {
    writer(recorder);
  } catch (lab::error const& refused) {
    throw std::logic_error(refused.what());
  }
}

TEST(faults, in_putting_back_the_journal_keep_nobody_out) {
  expect_sound({"open without the journal", make_without_journal, open_in_any_case,
                scenario::scope::whole, scenario::journal::lost},
               5);
}

TEST(faults, in_recycling_without_the_journal) {
  expect_sound({"recycle without the journal", make_without_journal, recycle_through_unit,
                scenario::scope::whole, scenario::journal::lost},
               40);
}

// What is cut short lies in a journal that is short then.
void change_volumes_without_the_journal(path const& recorder) {
  {
    auto changing = writer(recorder);
    remove_journal(recorder);
    change_volumes(changing);
  }
  writer(recorder);
}

TEST(faults, in_setting_volumes_without_the_journal) {
  expect_sound({"volset without the journal", make_leaking, change_volumes_without_the_journal,
                scenario::scope::whole, scenario::journal::lost},
               15);
}

// Lost units of the first volume and their hour folders.
std::vector<std::pair<std::string, std::string>> lost_units(lab::database const& catalogue) {
  lab::statement lost(catalogue,
                      "SELECT name, hour_ms FROM unit"
                      "  WHERE volume_id = 1 AND state = 'recorded' AND period_id IS NULL");
  std::vector<std::pair<std::string, std::string>> units;
  while (lost.next()) {
    units.emplace_back(lost.text(0), lab::hour_folder_name(0, 4, 0, lost.integer(1)));
  }
  return units;
}

enum class first { rows, files };

// Frees units without a marker: says so before it moves them, or afterwards.
void recycle_without_a_marker(path const& recorder, first order) {
  lab::database catalogue(recorder / "catalogue.db", lab::database::mode::read_write,
                          std::chrono::milliseconds(0));
  auto const volume = lab::recorder::open(recorder, lab::access::read_only).volumes().front();
  auto const units = lost_units(catalogue);
  auto const free_rows = [&] {
    lab::transaction freed(catalogue, lab::transaction_kind::writing);
    catalogue.execute(
        "UPDATE unit SET state = 'free', channel_id = NULL, recording_type = NULL, stream = NULL,"
        "                hour_ms = NULL"
        "  WHERE volume_id = 1 AND state = 'recorded' AND period_id IS NULL");
    freed.commit();
  };
  if (order == first::rows) free_rows();
  lab::folder const storage(lab::storage_folder(volume.path.string(), volume.sid_text));
  lab::folder const free_units(storage.path() / "preallocate");
  for (auto const& [name, hour] : units) {
    if (!lab::folder::find(storage, hour)) continue;
    lab::folder const away(storage.path() / hour);
    lab::steps::link_file(away, free_units, name);
    lab::steps::remove_file(away, name);
    lab::steps::remove_empty_folder(storage, hour);
  }
  if (order == first::files) free_rows();
}

void expect_broken(std::string const& name, first order) {
  auto const recycle = [order](path const& recorder) { recycle_without_a_marker(recorder, order); };
  EXPECT_FALSE(fault_loop::run_all({name, make_leaking, recycle}).broken.empty());
}

TEST(faults, are_what_breaks_a_recycling_that_frees_first) {
  expect_broken("free first", first::rows);
}

TEST(faults, are_what_breaks_a_recycling_that_moves_first) {
  expect_broken("move first", first::files);
}

void make_tiny(path const& recorder) {
  lab::make_recorder(recorder, support::small([](auto& options) {
                       options.volumes = 1;
                       options.volume_mb = 3;
                       options.channels = 1;
                       options.days = 1;
                     }),
                     {});
}

strings findings_in(path const& recorder) {
  strings found;
  for (auto const& each : lab::check(lab::recorder::open(recorder, lab::access::read_only))) {
    found.push_back(lab::printed(each));
  }
  return found;
}

// A recorder that was not made to the end, or to the very end.
strings problems_of_making(path const& recorder, ending how) {
  if (support::failure_of([&] { writer(recorder); }).empty()) return findings_in(recorder);
  if (how == ending::done) return {"a recorder that was made is refused"};
  // It is in nobody's way.
  support::temporary_folder const elsewhere(support::medium::memory);
  make_tiny(elsewhere.path() / "recorder");
  return findings_in(elsewhere.path() / "recorder");
}

class making_loop {
 public:
  tally whole() {
    result_.points = stopped({}).points;
    bool hit = true;
    for (int n = 1; hit; ++n) {
      hit = false;
      for (auto const& each : support::in_turn(fault_loop::kinds_at(n), n)) {
        hit = stopped_by(each) || hit;
      }
    }
    result_.states = static_cast<int>(states_.size());
    return result_;
  }

 private:
  using fault = lab::fault_points::fault;

  fault_loop::outcome stopped(fault_loop::faults const& injected) {
    support::temporary_folder const temporary(support::medium::memory);
    path const recorder = temporary.path() / "below" / "recorder";
    auto const ran = fault_loop::run(make_tiny, recorder, injected);
    states_.insert(digest_of(temporary.path()));
    auto problems = problems_of_making(recorder, ran.how);
    if (ran.how == ending::broken) problems.push_back(ran.text);
    for (auto const& problem : problems) {
      result_.broken.push_back("make " + fault_loop::text_of(injected) + ": " + problem);
    }
    return ran;
  }

  bool stopped_by(fault const& first) {
    auto const ran = stopped({first});
    if (ran.how == ending::failed && first.lasting == fault::span::once) {
      stop_in_clean_up(first);
    }
    return fault_loop::count_if_hit(ran, first.at, result_.runs);
  }

  void stop_in_clean_up(fault const& first) {
    for (int m = first.at + 1;; ++m) {
      bool hit = false;
      for (auto const& second : support::in_turn(fault_loop::kinds_at(m), m)) {
        auto const ran = stopped({first, second});
        hit = fault_loop::count_if_hit(ran, m, result_.compound_runs) || hit;
      }
      if (!hit) return;
    }
  }

  tally result_;
  std::set<std::string> states_;
};

TEST(faults, in_making_a_recorder) {
  auto const result = making_loop().whole();
  fault_loop::report("make", result);
  expect_sound(result, 40);
}

}  // namespace
}  // namespace fault_support
