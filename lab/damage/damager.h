// One damage of one volume, whose lock is held. What it does is done behind the
// recorder's back, and nothing of it is synced. From the recorder's folder on
// no link is followed: what lies behind one is nobody's to damage.
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

class damager {
 public:
  // Everything given outlives this.
  damager(std::filesystem::path const& recorder_folder, database& catalogue,
          damage_options const& options);

  // Each returns what it did.
  std::string leak();
  std::string lose_unit();
  std::string add_unknown_file();
  std::string duplicate_unit();
  std::string shorten_unit();
  std::string take_ids();
  std::string misplace_on_other_volume();
  std::string unmount();
  std::string stop_move();

 private:
  volume_place chosen_place();

  template <typename Value>
  Value one_of(std::vector<Value> const& choice, std::string const& otherwise) {
    if (choice.empty()) throw error(otherwise);
    auto const size = static_cast<std::int64_t>(choice.size());
    return choice[static_cast<std::size_t>(random_.below(size))];
  }

  // Free or recorded.
  unit_state wanted_state() const;

  // Units in their place that are free or held by a period. Throws lab::error
  // when one of them is a link or lies behind one.
  std::vector<unit_row> sound_units(unit_state state) const;
  unit_row chosen_unit();

  bool is_in_place(unit_row const& unit) const;

  // Each throws lab::error when there is no such folder.
  folder storage() const;
  folder folder_of(unit_row const& unit) const;

  std::string on_volume() const;

  std::vector<std::int64_t> periods_to_forget(std::int64_t wanted_units);

  std::vector<unit_row> units_to_recycle(int least);
  std::vector<unit_row> units_to_record(int count);
  void stop_recycling(std::vector<unit_row> const& moving, int step);
  void stop_recording(std::vector<unit_row> moving, int step);
  std::vector<unit_row> begin_recording(std::vector<unit_row> moving, int step);

  std::filesystem::path const& folder_;
  database& catalogue_;
  damage_options const& options_;
  random random_;
  volume_place place_;
  volume_lock lock_;
  folder recorder_;
  folder share_;
  folder volume_;
};

// The folder `name` in `in`, none when there is none. Throws lab::error for a
// link and for a name that is none.
std::optional<folder> found_folder(folder const& in, std::string const& name);

// As found_folder(); throws lab::error when there is none, too.
folder opened_folder(folder const& in, std::string const& name);

// "1 unit", "2 units".
std::string counted(std::int64_t count, std::string const& what);

// "preallocate/unit000001".
std::string shown(unit_row const& unit);

}  // namespace lab
