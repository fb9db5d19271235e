// What a recorder holds.
#pragma once

#include "lab/catalogue/catalogue.h"
#include "lab/recorder/recorder.h"
#include "lab/volume/place.h"

namespace lab {

struct recorder::state {
  std::filesystem::path folder;
  database catalogue;
  std::int64_t unit_mb;
  std::chrono::milliseconds lock_timeout = default_lock_timeout;
};

// Throws lab::error for an id that is none.
std::int32_t channel_number(database const& catalogue, std::int64_t channel_id);

}  // namespace lab
