// What is wrong with a catalogue by itself.
#pragma once

#include <string>

#include "lab/catalogue/sqlite.h"
#include "lab/check/finding.h"

namespace lab {

// Adds a finding for everything that makes the file no sound database.
void check_integrity(database const& catalogue, findings& found);

// Whether there is nothing of that kind, and it can be read to its end.
bool is_sound(database const& catalogue);

// Adds a finding for every period that contradicts its units or lacks its storage
// id.
void check_periods(database const& catalogue, findings& found);

// "period 12 ch01_NR_S00_2026112107", from the columns id, channel number,
// type, stream and start of a row.
std::string name_of_period(statement const& row);

}  // namespace lab
