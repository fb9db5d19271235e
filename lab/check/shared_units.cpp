#include "lab/check/shared_units.h"

#include <algorithm>
#include <map>
#include <utility>

namespace lab {

namespace {

struct placed_unit {
  surveyed_volume const* volume;
  unit_row const* unit;
  unit_file const* file;
};

enum class place { own, other };

// Files by the names of units in their own place or in others. Repair makes the
// units of those of free and bad ones.
void add_files(std::vector<surveyed_volume> const& volumes, unit_state state, place where,
               std::vector<placed_unit>& found) {
  for (auto const& volume : volumes) {
    for (auto const& unit : volume.found.units) {
      if (unit.state != state) continue;
      for (auto const& file : volume.found.files_of(unit.name)) {
        auto const is_own = file.folder_name == unit.folder_name;
        if (is_own == (where == place::own)) found.push_back({&volume, &unit, &file});
      }
    }
  }
}

// In the order in which they keep their files.
std::vector<placed_unit> units_with_files(std::vector<surveyed_volume> const& volumes) {
  std::vector<placed_unit> found;
  add_files(volumes, unit_state::recorded, place::own, found);
  add_files(volumes, unit_state::free, place::own, found);
  add_files(volumes, unit_state::free, place::other, found);
  add_files(volumes, unit_state::bad, place::other, found);
  return found;
}

}  // namespace

std::vector<shared_unit> shared_units(std::vector<surveyed_volume> const& volumes) {
  std::map<std::pair<dev_t, ino_t>, placed_unit> holders;
  std::vector<shared_unit> shared;
  for (auto const& each : units_with_files(volumes)) {
    auto const [found, is_first] =
        holders.emplace(std::pair(each.file->device, each.file->number), each);
    auto const& holder = found->second;
    if (is_first || each.unit == holder.unit) continue;
    shared.push_back({each.volume, each.unit, each.file->folder_name, holder.volume, holder.unit,
                      holder.file->folder_name});
  }
  return shared;
}

std::string text_of(shared_unit const& which) {
  return "unit " + which.unit->name + " in " + which.folder_name + " is the file of unit " +
         which.other->name + " of volume " + which.other_volume->place.folder_name + " too";
}

}  // namespace lab
