// What needs attention, and the exit status that says so.
#pragma once

#include <optional>
#include <vector>

#include "report/model.h"

namespace report {

// Worst first, else in the recorder's order.
//
// A space needs attention unless it is normal, with or without a spare, or is being
// allocated, deleted or expanded, which somebody has asked for and which ends by itself.
// So error and warning do, a spare that has taken over or has failed, and a status
// without a name. A volume does unless it is active or stands by.
//
// Of a channel that could not be asked for all its streams nothing is said but the
// periods without a storage id that are known. With `expected_days`, a channel that
// keeps recordings for fewer days needs attention too.
std::vector<attention> attention_of(value const& of, std::optional<int> expected_days);

// Of a value whose `needs` and `not_asked` are filled.
int exit_status_of(value const& of) noexcept;

}  // namespace report
