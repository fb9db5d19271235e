// From the ids of the contract to what the recorder holds under them.
#pragma once

#include <cstdint>

#include "lab/recorder/recorder.h"
#include "storage/records.h"

namespace lab::client {

// Each throws lab::error when the recorder holds nothing under the id.

// By all 36 characters.
space find_space(recorder const& in, kivsid const& id);

// By the 32 characters of the text.
volume find_volume(recorder const& in, kivsid const& id);

// By the 32 characters of the id.
channel find_channel(recorder const& in, channel_sid const& id);

// The stream in the recorder's terms.
stream find_stream(recorder const& in, stream_info const& of);

// Whether the volume's state lets it be worked on.
bool is_mounted(volume const& which);

}  // namespace lab::client
