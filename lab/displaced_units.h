// Recordings that are not in their place, told by what files begin with.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "lab/volume_check.h"

namespace lab {

// A file that is not the recording of a unit that belongs where it lies.
struct loose_file {
  surveyed_volume const* volume;
  std::string name;
  std::string shown;  // from the storage folder, in lost+found from the volume's
  bool in_place;      // where its volume's unit of that name belongs
  dev_t device;
  ino_t number;
};

bool is_set_aside(loose_file const& file);

// From the folder of the volumes.
std::string path_of(loose_file const& file);

// A recorded unit whose recording is not in its place, and the files that may
// be it: they begin as it does, or cannot be read. Also one that is, and has a
// second name on another volume.
struct displaced_unit {
  surveyed_volume const* home;
  unit_row const* unit;
  std::vector<loose_file> files;  // at least one
  // No other file is in its place, nobody else lacks a unit of its folder and
  // name, and all the files are one that bears its name, on another volume in its
  // folder too.
  bool is_certain;
};

// In the order of the volumes and of their units. The surveys must outlive the
// answer.
std::vector<displaced_unit> displaced_units(std::vector<surveyed_volume> const& volumes);

// A file and the folder with whose name it begins; empty when it begins with
// none or cannot be read.
struct loose_recording {
  loose_file file;
  std::string hour_folder;
};

// All files that are not the recordings of units that belong where they lie.
std::vector<loose_recording> loose_recordings(std::vector<surveyed_volume> const& volumes);

}  // namespace lab
