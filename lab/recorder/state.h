// What a recorder holds.
#pragma once

#include <map>
#include <optional>

#include "lab/catalogue/catalogue.h"
#include "lab/recorder/recorder.h"
#include "lab/volume/lock.h"
#include "lab/volume/place.h"

namespace lab {

struct recorder::state {
  std::filesystem::path folder;
  database catalogue;
  std::int64_t unit_mb;
  std::chrono::milliseconds lock_timeout = default_lock_timeout;
  std::map<std::int64_t, volume_lock> held = {};  // by the volume's id

  // The volume's lock for one operation; none when it is held for longer already. What was held
  // of an identity that has been replaced since keeps nobody away, and is taken anew.
  std::optional<volume_lock> lock(volume_place const& place);
};

// The ids of the volumes with a unit in transit. Asked volume by volume, as all
// units of a recorder are many, and state by state: for IN, SQLite makes a table of
// the states in memory each time.
inline constexpr char const* volumes_in_transit_query =
    "SELECT id FROM volume"
    "  WHERE EXISTS (SELECT 1 FROM unit WHERE volume_id = volume.id AND state = 'recording')"
    "    OR EXISTS (SELECT 1 FROM unit WHERE volume_id = volume.id AND state = 'recycling')";

// Throws lab::error for an id that is none.
std::int32_t channel_number(database const& catalogue, std::int64_t channel_id);

}  // namespace lab
