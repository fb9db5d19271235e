// Recording hours.
#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include "lab/catalogue/journal.h"
#include "lab/recorder/state.h"
#include "lab/volume/layout.h"
#include "lab/volume/lock.h"
#include "lab/volume/moves.h"
#include "lab/volume/place.h"
#include "lab/volume/recording_type.h"
#include "lab/volume/unit_state.h"
#include "lab/volume/values.h"

namespace lab {

namespace {

// Only with period_id do free units come in the order of their ids by themselves.
constexpr char const* recording_query =
    "UPDATE unit SET state = 'recording', channel_id = ?2, recording_type = ?3, stream = ?4,"
    "                hour_ms = ?5"
    "  WHERE id IN (SELECT id FROM unit"
    "                 WHERE volume_id = ?1 AND state = 'free' AND period_id IS NULL"
    "                 ORDER BY id LIMIT ?6)"
    "  RETURNING id, name";

// An hour that is recorded, and how many units it lacks yet.
struct unfinished_hour {
  std::int64_t hour_ms;
  std::int64_t lacking;
};

std::vector<moving_unit> begin_hour(database& catalogue, volume_place const& place,
                                    stream const& of, std::int64_t hour_ms, std::int64_t count) {
  auto const folder_name = hour_folder_name(channel_number(catalogue, of.channel_id),
                                            of.recording_type, of.number, hour_ms);
  statement update(catalogue, recording_query);
  update.with(place.id, of.channel_id, of.recording_type, of.number, hour_ms, count);
  std::vector<moving_unit> units;
  while (update.next()) units.push_back({update.integer(0), unit_name_in(update, 1), folder_name});
  std::sort(units.begin(), units.end(),
            [](auto const& left, auto const& right) { return left.id < right.id; });
  return units;
}

// Puts units in transit, a batch at most, for the first of the hours: a list for
// each of these.
std::vector<std::vector<moving_unit>> begin_recording(database& catalogue,
                                                      volume_place const& place, stream const& of,
                                                      std::vector<unfinished_hour> const& hours) {
  transaction intent(catalogue, transaction_kind::writing);
  std::vector<std::vector<moving_unit>> batch;
  std::int64_t room = move_batch;
  for (auto hour = hours.begin(); hour != hours.end() && room > 0; ++hour) {
    std::int64_t const count = std::min(room, hour->lacking);
    batch.push_back(begin_hour(catalogue, place, of, hour->hour_ms, count));
    room -= count;
  }
  intent.commit();
  return batch;
}

void note_missing(database& catalogue, std::vector<moving_unit> const& missing) {
  if (missing.empty()) return;
  transaction loss(catalogue, transaction_kind::writing);
  take_out_of_hour(catalogue, ids_of(missing), unit_state::bad);
  loss.commit();
}

// All units in transit on a locked volume are these periods'.
void finish_recording(database& catalogue, volume_place const& place, stream const& of,
                      std::vector<std::int64_t> const& hours_ms) {
  transaction arrival(catalogue, transaction_kind::writing);
  statement period(catalogue,
                   "INSERT INTO period"
                   "  (channel_id, recording_type, stream, start_ms, end_ms, storage_id)"
                   "  VALUES (?, ?, ?, ?, ?, ?)");
  statement arrived(catalogue,
                    "UPDATE unit SET state = 'recorded', period_id = ?"
                    "  WHERE channel_id = ? AND recording_type = ? AND stream = ? AND hour_ms = ?"
                    "    AND volume_id = ? AND +state = 'recording'");
  for (auto const hour_ms : hours_ms) {
    period
        .with(of.channel_id, of.recording_type, of.number, hour_ms, hour_ms + hour_milliseconds,
              place.sid_text)
        .run();
    arrived
        .with(catalogue.last_id(), of.channel_id, of.recording_type, of.number, hour_ms, place.id)
        .run();
  }
  arrival.commit();
}

[[noreturn]] void fail_as_full(volume_place const& place, std::int64_t wanted, std::int64_t left) {
  throw error("volume " + place.folder_name + " is full: " + std::to_string(wanted) +
              " units wanted, " + std::to_string(left) + " are free");
}

void move_into_hours(database& catalogue, volume_place const& place, stream const& of,
                     std::vector<unfinished_hour> hours, std::int64_t wanted) {
  require_movable(place);
  folder const storage = open_storage(place);
  std::set<std::int64_t> begun;
  for (std::int64_t left = wanted; left > 0;) {
    // What is given back must not need space.
    catalogue.reserve(catalogue_reserve);
    auto const batch = begin_recording(catalogue, place, of, hours);
    for (std::size_t index = 0; index < batch.size(); ++index) {
      auto const& units = batch[index];
      if (units.empty()) fail_as_full(place, wanted, wanted - left);
      for (auto const& unit : units) require_consistent(begun.insert(unit.id).second);
      auto const missing = take_out(storage, units);
      note_missing(catalogue, missing);
      auto const arrived = static_cast<std::int64_t>(units.size() - missing.size());
      hours[index].lacking -= arrived;
      left -= arrived;
    }
    hours.erase(std::remove_if(hours.begin(), hours.end(),
                               [](auto const& hour) { return hour.lacking == 0; }),
                hours.end());
  }
}

void require_recordable(stream const& of, std::int64_t hour_ms, int units) {
  if (find_recording_type(of.recording_type) == nullptr) {
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

}  // namespace

void recorder::record(std::int64_t volume_id, stream const& of,
                      std::vector<std::int64_t> const& hours_ms, int units) {
  auto& catalogue = state_->catalogue;
  std::vector<unfinished_hour> hours;
  for (auto const hour_ms : hours_ms) {
    require_recordable(of, hour_ms, units);
    hours.push_back({hour_ms, units});
  }
  if (std::set(hours_ms.begin(), hours_ms.end()).size() != hours_ms.size()) {
    throw error("an hour is named twice");
  }
  auto const wanted = static_cast<std::int64_t>(hours.size()) * units;
  auto const place = place_of(catalogue, state_->folder, volume_id);
  volume_lock const lock(place, volume_lock::kind::exclusive, state_->lock_timeout);
  finish_moves(catalogue, place);
  std::int64_t const free_units = account(volume_id).preallocated;
  if (free_units < wanted) fail_as_full(place, wanted, free_units);
  catalogue.reserve(catalogue_reserve);
  put_back_journal(catalogue);
  try {
    move_into_hours(catalogue, place, of, std::move(hours), wanted);
    finish_recording(catalogue, place, of, hours_ms);
  } catch (error const&) {
    try {
      finish_moves(catalogue, place);
    } catch (error const&) {
      // The next writer brings back what could not be brought back now.
    }
    throw;
  }
}

}  // namespace lab
