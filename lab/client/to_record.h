// What the recorder holds, as records of the contract. Bytes that no field
// covers are 0; texts are cut to their fields.
#pragma once

#include <string>

#include "lab/recorder/recorder.h"
#include "storage/records.h"

namespace lab::client {

// The 36 characters of a space's id.
std::string space_sid_text(kivsid const& id);

space_info to_record(space const& from);
volume_info to_record(volume const& from);
channel_sid to_record(channel const& from);

time_period to_record(period const& from);
channel_storage_info to_record(pairing const& from, channel const& of);

}  // namespace lab::client
