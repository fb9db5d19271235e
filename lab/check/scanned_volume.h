// The volumes of a recorder as a scan finds them, and the files in them that are
// out of place.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "lab/check/finding.h"
#include "lab/volume/place.h"
#include "lab/volume/scan.h"

namespace lab {

struct scanned_volume {
  volume_place place;
  mount how = mount::present;
  std::string problem;  // why it cannot be read; empty when it was
  volume_scan found;    // empty unless it was read

  bool is_read() const { return how == mount::present && problem.empty(); }
};

// Scans a volume under a shared lock, for which it waits that long; without a time
// the caller holds the lock. What is wrong with this volume alone is told in the
// answer. Throws busy_error, and database_error.
scanned_volume scan_volume(database const& catalogue, volume_place const& place,
                           std::optional<std::chrono::milliseconds> lock_timeout);

// Whether a file by the unit's name in that folder is in its place. A unit in
// transit may be in either of two folders, a bad one in none.
bool is_place_of(unit_row const& unit, std::string const& folder_name);

// A unit that should have a file and has none in its place.
bool lacks_file(volume_scan const& in, unit_row const& unit);

// A file by the name of a unit that is not in its place:
//   misplaced     its own volume's unit of that name lacks its file
//   wrong_volume  else, exactly one unit of that name on another volume lacks its
//                 file, and belongs in a folder of that name
//   bad           else, its own volume's unit is bad
//   duplicate     else: its own volume's unit is in its place
struct displaced_file {
  finding_class what;
  scanned_volume const* in;
  std::string folder_name;
  std::string name;
  scanned_volume const* owner;  // with the unit that it is, or would be, a file of
  unit_row const* unit;
  // No other unit of that name lacks its file, no other file of that name is out
  // of place.
  bool is_only_one;
  nlink_t names;  // of the file, in whatever folders
};

// In the order of their names, then of the volumes. The scans must outlive
// the answer.
std::vector<displaced_file> displaced_files(std::vector<scanned_volume> const& volumes);

}  // namespace lab
