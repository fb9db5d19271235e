// Moving units between preallocate and their hour folders so that no stop at
// any point, power loss included, loses one or makes a second one of it:
//
//  1. the catalogue says durably that the units are in transit,
//  2. they are linked into the folder where they go, and that folder is synced,
//  3. they are unlinked where they were, and that folder is synced,
//  4. the catalogue says durably that they have arrived.
//
// Units that are recorded get their beginnings in step 2, each synced before its
// folder is. Step 4 of one batch and step 1 of the next may be one change of the
// catalogue.
//
// No transaction is open in steps 2 and 3. A unit's name never changes, so a
// unit in transit is found by its name in either folder or in both. The caller
// holds the volume's lock throughout.
//
// Why so, and not simpler:
//  - One change of the catalogue, before or after the files: a stop between them
//    leaves files where their rows do not say, and nothing tells that from damage.
//  - Renaming: it changes two folders, and only one can be made durable at a time.
//    Where the file system does not promise both at once, a power loss may leave
//    the name in neither. Linked and synced first, it is always in one.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "lab/catalogue/sqlite.h"
#include "lab/disk/folder.h"
#include "lab/volume/layout.h"
#include "lab/volume/lock.h"
#include "lab/volume/place.h"

namespace lab {

// How many units a step of a move takes at most.
inline constexpr std::int64_t move_batch = 256;

struct moving_unit {
  std::int64_t id;
  std::string name;
  std::string hour_folder;
};

std::vector<std::int64_t> ids_of(std::vector<moving_unit> const& units);

// What the beginning of a recorded unit holds.
std::string recording_head(std::string const& hour_folder, std::string const& unit_name);

// Steps 2 and 3 out of preallocate, into the units' one hour folder, which is
// made when absent. Returns the units that are not in preallocate.
std::vector<moving_unit> take_out(folder const& storage, std::vector<moving_unit> const& units);

// Steps 2 and 3 back into preallocate; hour folders that became empty go.
// Returns the units that are in neither folder.
std::vector<moving_unit> give_back(folder const& storage, std::vector<moving_unit> const& units);

// Throws lab::error unless the volume's units can be moved: what cannot be
// finished must not be begun.
void require_movable(volume_place const& place);

// Gives every unit of the volume that is in transit back to preallocate,
// whichever way it went, and says in the catalogue that it is free, or bad when
// it is found nowhere. Needs no free space, and can be stopped and repeated at
// any point. Returns how many units came back.
//
// `begin_more` puts further units of the volume in transit and returns how many. It
// is called in the transaction that says of a batch that it has arrived: one change
// of the catalogue serves both.
std::int64_t finish_moves(database& catalogue, volume_place const& place,
                          std::function<std::int64_t()> const& begin_more = {});

}  // namespace lab
