// Where a unit stands, as lab/catalogue/catalogue.sql tells it.
#pragma once

#include <cstdint>
#include <vector>

#include "lab/catalogue/sqlite.h"

namespace lab {

enum class unit_state { free, recording, recorded, recycling, bad };

// As the catalogue has it: "free".
char const* text_of(unit_state state);

// Throws lab::error for a text that is no state.
unit_state unit_state_in(statement const& row, int column);

// Whether a move of the unit has begun and not ended.
bool is_in_transit(unit_state state);

// Makes the units free or bad: of no channel, hour and period. The caller's
// transaction keeps that.
void take_out_of_hour(database& catalogue, std::vector<std::int64_t> const& unit_ids,
                      unit_state state);

}  // namespace lab
