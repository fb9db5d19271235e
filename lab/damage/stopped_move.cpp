// Laying out what a stop leaves of moves, see lab/volume/moves.h.
#include <algorithm>
#include <utility>

#include "lab/damage/damager.h"
#include "lab/disk/file_steps.h"
#include "lab/volume/layout.h"
#include "lab/volume/moves.h"
#include "lab/volume/recording_type.h"

namespace lab {

namespace {

constexpr char const* recording_hour_query =
    "SELECT coalesce(min(hour_ms), (SELECT made_ms / 3600000 * 3600000 FROM recorder)) - 3600000"
    "  FROM unit WHERE channel_id = ? AND recording_type = 4 AND stream = 0";

// Counts steps down; false from the step on that is not done any more.
class steps_left {
 public:
  explicit steps_left(int count) : left_(count) {}
  bool next() { return left_-- > 0; }

 private:
  int left_;
};

void require(std::size_t found, int wanted, std::string const& what, std::string const& where) {
  if (found >= static_cast<std::size_t>(wanted)) return;
  throw error("there are only " + counted(static_cast<std::int64_t>(found), what) + where);
}

// Before a file is written: its second name may be anywhere.
void require_one_name(folder const& in, std::string const& name) {
  auto const status = in.status(name);
  if (!status || status->st_nlink <= 1) return;
  throw error((in.path() / name).string() + ": has a second name elsewhere");
}

[[noreturn]] void fail_as_taken(folder const& in, unit_row const& unit) {
  throw error((in.path() / unit.name).string() + ": is there already");
}

// Before anything is changed: the first units have to find room in a folder.
void require_room(folder const& in, std::vector<unit_row> const& moving, int first_units) {
  int left = first_units;
  for (auto const& unit : moving) {
    if (left-- <= 0) return;
    if (in.status(unit.name)) fail_as_taken(in, unit);
  }
}

void link_unit(folder const& from, folder const& to, unit_row const& unit) {
  if (!steps::link_file(from, to, unit.name)) fail_as_taken(to, unit);
}

}  // namespace

// Whole hours, so that retention can have dropped all of their periods: first
// that of a unit which the seed chooses, then the oldest.
std::vector<unit_row> damager::units_to_recycle(int least) {
  auto held = sound_units(unit_state::recorded);
  require(held.size(), least, "recorded unit", on_volume());
  auto const chosen = one_of(held, "").folder_name;
  std::stable_partition(held.begin(), held.end(),
                        [&](unit_row const& each) { return each.folder_name == chosen; });
  auto end = held.begin() + least;
  while (end != held.end() && end->folder_name == (end - 1)->folder_name) ++end;
  held.erase(end, held.end());
  return held;
}

std::vector<unit_row> damager::units_to_record(int count) {
  auto free = sound_units(unit_state::free);
  require(free.size(), count, "free unit", on_volume());
  free.resize(static_cast<std::size_t>(count));
  return free;
}

// Step 1 is the intent, as retention begins it; then every unit is linked, every
// one is unlinked, and the emptied folders go.
void damager::stop_recycling(std::vector<unit_row> const& moving, int step) {
  steps_left left(step - 1);
  auto const within = storage();
  if (step > 1) require_room(opened_folder(within, preallocate_folder), moving, step - 1);
  transaction intent(catalogue_, transaction_kind::writing);
  statement drop(catalogue_,
                 "DELETE FROM period WHERE id = (SELECT period_id FROM unit WHERE id = ?)");
  statement go(catalogue_, "UPDATE unit SET state = 'recycling', period_id = NULL WHERE id = ?");
  for (auto const& unit : moving) drop.with(unit.id).run();
  for (auto const& unit : moving) go.with(unit.id).run();
  intent.commit();
  for (auto const& unit : moving) {
    if (!left.next()) return;
    link_unit(folder_of(unit), opened_folder(within, preallocate_folder), unit);
  }
  for (auto const& unit : moving) {
    if (!left.next()) return;
    steps::remove_file(folder_of(unit), unit.name);
  }
  if (!left.next()) return;
  for (auto const& unit : moving) steps::remove_empty_folder(within, unit.folder_name);
}

// The hour before everything that the main stream of the first channel has that
// records into the volume, or of the first one.
std::vector<unit_row> damager::begin_recording(std::vector<unit_row> moving, int step) {
  statement channel(catalogue_,
                    "SELECT c.id, c.number FROM channel c"
                    "  LEFT JOIN assignment a ON a.channel_id = c.id AND a.volume_id = ?"
                    "  ORDER BY a.id IS NULL, a.id, c.id");
  if (!channel.with(place_.id).next()) throw error("the recorder has no channel");
  statement hour(catalogue_, recording_hour_query);
  hour.with(channel.integer(0)).next();
  auto const hour_name =
      hour_folder_name(channel.integer32(1), normal_recording.code, 0, hour.integer(0));
  for (auto& unit : moving) unit.folder_name = hour_name;
  auto const within = storage();
  auto const preallocate = opened_folder(within, preallocate_folder);
  for (auto const& unit : moving) require_one_name(preallocate, unit.name);
  if (within.status(hour_name)) {
    require_room(opened_folder(within, hour_name), moving, (step - 1) / 2);
  }
  transaction intent(catalogue_, transaction_kind::writing);
  statement go(catalogue_,
               "UPDATE unit SET state = 'recording', channel_id = ?, recording_type = ?,"
               "                stream = 0, hour_ms = ? WHERE id = ?");
  for (auto const& unit : moving) {
    go.with(channel.integer(0), normal_recording.code, hour.integer(0), unit.id).run();
  }
  intent.commit();
  return moving;
}

// Step 1 is the intent, step 2 the hour folder; then every unit is linked and
// gets its beginning, and every one is unlinked.
void damager::stop_recording(std::vector<unit_row> moving, int step) {
  steps_left left(step - 1);
  moving = begin_recording(std::move(moving), step);
  auto const within = storage();
  auto const& hour_name = moving.front().folder_name;
  if (!left.next()) return;
  steps::make_folder(within, hour_name);
  auto const preallocate = opened_folder(within, preallocate_folder);
  auto const hour = opened_folder(within, hour_name);
  for (auto const& unit : moving) {
    if (!left.next()) return;
    link_unit(preallocate, hour, unit);
    if (!left.next()) return;
    steps::write_head(hour, unit.name, recording_head(hour_name, unit.name));
  }
  for (auto const& unit : moving) {
    if (!left.next()) return;
    steps::remove_file(preallocate, unit.name);
  }
}

std::string damager::stop_move() {
  auto const move = options_.move.value_or("recycling");
  bool const recycles = move == "recycling";
  int const wanted = options_.count.value_or(2);
  auto const moving = recycles ? units_to_recycle(wanted) : units_to_record(wanted);
  auto const count = static_cast<int>(moving.size());
  int const steps = recycles ? 2 + 2 * count : 2 + 3 * count;
  int const step = options_.step.value_or(1 + static_cast<int>(random_.below(steps)));
  if (step > steps) {
    throw error(move + " " + counted(count, "unit") + " has only " + counted(steps, "step"));
  }
  if (recycles) {
    stop_recycling(moving, step);
  } else {
    stop_recording(moving, step);
  }
  return "stopped: " + move + " " + counted(count, "unit") + on_volume() + " at step " +
         std::to_string(step) + " of " + std::to_string(steps);
}

}  // namespace lab
