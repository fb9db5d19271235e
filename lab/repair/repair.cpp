#include "lab/repair/repair.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "lab/catalogue/journal.h"
#include "lab/check/catalogue_check.h"
#include "lab/check/check.h"
#include "lab/recorder/state.h"
#include "lab/repair/stages.h"

namespace lab {

namespace {

// Each round of a repair changes something that the next one need not; a catalogue
// that contradicts itself has no end of them.
constexpr int most_rounds = 20;

struct held_volume {
  volume_place place;
  std::optional<volume_lock> lock;  // none when nothing is done on it
};

std::vector<held_volume> hold_all(recorder::state const& state, repair_work const& work) {
  std::vector<held_volume> held;
  for (auto const& place : places_of(state.catalogue, state.folder)) {
    held.push_back({place, std::nullopt});
    if (mount_of(place) != mount::present) continue;
    held.back().lock.emplace(place, volume_lock::kind::exclusive, state.lock_timeout);
  }
  for (auto& each : held) {
    if (each.lock && !finish_moves(work, each.place)) each.lock.reset();
  }
  return held;
}

std::vector<scanned_volume> scan_all(database const& catalogue,
                                     std::vector<held_volume> const& held) {
  std::vector<scanned_volume> scanned;
  for (auto const& [place, lock] : held) {
    scanned.push_back(lock ? scan_volume(catalogue, place, std::nullopt)
                           : scanned_volume{place, mount_of(place), "nothing is done on it", {}});
  }
  return scanned;
}

// One scan for each stage that changed something, and one that finds no more to do,
// whose findings these are.
findings repair_in_rounds(recorder::state& state, repair_work const& work, lost_recordings what) {
  auto const held = hold_all(state, work);
  for (int round = 1;; ++round) {
    auto const volumes = scan_all(state.catalogue, held);
    auto found = findings_in(state, volumes);
    bool const changed = put_in_place(work, volumes) || fill_up(work, volumes) ||
                         (what == lost_recordings::give_up && give_up(work, volumes, found));
    if (!changed || round == most_rounds) return found;
  }
}

bool is_in_order(volume_place const& place, findings const& found) {
  return std::none_of(found.begin(), found.end(), [&](finding const& each) {
    return each.place == "volume " + place.folder_name &&
           (each.what == finding_class::missing || may_hide_a_recording(each));
  });
}

std::vector<stream> leaked_streams(database const& catalogue, std::int64_t volume_id) {
  statement query(catalogue,
                  "SELECT channel_id, recording_type, stream FROM unit"
                  "  WHERE volume_id = ? AND state = 'recorded' AND period_id IS NULL"
                  "  GROUP BY channel_id, recording_type, stream ORDER BY min(id)");
  query.with(volume_id);
  std::vector<stream> found;
  while (query.next()) found.push_back({query.integer(0), query.integer32(1), query.integer32(2)});
  return found;
}

void recycle_leaks(recorder& which, repair_work const& work, findings const& found) {
  span const always{std::numeric_limits<std::int64_t>::min(),
                    std::numeric_limits<std::int64_t>::max()};
  auto const& state = which.inside();
  for (auto const& place : places_of(state.catalogue, state.folder)) {
    if (!is_in_order(place, found)) continue;
    attempt(work, place, [&] {
      for (auto const& of : leaked_streams(state.catalogue, place.id)) {
        auto const units = which.recycle(place.id, of, always);
        if (units == 0) continue;
        work.repaired(place, "leaked units of channel " +
                                 std::to_string(channel_number(state.catalogue, of.channel_id)) +
                                 " that are back in preallocate: " + std::to_string(units));
      }
      return true;
    });
  }
}

bool is_sound(database const& catalogue) {
  findings damage;
  try {
    check_integrity(catalogue, damage);
  } catch (database_error const&) {
    return false;
  }
  return damage.empty();
}

}  // namespace

// The catalogue is opened for writing without finishing moves first, so that
// this, too, is told.
repair_report repair(std::filesystem::path const& folder, lost_recordings what) {
  auto opened = recorder::open(folder, access::read_only);
  auto& state = opened.inside();
  bool const lacked_journal = journal_problem(state.catalogue).has_value();
  state.catalogue = open_catalogue(opened.folder(), access::read_write);
  // Nothing is begun while somebody else changes the catalogue.
  transaction(state.catalogue, transaction_kind::writing);
  repair_report report;
  if (lacked_journal && !journal_problem(state.catalogue)) {
    report.repaired.emplace_back("catalogue: its journal was put back");
  }
  if (!is_sound(state.catalogue)) return report;
  repair_work const work{state.catalogue, state.unit_mb * megabyte, report};
  try {
    auto const found = repair_in_rounds(state, work, what);
    give_ids(work);
    recycle_leaks(opened, work, found);
  } catch (error const& problem) {
    if (report.repaired.empty()) throw;
    report.failed.insert(std::string("all that was not reached: ") + problem.what());
  }
  return report;
}

}  // namespace lab
