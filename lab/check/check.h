// Comparing what a recorder's catalogue says with what lies in its folders.
#pragma once

#include <vector>

#include "lab/check/finding.h"
#include "lab/check/scanned_volume.h"
#include "lab/recorder/recorder.h"

namespace lab {

// Every way in which folders and catalogue disagree; empty when all is well.
// Reads only. A catalogue that cannot be read to its end is a finding too. Throws
// lab::error; a busy_error when a volume is written for longer than the lock
// timeout.
findings check(recorder const& which);

// The findings of scans that have been made already, of all volumes. What is wrong
// with the catalogue's file is left out. Throws lab::error.
findings findings_in(recorder::state const& of, std::vector<scanned_volume> const& volumes);

}  // namespace lab
