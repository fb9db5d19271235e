#include "lab/damage/damaged_volume.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace lab {

damaged_volume::damaged_volume(std::filesystem::path const& recorder_folder,
                               database& recorders_catalogue, damage_options const& asked)
    : catalogue(recorders_catalogue),
      options(asked),
      numbers(asked.seed),
      place(asked.volume.empty()
                ? one_of(places_of(catalogue, recorder_folder), "the recorder has no volume")
                : place_named(catalogue, recorder_folder, asked.volume)),
      lock(place, volume_lock::kind::exclusive, asked.lock_timeout),
      recorder(recorder_folder),
      share(opened_folder(recorder, share_folder)),
      volume(opened_folder(share, place.folder_name)) {
  // A link is refused whatever is to be damaged.
  found_folder(volume, storage_name(place));
}

std::vector<unit_row> damaged_volume::sound_units(unit_state state) const {
  auto const is_in_place = [this](unit_row const& unit) {
    auto const within = found_folder(volume, storage_name(place));
    auto const inside = within ? found_folder(*within, unit.folder_name) : std::nullopt;
    auto const status = inside ? entry_of(*inside, unit.name) : std::nullopt;
    return status && S_ISREG(status->st_mode);
  };
  std::vector<unit_row> found;
  for (auto const& unit : units_of(catalogue, place)) {
    if (unit.state != state || (state == unit_state::recorded && !unit.has_period)) continue;
    if (is_in_place(unit)) found.push_back(unit);
  }
  return found;
}

folder damaged_volume::storage() const { return opened_folder(volume, storage_name(place)); }

folder damaged_volume::folder_of(unit_row const& unit) const {
  return opened_folder(storage(), unit.folder_name);
}

std::string damaged_volume::on_volume() const { return " on volume " + place.folder_name; }

volume_place place_named(database const& catalogue, std::filesystem::path const& recorder_folder,
                         std::string const& name) {
  statement query(catalogue, "SELECT id FROM volume WHERE name = ? ORDER BY id");
  if (!query.with(name).next()) throw error("there is no volume " + name);
  return place_of(catalogue, recorder_folder, query.integer(0));
}

std::optional<struct stat> entry_of(folder const& in, std::string const& name) {
  auto const status = in.status(name);
  if (status && S_ISLNK(status->st_mode)) {
    throw error((in.path() / name).string() + ": is a symbolic link");
  }
  return status;
}

std::optional<folder> found_folder(folder const& in, std::string const& name) {
  entry_of(in, name);
  return folder::find(in, name);
}

folder opened_folder(folder const& in, std::string const& name) {
  auto found = found_folder(in, name);
  if (found) return std::move(*found);
  errno = in.status(name) ? ENOTDIR : ENOENT;
  fail_with_errno(in.path() / name, "cannot open folder");
}

}  // namespace lab
