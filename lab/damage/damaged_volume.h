// One volume to be damaged. What is done to it is done behind the recorder's
// back, and nothing of it is synced.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "lab/damage/damage.h"
#include "lab/disk/folder.h"
#include "lab/util/error.h"
#include "lab/util/random.h"
#include "lab/volume/place.h"
#include "lab/volume/scan.h"

namespace lab {

// Holds the lock of the volume that the options name. From the recorder's folder
// on no link is followed: what lies behind one is nobody's to damage.
struct damaged_volume {
  // Everything given outlives this.
  damaged_volume(std::filesystem::path const& recorder_folder, database& recorders_catalogue,
                 damage_options const& asked);

  // One by the seed. Throws lab::error with that text when there is none.
  template <typename Value>
  Value one_of(std::vector<Value> const& choice, std::string const& otherwise) {
    if (choice.empty()) throw error(otherwise);
    auto const size = static_cast<std::int64_t>(choice.size());
    return choice[static_cast<std::size_t>(numbers.below(size))];
  }

  // Units in their place that are free or held by a period. Throws lab::error
  // when one of them is a link or lies behind one.
  std::vector<unit_row> sound_units(unit_state state) const;

  // Each throws lab::error when there is no such folder.
  folder storage() const;
  folder folder_of(unit_row const& unit) const;

  std::string on_volume() const;

  database& catalogue;
  damage_options const& options;
  random numbers;
  volume_place place;
  volume_lock lock;
  folder recorder;
  folder share;
  folder volume;
};

// Lays out what a stop leaves of a move of units, and returns what it did.
std::string stop_move(damaged_volume& on);

// Where the volume of that name lies. Throws lab::error when there is none.
volume_place place_named(database const& catalogue, std::filesystem::path const& recorder_folder,
                         std::string const& name);

// What `name` in `in` is, none when there is nothing. Throws lab::error for a link
// and for a name that is none, as a catalogue may say anything.
std::optional<struct stat> entry_of(folder const& in, std::string const& name);

// The folder `name` in `in`, none when there is none. Throws as entry_of() does.
std::optional<folder> found_folder(folder const& in, std::string const& name);

// As found_folder(); throws lab::error when there is none, too.
folder opened_folder(folder const& in, std::string const& name);

}  // namespace lab
