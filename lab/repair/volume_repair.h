// Mending one volume, every change through the file steps and in an order in
// which a stop at any point leaves what the next repair finishes.
//
//  1. moves that were stopped midway are finished,
//  2. units that have one file between them are parted, and recordings that lie
//     on another volume are brought back,
//  3. units go where the catalogue says they are; further files by their names
//     are set aside; a unit found nowhere becomes bad, and so does a recorded one
//     whose files hold no recording of it,
//  4. units that are too short get their blocks, their content stays,
//  5. what nobody knows is set aside,
//  6. bad units are preallocated anew and become free.
//
// Where that would be a guess the volume is left as it is, and a line says why.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "lab/check/orphans.h"
#include "lab/check/shared_units.h"
#include "lab/volume/place.h"

namespace lab {

// Whether the repair sees all that is the recorder's. What lies on a volume that
// it does not see, or beside the volumes, may be what is missing here; what
// nobody knows here may be of a volume that it does not see.
enum class elsewhere { all_seen, something_beside, some_unseen };

// Whoever repairs holds the volume's lock throughout.
class volume_repair {
 public:
  // Lines are added to `lines`, which outlives this.
  volume_repair(database& catalogue, volume_place place, std::int64_t unit_mb,
                std::vector<std::string>& lines);

  // Step 1; false when the volume has no storage folder and nothing can be done.
  bool finish_moves();

  // Step 2 for a unit of this volume: a free or bad one loses that name, others
  // are left alone from then on, on both sides.
  void part(shared_unit const& which, volume_repair& other);

  // Step 2 for one unit of this volume, which lies in its folder on another. A
  // failure leaves both sides alone from then on.
  void bring_back(unit_row const& unit, volume_repair& host);

  // Step 2 for a unit of this volume of which it cannot be told which file it is.
  void leave(displaced_unit const& unit);

  // Leaves what has the name on this volume as it is from then on.
  void leave_alone(std::string const& name);

  // Steps 3 to 6.
  void mend(elsewhere others);

  // False when the place of some unit could not be settled.
  bool is_settled() const;

  volume_place const& place() const { return place_; }

 private:
  void mended(std::string const& text);
  void left(std::string const& text);

  template <typename Operation>
  bool attempt(Operation const& operation);
  template <typename Operation>
  void mend_unit(unit_row const& unit, Operation const& operation);
  void mend_place(unit_row const& unit, std::vector<unit_file> const& files, elsewhere others);
  bool leave_what_may_be_elsewheres(unit_row const& unit, std::vector<unit_file> const& files);
  bool leave_what_cannot_be_read(unit_row const& unit, std::vector<unit_file> const& files);
  bool leave_leak_of_another(unit_row const& unit, unit_file const& kept);
  void give_up(unit_row const& unit, std::vector<unit_file> const& files, elsewhere others);
  void keep_one(unit_row const& unit, std::vector<unit_file> const& files, unit_file const& kept);
  void move_file(std::string const& name, std::string const& from, std::string const& to);
  void mend_size(unit_row const& unit, unit_file const& file);
  void mend_stranger(unknown_entry const& what, elsewhere others);
  void preallocate_anew(unit_row const& unit, std::vector<unit_file> const& files);
  void set_state(unit_row const& unit, unit_state state);

  // Both give the file's place below lost+found.
  std::string set_aside(std::string const& folder_path, std::string const& name);
  std::string set_aside(unit_file const& file, std::string const& name);

  folder storage() const;
  folder in_storage(std::string const& name) const;
  bool is_unused(unit_file const& file, std::string const& name) const;
  bool begins_with(unit_file const& file, std::string const& hour_folder,
                   std::string const& name) const;
  std::vector<unit_file> files_that_may_be(unit_row const& unit,
                                           std::vector<unit_file> const& files) const;
  bool is_left_alone(unit_row const& unit) const;

  database& catalogue_;
  volume_place place_;
  std::int64_t unit_bytes_;
  std::vector<std::string>& lines_;
  std::set<std::string> left_alone_;  // names of units and files
};

}  // namespace lab
