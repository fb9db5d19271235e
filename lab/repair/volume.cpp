#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

#include "lab/disk/file_steps.h"
#include "lab/repair/stages.h"
#include "lab/volume/moves.h"

namespace lab {

namespace {

// A link to a folder is none: it may lead to another volume.
folder made_folder(folder const& in, std::string const& name) {
  if (steps::make_folder(in, name)) steps::sync_folder(in);
  auto made = folder::find(in, name);
  if (!made) throw error((in.path() / name).string() + ": is no folder");
  return std::move(*made);
}

// False when the name is taken there.
bool move_durably(folder const& from, folder const& to, std::string const& name) {
  if (!steps::move_to_free_name(from, to, name)) return false;
  steps::sync_folder(to);
  steps::sync_folder(from);
  return true;
}

bool set_aside(repair_work const& work, volume_place const& place, std::string const& folder_path,
               std::string const& name) {
  work.report.sets_aside = true;
  folder const volume = open_volume(place);
  folder const from = volume.below(folder_path);
  folder const lost = made_folder(volume, lost_folder);
  auto const origin = std::filesystem::path(folder_path).filename().string();
  auto const base = origin.empty() ? std::string("volume") : origin;
  auto below = base;
  for (int count = 2; !move_durably(from, made_folder(lost, below), name); ++count) {
    below = base + "." + std::to_string(count);
  }
  work.repaired(place, (origin.empty() ? "" : origin + "/") + name + " is set aside in " +
                           lost_folder + "/" + below);
  return true;
}

std::string path_of(volume_place const& place, std::string const& folder_name) {
  return storage_name(place) + "/" + folder_name;
}

// Whether the file begins as the unit's would: a free one's with a zero byte.
bool is_file_of(unit_row const& unit, folder const& in) {
  bool const is_free = unit.state == unit_state::free;
  auto const head = is_free ? std::string(1, '\0') : recording_head(unit.folder_name, unit.name);
  return beginning_of(in, unit.name, head.size()) == head;
}

bool move_to_place(repair_work const& work, displaced_file const& file) {
  auto const& unit = *file.unit;
  auto const& owner = file.owner->place;
  if (!file.is_only_one) return false;
  folder const from(open_storage(file.in->place), file.folder_name);
  if (!is_file_of(unit, from)) return false;
  folder const to = made_folder(open_storage(owner), unit.folder_name);
  if (!move_durably(from, to, unit.name)) throw error("unit " + unit.name + ": its place is taken");
  auto const origin =
      file.owner == file.in ? file.folder_name : "volume " + file.in->place.folder_name;
  work.repaired(owner, "unit " + unit.name + " is back in " + unit.folder_name + " from " + origin);
  return true;
}

// What has a second name is left, as nobody knows which of them is right.
bool put_in_place(repair_work const& work, displaced_file const& file) {
  if (file.names > 1) return false;
  if (file.what == finding_class::misplaced || file.what == finding_class::wrong_volume) {
    return move_to_place(work, file);
  }
  return set_aside(work, file.in->place, path_of(file.in->place, file.folder_name), file.name);
}

bool put_away(repair_work const& work, volume_place const& place, unknown_entry const& what) {
  if (what.what == unknown_entry::kind::other) return false;
  if (what.what == unknown_entry::kind::file) {
    return set_aside(work, place, what.folder_path, what.name);
  }
  folder const in = open_volume(place).below(what.folder_path);
  if (!steps::remove_empty_folder(in, what.name)) return false;
  steps::sync_folder(in);
  work.repaired(place, "removed the empty folder " + what.shown);
  return true;
}

bool preallocate(repair_work const& work, volume_place const& place, unit_row const& unit) {
  folder const in(open_storage(place), preallocate_folder);
  steps::preallocate_file(in, unit.name, work.unit_bytes);
  steps::sync_file(in, unit.name);
  steps::sync_folder(in);
  if (unit.state == unit_state::bad) {
    transaction change(work.catalogue, transaction_kind::writing);
    take_out_of_hour(work.catalogue, {unit.id}, unit_state::free);
    change.commit();
  }
  work.repaired(place, "unit " + unit.name + " is preallocated anew and free");
  return true;
}

// Of what is too long only a free unit's file goes.
bool fit(repair_work const& work, volume_place const& place, unit_row const& unit,
         unit_file const& file) {
  bool const is_long = file.size > work.unit_bytes;
  bool const is_whole = file.size == work.unit_bytes && file.allocated >= work.unit_bytes;
  if (is_whole || file.names > 1 || (is_long && unit.state != unit_state::free)) return false;
  if (is_long) return set_aside(work, place, path_of(place, file.folder_name), unit.name);
  folder const in(open_storage(place), file.folder_name);
  steps::allocate_blocks(in, unit.name, work.unit_bytes);
  steps::sync_file(in, unit.name);
  work.repaired(place, "unit " + unit.name + " in " + file.folder_name +
                           " has all its blocks again, it was " + std::to_string(file.size) +
                           " bytes long");
  return false;
}

bool fill_up(repair_work const& work, scanned_volume const& volume, unit_row const& unit) {
  auto const& files = volume.found.files_of(unit.name);
  if (unit.state == unit_state::bad && files.empty()) return preallocate(work, volume.place, unit);
  if (lacks_file(volume.found, unit)) {
    return unit.state == unit_state::free && preallocate(work, volume.place, unit);
  }
  for (auto const& file : files) {
    if (is_place_of(unit, file.folder_name)) return fit(work, volume.place, unit, file);
  }
  return false;
}

}  // namespace

bool finish_moves(repair_work const& work, volume_place const& place) {
  return attempt(work, place, [&] {
    folder const storage = open_storage(place);
    if (!storage.status(preallocate_folder)) {
      made_folder(storage, preallocate_folder);
      work.repaired(place, "made preallocate");
    }
    auto const units = finish_moves(work.catalogue, place);
    if (units > 0) {
      work.repaired(place,
                    "units in transit that are back in preallocate: " + std::to_string(units));
    }
    return true;
  });
}

bool put_in_place(repair_work const& work, std::vector<scanned_volume> const& volumes) {
  bool changed = false;
  bool const all_read = std::all_of(volumes.begin(), volumes.end(),
                                    [](scanned_volume const& each) { return each.is_read(); });
  std::set<std::pair<scanned_volume const*, std::string>> units;
  for (auto const& file : displaced_files(volumes)) {
    units.emplace(file.in, file.folder_name + "/" + file.name);
    if (!all_read) continue;
    changed |= attempt(work, file.in->place, [&] { return put_in_place(work, file); });
  }
  for (auto const& volume : volumes) {
    for (auto const& each : volume.found.unknown_entries) {
      if (units.count({&volume, each.shown}) > 0) continue;
      if (!all_read && is_unit_name(each.name)) continue;
      changed |= attempt(work, volume.place, [&] { return put_away(work, volume.place, each); });
    }
  }
  return changed;
}

bool fill_up(repair_work const& work, std::vector<scanned_volume> const& volumes) {
  bool changed = false;
  for (auto const& volume : volumes) {
    for (auto const& unit : volume.found.units) {
      changed |= attempt(work, volume.place, [&] { return fill_up(work, volume, unit); });
    }
  }
  return changed;
}

}  // namespace lab
