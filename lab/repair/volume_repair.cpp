#include "lab/repair/volume_repair.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "lab/disk/file_steps.h"
#include "lab/util/error.h"
#include "lab/volume/moves.h"
#include "lab/volume/place.h"

namespace lab {

namespace {

bool is_one_file(folder const& left, std::string const& name, folder const& right,
                 std::string const& other_name) {
  auto const one = left.status(name);
  auto const other = right.status(other_name);
  return one && other && one->st_dev == other->st_dev && one->st_ino == other->st_ino;
}

// Links a file into another folder, durably, unless it is there already; false
// when another file has its name there.
bool link_durably(folder const& from, folder const& to, std::string const& name) {
  if (!steps::link_file(from, to, name) && !is_one_file(from, name, to, name)) return false;
  steps::sync_folder(to);
  return true;
}

// Takes a name from a file that has `kept_name` too.
void drop_name(folder const& from, std::string const& name, folder const& kept,
               std::string const& kept_name) {
  if (!is_one_file(from, name, kept, kept_name))
    throw error((from.path() / name).string() + ": changed");
  steps::remove_file(from, name);
  steps::sync_folder(from);
}

// A link to a folder is none: it may lead to another volume.
folder made_folder(folder const& in, std::string const& name) {
  if (steps::make_folder(in, name)) steps::sync_folder(in);
  auto made = folder::find(in, name);
  if (!made) throw error((in.path() / name).string() + ": is no folder");
  return std::move(*made);
}

bool are_one_file(std::vector<unit_file> const& files) {
  return std::all_of(files.begin(), files.end(),
                     [&](unit_file const& each) { return is_same_file(each, files.front()); });
}

std::vector<unit_file>::const_iterator find_in(std::vector<unit_file> const& files,
                                               std::string const& folder_name) {
  return std::find_if(files.begin(), files.end(),
                      [&](unit_file const& each) { return each.folder_name == folder_name; });
}

}  // namespace

volume_repair::volume_repair(database& catalogue, volume_place place, std::int64_t unit_mb,
                             std::vector<std::string>& lines)
    : catalogue_(catalogue),
      place_(std::move(place)),
      unit_bytes_(unit_mb * megabyte),
      lines_(lines) {}

void volume_repair::mended(std::string const& text) {
  lines_.push_back("mended: volume " + place_.folder_name + ": " + text);
}

void volume_repair::left(std::string const& text) {
  lines_.push_back("left: volume " + place_.folder_name + ": " + text);
}

folder volume_repair::storage() const { return open_storage(place_); }

folder volume_repair::in_storage(std::string const& name) const { return {storage(), name}; }

bool volume_repair::is_left_alone(unit_row const& unit) const {
  return left_alone_.count(unit.name) > 0;
}

bool volume_repair::finish_moves() {
  auto const found = scan(catalogue_, place_);
  if (!found.has_storage) {
    left("storage folder is missing: whether its units are lost is not known until it is back");
    return false;
  }
  if (!found.has_preallocate) {
    made_folder(storage(), preallocate_folder);
    mended("made preallocate");
  }
  auto const moving = std::count_if(found.units.begin(), found.units.end(),
                                    [](unit_row const& unit) { return is_in_transit(unit.state); });
  if (moving == 0) return true;
  auto const came_back = lab::finish_moves(catalogue_, place_);
  mended("units on their way that are back in preallocate: " + std::to_string(came_back));
  if (came_back < moving) {
    mended("units on their way that were found nowhere and are bad now: " +
           std::to_string(moving - came_back));
  }
  return true;
}

void volume_repair::part(shared_unit const& which, volume_repair& other) {
  if (which.unit->state == unit_state::recorded) {
    leave_alone(which.unit->name);
    other.leave_alone(which.other->name);
    left(text_of(which) + ": which of them it is cannot be told");
    return;
  }
  drop_name(in_storage(which.folder_name), which.unit->name,
            other.in_storage(which.other_folder_name), which.other->name);
  mended(text_of(which) + ": loses that name");
}

void volume_repair::bring_back(unit_row const& unit, volume_repair& host) {
  try {
    folder const from = host.in_storage(unit.folder_name);
    folder const to = made_folder(storage(), unit.folder_name);
    if (!link_durably(from, to, unit.name)) throw error("its place is taken");
    drop_name(from, unit.name, to, unit.name);
    mended("unit " + unit.name + " is back in " + unit.folder_name + " from volume " +
           host.place_.folder_name);
  } catch (busy_error const&) {
    throw;
  } catch (error const& problem) {
    leave_alone(unit.name);
    host.leave_alone(unit.name);
    left("unit " + unit.name + " stays on volume " + host.place_.folder_name + ": " +
         problem.what());
  }
}

void volume_repair::leave(displaced_unit const& unit) {
  leave_alone(unit.unit->name);
  std::string text = "unit " + unit.unit->name + " of " + unit.unit->folder_name +
                     (unit.files.size() == 1 ? ": whether this file is it cannot be told:"
                                             : ": which of these files it is cannot be told:");
  for (auto const& file : unit.files) {
    text.append(" ").append(path_of(file));
  }
  left(text);
}

void volume_repair::leave_alone(std::string const& name) { left_alone_.insert(name); }

bool volume_repair::is_settled() const { return left_alone_.empty(); }

void volume_repair::mend(elsewhere others) {
  auto const whole = scan_storage(catalogue_, place_);
  for (auto const& unit : whole.units) {
    if (is_left_alone(unit)) continue;
    mend_unit(unit, [&] { mend_place(unit, whole.files_of(unit.name), others); });
  }
  auto const placed = scan(catalogue_, place_);
  for (auto const& unit : placed.units) {
    auto const& files = placed.files_of(unit.name);
    if (is_left_alone(unit) || unit.state == unit_state::bad || files.size() != 1) continue;
    if (files.front().folder_name != unit.folder_name) continue;
    mend_unit(unit, [&] { mend_size(unit, files.front()); });
  }
  auto const sized = scan(catalogue_, place_);
  for (auto const& each : sized.unknown_entries) {
    attempt([&] { mend_stranger(each, others); });
  }
  for (auto const& unit : sized.units) {
    if (unit.state != unit_state::bad || is_left_alone(unit)) continue;
    mend_unit(unit, [&] { preallocate_anew(unit, sized.files_of(unit.name)); });
  }
}

// What cannot be mended does not keep the rest of the volume from it.
template <typename Operation>
bool volume_repair::attempt(Operation const& operation) {
  try {
    operation();
    return true;
  } catch (busy_error const&) {
    throw;
  } catch (database_error const&) {
    throw;
  } catch (error const& problem) {
    left(problem.what());
    return false;
  }
}

template <typename Operation>
void volume_repair::mend_unit(unit_row const& unit, Operation const& operation) {
  if (!attempt(operation)) leave_alone(unit.name);
}

void volume_repair::mend_place(unit_row const& unit, std::vector<unit_file> const& files,
                               elsewhere others) {
  bool const is_bad = unit.state == unit_state::bad;
  if (is_bad && files.empty()) return;
  if (others == elsewhere::some_unseen && leave_what_may_be_elsewheres(unit, files)) return;
  // A file that a bad unit has in preallocate holds no recording: it may well be
  // the unit. Elsewhere it may be one.
  auto const kept = find_in(files, is_bad ? preallocate_folder : unit.folder_name);
  if (kept != files.end()) {
    if (leave_leak_of_another(unit, *kept)) return;
    keep_one(unit, files, *kept);
    return;
  }
  if (is_bad) {
    for (auto const& file : files) {
      auto const where = set_aside(file, unit.name);
      mended("set aside " + file.folder_name + "/" + unit.name + ", as its unit is bad, in " +
             where);
    }
    return;
  }
  if (leave_what_cannot_be_read(unit, files)) return;
  auto const it = files_that_may_be(unit, files);
  if (it.empty()) {
    give_up(unit, files, others);
  } else if (are_one_file(it)) {
    auto moved = it.front();
    move_file(unit.name, moved.folder_name, unit.folder_name);
    mended("unit " + unit.name + " is back in " + unit.folder_name);
    auto others_of_its_name = files;
    others_of_its_name.erase(others_of_its_name.begin() +
                             (find_in(files, moved.folder_name) - files.begin()));
    moved.folder_name = unit.folder_name;
    keep_one(unit, others_of_its_name, moved);
  } else {
    leave_alone(unit.name);
    left("unit " + unit.name + ": which of its files it is cannot be told");
  }
}

// What another volume's unit may be is not the unit's own, and not empty.
bool volume_repair::leave_what_may_be_elsewheres(unit_row const& unit,
                                                 std::vector<unit_file> const& files) {
  auto const own_place = find_in(files, unit.folder_name);
  for (auto const& file : files) {
    if (own_place != files.end() && is_same_file(file, *own_place)) continue;
    if (is_unused(file, unit.name)) continue;
    if (unit.state == unit_state::recorded && begins_with(file, unit.folder_name, unit.name))
      continue;
    leave_alone(unit.name);
    left("unit " + unit.name + ": " + file.folder_name + "/" + unit.name +
         " may be of a volume that is not mounted");
    return true;
  }
  return false;
}

// A leak is recycled, and with it what lies in its place: an unused file or its
// own recording.
bool volume_repair::leave_leak_of_another(unit_row const& unit, unit_file const& kept) {
  if (unit.state != unit_state::recorded || unit.has_period) return false;
  if (is_unused(kept, unit.name) || begins_with(kept, unit.folder_name, unit.name)) return false;
  leave_alone(unit.name);
  left("unit " + unit.name + " in " + unit.folder_name +
       " is recorded without a period, and what it holds does not begin as its recording");
  return true;
}

// It may be a recording, which is neither made a free unit nor given up.
bool volume_repair::leave_what_cannot_be_read(unit_row const& unit,
                                              std::vector<unit_file> const& files) {
  for (auto const& file : files) {
    if (beginning_of(in_storage(file.folder_name), unit.name, 1)) continue;
    leave_alone(unit.name);
    left("unit " + unit.name + ": " + file.folder_name + "/" + unit.name + " cannot be read");
    return true;
  }
  return false;
}

bool volume_repair::is_unused(unit_file const& file, std::string const& name) const {
  auto const text = beginning_of(in_storage(file.folder_name), name, 1);
  return text && (text->empty() || text->front() == '\0');
}

bool volume_repair::begins_with(unit_file const& file, std::string const& hour_folder,
                                std::string const& name) const {
  auto const head = recording_head(hour_folder, name);
  return beginning_of(in_storage(file.folder_name), name, head.size()) == head;
}

// A recording begins with its head. What else is in preallocate under the name
// of a recorded unit is no more the recording than nothing would be, and a
// recording in its own hour is no free unit, whatever the catalogue says.
std::vector<unit_file> volume_repair::files_that_may_be(unit_row const& unit,
                                                        std::vector<unit_file> const& files) const {
  std::vector<unit_file> found;
  std::copy_if(files.begin(), files.end(), std::back_inserter(found), [&](unit_file const& each) {
    return unit.state == unit_state::recorded ? begins_with(each, unit.folder_name, unit.name)
                                              : !begins_with(each, each.folder_name, unit.name);
  });
  return found;
}

void volume_repair::give_up(unit_row const& unit, std::vector<unit_file> const& files,
                            elsewhere others) {
  if (unit.state == unit_state::recorded && others != elsewhere::all_seen) {
    leave_alone(unit.name);
    left("unit " + unit.name + " was found nowhere: it may be " +
         (others == elsewhere::some_unseen ? "on a volume that is not mounted"
                                           : "in what belongs to no volume"));
    return;
  }
  for (auto const& file : files) {
    if (file.folder_name == preallocate_folder && is_unused(file, unit.name)) continue;
    auto const where = set_aside(file, unit.name);
    mended("set aside " + file.folder_name + "/" + unit.name +
           ", as it is not what its unit should hold, in " + where);
  }
  require_mounted(place_);
  set_state(unit, unit_state::bad);
  mended("unit " + unit.name +
         (files.empty() ? " was found nowhere and is bad now"
                        : " was found in no file of its name and is bad now"));
}

void volume_repair::keep_one(unit_row const& unit, std::vector<unit_file> const& files,
                             unit_file const& kept) {
  for (auto const& file : files) {
    if (file.folder_name == kept.folder_name) continue;
    auto const shown = file.folder_name + "/" + unit.name;
    if (is_same_file(file, kept)) {
      drop_name(in_storage(file.folder_name), unit.name, in_storage(kept.folder_name), unit.name);
      mended("removed " + shown + ", a second name of the file in " + kept.folder_name);
    } else {
      auto const where = set_aside(file, unit.name);
      mended("set aside " + shown + ", a second file of its name, in " + where);
    }
  }
}

void volume_repair::move_file(std::string const& name, std::string const& from,
                              std::string const& to) {
  folder const target = made_folder(storage(), to);
  folder const source = in_storage(from);
  if (!link_durably(source, target, name)) throw error(name + ": its place is taken");
  drop_name(source, name, target, name);
}

void volume_repair::mend_size(unit_row const& unit, unit_file const& file) {
  auto const shown = "unit " + unit.name + " in " + file.folder_name;
  if (file.size > unit_bytes_) {
    if (unit.state != unit_state::free) {
      left(shown + " is too long: cutting it would remove what it holds");
      return;
    }
    auto const where = set_aside(file, unit.name);
    set_state(unit, unit_state::bad);
    mended("set aside " + shown.substr(5) + ", too long for a unit, in " + where);
    return;
  }
  if (file.size == unit_bytes_ && file.allocated >= unit_bytes_) return;
  try {
    folder const in = in_storage(file.folder_name);
    steps::allocate_blocks(in, unit.name, unit_bytes_);
    steps::sync_file(in, unit.name);
    mended(shown + " has all its blocks again" +
           (file.size < unit_bytes_
                ? ", zeros behind its first " + std::to_string(file.size) + " bytes"
                : ""));
  } catch (error const& problem) {
    left(shown + " is too short: " + problem.what());
  }
}

void volume_repair::mend_stranger(unknown_entry const& what, elsewhere others) {
  folder const in = open_volume(place_).below(what.folder_path);
  if (what.what == unknown_entry::kind::empty_folder) {
    if (!steps::remove_empty_folder(in, what.name)) return;
    steps::sync_folder(in);
    mended("removed the empty folder " + what.shown);
    return;
  }
  auto const status = in.status(what.name);
  if (!status || left_alone_.count(what.name) > 0) return;
  if (S_ISDIR(status->st_mode)) {
    left("unknown file " + what.shown + " is a folder: what is in it may be somebody's");
    return;
  }
  if (S_ISLNK(status->st_mode)) {
    left("unknown file " + what.shown + " is a link: what it leads to may be somebody's");
    return;
  }
  if (others == elsewhere::some_unseen) {
    left("unknown file " + what.shown + ": it may be of a volume that is not mounted");
    return;
  }
  auto const where = set_aside(what.folder_path, what.name);
  mended("set aside unknown file " + what.shown + " in " + where);
}

void volume_repair::preallocate_anew(unit_row const& unit, std::vector<unit_file> const& files) {
  folder const home = in_storage(preallocate_folder);
  bool const has_file = find_in(files, preallocate_folder) != files.end();
  if (!has_file && !files.empty()) return;
  if (has_file && files.front().size > unit_bytes_) {
    mended("set aside preallocate/" + unit.name + ", too long for a unit, in " +
           set_aside(files.front(), unit.name));
    preallocate_anew(unit, {});
    return;
  }
  try {
    if (has_file) {
      steps::allocate_blocks(home, unit.name, unit_bytes_);
    } else {
      steps::preallocate_file(home, unit.name, unit_bytes_);
    }
    steps::sync_file(home, unit.name);
    steps::sync_folder(home);
  } catch (error const& problem) {
    left("unit " + unit.name + " stays bad: " + problem.what());
    return;
  }
  set_state(unit, unit_state::free);
  mended("unit " + unit.name + (has_file ? " is in preallocate" : " was preallocated anew") +
         " and is free now");
}

void volume_repair::set_state(unit_row const& unit, unit_state state) {
  transaction change(catalogue_, transaction_kind::writing);
  take_out_of_hour(catalogue_, unit.id, state);
  change.commit();
}

std::string volume_repair::set_aside(unit_file const& file, std::string const& name) {
  return set_aside(storage_name(place_) + "/" + file.folder_name, name);
}

std::string volume_repair::set_aside(std::string const& folder_path, std::string const& name) {
  folder const from = open_volume(place_).below(folder_path);
  folder const lost = made_folder(open_volume(place_), lost_folder);
  auto const origin = std::filesystem::path(folder_path).filename().string();
  auto const base = origin.empty() ? std::string("volume") : origin;
  for (int count = 1;; ++count) {
    auto const below = count == 1 ? base : base + "." + std::to_string(count);
    folder const to = made_folder(lost, below);
    if (!link_durably(from, to, name)) continue;
    drop_name(from, name, to, name);
    return std::string(lost_folder) + "/" + below;
  }
}

}  // namespace lab
