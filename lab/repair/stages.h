// The stages of a repair. Each goes by scans of all volumes, whose locks the caller
// holds, and each of its steps is durable before the next one. What fails is told in
// the report, and all else is done.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/catalogue/sqlite.h"
#include "lab/check/finding.h"
#include "lab/check/scanned_volume.h"
#include "lab/repair/repair.h"
#include "lab/volume/failure.h"

namespace lab {

// What a repair works with; all of it outlives the repair.
struct repair_work {
  database& catalogue;
  std::int64_t unit_bytes;
  repair_report& report;

  void repaired(volume_place const& where, std::string const& text) const {
    report.repaired.push_back("volume " + where.folder_name + ": " + text);
  }
  void failed(volume_place const& where, std::string const& text) const {
    report.failed.insert("volume " + where.folder_name + ": " + text);
  }
};

// Runs an operation on one volume, which gives whether it changed something. What
// fails there is told, and false.
template <typename Operation>
bool attempt(repair_work const& work, volume_place const& where, Operation const& operation) {
  bool changed = false;
  auto const failure = failure_on_volume([&] { changed = operation(); });
  if (failure) work.failed(where, *failure);
  return changed;
}

// Finishes moves that were stopped, and makes preallocate if it is missing. False
// when the volume is to be left as it is.
bool finish_moves(repair_work const& work, volume_place const& place);

// Moves what is out of its place to where it belongs or into lost+found, and removes
// empty folders of no hour. What bears a unit's name stays while a volume is not read:
// it may be of that one. True when something was changed, so that scans are out of
// date.
bool put_in_place(repair_work const& work, std::vector<scanned_volume> const& volumes);

// Gives free and bad units without a file a new one, and short files their blocks.
// True when files came or went.
bool fill_up(repair_work const& work, std::vector<scanned_volume> const& volumes);

// Gives each period without a storage id the one of the volume that holds all its
// units, if there is exactly one.
void give_ids(repair_work const& work);

// Makes each recorded unit that is missing a bad one of no period, and drops each
// period without units, in one transaction; a period stays while a recorded unit of its
// stream lies in its hours. Does nothing while the findings, which are those of the
// scans, hold a file that may be what is missing, or a volume that is not read, and
// once something was set aside. Throws lab::error when a volume is not mounted any
// more; nothing is changed then. True when something was changed.
bool give_up(repair_work const& work, std::vector<scanned_volume> const& volumes,
             findings const& found);

}  // namespace lab
