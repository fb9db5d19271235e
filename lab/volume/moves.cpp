#include "lab/volume/moves.h"

#include <limits>
#include <map>
#include <optional>
#include <utility>

#include "lab/disk/file_steps.h"
#include "lab/volume/layout.h"
#include "lab/volume/place.h"
#include "lab/volume/unit_state.h"
#include "lab/volume/values.h"

namespace lab {

namespace {

using units_by_folder = std::map<std::string, std::vector<moving_unit>>;

enum class whereabouts { preallocate, both, nowhere };

bool holds_file(folder const& in, std::string const& name) {
  auto const status = in.status(name);
  return status && S_ISREG(status->st_mode);
}

bool same_file(folder const& left, folder const& right, std::string const& name) {
  auto const one = left.status(name);
  auto const other = right.status(name);
  return one && other && one->st_dev == other->st_dev && one->st_ino == other->st_ino;
}

bool is_smaller(folder const& in, folder const& than_in, std::string const& name) {
  auto const one = in.status(name);
  auto const other = than_in.status(name);
  return one && other && one->st_size < other->st_size;
}

// Links a unit into preallocate. Another file by the unit's name in the hour
// folder is not removed: such a unit counts as back already, unless what is in
// preallocate is no unit.
whereabouts link_back(folder const& hour, folder const& preallocate, std::string const& name) {
  if (!holds_file(hour, name)) {
    return holds_file(preallocate, name) ? whereabouts::preallocate : whereabouts::nowhere;
  }
  if (steps::link_file(hour, preallocate, name)) return whereabouts::both;
  if (same_file(hour, preallocate, name)) return whereabouts::both;
  bool const is_unit = holds_file(preallocate, name) && !is_smaller(preallocate, hour, name);
  return is_unit ? whereabouts::preallocate : whereabouts::nowhere;
}

void remove_all(folder const& in, std::vector<std::string> const& names) {
  for (auto const& name : names) steps::remove_file(in, name);
}

// An hour folder and what of it is linked into preallocate too.
struct emptied_folder {
  folder hour;
  std::vector<std::string> names;
};

units_by_folder by_folder(std::vector<moving_unit> const& units) {
  units_by_folder sorted;
  for (auto const& unit : units) sorted[unit.hour_folder].push_back(unit);
  return sorted;
}

std::vector<std::string> link_all_back(std::optional<folder> const& hour, folder const& preallocate,
                                       std::vector<moving_unit> const& units,
                                       std::vector<moving_unit>& nowhere) {
  std::vector<std::string> linked;
  for (auto const& unit : units) {
    auto found = whereabouts::nowhere;
    if (hour) {
      found = link_back(*hour, preallocate, unit.name);
    } else if (holds_file(preallocate, unit.name)) {
      found = whereabouts::preallocate;
    }
    if (found == whereabouts::both) linked.push_back(unit.name);
    if (found == whereabouts::nowhere) nowhere.push_back(unit);
  }
  return linked;
}

// To sort none costs far more than to find that there is none.
bool has_units_in_transit(database const& catalogue, volume_place const& place) {
  statement query(
      catalogue,
      "SELECT 1 WHERE EXISTS (SELECT 1 FROM unit WHERE volume_id = ?1 AND state = 'recording')"
      "  OR EXISTS (SELECT 1 FROM unit WHERE volume_id = ?1 AND state = 'recycling')");
  return query.with(place.id).next();
}

std::vector<moving_unit> units_in_transit(database const& catalogue, volume_place const& place) {
  if (!has_units_in_transit(catalogue, place)) return {};
  statement query(catalogue,
                  "SELECT u.id, u.name, c.number, u.recording_type, u.stream, u.hour_ms"
                  "  FROM unit u JOIN channel c ON c.id = u.channel_id"
                  "  WHERE u.volume_id = ? AND u.state IN ('recording', 'recycling')"
                  "  ORDER BY u.id LIMIT ?");
  query.with(place.id, move_batch);
  std::vector<moving_unit> units;
  while (query.next()) {
    units.push_back({query.integer(0), unit_name_in(query, 1),
                     hour_folder_name(channel_number_in(query, 2), recording_type_in(query, 3),
                                      stream_in(query, 4), time_in(query, 5))});
  }
  return units;
}

// Returns how many more units are in transit then.
std::int64_t note_arrival(database& catalogue, std::vector<moving_unit> const& units,
                          std::vector<moving_unit> const& nowhere,
                          std::function<std::int64_t()> const& begin_more) {
  transaction arrival(catalogue, transaction_kind::writing);
  take_out_of_hour(catalogue, ids_of(units), unit_state::free);
  take_out_of_hour(catalogue, ids_of(nowhere), unit_state::bad);
  std::int64_t const more = begin_more ? begin_more() : 0;
  arrival.commit();
  return more;
}

}  // namespace

std::vector<std::int64_t> ids_of(std::vector<moving_unit> const& units) {
  std::vector<std::int64_t> ids;
  ids.reserve(units.size());
  for (auto const& unit : units) ids.push_back(unit.id);
  return ids;
}

std::string recording_head(std::string const& hour_folder, std::string const& unit_name) {
  return hour_folder + "/" + unit_name + "\n";
}

std::vector<moving_unit> take_out(folder const& storage, std::vector<moving_unit> const& units) {
  if (units.empty()) return {};
  folder const preallocate(storage, preallocate_folder);
  std::string const& hour_name = units.front().hour_folder;
  if (steps::make_folder(storage, hour_name)) steps::sync_folder(storage);
  folder const hour(storage, hour_name);
  std::vector<moving_unit> missing;
  std::vector<std::string> linked;
  for (auto const& unit : units) {
    auto const status = preallocate.status(unit.name);
    if (!status || !S_ISREG(status->st_mode)) {
      missing.push_back(unit);
    } else if (status->st_nlink > 1) {
      throw error((preallocate.path() / unit.name).string() + ": unit has a second name elsewhere");
    } else if (steps::link_file(preallocate, hour, unit.name)) {
      linked.push_back(unit.name);
    } else {
      throw error((hour.path() / unit.name).string() + ": unit is there already");
    }
  }
  // Written out together, so that the first sync makes most of them durable.
  for (auto const& name : linked) {
    steps::write_head(hour, name, recording_head(hour_name, name));
  }
  for (auto const& name : linked) steps::sync_file(hour, name);
  steps::sync_folder(hour);
  remove_all(preallocate, linked);
  steps::sync_folder(preallocate);
  return missing;
}

std::vector<moving_unit> give_back(folder const& storage, std::vector<moving_unit> const& units) {
  folder const preallocate(storage, preallocate_folder);
  std::vector<moving_unit> nowhere;
  std::map<std::string, emptied_folder> emptied;
  for (auto const& [name, in_folder] : by_folder(units)) {
    auto hour = folder::find(storage, name);
    auto linked = link_all_back(hour, preallocate, in_folder, nowhere);
    if (hour) emptied.emplace(name, emptied_folder{std::move(*hour), std::move(linked)});
  }
  steps::sync_folder(preallocate);
  for (auto const& [name, left] : emptied) {
    remove_all(left.hour, left.names);
    if (!steps::remove_empty_folder(storage, name)) steps::sync_folder(left.hour);
  }
  // A folder whose removal is durable holds no names that could come back.
  if (!emptied.empty()) steps::sync_folder(storage);
  return nowhere;
}

void require_movable(volume_place const& place) {
  folder const preallocate(open_storage(place), preallocate_folder);
}

std::int64_t finish_moves(database& catalogue, volume_place const& place,
                          std::function<std::int64_t()> const& begin_more) {
  constexpr auto none = std::numeric_limits<std::int64_t>::min();
  std::int64_t came_back = 0;
  std::int64_t last_id = none;
  for (;;) {
    auto const units = units_in_transit(catalogue, place);
    if (units.empty()) return came_back;
    // Units that are in transit come in the order of their ids, and none that has
    // arrived again.
    require_consistent(units.front().id > last_id);
    last_id = units.back().id;
    folder const storage = open_storage(place);
    auto const nowhere = give_back(storage, units);
    if (note_arrival(catalogue, units, nowhere, begin_more) > 0) last_id = none;
    came_back += static_cast<std::int64_t>(units.size() - nowhere.size());
  }
}

}  // namespace lab
