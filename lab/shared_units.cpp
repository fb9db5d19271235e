#include "lab/shared_units.h"

#include <algorithm>
#include <map>
#include <utility>

namespace lab {

namespace {

struct placed_unit {
  surveyed_volume const* volume;
  unit_row const* unit;
  unit_file file;
};

std::vector<placed_unit> units_in_place(std::vector<surveyed_volume> const& volumes,
                                        std::string const& state) {
  std::vector<placed_unit> found;
  for (auto const& volume : volumes) {
    for (auto const& unit : volume.found.units) {
      if (unit.state != state) continue;
      for (auto const& file : volume.found.files_of(unit.name)) {
        if (file.folder_name == unit.folder_name) found.push_back({&volume, &unit, file});
      }
    }
  }
  return found;
}

}  // namespace

std::vector<shared_unit> shared_units(std::vector<surveyed_volume> const& volumes) {
  std::map<std::pair<dev_t, ino_t>, placed_unit> holders;
  std::vector<shared_unit> shared;
  for (char const* const state : {"recorded", "free"}) {
    for (auto const& each : units_in_place(volumes, state)) {
      auto const [holder, is_first] =
          holders.emplace(std::pair(each.file.device, each.file.number), each);
      if (is_first) continue;
      shared.push_back({each.volume, each.unit, holder->second.volume, holder->second.unit});
    }
  }
  return shared;
}

std::string text_of(shared_unit const& which) {
  return "unit " + which.unit->name + " in " + which.unit->folder_name + " is the file of unit " +
         which.other->name + " of volume " + which.other_volume->place.folder_name + " too";
}

}  // namespace lab
