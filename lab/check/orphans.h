// Recordings that are not in their place, told by what files begin with.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "lab/check/volume_check.h"

namespace lab {

// Where a file lies in its volume: where the unit of its name belongs, in another
// folder of the storage folder, beside those, or in lost+found or a folder that
// nobody knows, where repair touches nothing.
enum class position { in_place, unit_folder, beside, below };

// A file that is not the recording of a unit that belongs where it lies. Also
// what may hold any file: a folder that cannot be read, or what is no file.
struct loose_file {
  surveyed_volume const* volume;  // none in lost+found of the recorder or of share
  std::string name;
  std::string shown;  // from the storage folder, outside of it from the volume's or recorder's
  position where;
  dev_t device;
  ino_t number;
};

// From the folder of the volumes; from the recorder's for what lies in none.
std::string path_of(loose_file const& file);

// A recorded unit whose recording is not in its place, and the files that may
// be it: they begin as it does, or cannot be read. Of those that cannot be read,
// which may be any recording, one stands for all if none bears its name. Also a
// unit whose recording is in its place and has a second name on another volume.
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
// answer. Throws lab::error when a volume is not mounted any more.
std::vector<displaced_unit> displaced_units(std::vector<surveyed_volume> const& volumes);

// A file and the folder with whose name it begins, empty when it begins with
// none; none when it cannot be read.
struct loose_recording {
  loose_file file;
  std::optional<std::string> hour_folder;
};

// All files that are not the recordings of units that belong where they lie.
// Throws lab::error when a volume is not mounted any more.
std::vector<loose_recording> loose_recordings(std::vector<surveyed_volume> const& volumes);

}  // namespace lab
