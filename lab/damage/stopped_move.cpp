// Laying out what a stop leaves of moves, see lab/volume/moves.h.
#include <algorithm>
#include <functional>
#include <utility>

#include "lab/catalogue/catalogue.h"
#include "lab/damage/damaged_volume.h"
#include "lab/disk/file_steps.h"
#include "lab/util/text.h"
#include "lab/volume/layout.h"
#include "lab/volume/moves.h"
#include "lab/volume/recording_type.h"

namespace lab {

namespace {

// Each looks for its folders when it is its turn.
using step_list = std::vector<std::function<void()>>;

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

// Whole hours, so that retention can have dropped all of their periods: first
// that of a unit which the seed chooses, then the oldest.
std::vector<unit_row> units_to_recycle(damaged_volume& on, int least) {
  auto held = on.sound_units(unit_state::recorded);
  require(held.size(), least, "recorded unit", on.on_volume());
  auto const chosen = on.one_of(held, "").folder_name;
  std::stable_partition(held.begin(), held.end(),
                        [&](unit_row const& each) { return each.folder_name == chosen; });
  auto end = held.begin() + least;
  while (end != held.end() && end->folder_name == (end - 1)->folder_name) ++end;
  held.erase(end, held.end());
  return held;
}

std::vector<unit_row> units_to_record(damaged_volume const& on, int count) {
  auto free = on.sound_units(unit_state::free);
  require(free.size(), count, "free unit", on.on_volume());
  free.resize(static_cast<std::size_t>(count));
  return free;
}

void require_recyclable(damaged_volume const& on, std::vector<unit_row> const& moving, int step) {
  if (step == 1) return;
  require_room(opened_folder(on.storage(), preallocate_folder), moving, step - 1);
}

// Step 1 is the intent, as retention begins it; then every unit is linked, every
// one is unlinked, and the emptied folders go.
step_list recycling(damaged_volume const& on, std::vector<unit_row> const& moving) {
  step_list all;
  all.emplace_back([&] {
    transaction intent(on.catalogue, transaction_kind::writing);
    statement drop(on.catalogue,
                   "DELETE FROM period WHERE id = (SELECT period_id FROM unit WHERE id = ?)");
    statement go(on.catalogue,
                 "UPDATE unit SET state = 'recycling', period_id = NULL WHERE id = ?");
    for (auto const& unit : moving) drop.with(unit.id).run();
    for (auto const& unit : moving) go.with(unit.id).run();
    intent.commit();
  });
  for (auto const& unit : moving) {
    all.emplace_back([&] {
      link_unit(on.folder_of(unit), opened_folder(on.storage(), preallocate_folder), unit);
    });
  }
  for (auto const& unit : moving) {
    all.emplace_back([&] { steps::remove_file(on.folder_of(unit), unit.name); });
  }
  all.emplace_back([&] {
    for (auto const& unit : moving) steps::remove_empty_folder(on.storage(), unit.folder_name);
  });
  return all;
}

struct hour_to_record {
  std::int64_t channel_id;
  std::int64_t hour_ms;
  std::string folder_name;
};

// The hour before everything that the main stream of the first channel has that
// records into the volume, or of the first one.
hour_to_record chosen_hour(damaged_volume const& on) {
  statement channel(on.catalogue,
                    "SELECT c.id, c.number FROM channel c"
                    "  LEFT JOIN assignment a ON a.channel_id = c.id AND a.volume_id = ?"
                    "  ORDER BY a.id IS NULL, a.id, c.id");
  if (!channel.with(on.place.id).next()) throw error("the recorder has no channel");
  auto const hour_ms =
      number_of(on.catalogue,
                "SELECT coalesce(min(hour_ms),"
                "                (SELECT made_ms / 3600000 * 3600000 FROM recorder)) - 3600000"
                "  FROM unit WHERE channel_id = ? AND recording_type = 4 AND stream = 0",
                channel.integer(0));
  return {channel.integer(0), hour_ms,
          hour_folder_name(channel.integer32(1), normal_recording.code, 0, hour_ms)};
}

void require_recordable(damaged_volume const& on, std::vector<unit_row> const& moving,
                        hour_to_record const& hour, int step) {
  auto const within = on.storage();
  auto const preallocate = opened_folder(within, preallocate_folder);
  for (auto const& unit : moving) require_one_name(preallocate, unit.name);
  if (!within.status(hour.folder_name)) return;
  require_room(opened_folder(within, hour.folder_name), moving, (step - 1) / 2);
}

// Step 1 is the intent, step 2 the hour folder; then every unit is linked and
// gets its beginning, and every one is unlinked.
step_list recording(damaged_volume const& on, std::vector<unit_row> const& moving,
                    hour_to_record const& hour) {
  step_list all;
  all.emplace_back([&] {
    transaction intent(on.catalogue, transaction_kind::writing);
    statement go(on.catalogue,
                 "UPDATE unit SET state = 'recording', channel_id = ?, recording_type = ?,"
                 "                stream = 0, hour_ms = ? WHERE id = ?");
    for (auto const& unit : moving) {
      go.with(hour.channel_id, normal_recording.code, hour.hour_ms, unit.id).run();
    }
    intent.commit();
  });
  all.emplace_back([&] { steps::make_folder(on.storage(), hour.folder_name); });
  for (auto const& unit : moving) {
    all.emplace_back([&] {
      link_unit(on.folder_of(unit), opened_folder(on.storage(), hour.folder_name), unit);
    });
    all.emplace_back([&] {
      steps::write_head(opened_folder(on.storage(), hour.folder_name), unit.name,
                        recording_head(hour.folder_name, unit.name));
    });
  }
  for (auto const& unit : moving) {
    all.emplace_back([&] { steps::remove_file(on.folder_of(unit), unit.name); });
  }
  return all;
}

}  // namespace

std::string stop_move(damaged_volume& on) {
  auto const move = on.options.move.value_or("recycling");
  bool const recycles = move == "recycling";
  int const wanted = on.options.count.value_or(2);
  auto const moving = recycles ? units_to_recycle(on, wanted) : units_to_record(on, wanted);
  auto const hour = recycles ? hour_to_record{} : chosen_hour(on);
  auto const all = recycles ? recycling(on, moving) : recording(on, moving, hour);
  auto const units = counted(static_cast<std::int64_t>(moving.size()), "unit");
  auto const most = static_cast<int>(all.size());
  int const step = on.options.step.value_or(1 + static_cast<int>(on.numbers.below(most)));
  if (step > most) throw error(move + " " + units + " has only " + counted(most, "step"));
  if (recycles) {
    require_recyclable(on, moving, step);
  } else {
    require_recordable(on, moving, hour, step);
  }
  for (int each = 0; each < step; ++each) all[static_cast<std::size_t>(each)]();
  return "stopped: " + move + " " + units + on.on_volume() + " at step " + std::to_string(step) +
         " of " + std::to_string(most);
}

}  // namespace lab
