#include "lab/repair/repair.h"

#include <algorithm>
#include <limits>
#include <set>

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

// The ids of the volumes on which something can be done. Their locks are held until
// the recorder is closed.
std::set<std::int64_t> hold_all(recorder& which, repair_work const& work) {
  auto const& state = which.inside();
  std::set<std::int64_t> usable;
  for (auto const& place : places_of(state.catalogue, state.folder)) {
    if (mount_of(place) != mount::present) continue;
    which.hold(place.id, state.lock_timeout);
    if (finish_moves(work, place)) usable.insert(place.id);
  }
  return usable;
}

std::vector<scanned_volume> scan_all(recorder::state const& state,
                                     std::set<std::int64_t> const& usable) {
  std::vector<scanned_volume> scanned;
  for (auto const& place : places_of(state.catalogue, state.folder)) {
    scanned.push_back(usable.count(place.id) > 0
                          ? scan_volume(state.catalogue, place, std::nullopt)
                          : scanned_volume{place, mount_of(place), "nothing is done on it", {}});
  }
  return scanned;
}

// One scan for each stage that changed something, and one that finds no more to do,
// whose findings these are.
findings repair_in_rounds(recorder& which, repair_work const& work, lost_recordings what) {
  auto const& state = which.inside();
  auto const usable = hold_all(which, work);
  for (int round = 1;; ++round) {
    auto const volumes = scan_all(state, usable);
    auto found = findings_in(state, volumes);
    bool const changed = put_in_place(work, volumes) || fill_up(work, volumes) ||
                         (what == lost_recordings::give_up && give_up(work, volumes, found));
    if (!changed || round == most_rounds) return found;
  }
}

bool is_in_order(volume_place const& place, findings const& found) {
  return std::none_of(found.begin(), found.end(), [&](finding const& each) {
    return each.place == "volume " + place.folder_name &&
           (each.what == finding_class::missing || each.what == finding_class::too_long ||
            may_hide_a_recording(each));
  });
}

// Streams with leaks on the volume. Where a period is known in the hour of one, that
// may be its own, whatever storage id it has.
std::vector<stream> leaked_streams(database const& catalogue, std::int64_t volume_id) {
  statement query(catalogue,
                  "SELECT u.channel_id, u.recording_type, u.stream FROM unit u"
                  "  WHERE u.volume_id = ? AND u.state = 'recorded' AND u.period_id IS NULL"
                  "  GROUP BY u.channel_id, u.recording_type, u.stream"
                  "  HAVING NOT max(EXISTS ("
                  "    SELECT 1 FROM period p WHERE p.channel_id = u.channel_id"
                  "        AND p.recording_type = u.recording_type AND p.stream = u.stream"
                  "        AND p.start_ms < u.hour_ms + 3600000 AND p.end_ms > u.hour_ms))"
                  "  ORDER BY min(u.id)");
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

}  // namespace

// No move is finished when the catalogue is opened, so that this, too, is told.
repair_report repair(std::filesystem::path const& folder, lost_recordings what) {
  auto opened = recorder::open(folder, access::read_only);
  auto& state = opened.inside();
  bool const lacked_journal = journal_problem(state.catalogue).has_value();
  state.catalogue = open_catalogue(opened.folder(), access::read_write);
  // Nothing is begun while somebody else changes the catalogue.
  static_cast<void>(transaction(state.catalogue, transaction_kind::writing));
  repair_report report;
  if (lacked_journal && !journal_problem(state.catalogue)) {
    report.repaired.emplace_back("catalogue: its journal was put back");
  }
  if (!is_sound(state.catalogue)) return report;
  repair_work const work{state.catalogue, state.unit_mb * megabyte, report};
  try {
    auto const found = repair_in_rounds(opened, work, what);
    give_ids(work);
    recycle_leaks(opened, work, found);
  } catch (error const& problem) {
    if (report.repaired.empty()) throw;
    report.failed.insert(std::string("all that was not reached: ") + problem.what());
  }
  return report;
}

}  // namespace lab
