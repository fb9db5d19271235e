#include "lab/check/scanned_volume.h"

#include <algorithm>
#include <map>
#include <utility>

#include "lab/volume/failure.h"
#include "lab/volume/layout.h"

namespace lab {

namespace {

struct known_unit {
  scanned_volume const* volume;
  unit_row const* unit;
};

struct known_file {
  scanned_volume const* volume;
  std::string folder_name;
  unit_row const* own;  // its volume's unit of that name; none when there is none
  nlink_t names;
};

struct namesakes {
  std::vector<known_unit> lacking;
  std::vector<known_file> displaced;
};

using by_name = std::map<std::string, namesakes>;

// The folder of units in which an unknown file lies; empty when it lies in none.
std::string unit_folder_of(unknown_entry const& file) {
  auto const end = file.folder_path.find('/');
  if (file.what != unknown_entry::kind::file || end == std::string::npos) return {};
  return file.folder_path.substr(end + 1);
}

void add_units(scanned_volume const& volume, by_name& names) {
  for (auto const& unit : volume.found.units) {
    if (lacks_file(volume.found, unit)) names[unit.name].lacking.push_back({&volume, &unit});
    for (auto const& file : volume.found.files_of(unit.name)) {
      if (is_place_of(unit, file.folder_name)) continue;
      names[unit.name].displaced.push_back({&volume, file.folder_name, &unit, file.names});
    }
  }
}

void add_unknown_files(scanned_volume const& volume, by_name& names) {
  for (auto const& each : volume.found.unknown_entries) {
    auto const folder_name = unit_folder_of(each);
    auto const known = folder_name.empty() ? names.end() : names.find(each.name);
    if (known == names.end() || known->second.lacking.empty()) continue;
    known->second.displaced.push_back({&volume, folder_name, nullptr, 1});
  }
}

// The one unit on another volume that lacks a file in that folder; none when there
// are several.
std::optional<known_unit> elsewhere(known_file const& file,
                                    std::vector<known_unit> const& lacking) {
  std::optional<known_unit> found;
  for (auto const& each : lacking) {
    if (each.volume == file.volume || each.unit->folder_name != file.folder_name) continue;
    if (found) return std::nullopt;
    found = each;
  }
  return found;
}

// None for a file that is no unit's.
std::optional<displaced_file> judged(std::string const& name, known_file const& file,
                                     namesakes const& all) {
  bool const is_only_one = all.lacking.size() == 1 && all.displaced.size() == 1;
  auto const as = [&](finding_class what, known_unit const& of) {
    return displaced_file{what,      file.volume, file.folder_name, name,
                          of.volume, of.unit,     is_only_one,      file.names};
  };
  for (auto const& each : all.lacking) {
    if (each.unit == file.own) return as(finding_class::misplaced, each);
  }
  if (auto const other = elsewhere(file, all.lacking)) {
    return as(finding_class::wrong_volume, *other);
  }
  if (file.own == nullptr) return std::nullopt;
  bool const is_bad = file.own->state == unit_state::bad;
  return as(is_bad ? finding_class::bad : finding_class::duplicate, {file.volume, file.own});
}

char const* reason_of(mount how) {
  switch (how) {
    case mount::folder_missing:
      return "its folder is missing";
    case mount::identity_missing:
      return "its identity is missing";
    case mount::identity_foreign:
      return "its identity is another's";
    case mount::not_a_folder:
      return "a link or a file is in the place of its folder";
    default:
      return "it cannot be read";
  }
}

}  // namespace

scanned_volume scan_volume(database const& catalogue, volume_place const& place,
                           std::optional<std::chrono::milliseconds> lock_timeout) {
  scanned_volume scanned{place, mount_of(place), {}, {}};
  if (scanned.how != mount::present) {
    scanned.problem = reason_of(scanned.how);
    return scanned;
  }
  auto const failure = failure_on_volume([&] {
    std::optional<volume_lock> lock;
    if (lock_timeout) lock.emplace(place, volume_lock::kind::shared, *lock_timeout);
    scanned.found = scan(catalogue, place);
    if (!scanned.found.has_storage) scanned.problem = "its storage folder is missing";
  });
  if (failure) scanned.problem = *failure;
  if (!scanned.problem.empty()) scanned.found = {};
  return scanned;
}

bool is_place_of(unit_row const& unit, std::string const& folder_name) {
  if (unit.state == unit_state::bad) return false;
  return folder_name == unit.folder_name ||
         (is_in_transit(unit.state) && folder_name == preallocate_folder);
}

bool lacks_file(volume_scan const& in, unit_row const& unit) {
  auto const& files = in.files_of(unit.name);
  return unit.state != unit_state::bad &&
         std::none_of(files.begin(), files.end(),
                      [&](unit_file const& file) { return is_place_of(unit, file.folder_name); });
}

std::vector<displaced_file> displaced_files(std::vector<scanned_volume> const& volumes) {
  by_name names;
  for (auto const& volume : volumes) add_units(volume, names);
  for (auto const& volume : volumes) add_unknown_files(volume, names);
  std::vector<displaced_file> found;
  for (auto const& [name, all] : names) {
    for (auto const& file : all.displaced) {
      if (auto each = judged(name, file, all)) found.push_back(std::move(*each));
    }
  }
  return found;
}

}  // namespace lab
