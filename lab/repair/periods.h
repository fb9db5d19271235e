// Repairing what the catalogue says of periods.
#pragma once

#include <vector>

#include "lab/check/finding.h"
#include "lab/repair/volume.h"

namespace lab {

// Whether there may be a file, or lie behind it, that is missing elsewhere.
bool may_hide_a_recording(finding const& which);

// Gives each period without a storage id the one of the volume that holds all its
// units, if there is exactly one.
void give_ids(repair_work const& work);

// Makes each recorded unit that is missing a bad one of no period, and drops each
// period without units, in one transaction; a period stays while a leak lies in its
// hours. Does nothing while the findings, which are those of the scans, hold a file
// that may be what is missing, or a volume that is not read. Throws lab::error when a
// volume is not mounted any more; nothing is changed then. True when something was
// changed.
bool give_up(repair_work const& work, std::vector<scanned_volume> const& volumes,
             findings const& found);

}  // namespace lab
