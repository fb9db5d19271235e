// Repairing the files of volumes. Each step is told by scans of all volumes, whose
// locks the caller holds, and is durable before the next one. What fails is told in
// the report, and all else is done.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/catalogue/sqlite.h"
#include "lab/check/scanned_volume.h"
#include "lab/repair/repair.h"
#include "lab/util/error.h"

namespace lab {

// What a repair works with; all of it outlives the repair.
struct repair_work {
  database& catalogue;
  std::int64_t unit_bytes;
  repair_report& report;

  void repaired(volume_place const& where, std::string const& text) const;
  // Told once, however often it is tried.
  void failed(volume_place const& where, std::string const& text) const;
};

// Runs an operation on one volume, which gives whether it changed something. What
// fails there is told, and false.
template <typename Operation>
bool attempt(repair_work const& work, volume_place const& where, Operation const& operation) {
  try {
    return operation();
  } catch (busy_error const&) {
    throw;
  } catch (database_error const&) {
    throw;
  } catch (error const& problem) {
    work.failed(where, problem.what());
    return false;
  }
}

// Finishes moves that were stopped, and makes preallocate if it is missing. False
// when the volume is to be left as it is.
bool finish_moves(repair_work const& work, volume_place const& place);

// Moves what is out of its place to where it belongs or into lost+found. True when
// something was changed, so that scans are out of date.
bool put_in_place(repair_work const& work, std::vector<scanned_volume> const& volumes);

// Removes folders that no unit belongs in, as far as they are empty. True when
// something was changed; the scans still tell where files are.
bool remove_empty_folders(repair_work const& work, std::vector<scanned_volume> const& volumes);

// Gives free and bad units without a file a new one, and short files their blocks.
// True when something was changed.
bool fill_up(repair_work const& work, std::vector<scanned_volume> const& volumes);

}  // namespace lab
