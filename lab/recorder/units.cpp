// The operations that move units: recording, recycling, retention.
#include <algorithm>
#include <limits>
#include <set>
#include <utility>

#include "lab/catalogue/journal.h"
#include "lab/recorder/state.h"
#include "lab/volume/layout.h"
#include "lab/volume/moves.h"
#include "lab/volume/place.h"
#include "lab/volume/unit_state.h"
#include "lab/volume/values.h"

namespace lab {

namespace {

// The unit's own hour must lie in the span whole, and every period of the same
// stream that may be on this volume keeps the hours that it overlaps.
constexpr char const* recycle_query =
    "UPDATE unit SET state = 'recycling' WHERE id IN ("
    "  SELECT u.id FROM unit u"
    "    WHERE u.volume_id = ?1 AND u.channel_id = ?2 AND u.recording_type = ?3 AND u.stream = ?4"
    "      AND u.state = 'recorded' AND u.period_id IS NULL"
    "      AND u.hour_ms BETWEEN ?5 AND ?6"
    "      AND NOT EXISTS ("
    "        SELECT 1 FROM period p"
    "          WHERE p.channel_id = u.channel_id AND p.recording_type = u.recording_type"
    "            AND p.stream = u.stream"
    "            AND (p.storage_id IN ('', ?7)"
    "                 OR EXISTS (SELECT 1 FROM unit held"
    "                              WHERE held.period_id = p.id AND held.volume_id = ?1))"
    "            AND p.start_ms < u.hour_ms + 3600000 AND p.end_ms > u.hour_ms)"
    "    ORDER BY u.hour_ms, u.id LIMIT ?8)";

constexpr char const* recording_query =
    "UPDATE unit SET state = 'recording', channel_id = ?2, recording_type = ?3, stream = ?4,"
    "                hour_ms = ?5"
    "  WHERE id IN (SELECT id FROM unit WHERE volume_id = ?1 AND state = 'free'"
    "                 ORDER BY id LIMIT ?6)"
    "  RETURNING id, name";

// No unit is begun twice: one that is belongs to a catalogue that answers
// otherwise than it was told.
void require_consistent(bool holds) {
  if (!holds) throw error("catalogue: its indexes contradict its tables");
}

// Throws unless units can be moved between preallocate and their hours: what
// cannot be finished must not be begun.
void require_movable(volume_place const& place) {
  folder const home(open_storage(place), preallocate_folder);
}

std::int64_t begin_recycling(database& catalogue, volume_place const& place, stream const& of,
                             span const& hours) {
  transaction intent(catalogue, transaction_kind::writing);
  statement update(catalogue, recycle_query);
  update
      .with(place.id, of.channel_id, of.recording_type, of.number, hours.start_ms, hours.end_ms,
            place.sid_text, move_batch)
      .run();
  std::int64_t const begun = catalogue.changes();
  if (begun == 0) return 0;
  require_movable(place);
  intent.commit();
  return begun;
}

std::vector<moving_unit> begin_recording(database& catalogue, volume_place const& place,
                                         stream const& of, std::int64_t hour_ms,
                                         std::int64_t count) {
  auto const folder_name = hour_folder_name(channel_number(catalogue, of.channel_id),
                                            of.recording_type, of.number, hour_ms);
  transaction intent(catalogue, transaction_kind::writing);
  statement update(catalogue, recording_query);
  update.with(place.id, of.channel_id, of.recording_type, of.number, hour_ms, count);
  std::vector<moving_unit> units;
  while (update.next()) units.push_back({update.integer(0), unit_name_in(update, 1), folder_name});
  intent.commit();
  std::sort(units.begin(), units.end(),
            [](auto const& left, auto const& right) { return left.id < right.id; });
  return units;
}

void note_missing(database& catalogue, std::vector<moving_unit> const& missing) {
  if (missing.empty()) return;
  transaction loss(catalogue, transaction_kind::writing);
  for (auto const& unit : missing) take_out_of_hour(catalogue, unit.id, unit_state::bad);
  loss.commit();
}

// All units on their way on a locked volume are this period's.
void finish_recording(database& catalogue, volume_place const& place, stream const& of,
                      std::int64_t hour_ms) {
  transaction arrival(catalogue, transaction_kind::writing);
  statement(catalogue,
            "INSERT INTO period"
            "  (channel_id, recording_type, stream, start_ms, end_ms, storage_id)"
            "  VALUES (?, ?, ?, ?, ?, ?)")
      .with(of.channel_id, of.recording_type, of.number, hour_ms, hour_ms + hour_milliseconds,
            place.sid_text)
      .run();
  statement(catalogue,
            "UPDATE unit SET state = 'recorded', period_id = ?"
            "  WHERE volume_id = ? AND state = 'recording'")
      .with(catalogue.last_id(), place.id)
      .run();
  arrival.commit();
}

[[noreturn]] void fail_as_full(volume_place const& place, std::int64_t wanted, std::int64_t left) {
  throw error("volume " + place.folder_name + " is full: " + std::to_string(wanted) +
              " units wanted, " + std::to_string(left) + " are free");
}

void move_into_hour(database& catalogue, volume_place const& place, stream const& of,
                    std::int64_t hour_ms, std::int64_t count) {
  require_movable(place);
  folder const storage = open_storage(place);
  std::set<std::int64_t> begun;
  for (std::int64_t left = count; left > 0;) {
    auto const units = begin_recording(catalogue, place, of, hour_ms, std::min(left, move_batch));
    if (units.empty()) fail_as_full(place, count, count - left);
    for (auto const& unit : units) require_consistent(begun.insert(unit.id).second);
    auto const missing = take_out(storage, units);
    note_missing(catalogue, missing);
    left -= static_cast<std::int64_t>(units.size() - missing.size());
  }
}

void require_recordable(stream const& of, std::int64_t hour_ms, int units) {
  if (of.recording_type != 4 && of.recording_type != 1 && of.recording_type != 2) {
    throw error("there is no recording type " + std::to_string(of.recording_type));
  }
  if (of.number < 0 || of.number > 4) {
    throw error("there is no stream " + std::to_string(of.number));
  }
  if (hour_of(hour_ms) != hour_ms) {
    throw error(std::to_string(hour_ms) + " ms is not the start of an hour");
  }
  if (units < 1) throw error("a period needs at least one unit");
}

// A volume that is locked for moving its units.
struct locked_volume {
  volume_place place;
  volume_lock lock;
};

std::vector<locked_volume> lock_mounted(std::vector<volume_place> const& places,
                                        std::chrono::milliseconds lock_timeout) {
  std::vector<locked_volume> locked;
  for (auto const& place : places) {
    if (mount_of(place) != mount::present) continue;
    locked.push_back({place, volume_lock(place, volume_lock::kind::exclusive, lock_timeout)});
  }
  return locked;
}

// The periods that ended before `before_ms`, those with a unit elsewhere than
// on the locked volumes left out.
std::vector<std::int64_t> expired_periods(database const& catalogue, std::int64_t before_ms,
                                          std::vector<locked_volume> const& locked) {
  statement query(catalogue, "SELECT id FROM period WHERE end_ms <= ? ORDER BY id");
  statement volumes(catalogue, "SELECT DISTINCT volume_id FROM unit WHERE period_id = ?");
  query.with(before_ms);
  std::vector<std::int64_t> found;
  while (query.next()) {
    bool reachable = true;
    volumes.with(query.integer(0));
    while (volumes.next()) {
      std::int64_t const id = volumes.integer(0);
      reachable = reachable && std::any_of(locked.begin(), locked.end(), [id](auto const& volume) {
                    return volume.place.id == id;
                  });
    }
    if (reachable) found.push_back(query.integer(0));
  }
  return found;
}

// Brings home what is on its way on each volume, and returns how many units
// that were. A volume that cannot take units back goes from the list, and why
// into `failures`.
std::int64_t bring_all_home(database& catalogue, std::vector<locked_volume>& volumes,
                            std::vector<std::string>& failures) {
  std::int64_t came_back = 0;
  for (auto volume = volumes.begin(); volume != volumes.end();) {
    try {
      require_movable(volume->place);
      came_back += finish_moves(catalogue, volume->place);
      ++volume;
    } catch (busy_error const&) {
      throw;
    } catch (database_error const&) {
      throw;
    } catch (error const& failure) {
      failures.emplace_back(failure.what());
      volume = volumes.erase(volume);
    }
  }
  return came_back;
}

[[noreturn]] void fail_as_incomplete(std::vector<std::string> const& failures,
                                     std::int64_t came_back) {
  std::string text;
  for (auto const& failure : failures) text.append(failure).append("; ");
  throw error(text + std::to_string(came_back) + " units of other volumes came back");
}

// Drops the first periods of the list, up to about one batch of units, and
// sends their units on their way; returns how many periods these were.
std::size_t begin_expiry(database& catalogue, std::vector<std::int64_t> const& periods,
                         std::size_t first) {
  transaction intent(catalogue, transaction_kind::writing);
  statement give_back(catalogue,
                      "UPDATE unit SET state = 'recycling', period_id = NULL WHERE period_id = ?");
  statement drop(catalogue, "DELETE FROM period WHERE id = ?");
  std::int64_t units = 0;
  std::size_t taken = 0;
  while (first + taken < periods.size() && units < move_batch) {
    give_back.with(periods[first + taken]).run();
    units += catalogue.changes();
    drop.with(periods[first + taken]).run();
    ++taken;
  }
  intent.commit();
  return taken;
}

}  // namespace

std::int64_t recorder::recycle(std::int64_t volume_id, stream const& of, span const& within) {
  auto& catalogue = state_->catalogue;
  auto const place = place_of(catalogue, state_->folder, volume_id);
  volume_lock const lock(place, volume_lock::kind::exclusive, state_->lock_timeout);
  finish_moves(catalogue, place);
  std::int64_t const rest_of_hour = hour_milliseconds - 1;
  if (within.end_ms < std::numeric_limits<std::int64_t>::min() + rest_of_hour) return 0;
  span const hours{within.start_ms, within.end_ms - rest_of_hour};
  std::int64_t came_back = 0;
  std::int64_t begun = 0;
  std::int64_t const most = account(volume_id).total;
  while (std::int64_t const now = begin_recycling(catalogue, place, of, hours)) {
    begun += now;
    came_back += finish_moves(catalogue, place);
    require_consistent(begun <= most);
  }
  return came_back;
}

void recorder::record(std::int64_t volume_id, stream const& of, std::int64_t hour_ms, int units) {
  auto& catalogue = state_->catalogue;
  require_recordable(of, hour_ms, units);
  auto const place = place_of(catalogue, state_->folder, volume_id);
  volume_lock const lock(place, volume_lock::kind::exclusive, state_->lock_timeout);
  finish_moves(catalogue, place);
  std::int64_t const free_units = account(volume_id).preallocated;
  if (free_units < units) fail_as_full(place, units, free_units);
  catalogue.reserve(catalogue_reserve);
  put_back_journal(catalogue);
  try {
    move_into_hour(catalogue, place, of, hour_ms, units);
    finish_recording(catalogue, place, of, hour_ms);
  } catch (error const&) {
    try {
      finish_moves(catalogue, place);
    } catch (error const&) {
      // The next writer brings back what could not be brought back now.
    }
    throw;
  }
}

std::int64_t recorder::expire(std::int64_t before_ms) {
  auto& catalogue = state_->catalogue;
  auto usable = lock_mounted(places_of(catalogue, state_->folder), state_->lock_timeout);
  std::vector<std::string> failures;
  bring_all_home(catalogue, usable, failures);
  std::int64_t came_back = 0;
  for (auto volumes = usable.size() + 1; usable.size() < volumes;) {
    volumes = usable.size();
    auto const periods = expired_periods(catalogue, before_ms, usable);
    for (std::size_t done = 0; done < periods.size() && usable.size() == volumes;) {
      done += begin_expiry(catalogue, periods, done);
      came_back += bring_all_home(catalogue, usable, failures);
    }
  }
  if (!failures.empty()) fail_as_incomplete(failures, came_back);
  return came_back;
}

}  // namespace lab
